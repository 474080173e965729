#pragma once
/// IMemAllocator and its companions over a state machine. Where memory and samples come from is the business
/// of the class that is built on it (MemAllocBase.h).

#include "dstl/WinAPI/Atl.h"

#include <atomic>
#include <utility>

#include <strmif.h>

#include "dstl/WinAPI/Wrappers.h"
#include "dstl/dshowx/memory/AllocatorState.h"
#include "dstl/dshowx/DSTypes.h"

/// An allocator that lets a media type ride on the next sample. An interface of this system's own; hosts have
/// it from the generated QXStillSource.h, under the same identifier.
MIDL_INTERFACE("5f4aa522-8061-4ed8-a0d1-393516b40ae7")
IMemAllocatorEx : public IUnknown
{
    /// \param pmt copied; null, or an empty type, takes back what was set
    virtual HRESULT STDMETHODCALLTYPE SetMediaType(const AM_MEDIA_TYPE* pmt) = 0;
};
#ifdef __CRT_UUID_DECL
__CRT_UUID_DECL(IMemAllocatorEx, 0x5f4aa522, 0x8061, 0x4ed8, 0xa0, 0xd1, 0x39, 0x35, 0x16, 0xb4, 0x0a, 0xe7)
#endif

/// The operations of the allocator interface.
///
/// What the concrete class T supplies: it is a COM object with Lock and Unlock (recursive), and has, all
/// called under that lock,
///  - `HRESULT Correct(ALLOCATOR_PROPERTIES&)`: makes a request one that can be met
///  - `HRESULT AllocAll()`: memory for m_rgProps, S_OK or E_OUTOFMEMORY; `void FreeAll()`
///  - `bool IsAllReturn()`, `DWORD FreeCount()`
///  - `HRESULT CreateSample(IMediaSample**)`: S_FALSE when no buffer is to be had
///
/// Waiting: GetBuffer counts its caller in m_nWaiters and waits on the semaphore, outside the lock.
/// WakeWaiters releases as many units as were counted; each caller then looks at the state again. A unit may
/// go to another waiter than the one that it was counted for, who then finds its own.
template <class T>
class IMemAllocatorImpl : public IMemAllocatorCallbackTemp
{
public:
    // IMemAllocator
    STDMETHOD(SetProperties)(ALLOCATOR_PROPERTIES* pRequest, ALLOCATOR_PROPERTIES* pActual) noexcept override
    {
        if (pRequest != nullptr)
            trace(atlTraceGeneral, eTL_Main,
                  L"%s: IMemAllocator::SetProperties( %i, %i, %i, %i ) State:%d [0x%08X]\n", GetClassName(),
                  static_cast<int>(pRequest->cBuffers), static_cast<int>(pRequest->cbBuffer),
                  static_cast<int>(pRequest->cbAlign), static_cast<int>(pRequest->cbPrefix),
                  static_cast<int>(m_eState.load()), TracePtr(This()));
        DSASSERT(pRequest != NULL);
        DSASSERT(pActual != NULL);
        if (pRequest == nullptr || pActual == nullptr)
            return E_POINTER;
        ALLOCATOR_PROPERTIES rgProps = *pRequest; // which may be *pActual
        *pActual = {};
        CScopedLock lock(This());
        HRESULT hr = Result(eAO_SetProperties);
        if (hr == S_OK)
            hr = This()->Correct(rgProps);
        if (FAILED(hr))
            return hr;
        m_rgProps = *pActual = rgProps;
        m_eState = AS_Prop;
        return S_OK;
    }
    STDMETHOD(GetProperties)(ALLOCATOR_PROPERTIES* pProps) noexcept override
    {
        trace(atlTraceGeneral, eTL_Main, L"%s: IMemAllocator::GetProperties\n", GetClassName());
        DSASSERT(pProps != NULL);
        if (pProps == nullptr)
            return E_POINTER;
        CScopedLock lock(This());
        const HRESULT hr = Result(eAO_GetProperties);
        if (hr == S_OK)
            *pProps = m_rgProps;
        return hr;
    }
    STDMETHOD(Commit)() noexcept override
    {
        trace(atlTraceGeneral, eTL_Main, L"%s: IMemAllocator::Commit [0x%08X]\n", GetClassName(),
              TracePtr(This()));
        CScopedLock lock(This());
        const HRESULT hr = Result(eAO_Commit);
        if (hr != S_OK)
            return hr;
        if (m_eState == AS_Prop)
            return CommitMemory();
        if (m_eState == AS_Decommitting) // the commit stands again, with the memory that is there
            m_eState = This()->FreeCount() != 0 ? AS_Partial : AS_Waiting;
        return S_OK;
    }
    STDMETHOD(Decommit)() noexcept override
    {
        trace(atlTraceGeneral, eTL_Main, L"%s: IMemAllocator::Decommit [0x%08X]\n", GetClassName(),
              TracePtr(This()));
        CScopedLock lock(This());
        const HRESULT hr = Result(eAO_Decommit);
        if (hr != S_OK || m_eState == AS_Prop)
            return hr;
        if (m_eState == AS_Committed)
            DSASSERT_TEXT(This()->IsAllReturn(), "pT->IsAllReturn()");
        m_eState = AS_Decommitting;
        if (EndDecommit())
            FreeMemory();
        WakeWaiters();
        return S_OK;
    }
    /// The times are not used. \param dwFlags of which AM_GBF_NOWAIT counts
    STDMETHOD(GetBuffer)
    (IMediaSample** ppSample, REFERENCE_TIME*, REFERENCE_TIME*, DWORD dwFlags) noexcept override
    {
        trace(atlTraceGeneral, eTL_Frame, L"%s: IMemAllocator::GetBuffer\n", GetClassName());
        DSASSERT(ppSample != NULL);
        if (ppSample == nullptr)
            return E_POINTER;
        *ppSample = nullptr;
        const bool bWait = (dwFlags & AM_GBF_NOWAIT) == 0;
        for (;;)
        {
            CScopedLock lock(This());
            const HRESULT hr = TryGetBuffer(ppSample, bWait);
            if (hr != S_FALSE)
                return hr;
            if (!bWait)
                return VFW_E_TIMEOUT;
            m_nWaiters++;
            lock.Unlock();
            if (WaitForSingleObject(m_hSem.Get(), INFINITE) != WAIT_OBJECT_0)
                return DSTLLastError(); // no semaphore: asking again would never end
            trace(atlTraceGeneral, eTL_Frame, L"[Allocator] Wait period ended\n");
        }
    }
    /// Moves the state and notifies. Buffer and block come back with the sample's last Release, which does
    /// the same and wakes the waiters afterwards.
    STDMETHOD(ReleaseBuffer)(IMediaSample* pSample) noexcept override
    {
        CComPtr<IMemAllocatorNotifyCallbackTemp> spNotify;
        const HRESULT hr = EndUse(pSample, spNotify);
        if (spNotify)
            spNotify->NotifyRelease();
        return hr;
    }
    // IMemAllocatorCallbackTemp
    STDMETHOD(SetNotify)(IMemAllocatorNotifyCallbackTemp* pNotify) noexcept override
    {
        trace(atlTraceGeneral, eTL_Main, L"%s: IMemAllocatorCallbackTemp::SetNotify( 0x%08X )\n",
              GetClassName(), TracePtr(pNotify));
        CComPtr<IMemAllocatorNotifyCallbackTemp> spNotify(
            pNotify); // the old one is released outside the lock
        CScopedLock lock(This());
        std::swap(m_spNotify.p, spNotify.p);
        lock.Unlock();
        return S_OK;
    }
    STDMETHOD(GetFreeCount)(LONG* plBuffersFree) noexcept override
    {
        trace(atlTraceGeneral, eTL_Main, L"%s: IMemAllocatorCallbackTemp::GetFreeCount\n", GetClassName());
        DSASSERT(plBuffersFree != NULL);
        if (plBuffersFree == nullptr)
            return E_POINTER;
        *plBuffersFree = 0;
        CScopedLock lock(This());
        const HRESULT hr = Result(eAO_GetFreeCount);
        if (hr == S_OK)
            *plBuffersFree = static_cast<LONG>(This()->FreeCount());
        return hr;
    }

    /// The name in trace lines.
    virtual LPCWSTR GetClassName() const noexcept = 0;

    /// Read without the lock by traces and by the last outside Release; written under it.
    std::atomic<eAllocState> m_eState = AS_Create;
    ALLOCATOR_PROPERTIES m_rgProps = {0, 0, 1, 0}; ///< as accepted
    CHandle m_hSem;                                ///< waiters wait on it
    CComPtr<IMemAllocatorNotifyCallbackTemp> m_spNotify;

protected:
    /// ReleaseBuffer but for the notification, which belongs behind the last lock: who is notified may wait
    /// for a thread that needs the allocator.
    /// \param spNotify receives who is to be notified
    HRESULT EndUse(IMediaSample* pSample, CComPtr<IMemAllocatorNotifyCallbackTemp>& spNotify) noexcept
    {
        trace(atlTraceGeneral, eTL_Frame, L"%s: IMemAllocator::ReleaseBuffer\n", GetClassName());
        DSASSERT(pSample != NULL);
        if (pSample == nullptr)
            return E_POINTER;
        CScopedLock lock(This());
        const HRESULT hr = Result(eAO_ReleaseBuffer);
        if (hr != S_OK)
            return hr;
        if (m_eState == AS_Committed)
        {
            DSASSERT_TEXT(This()->IsAllReturn(), "pT->IsAllReturn()");
            return S_OK;
        }
        if (m_eState == AS_Decommitting)
            EndDecommit(); // deliberately keeps the memory until the next commit
        else
            m_eState = This()->IsAllReturn() ? AS_Committed : AS_Partial;
        spNotify = m_spNotify;
        return S_OK;
    }

    /// Makes the semaphore. \return E_OUTOFMEMORY without one
    HRESULT Construct() noexcept
    {
        constexpr LONG nMaxWaiters = 0x7fffffff; // never limits
        DSASSERT(m_eState == AS_Create);
        DSASSERT_TEXT(!m_hSem, "m_hSem == NULL");
        m_hSem.Attach(CreateSemaphoreW(nullptr, 0, nMaxWaiters, nullptr));
        if (!m_hSem)
            return E_OUTOFMEMORY;
        m_eState = AS_Init;
        return S_OK;
    }
    /// Ends a decommit when all buffers are home: lets go of the reference on itself. The caller holds one.
    bool EndDecommit() noexcept
    {
        if (!This()->IsAllReturn())
            return false;
        This()->Release();
        m_eState = AS_Prop;
        return true;
    }
    /// Gives all memory back after a decommit.
    void FreeMemory() noexcept
    {
        DSASSERT(m_eState == AS_Prop);
        This()->FreeAll();
    }
    void WakeWaiters() noexcept
    {
        if (m_nWaiters == 0)
            return;
        DSASSERT_TEXT(m_hSem, "m_hSem != NULL");
        ReleaseSemaphore(m_hSem.Get(), static_cast<LONG>(m_nWaiters), nullptr);
        m_nWaiters = 0;
    }

    DWORD m_nWaiters = 0; ///< callers that announced a wait since the semaphore was last released

private:
    T* This() noexcept { return static_cast<T*>(this); }
    HRESULT Result(eAllocOperation eOperation) const noexcept { return rgAllocResults[eOperation][m_eState]; }

    HRESULT CommitMemory() noexcept
    {
        DSASSERT(m_eState == AS_Prop);
        if (m_eState != AS_Prop)
            return E_ABORT;
        const HRESULT hr = This()->AllocAll();
        if (FAILED(hr))
            return hr;
        This()->AddRef(); // samples in flight never outlive a committed allocator
        m_eState = AS_Committed;
        return S_OK;
    }

    /// One look at the state. \return S_FALSE when there is nothing but to wait
    HRESULT TryGetBuffer(IMediaSample** ppSample, bool bWait) noexcept
    {
        HRESULT hr = Result(eAO_GetBuffer);
        if (hr != S_OK)
            return hr;
        if (m_eState == AS_Waiting)
            return S_FALSE; // queues behind the first without a look at the stack
        hr = This()->CreateSample(ppSample);
        if (hr == S_OK)
        {
            m_eState = AS_Partial;
            return S_OK;
        }
        if (FAILED(hr))
        {
            DSASSERT_TEXT(false, "IMemAllocatorImpl::GetBuffer(): CreateSample() FAILED");
            return hr;
        }
        DSASSERT(hr == S_FALSE);
        if (m_eState == AS_Committed)
            return E_FAIL; // the state promises that all are free
        m_eState = AS_Waiting;
        trace(atlTraceGeneral, eTL_Main, L"[Allocator] Allocator busy, waiting = %s\n",
              bWait ? L"YES" : L"NO");
        return S_FALSE;
    }
};
