#pragma once
/// The part of ATL's COM header that this system uses: the class templates from which COM objects and their
/// class factories are made, and the macros for interface and object maps.

#include "atlbase.h"

#include <limits>

// --- Interface map

/// A row of an interface map, tried in order. A simple row casts; any other row calls a function, which gives
/// a failure for what it does not serve, and then the rows after it are tried.
struct _ATL_INTMAP_ENTRY
{
    const IID* piid;                                           ///< null: asked for every identifier
    IUnknown* (*pfnCast)(void* pThis);                         ///< a simple row
    HRESULT (*pfnQuery)(void* pThis, REFIID riid, void** ppv); ///< any other row
    bool bEnd;
};

template <class TMap, class TInterface, class TVia = TInterface>
IUnknown* AtlMapCast(void* pThis) noexcept
{
    return static_cast<TInterface*>(static_cast<TVia*>(static_cast<TMap*>(pThis)));
}

/// Answers riid from an interface map. IID_IUnknown is the first simple row, so that an object has one
/// identity.
inline HRESULT AtlInternalQueryInterface(void* pThis, const _ATL_INTMAP_ENTRY* pEntries, REFIID riid,
                                         void** ppv) noexcept
{
    if (ppv == nullptr)
        return E_POINTER;
    *ppv = nullptr;
    const bool bUnknown = IsEqualGUID(riid, IID_IUnknown);
    for (const _ATL_INTMAP_ENTRY* pEntry = pEntries; !pEntry->bEnd; ++pEntry)
    {
        if (pEntry->pfnCast != nullptr)
        {
            if (!bUnknown && !IsEqualGUID(*pEntry->piid, riid))
                continue;
            IUnknown* pUnk = pEntry->pfnCast(pThis);
            pUnk->AddRef();
            *ppv = pUnk;
            return S_OK;
        }
        if (bUnknown || (pEntry->piid != nullptr && !IsEqualGUID(*pEntry->piid, riid)))
            continue;
        const HRESULT hr = pEntry->pfnQuery(pThis, riid, ppv);
        if (SUCCEEDED(hr))
            return hr;
        *ppv = nullptr;
    }
    return E_NOINTERFACE;
}

template <class TMap, class TBase>
HRESULT AtlMapChain(void* pThis, REFIID riid, void** ppv) noexcept
{
    TBase* pBase = static_cast<TMap*>(pThis);
    return AtlInternalQueryInterface(pBase, TBase::_GetEntries(), riid, ppv);
}

/// Opens the interface map of class x. The pure declarations make calls of the three operations from within x
/// unambiguous; the object template on top implements them.
// clang-format off
#define BEGIN_COM_MAP(x)                                                                                     \
public:                                                                                                      \
    typedef x _ComMapClass;                                                                                  \
    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) = 0;                                                  \
    STDMETHOD_(ULONG, AddRef)() = 0;                                                                         \
    STDMETHOD_(ULONG, Release)() = 0;                                                                        \
    IUnknown* _GetRawUnknown() noexcept                                                                      \
    {                                                                                                        \
        return _GetEntries()->pfnCast(this);                                                                 \
    }                                                                                                        \
    IUnknown* GetUnknown() noexcept                                                                          \
    {                                                                                                        \
        return _GetRawUnknown();                                                                             \
    }                                                                                                        \
    HRESULT _InternalQueryInterface(REFIID riid, void** ppv) noexcept                                        \
    {                                                                                                        \
        return AtlInternalQueryInterface(static_cast<_ComMapClass*>(this), _GetEntries(), riid, ppv);          \
    }                                                                                                        \
    static const _ATL_INTMAP_ENTRY* _GetEntries() noexcept                                                   \
    {                                                                                                        \
        static const _ATL_INTMAP_ENTRY entries[] = {

/// Interface x under its own identifier.
#define COM_INTERFACE_ENTRY(x) {&__uuidof(x), &AtlMapCast<_ComMapClass, x>, nullptr, false},
/// Interface x under another identifier.
#define COM_INTERFACE_ENTRY_IID(iid, x) {&iid, &AtlMapCast<_ComMapClass, x>, nullptr, false},
/// Interface x, which several bases have, by way of base x2.
#define COM_INTERFACE_ENTRY2(x, x2) {&__uuidof(x), &AtlMapCast<_ComMapClass, x, x2>, nullptr, false},
#define COM_INTERFACE_ENTRY2_IID(iid, x, x2) {&iid, &AtlMapCast<_ComMapClass, x, x2>, nullptr, false},
/// The map of a base class.
#define COM_INTERFACE_ENTRY_CHAIN(base) {nullptr, nullptr, &AtlMapChain<_ComMapClass, base>, false},
/// A function HRESULT f(void* pThis, REFIID riid, void** ppv) for one identifier, or for every one.
#define COM_INTERFACE_ENTRY_FUNC(iid, f) {&iid, nullptr, f, false},
#define COM_INTERFACE_ENTRY_FUNC_BLIND(f) {nullptr, nullptr, f, false},

#define END_COM_MAP()                                                                                        \
        {nullptr, nullptr, nullptr, true}};                                                                  \
        return entries;                                                                                      \
    }
// clang-format on

// --- Base classes of objects

/// What every object has: the count, or the outer object of an aggregated one.
class CComObjectRootBase
{
public:
    CComObjectRootBase() noexcept = default;

    /// Called once after construction; a failure ends the creation. References that are handed out and given
    /// back meanwhile do not end the object.
    HRESULT FinalConstruct() noexcept { return S_OK; }
    /// Called once before destruction. References that are handed out and given back meanwhile do no harm.
    void FinalRelease() noexcept {}

    void SetVoid(void*) noexcept {}

    ULONG OuterAddRef() noexcept { return m_pOuterUnknown->AddRef(); }
    ULONG OuterRelease() noexcept { return m_pOuterUnknown->Release(); }
    HRESULT OuterQueryInterface(REFIID riid, void** ppv) noexcept
    {
        return m_pOuterUnknown->QueryInterface(riid, ppv);
    }
    static HRESULT InternalQueryInterface(void* pThis, const _ATL_INTMAP_ENTRY* pEntries, REFIID riid,
                                          void** ppv) noexcept
    {
        return AtlInternalQueryInterface(pThis, pEntries, riid, ppv);
    }

    LONG m_dwRef = 0;
    IUnknown* m_pOuterUnknown = nullptr; ///< not counted: the outer object lives longer

protected:
    /// A count that no pair of AddRef and Release brings to zero: the object is being destroyed.
    static constexpr LONG nDestroying = std::numeric_limits<LONG>::min() / 2;
};

/// Lock and count by the threading model.
template <class ThreadModel>
class CComObjectRootEx : public CComObjectRootBase
{
public:
    typedef ThreadModel _ThreadModel;
    typedef typename ThreadModel::AutoCriticalSection _CritSec;

    ULONG InternalAddRef() noexcept { return ThreadModel::Increment(&m_dwRef); }
    ULONG InternalRelease() noexcept { return ThreadModel::Decrement(&m_dwRef); }
    void InternalFinalConstructAddRef() noexcept { InternalAddRef(); }
    void InternalFinalConstructRelease() noexcept { InternalRelease(); }

    void Lock() noexcept { m_critsec.Lock(); }
    void Unlock() noexcept { m_critsec.Unlock(); }

    /// Holds the object's lock as long as it lives.
    class ObjectLock
    {
    public:
        explicit ObjectLock(CComObjectRootEx* p) noexcept : m_p(p)
        {
            if (m_p != nullptr)
                m_p->Lock();
        }
        ~ObjectLock()
        {
            if (m_p != nullptr)
                m_p->Unlock();
        }
        ObjectLock(const ObjectLock&) = delete;
        ObjectLock& operator=(const ObjectLock&) = delete;

    private:
        CComObjectRootEx* m_p;
    };

private:
    _CritSec m_critsec;
};

/// Kept for sources that are shared with other implementations: construction is always protected here.
#define DECLARE_PROTECT_FINAL_CONSTRUCT()

/// Gives the object that a client sees: the outer one for an aggregated object.
#define DECLARE_GET_CONTROLLING_UNKNOWN()                                                                    \
public:                                                                                                      \
    virtual IUnknown* GetControllingUnknown() noexcept                                                       \
    {                                                                                                        \
        return GetUnknown();                                                                                 \
    }

// --- Complete objects

/// Keeps the module loaded while an object's last code runs.
class CComModuleLock
{
public:
    CComModuleLock() noexcept { _Module.Lock(); }
    ~CComModuleLock() { _Module.Unlock(); }
    CComModuleLock(const CComModuleLock&) = delete;
    CComModuleLock& operator=(const CComModuleLock&) = delete;
};

/// Builds an object in two steps and destroys it when the second one fails.
/// \param hr receives the result
/// \return null on failure
template <class T>
T* AtlConstruct(void* pv, HRESULT& hr) noexcept
{
    T* p = new (std::nothrow) T(pv);
    if (p == nullptr)
    {
        hr = E_OUTOFMEMORY;
        return nullptr;
    }
    p->SetVoid(pv);
    p->InternalFinalConstructAddRef();
    hr = p->FinalConstruct();
    p->InternalFinalConstructRelease();
    if (FAILED(hr))
    {
        delete p;
        return nullptr;
    }
    return p;
}

/// An object on the heap with a count of its own.
template <class Base>
class CComObject : public Base
{
public:
    typedef Base _BaseClass;

    explicit CComObject(void* = nullptr) noexcept { _Module.Lock(); }
    virtual ~CComObject()
    {
        this->m_dwRef = Base::nDestroying;
        this->FinalRelease();
        _Module.Unlock();
    }
    CComObject(const CComObject&) = delete;
    CComObject& operator=(const CComObject&) = delete;

    STDMETHOD_(ULONG, AddRef)() noexcept override { return this->InternalAddRef(); }
    STDMETHOD_(ULONG, Release)() noexcept override
    {
        const ULONG nRef = this->InternalRelease();
        if (nRef == 0)
        {
            CComModuleLock lock; // outlives the destructors of the bases
            delete this;
        }
        return nRef;
    }
    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) noexcept override
    {
        return this->_InternalQueryInterface(riid, ppv);
    }
    template <class Q>
    HRESULT QueryInterface(Q** pp) noexcept
    {
        return QueryInterface(__uuidof(Q), reinterpret_cast<void**>(pp));
    }

    /// The object comes with a count of 0: the first AddRef is the caller's.
    static HRESULT WINAPI CreateInstance(CComObject** pp) noexcept
    {
        ATLASSERT_TEXT(pp != nullptr, "pp != NULL");
        if (pp == nullptr)
            return E_POINTER;
        HRESULT hr = S_OK;
        *pp = AtlConstruct<CComObject>(nullptr, hr);
        return hr;
    }
};

/// The part of an aggregated object that its interfaces belong to: counts and queries go to the outer object.
template <class Base>
class CComContainedObject : public Base
{
public:
    typedef Base _BaseClass;

    explicit CComContainedObject(void* pv) noexcept { this->m_pOuterUnknown = static_cast<IUnknown*>(pv); }
    virtual ~CComContainedObject() = default;
    CComContainedObject(const CComContainedObject&) = delete;
    CComContainedObject& operator=(const CComContainedObject&) = delete;

    STDMETHOD_(ULONG, AddRef)() noexcept override { return this->OuterAddRef(); }
    STDMETHOD_(ULONG, Release)() noexcept override { return this->OuterRelease(); }
    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) noexcept override
    {
        return this->OuterQueryInterface(riid, ppv);
    }
    template <class Q>
    HRESULT QueryInterface(Q** pp) noexcept
    {
        return QueryInterface(__uuidof(Q), reinterpret_cast<void**>(pp));
    }
#ifdef __clang__ // a class may declare it virtual, or not at all
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Winconsistent-missing-override"
#endif
    IUnknown* GetControllingUnknown() noexcept
    {
        return this->m_pOuterUnknown;
    }
#ifdef __clang__
#pragma clang diagnostic pop
#endif
};

/// An aggregated object: the IUnknown that only the outer object sees, with the object inside.
template <class Contained>
class CComAggObject : public IUnknown,
                      public CComObjectRootEx<typename Contained::_ThreadModel::ThreadModelNoCS>
{
public:
    typedef Contained _BaseClass;

    explicit CComAggObject(void* pv) noexcept : m_contained(pv) { _Module.Lock(); }
    virtual ~CComAggObject()
    {
        this->m_dwRef = this->nDestroying;
        FinalRelease();
        _Module.Unlock();
    }
    CComAggObject(const CComAggObject&) = delete;
    CComAggObject& operator=(const CComAggObject&) = delete;

    HRESULT FinalConstruct() noexcept { return m_contained.FinalConstruct(); }
    void FinalRelease() noexcept { m_contained.FinalRelease(); }

    STDMETHOD_(ULONG, AddRef)() noexcept override { return this->InternalAddRef(); }
    STDMETHOD_(ULONG, Release)() noexcept override
    {
        const ULONG nRef = this->InternalRelease();
        if (nRef == 0)
        {
            CComModuleLock lock;
            delete this;
        }
        return nRef;
    }
    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) noexcept override
    {
        if (ppv == nullptr)
            return E_POINTER;
        if (!IsEqualGUID(riid, IID_IUnknown))
            return m_contained._InternalQueryInterface(riid, ppv);
        *ppv = static_cast<IUnknown*>(this);
        AddRef();
        return S_OK;
    }

    CComContainedObject<Contained> m_contained;
};

/// An object that its module holds itself: it keeps the module loaded only while someone else holds it too.
template <class Base>
class CComObjectCached : public Base
{
public:
    typedef Base _BaseClass;

    explicit CComObjectCached(void* = nullptr) noexcept {}
    virtual ~CComObjectCached()
    {
        this->m_dwRef = Base::nDestroying;
        this->FinalRelease();
    }
    CComObjectCached(const CComObjectCached&) = delete;
    CComObjectCached& operator=(const CComObjectCached&) = delete;

    /// Construction is not a use from outside.
    void InternalFinalConstructAddRef() noexcept { this->InternalAddRef(); }
    void InternalFinalConstructRelease() noexcept { this->InternalRelease(); }

    STDMETHOD_(ULONG, AddRef)() noexcept override
    {
        const ULONG nRef = this->InternalAddRef();
        if (nRef == 2)
            _Module.Lock();
        return nRef;
    }
    STDMETHOD_(ULONG, Release)() noexcept override
    {
        const ULONG nRef = this->InternalRelease();
        if (nRef == 0)
            delete this;
        else if (nRef == 1)
            _Module.Unlock();
        return nRef;
    }
    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) noexcept override
    {
        return this->_InternalQueryInterface(riid, ppv);
    }
};

// --- Creators and class factories

/// Makes a T and answers for riid.
template <class T>
class CComCreator
{
public:
    static HRESULT WINAPI CreateInstance(void* pv, REFIID riid, LPVOID* ppv) noexcept
    {
        ATLASSERT_TEXT(ppv != nullptr, "ppv != NULL");
        if (ppv == nullptr)
            return E_POINTER;
        *ppv = nullptr;
        HRESULT hr = S_OK;
        T* p = AtlConstruct<T>(pv, hr);
        if (p == nullptr)
            return hr;
        hr = p->QueryInterface(riid, ppv);
        if (FAILED(hr))
            delete p;
        return hr;
    }
};

/// For what cannot be created in this way.
template <HRESULT hr>
class CComFailCreator
{
public:
    static HRESULT WINAPI CreateInstance(void*, REFIID, LPVOID* ppv) noexcept
    {
        if (ppv == nullptr)
            return E_POINTER;
        *ppv = nullptr;
        return hr;
    }
};

/// One creator for objects alone, one for aggregated objects.
template <class TAlone, class TAggregated>
class CComCreator2
{
public:
    static HRESULT WINAPI CreateInstance(void* pv, REFIID riid, LPVOID* ppv) noexcept
    {
        return pv == nullptr ? TAlone::CreateInstance(nullptr, riid, ppv)
                             : TAggregated::CreateInstance(pv, riid, ppv);
    }
};

/// The class factory of every class; it is told the creator through SetVoid.
class CComClassFactory : public IClassFactory, public CComObjectRootEx<CComGlobalsThreadModel>
{
public:
    BEGIN_COM_MAP(CComClassFactory)
    COM_INTERFACE_ENTRY(IClassFactory)
    END_COM_MAP()

    /// An outer object has to ask for IUnknown: only that one is its own to keep.
    /// \return E_POINTER; CLASS_E_NOAGGREGATION for an outer object that asks for another interface, or where
    /// the class is never a part of another; what the creator fails with. A failure leaves *ppv null.
    STDMETHOD(CreateInstance)(IUnknown* pUnkOuter, REFIID riid, void** ppv) noexcept override
    {
        if (ppv == nullptr)
            return E_POINTER;
        *ppv = nullptr;
        if (pUnkOuter != nullptr && !IsEqualGUID(riid, IID_IUnknown))
            return CLASS_E_NOAGGREGATION;
        return m_pfnCreateInstance(pUnkOuter, riid, ppv);
    }
    STDMETHOD(LockServer)(BOOL bLock) noexcept override
    {
        if (bLock)
            _Module.Lock();
        else
            _Module.Unlock();
        return S_OK;
    }

    void SetVoid(void* pv) noexcept { m_pfnCreateInstance = reinterpret_cast<_ATL_CREATORFUNC*>(pv); }

    _ATL_CREATORFUNC* m_pfnCreateInstance = nullptr;
};

#define DECLARE_CLASSFACTORY_EX(cf) typedef CComCreator<CComObjectCached<cf>> _ClassFactoryCreatorClass;
#define DECLARE_CLASSFACTORY() DECLARE_CLASSFACTORY_EX(CComClassFactory)

#define DECLARE_AGGREGATABLE(x)                                                                              \
public:                                                                                                      \
    typedef CComCreator2<CComCreator<CComObject<x>>, CComCreator<CComAggObject<x>>> _CreatorClass;
#define DECLARE_NOT_AGGREGATABLE(x)                                                                          \
public:                                                                                                      \
    typedef CComCreator2<CComCreator<CComObject<x>>, CComFailCreator<CLASS_E_NOAGGREGATION>> _CreatorClass;

/// What a class of the object map has: factory, creator (aggregatable unless declared otherwise), identifier.
template <class T, const CLSID* pclsid = &CLSID_NULL>
class CComCoClass
{
public:
    DECLARE_CLASSFACTORY()
    DECLARE_AGGREGATABLE(T)
    static const CLSID& WINAPI GetObjectCLSID() noexcept { return *pclsid; }
    template <class Q>
    static HRESULT CreateInstance(IUnknown* pUnkOuter, Q** pp) noexcept
    {
        return T::_CreatorClass::CreateInstance(pUnkOuter, __uuidof(Q), reinterpret_cast<void**>(pp));
    }
    template <class Q>
    static HRESULT CreateInstance(Q** pp) noexcept
    {
        return T::_CreatorClass::CreateInstance(nullptr, __uuidof(Q), reinterpret_cast<void**>(pp));
    }
};

/// Registration by a script in the module's resources of type REGISTRY.
#define DECLARE_REGISTRY_RESOURCEID(x)                                                                       \
public:                                                                                                      \
    static HRESULT WINAPI UpdateRegistry(BOOL bRegister) noexcept                                            \
    {                                                                                                        \
        return _Module.UpdateRegistryFromResource(x, bRegister);                                             \
    }
/// A class without registration.
#define DECLARE_NO_REGISTRY()                                                                                \
public:                                                                                                      \
    static HRESULT WINAPI UpdateRegistry(BOOL) noexcept                                                      \
    {                                                                                                        \
        return S_OK;                                                                                         \
    }

#define BEGIN_OBJECT_MAP(x) static _ATL_OBJMAP_ENTRY x[] = {
#define OBJECT_ENTRY(clsid, class)                                                                           \
    {&clsid, class ::UpdateRegistry, class ::_ClassFactoryCreatorClass::CreateInstance,                      \
     class ::_CreatorClass::CreateInstance, nullptr},
// clang-format off
#define END_OBJECT_MAP()                                                                                     \
    {nullptr, nullptr, nullptr, nullptr, nullptr}};
// clang-format on
