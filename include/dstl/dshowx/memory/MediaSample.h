#pragma once
/// The sample of the filter's own allocator, and the complete object that is built in a block of the pool. It
/// lives from one GetBuffer to its last Release, which gives buffer and block back.

#include "dstl/WinAPI/Atl.h"

#include <new>

#include "dstl/WinAPI/Wrappers.h"
#include "dstl/dshowx/memory/SampleWrapper.h"

/// Its count is atomic. A lock of its own, which would use the heap at each GetBuffer, it does without.
class CMediaSample : public CComObjectRootEx<CComMultiThreadModelNoCS>,
                     public CComCoClass<CMediaSample, &GUID_NULL>,
                     public IMediaSample2Wrapper
{
public:
    BEGIN_COM_MAP(CMediaSample)
    COM_INTERFACE_ENTRY(IMediaSample)
    COM_INTERFACE_ENTRY(IMediaSample2)
    END_COM_MAP()

    HRESULT FinalConstruct() noexcept
    {
        trace(atlTraceGeneral, eTL_Frame, L"CMediaSample::FinalConstruct\n");
        return S_OK;
    }
    void FinalRelease() noexcept { trace(atlTraceGeneral, eTL_Frame, L"CMediaSample::FinalRelease\n"); }

    LPCWSTR GetClassName() const noexcept override { return L"CMediaSample"; }
};

/// The complete object, as CComObject is for objects of the heap.
/// \tparam TAlloc the allocator: a COM object with Lock, Unlock,
///   `void ReturnBuffer(IMediaSample*)`, `void ReturnBlock(void*)` and
///   `void TakeNotify(CComPtr<IMemAllocatorNotifyCallbackTemp>&)`
/// \tparam TSample the sample's class
template <class TAlloc, class TSample>
class CComSampleObject final : public TSample
{
public:
    /// Builds a sample in a block. On success it has one reference, the caller's.
    /// \param pSample a block of sizeof(CComSampleObject) bytes, which stays the allocator's
    /// \param pBuffer cbBuffer bytes, which stay the allocator's
    static HRESULT InitInstance(void* pSample, TAlloc* pAlloc, BYTE* pBuffer, LONG cbBuffer,
                                IMediaSample** ppMediaSample) noexcept
    {
        DSASSERT(pSample != NULL && ppMediaSample != NULL);
        if (pSample == nullptr || ppMediaSample == nullptr)
            return E_POINTER;
        DSASSERT(pAlloc != NULL && pBuffer != NULL && cbBuffer > 0);
        if (pAlloc == nullptr || pBuffer == nullptr || cbBuffer == 0)
            return E_INVALIDARG; // a negative size deliberately passes

        auto* const p = ::new (pSample) CComSampleObject;
        p->m_pAlloc = pAlloc;
        p->AttachBuffer(pBuffer, cbBuffer);
        HRESULT hr = p->FinalConstruct();
        if (hr != S_OK)
        {
            DSASSERT_TEXT(false, "CComSampleObject::InitInstance() : pSample->FinalConstruct() FAILED");
            return p->Abandon(hr);
        }
        p->AddRef();
        hr = p->QueryInterface(__uuidof(IMediaSample), reinterpret_cast<void**>(ppMediaSample));
        if (hr != S_OK)
        {
            DSASSERT_TEXT(false, "CComSampleObject::InitInstance() : pSample->QueryInterface() FAILED");
            return p->Abandon(hr);
        }
        p->Release();
        return S_OK;
    }

    STDMETHOD_(ULONG, AddRef)() noexcept override { return this->InternalAddRef(); }
    STDMETHOD_(ULONG, Release)() noexcept override
    {
        const ULONG nRef = this->InternalRelease();
        if (nRef != 0)
            return nRef;
        TAlloc* const pAlloc = m_pAlloc;
        if (pAlloc == nullptr)
        {
            this->~CComSampleObject();
            return 0;
        }
        // The return of the last buffer may end a decommit, and with it the allocator's reference on itself.
        const CComPtr<TAlloc> spAlloc(pAlloc);
        CComPtr<IMemAllocatorNotifyCallbackTemp> spNotify;
        CScopedLock lock(pAlloc);
        this->~CComSampleObject();
        pAlloc->ReturnBlock(this);
        pAlloc->TakeNotify(spNotify);
        lock.Unlock();
        if (spNotify)
            spNotify->NotifyRelease();
        return 0;
    }
    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) noexcept override
    {
        return this->_InternalQueryInterface(riid, ppv);
    }

    /// The block belongs to the pool: an ordinary delete of a sample is a fault, and frees nothing.
    /// @{
    static void operator delete(void*) noexcept
    {
        DSASSERT_TEXT(false, "CComSampleObject::operator delete 1");
    }
    static void operator delete(void*, void*) noexcept
    {
        DSASSERT_TEXT(false, "CComSampleObject::operator delete 2");
    }
    /// @}

    TAlloc* m_pAlloc = nullptr; ///< not counted: the committed allocator keeps itself alive

private:
    CComSampleObject() noexcept = default;
    ~CComSampleObject()
    {
        this->m_dwRef = 1; // references that are handed out and given back meanwhile do not end it again
        this->FinalRelease();
        if (m_pAlloc != nullptr)
            m_pAlloc->ReturnBuffer(this);
        m_pAlloc = nullptr;
        this->m_dwRef = 0;
    }

    /// Ends an object that was never handed out; buffer and block are the caller's.
    HRESULT Abandon(HRESULT hr) noexcept
    {
        m_pAlloc = nullptr;
        this->~CComSampleObject();
        return DSTLFailure(hr);
    }
};
