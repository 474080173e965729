#include "dstl/dshowx/DSPins.h"

#include <utility>

CComPtr<IPin> CPin::GetPeer() const noexcept
{
    CScopedLock lock(&m_crsLink);
    return m_spConnected;
}

void CPin::SetPeer(IPin* pPeer) noexcept
{
    CComPtr<IPin> spPeer(pPeer);
    CScopedLock lock(&m_crsLink);
    std::swap(m_spConnected.p, spPeer.p);
}

bool CPin::BeginStart() noexcept
{
    CScopedLock lock(&m_crsLink);
    m_bStarting = m_spConnected && !m_bLinking;
    return m_bStarting;
}

void CPin::EndStart() noexcept
{
    CScopedLock lock(&m_crsLink);
    m_bStarting = false;
}

bool CPin::CheckDirection(IPin* pPeer) const noexcept
{
    const int ePinDirection = QueryPinDirection(pPeer);
    DSASSERT(ePinDirection == PINDIR_INPUT || ePinDirection == PINDIR_OUTPUT);
    return ePinDirection != m_ePinDir;
}
