#pragma once
/// What stands behind an allocator: a buffer store, the pool of blocks for samples, and the making and the
/// return of a sample.

#include <utility>

#include "dstl/dshowx/dumps/MediaTypeDump.h"
#include "dstl/dshowx/memory/MediaSample.h"
#include "dstl/dshowx/memory/MemAllocator.h"
#include "dstl/dshowx/memory/SampleArray.h"

/// \tparam T the final class \tparam TBuffers the buffer store \tparam TSample the class of its samples
template <class T, class TBuffers, class TSample>
class CMemAllocBase : public IMemAllocatorImpl<T>, public IMemAllocatorEx
{
public:
    using SampleObject = CComSampleObject<T, TSample>;

    // IMemAllocatorEx
    STDMETHOD(SetMediaType)(const AM_MEDIA_TYPE* pmt) noexcept override
    {
        trace(atlTraceGeneral, eTL_Main, L"%s: IMemAllocatorEx::SetMediaType() [0x%08X]\n",
              this->GetClassName(), TracePtr(This()));
        Debug_MediaType(atlTraceGeneral, eTL_Main, pmt, L"");
        CScopedLock lock(This());
        const HRESULT hr = m_mtNext.Set(pmt);
        DSASSERT(hr == S_OK);
        return hr;
    }

    // What IMemAllocatorImpl asks for.
    static HRESULT Correct(ALLOCATOR_PROPERTIES& rgProps) noexcept { return TBuffers::Correct(rgProps); }
    HRESULT AllocAll() noexcept
    {
        const bool bDone = m_samples.Create(this->m_rgProps.cBuffers) && m_buffers.Alloc(this->m_rgProps);
        return bDone ? S_OK : E_OUTOFMEMORY;
    }
    void FreeAll() noexcept
    {
        m_samples.Clear();
        m_buffers.Free();
    }
    bool IsAllReturn() const noexcept { return m_buffers.IsAllReturn(); }
    DWORD FreeCount() const noexcept { return m_buffers.GetFreeCount(); }

    /// Makes a sample over a free buffer. \return S_FALSE when there is none; E_OUTOFMEMORY
    HRESULT CreateSample(IMediaSample** ppSample) noexcept
    {
        DSASSERT(ppSample != NULL);
        if (ppSample == nullptr)
            return E_POINTER;
        *ppSample = nullptr;
        CScopedLock lock(This());
        BYTE* const pBuffer = m_buffers.Pop();
        if (pBuffer == nullptr)
            return S_FALSE;
        void* const pBlock = m_samples.Get();
        if (pBlock == nullptr)
        {
            m_buffers.Push(pBuffer);
            return E_OUTOFMEMORY;
        }
        const HRESULT hr =
            SampleObject::InitInstance(pBlock, This(), pBuffer, this->m_rgProps.cbBuffer, ppSample);
        if (hr == S_OK && m_mtNext.IsDefined())
        {
            const HRESULT hrT = (*ppSample)->SetMediaType(&m_mtNext);
            DSASSERT(hrT == S_OK);
            m_mtNext.Clear(); // it rides on this sample alone
        }
        return hr;
    }

    // What a sample calls at its end, the first two with the lock held.
    /// Takes the sample's buffer back.
    void ReturnBuffer(IMediaSample* pSample) noexcept
    {
        CScopedLock lock(This());
        BYTE* pBuffer = nullptr;
        if (pSample->GetPointer(&pBuffer) == S_OK)
            m_buffers.Push(pBuffer);
        else
            DSASSERT_TEXT(false, "pSample->GetPointer() != S_OK");
        if (this->EndUse(pSample, m_spNotifyDue) != S_OK)
            DSASSERT_TEXT(false, "ReleaseBuffer() != S_OK");
    }
    /// Takes the sample's block back and wakes who waits for a buffer.
    void ReturnBlock(void* pBlock) noexcept
    {
        CScopedLock lock(This());
        m_samples.Put(pBlock);
        if (this->m_eState == AS_Decommitting && this->EndDecommit())
            this->FreeMemory();
        this->WakeWaiters();
    }
    /// Takes out who is to be notified of the return, behind the lock.
    void TakeNotify(CComPtr<IMemAllocatorNotifyCallbackTemp>& spNotify) noexcept
    {
        std::swap(spNotify.p, m_spNotifyDue.p);
    }

    TBuffers m_buffers;
    CSampleArray m_samples{sizeof(SampleObject)};
    CMType m_mtNext; ///< rides on the next sample; survives decommit and commit

private:
    T* This() noexcept { return static_cast<T*>(this); }

    CComPtr<IMemAllocatorNotifyCallbackTemp> m_spNotifyDue; ///< between ReturnBuffer and TakeNotify
};
