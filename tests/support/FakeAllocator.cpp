#include "support/FakeAllocator.h"

#include <vfwmsgs.h>

FakeAllocator::FakeAllocator(CallLog* pLog, std::string sName) : m_pLog(pLog), m_sName(std::move(sName)) {}

FakeAllocator::~FakeAllocator() = default;

void FakeAllocator::Enter(const char* pszCall)
{
    if (m_pLog != nullptr)
        m_pLog->Add(m_sName + "." + pszCall);
}

bool FakeAllocator::IsCommitted() const
{
    const std::lock_guard lock(m_lock);
    return m_bCommitted;
}

int FakeAllocator::Lent() const
{
    const std::lock_guard lock(m_lock);
    return static_cast<int>(m_samples.size() - m_free.size());
}

STDMETHODIMP FakeAllocator::QueryInterface(REFIID riid, void** ppv)
{
    *ppv = nullptr;
    if (!IsEqualGUID(riid, IID_IUnknown) && !IsEqualGUID(riid, IID_IMemAllocator))
        return E_NOINTERFACE;
    *ppv = static_cast<IMemAllocator*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP FakeAllocator::SetProperties(ALLOCATOR_PROPERTIES* pRequest, ALLOCATOR_PROPERTIES* pActual)
{
    Enter("SetProperties");
    m_rgRequest = *pRequest;
    if (m_hrSetProperties.value_or(S_OK) != S_OK)
        return *m_hrSetProperties;
    m_rgActual = *pRequest;
    if (m_grant)
        m_grant(m_rgActual);
    *pActual = m_rgActual;
    return S_OK;
}

STDMETHODIMP FakeAllocator::GetProperties(ALLOCATOR_PROPERTIES* pProps)
{
    Enter("GetProperties");
    if (m_hrGetProperties.value_or(S_OK) != S_OK)
        return *m_hrGetProperties;
    *pProps = m_rgActual;
    return S_OK;
}

STDMETHODIMP FakeAllocator::Commit()
{
    Enter("Commit");
    if (m_onCommit)
        m_onCommit();
    if (m_hrCommit.value_or(S_OK) != S_OK)
        return *m_hrCommit;
    const std::lock_guard lock(m_lock);
    while (static_cast<LONG>(m_samples.size()) < m_rgActual.cBuffers)
    {
        m_samples.push_back(m_make ? m_make(m_rgActual.cbBuffer)
                                   : std::make_unique<FakeSample>(m_rgActual.cbBuffer));
        FakeSample* pSample = m_samples.back().get();
        pSample->m_onLastRelease = [this](FakeSample* p) { ReleaseBuffer(p); };
        m_free.push_back(pSample);
    }
    m_bCommitted = true;
    return S_OK;
}

STDMETHODIMP FakeAllocator::Decommit()
{
    Enter("Decommit");
    if (m_onDecommit)
        m_onDecommit();
    if (m_hrDecommit.value_or(S_OK) != S_OK)
        return *m_hrDecommit;
    const std::lock_guard lock(m_lock);
    m_bCommitted = false;
    m_changed.notify_all();
    return S_OK;
}

STDMETHODIMP FakeAllocator::GetBuffer(IMediaSample** ppBuffer, REFERENCE_TIME*, REFERENCE_TIME*,
                                      DWORD dwFlags)
{
    Enter("GetBuffer");
    if (m_hrGetBuffer.value_or(S_OK) != S_OK)
        return *m_hrGetBuffer;
    if (m_bNullSample)
        return S_OK;
    FakeSample* pSample = nullptr;
    {
        std::unique_lock lock(m_lock);
        if (m_bCommitted && m_free.empty() && (dwFlags & AM_GBF_NOWAIT) != 0)
            return VFW_E_TIMEOUT;
        if (!m_changed.wait_for(lock, std::chrono::milliseconds(nTestLimitMs),
                                [&] { return !m_bCommitted || !m_free.empty(); }))
            return E_ABORT; // the test has hung
        if (!m_bCommitted)
            return VFW_E_NOT_COMMITTED;
        pSample = m_free.back();
        m_free.pop_back();
    }
    pSample->Reset();
    if (m_onLend)
        m_onLend(*pSample);
    pSample->AddRef();
    *ppBuffer = pSample;
    return S_OK;
}

STDMETHODIMP FakeAllocator::ReleaseBuffer(IMediaSample* pBuffer)
{
    const std::lock_guard lock(m_lock);
    m_free.push_back(static_cast<FakeSample*>(pBuffer));
    m_changed.notify_all();
    return S_OK;
}
