#pragma once
/// Client side of the ATL subset: counted interface pointers and the BSTR wrapper.

#include "atldef.h"

// --- Counted pointers

/// Assigns p to *pp with the right counts: the new one is counted before the old one goes.
template <class T>
T* AtlComPtrAssign(T** pp, T* p) noexcept
{
    if (pp == nullptr)
        return nullptr;
    if (p != nullptr)
        p->AddRef();
    T* pOld = *pp;
    *pp = p;
    if (pOld != nullptr)
        pOld->Release();
    return p;
}

/// Assigns to *pp what p answers for riid; null when it does not.
template <class T>
T* AtlComQIPtrAssign(T** pp, IUnknown* p, REFIID riid) noexcept
{
    if (pp == nullptr)
        return nullptr;
    void* pNew = nullptr;
    if (p == nullptr || FAILED(p->QueryInterface(riid, &pNew)))
        pNew = nullptr;
    T* pOld = *pp;
    *pp = static_cast<T*>(pNew);
    if (pOld != nullptr)
        pOld->Release();
    return *pp;
}

/// A counted interface pointer. Dereferencing a null one and taking the address of an occupied one assert.
template <class T>
class CComPtr
{
public:
    typedef T _PtrClass;

    CComPtr() noexcept = default;
    CComPtr(std::nullptr_t) noexcept {}
    CComPtr(T* lp) noexcept : p(lp)
    {
        if (p != nullptr)
            p->AddRef();
    }
    CComPtr(const CComPtr& other) noexcept : CComPtr(other.p) {}
    CComPtr(CComPtr&& other) noexcept : p(std::exchange(other.p, nullptr)) {}
    ~CComPtr() { Release(); }

    T* operator=(T* lp) noexcept { return AtlComPtrAssign(&p, lp); }
    T* operator=(std::nullptr_t) noexcept
    {
        Release();
        return nullptr;
    }
    CComPtr& operator=(const CComPtr& other) noexcept
    {
        AtlComPtrAssign(&p, other.p);
        return *this;
    }
    CComPtr& operator=(CComPtr&& other) noexcept
    {
        T* pOld = std::exchange(p, std::exchange(other.p, nullptr));
        if (pOld != nullptr)
            pOld->Release();
        return *this;
    }
    /// From a pointer of another interface type: asks it for this one.
    template <class Q>
    requires(!std::is_same_v<Q, T>) CComPtr& operator=(const CComPtr<Q>& other) noexcept
    {
        AtlComQIPtrAssign(&p, other.p, __uuidof(T));
        return *this;
    }

    /// Also what comparisons go by.
    operator T*() const noexcept { return p; }
    T& operator*() const noexcept
    {
        ATLASSERT_TEXT(p != nullptr, "p!=NULL");
        return *p;
    }
    T** operator&() noexcept
    {
        ATLASSERT_TEXT(p == nullptr, "p==NULL");
        return &p;
    }
    T* operator->() const noexcept
    {
        ATLASSERT_TEXT(p != nullptr, "p!=NULL");
        return p;
    }
    bool operator!() const noexcept { return p == nullptr; }

    void Release() noexcept
    {
        T* pOld = std::exchange(p, nullptr);
        if (pOld != nullptr)
            pOld->Release();
    }
    /// Takes over a reference of the caller.
    void Attach(T* p2) noexcept
    {
        T* pOld = std::exchange(p, p2);
        if (pOld != nullptr)
            pOld->Release();
    }
    /// Hands the reference to the caller.
    T* Detach() noexcept { return std::exchange(p, nullptr); }
    /// Hands a further reference to the caller.
    /// \return E_POINTER for a null ppT
    HRESULT CopyTo(T** ppT) const noexcept
    {
        if (ppT == nullptr)
            return E_POINTER;
        *ppT = p;
        if (p != nullptr)
            p->AddRef();
        return S_OK;
    }
    /// Whether both belong to one COM object.
    bool IsEqualObject(IUnknown* pOther) const noexcept
    {
        if (p == nullptr || pOther == nullptr)
            return p == nullptr && pOther == nullptr;
        CComPtr<IUnknown> spOne;
        CComPtr<IUnknown> spTwo;
        p->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&spOne));
        pOther->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&spTwo));
        return spOne.p == spTwo.p;
    }
    HRESULT CoCreateInstance(REFCLSID rclsid, IUnknown* pUnkOuter = nullptr,
                             DWORD dwClsContext = CLSCTX_ALL) noexcept
    {
        ATLASSERT_TEXT(p == nullptr, "p==NULL");
        return ::CoCreateInstance(rclsid, pUnkOuter, dwClsContext, __uuidof(T), reinterpret_cast<void**>(&p));
    }
    template <class Q>
    HRESULT QueryInterface(Q** pp) const noexcept
    {
        ATLASSERT_TEXT(pp != nullptr, "pp != NULL");
        return p->QueryInterface(__uuidof(Q), reinterpret_cast<void**>(pp));
    }

    T* p = nullptr;
};

/// A counted pointer that asks whatever it is given for its own interface; null when that is not there.
/// Without an explicit identifier it is the one of T.
template <class T, const IID* piid = nullptr>
class CComQIPtr : public CComPtr<T>
{
public:
    CComQIPtr() noexcept = default;
    CComQIPtr(T* lp) noexcept : CComPtr<T>(lp) {}
    CComQIPtr(const CComQIPtr& other) noexcept : CComPtr<T>(other.p) {}
    CComQIPtr(const CComPtr<T>& other) noexcept : CComPtr<T>(other.p) {}
    template <class Q>
    requires(std::is_base_of_v<IUnknown, Q> && !std::is_same_v<Q, T>) CComQIPtr(Q* lp)
    noexcept { AtlComQIPtrAssign(&this->p, static_cast<IUnknown*>(lp), Iid()); }
    template <class Q>
    requires(!std::is_same_v<Q, T>) CComQIPtr(const CComPtr<Q>& other)
    noexcept { AtlComQIPtrAssign(&this->p, static_cast<IUnknown*>(other.p), Iid()); }

    T* operator=(T* lp) noexcept { return AtlComPtrAssign(&this->p, lp); }
    CComQIPtr& operator=(const CComQIPtr& other) noexcept
    {
        AtlComPtrAssign(&this->p, other.p);
        return *this;
    }
    template <class Q>
    requires(std::is_base_of_v<IUnknown, Q> && !std::is_same_v<Q, T>) T* operator=(Q* lp) noexcept
    {
        return AtlComQIPtrAssign(&this->p, static_cast<IUnknown*>(lp), Iid());
    }

private:
    static const IID& Iid() noexcept
    {
        if constexpr (piid == nullptr)
            return __uuidof(T);
        else
            return *piid;
    }
};

/// Sole owner of an object made by new.
template <class T>
class CAutoPtr
{
public:
    CAutoPtr() noexcept = default;
    explicit CAutoPtr(T* p) noexcept : m_p(p) {}
    CAutoPtr(CAutoPtr& other) noexcept : m_p(other.Detach()) {}
    CAutoPtr(CAutoPtr&& other) noexcept : m_p(other.Detach()) {}
    ~CAutoPtr() { Free(); }
    CAutoPtr& operator=(CAutoPtr& other) noexcept
    {
        if (this != &other)
        {
            Free();
            m_p = other.Detach();
        }
        return *this;
    }
    operator T*() const noexcept { return m_p; }
    T* operator->() const noexcept
    {
        ATLASSERT_TEXT(m_p != nullptr, "m_p != NULL");
        return m_p;
    }
    void Attach(T* p) noexcept
    {
        ATLASSERT_TEXT(m_p == nullptr, "m_p == NULL");
        m_p = p;
    }
    T* Detach() noexcept { return std::exchange(m_p, nullptr); }
    void Free() noexcept { delete std::exchange(m_p, nullptr); }

    T* m_p = nullptr;
};

// --- BSTR

/// An owned BSTR. A null string and an empty one are the same text. Without memory the string becomes null.
class CComBSTR
{
public:
    CComBSTR() noexcept = default;
    CComBSTR(std::nullptr_t) noexcept {}
    explicit CComBSTR(int nSize) noexcept
        : m_str(nSize > 0 ? SysAllocStringLen(nullptr, static_cast<UINT>(nSize)) : nullptr)
    {
    }
    CComBSTR(int nSize, LPCOLESTR sz) noexcept
        : m_str(nSize > 0 ? SysAllocStringLen(sz, static_cast<UINT>(nSize)) : nullptr)
    {
    }
    CComBSTR(LPCOLESTR pSrc) noexcept : m_str(pSrc != nullptr ? SysAllocString(pSrc) : nullptr) {}
    CComBSTR(const CComBSTR& src) noexcept : m_str(src.Copy()) {}
    CComBSTR(CComBSTR&& src) noexcept : m_str(src.Detach()) {}
    ~CComBSTR() { SysFreeString(m_str); }

    CComBSTR& operator=(const CComBSTR& src) noexcept
    {
        if (m_str != src.m_str)
            Attach(src.Copy());
        return *this;
    }
    CComBSTR& operator=(CComBSTR&& src) noexcept
    {
        if (this != std::addressof(src))
            Attach(src.Detach());
        return *this;
    }
    CComBSTR& operator=(LPCOLESTR pSrc) noexcept
    {
        if (pSrc != m_str || pSrc == nullptr)
            Attach(pSrc != nullptr ? SysAllocString(pSrc) : nullptr);
        return *this;
    }

    /// In characters, inner zeros included; 0 for a null string.
    unsigned int Length() const noexcept { return SysStringLen(m_str); }
    unsigned int ByteLength() const noexcept { return SysStringByteLen(m_str); }
    operator BSTR() const noexcept { return m_str; }
    BSTR* operator&() noexcept
    {
        ATLASSERT_TEXT(m_str == nullptr, "m_str == NULL");
        return &m_str;
    }
    bool operator!() const noexcept { return m_str == nullptr; }

    /// A copy for the caller, with inner zeros; null for a null string.
    BSTR Copy() const noexcept
    {
        return m_str != nullptr ? SysAllocStringByteLen(reinterpret_cast<const char*>(m_str), ByteLength())
                                : nullptr;
    }
    HRESULT CopyTo(BSTR* pbstr) const noexcept
    {
        if (pbstr == nullptr)
            return E_POINTER;
        *pbstr = Copy();
        return *pbstr == nullptr && m_str != nullptr ? E_OUTOFMEMORY : S_OK;
    }
    void Attach(BSTR src) noexcept
    {
        if (m_str != src)
        {
            SysFreeString(m_str);
            m_str = src;
        }
    }
    BSTR Detach() noexcept { return std::exchange(m_str, nullptr); }
    void Empty() noexcept { Attach(nullptr); }
    HRESULT AssignBSTR(const BSTR bstrSrc) noexcept
    {
        if (m_str == bstrSrc)
            return S_OK;
        BSTR bsNew = nullptr;
        if (bstrSrc != nullptr)
        {
            bsNew = SysAllocStringByteLen(reinterpret_cast<const char*>(bstrSrc), SysStringByteLen(bstrSrc));
            if (bsNew == nullptr)
                return E_OUTOFMEMORY;
        }
        Attach(bsNew);
        return S_OK;
    }
    HRESULT Append(LPCOLESTR psz, int nLen) noexcept
    {
        if (psz == nullptr || nLen == 0)
            return S_OK;
        if (nLen < 0)
            return E_INVALIDARG;
        const UINT nOld = Length();
        BSTR bsNew = SysAllocStringLen(nullptr, nOld + static_cast<UINT>(nLen));
        if (bsNew == nullptr)
            return E_OUTOFMEMORY;
        if (nOld != 0)
            memcpy(bsNew, m_str, nOld * sizeof(OLECHAR));
        memcpy(bsNew + nOld, psz, static_cast<size_t>(nLen) * sizeof(OLECHAR));
        Attach(bsNew);
        return S_OK;
    }
    HRESULT Append(LPCOLESTR psz) noexcept { return psz != nullptr ? Append(psz, lstrlenW(psz)) : S_OK; }
    HRESULT Append(const CComBSTR& src) noexcept { return Append(src.m_str, static_cast<int>(src.Length())); }
    CComBSTR& operator+=(LPCOLESTR psz) noexcept
    {
        Append(psz);
        return *this;
    }

    bool operator==(LPCOLESTR psz) const noexcept { return wcscmp(Text(m_str), Text(psz)) == 0; }
    bool operator!=(LPCOLESTR psz) const noexcept { return !(*this == psz); }
    bool operator==(const CComBSTR& src) const noexcept
    {
        return Length() == src.Length() &&
               memcmp(Text(m_str), Text(src.m_str), Length() * sizeof(OLECHAR)) == 0;
    }
    bool operator!=(const CComBSTR& src) const noexcept { return !(*this == src); }
    bool operator==(std::nullptr_t) const noexcept { return Length() == 0; }
    bool operator!=(std::nullptr_t) const noexcept { return Length() != 0; }
    bool operator<(const CComBSTR& src) const noexcept { return wcscmp(Text(m_str), Text(src.m_str)) < 0; }

    BSTR m_str = nullptr;

private:
    static LPCOLESTR Text(LPCOLESTR psz) noexcept { return psz != nullptr ? psz : L""; }
};
