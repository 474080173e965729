#pragma once
/// Guards: the scoped lock and the creators of COM objects. The checked smart pointer is CComPtr, the handle
/// wrapper CHandle.

#include "dstl/dshowx/DSTrace.h"

/// Holds a lock for a scope: CScopedLock lock(&m_lock); with a null pointer it does nothing.
template <class TLock>
class CScopedLock
{
public:
    explicit CScopedLock(TLock* pLock) noexcept : m_pLock(pLock)
    {
        if (m_pLock != nullptr)
            m_pLock->Lock();
    }
    ~CScopedLock() { Unlock(); }
    CScopedLock(const CScopedLock&) = delete;
    CScopedLock& operator=(const CScopedLock&) = delete;

    /// Releases the lock before the end of the scope.
    void Unlock() noexcept
    {
        if (m_pLock != nullptr)
            m_pLock->Unlock();
        m_pLock = nullptr;
    }

private:
    TLock* m_pLock;
};

#ifndef QX_NATIVE

#include "dstl/WinAPI/Threads.h"
#include "dstl/WinAPI/Atl.h"

/// A recursive lock.
class CCritSec
{
public:
    CCritSec() noexcept { InitializeCriticalSection(&m_crs); }
    ~CCritSec() { DeleteCriticalSection(&m_crs); }
    CCritSec(const CCritSec&) = delete;
    CCritSec& operator=(const CCritSec&) = delete;

    void Lock() noexcept { EnterCriticalSection(&m_crs); }
    /// \return false when another thread has it
    bool TryLock() noexcept { return TryEnterCriticalSection(&m_crs) != FALSE; }
    void Unlock() noexcept { LeaveCriticalSection(&m_crs); }

private:
    CRITICAL_SECTION m_crs;
};

/// Creates a COM object and holds one reference for the caller.
/// \param ppObject receives the complete object; it must hold null, and does so after a failure
template <class T>
HRESULT DSTLCreateObject(CComObject<T>** ppObject) noexcept
{
    DSASSERT(ppObject != NULL);
    if (ppObject == nullptr)
        return E_POINTER;
    DSASSERT(*ppObject == NULL);
    *ppObject = nullptr;

    CComObject<T>* pObject = nullptr;
    const HRESULT hr = CComObject<T>::CreateInstance(&pObject);
    if (FAILED(hr))
        return hr;
    pObject->AddRef();
    *ppObject = pObject;
    return S_OK;
}

/// The same, giving the object as its class.
template <class T>
HRESULT DSTLCreateObject(T** ppObject) noexcept
{
    DSASSERT(ppObject != NULL);
    if (ppObject == nullptr)
        return E_POINTER;
    DSASSERT(*ppObject == NULL);
    *ppObject = nullptr;

    CComObject<T>* pObject = nullptr;
    const HRESULT hr = DSTLCreateObject(&pObject);
    if (FAILED(hr))
        return hr;
    *ppObject = pObject;
    return S_OK;
}

#endif // QX_NATIVE
