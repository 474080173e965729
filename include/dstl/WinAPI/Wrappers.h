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

/// Holds a lock for a scope; where it must not wait, only if the lock is free or the caller's own.
template <class TLock>
class CScopedTryLock
{
public:
    CScopedTryLock(TLock* pLock, bool bMayWait) noexcept : m_pLock(pLock)
    {
        if (bMayWait)
            m_pLock->Lock();
        else if (!m_pLock->TryLock())
            m_pLock = nullptr;
    }
    ~CScopedTryLock()
    {
        if (m_pLock != nullptr)
            m_pLock->Unlock();
    }
    CScopedTryLock(const CScopedTryLock&) = delete;
    CScopedTryLock& operator=(const CScopedTryLock&) = delete;

    bool IsHeld() const noexcept { return m_pLock != nullptr; }

private:
    TLock* m_pLock;
};

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
    /// Whether the calling thread has it.
    bool IsMine() const noexcept { return HandleToULong(m_crs.OwningThread) == GetCurrentThreadId(); }

private:
    CRITICAL_SECTION m_crs;
};

#ifndef QX_NATIVE

#include "dstl/WinAPI/Threads.h"
#include "dstl/WinAPI/Atl.h"

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
