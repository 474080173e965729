#include "dstl/dshowx/memory/SampleArray.h"

#include "dstl/dshowx/DSTrace.h"

#include <cstring>
#include <limits>
#include <new>

void* CSampleArray::NewBlock() const noexcept
{
    return ::operator new(m_cbBlock, std::nothrow);
}

bool CSampleArray::Create(LONG n) noexcept
{
    Clear();
    if (n <= 0)
        return true;
    const DWORD nBlocks = static_cast<DWORD>(n);
    m_ppArr.reset(new (std::nothrow) void*[nBlocks]());
    if (m_ppArr == nullptr)
        return false;
    m_nCapacity = nBlocks;
    for (DWORD i = 0; i < nBlocks; i++)
    {
        m_ppArr[i] = NewBlock();
        if (m_ppArr[i] == nullptr)
        {
            Clear();
            return false;
        }
        m_nAll++;
        m_nBusy++;
    }
    return true;
}

bool CSampleArray::Grow() noexcept
{
    DSASSERT(m_nBusy == 0);
    if (m_nAll == m_nCapacity)
    {
        if (m_nCapacity > std::numeric_limits<DWORD>::max() / 2)
            return false;
        const DWORD nCapacity = m_nCapacity != 0 ? m_nCapacity * 2 : 1;
        void** const ppArr = new (std::nothrow) void*[nCapacity]();
        if (ppArr == nullptr)
            return false;
        // No entry is copied: no free block is in the old array, and the others find a place in Put.
        m_ppArr.reset(ppArr);
        m_nCapacity = nCapacity;
    }
    m_ppArr[0] = NewBlock();
    if (m_ppArr[0] == nullptr)
        return false;
    m_nAll++;
    m_nBusy = 1;
    return true;
}

void* CSampleArray::Get() noexcept
{
    if (m_nBusy == 0 && !Grow())
        return nullptr;
    void* const p = m_ppArr[--m_nBusy];
    DSASSERT_TEXT(p != nullptr, "p != NULL && _T(\"CSampleArray::Get()\")");
    if (p != nullptr)
        memset(p, 0, m_cbBlock);
    return p;
}

void CSampleArray::Put(void* pSample) noexcept
{
    DSASSERT(pSample != NULL);
    DSASSERT(m_ppArr != NULL);
    DSASSERT(m_nBusy < m_nAll);
    if (m_ppArr == nullptr || m_nBusy >= m_nCapacity)
        return; // there is no place for it
    m_ppArr[m_nBusy++] = pSample;
}

void CSampleArray::Clear() noexcept
{
    DSASSERT(m_nBusy == m_nAll);
    if (m_ppArr == nullptr)
        return;
    for (DWORD i = 0; i < m_nBusy; i++)
        ::operator delete(m_ppArr[i]);
    m_ppArr.reset();
    m_nCapacity = m_nAll = m_nBusy = 0;
}
