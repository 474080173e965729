#pragma once
/// COM classes for the tests: an object with three interfaces that tells what happens to it.

#include "dstl/WinAPI/Atl.h"

#include <objidl.h>

/// The living objects, and how often the two steps of their lives ran.
struct TestCounts
{
    LONG nAlive = 0;
    LONG nConstructed = 0;
    LONG nReleased = 0;
};
inline TestCounts g_counts;

inline constexpr CLSID CLSID_Test = {0x7A4B1D10, 0x52C0, 0x4B8E, {0x9E, 0x11, 1, 2, 3, 4, 5, 6}};
inline constexpr CLSID CLSID_TestAlone = {0x7A4B1D10, 0x52C0, 0x4B8E, {0x9E, 0x11, 1, 2, 3, 4, 5, 7}};
inline constexpr CLSID CLSID_TestFailing = {0x7A4B1D10, 0x52C0, 0x4B8E, {0x9E, 0x11, 1, 2, 3, 4, 5, 8}};
inline constexpr CLSID CLSID_TestAbsent = {0x7A4B1D10, 0x52C0, 0x4B8E, {0x9E, 0x11, 1, 2, 3, 4, 5, 9}};

/// IServiceProvider first, then IPersist by way of IPersistStream, which IPersistFile has too.
template <class TModel>
class CTestBase : public CComObjectRootEx<TModel>,
                  public IServiceProvider,
                  public IPersistStream,
                  public IPersistFile
{
public:
    CTestBase() { InterlockedIncrement(&g_counts.nAlive); }
    ~CTestBase() { InterlockedDecrement(&g_counts.nAlive); }

    STDMETHOD(QueryService)(REFGUID, REFIID, void**) override { return E_NOTIMPL; }
    STDMETHOD(GetClassID)(CLSID* pClassID) override
    {
        *pClassID = CLSID_Test;
        return S_OK;
    }
    STDMETHOD(IsDirty)() override { return S_FALSE; }
    STDMETHOD(Load)(IStream*) override { return E_NOTIMPL; }
    STDMETHOD(Save)(IStream*, WINBOOL) override { return E_NOTIMPL; }
    STDMETHOD(GetSizeMax)(ULARGE_INTEGER*) override { return E_NOTIMPL; }
    STDMETHOD(Load)(LPCOLESTR, DWORD) override { return E_NOTIMPL; }
    STDMETHOD(Save)(LPCOLESTR, WINBOOL) override { return E_NOTIMPL; }
    STDMETHOD(SaveCompleted)(LPCOLESTR) override { return E_NOTIMPL; }
    STDMETHOD(GetCurFile)(LPOLESTR*) override { return E_NOTIMPL; }
};

/// Uses its own reference in both steps of its life, as an object does that hands itself to a helper.
class CTestObject : public CTestBase<CComMultiThreadModel>, public CComCoClass<CTestObject, &CLSID_Test>
{
public:
    DECLARE_NO_REGISTRY()
    DECLARE_PROTECT_FINAL_CONSTRUCT()
    DECLARE_GET_CONTROLLING_UNKNOWN()

    BEGIN_COM_MAP(CTestObject)
    COM_INTERFACE_ENTRY(IServiceProvider)
    COM_INTERFACE_ENTRY2(IPersist, IPersistStream)
    COM_INTERFACE_ENTRY(IPersistStream)
    COM_INTERFACE_ENTRY(IPersistFile)
    COM_INTERFACE_ENTRY_IID(IID_ISequentialStream, IPersistFile)
    // Never reached: the first row of an identifier counts.
    COM_INTERFACE_ENTRY_IID(IID_IPersistStream, IPersistFile)
    COM_INTERFACE_ENTRY_FUNC(IID_IStorage, &Refuse)
    COM_INTERFACE_ENTRY_FUNC_BLIND(&Blind)
    END_COM_MAP()

    HRESULT FinalConstruct()
    {
        InterlockedIncrement(&g_counts.nConstructed);
        UseItself();
        return S_OK;
    }
    void FinalRelease()
    {
        InterlockedIncrement(&g_counts.nReleased);
        UseItself();
    }

private:
    void UseItself()
    {
        CComPtr<IUnknown> spSelf(GetControllingUnknown());
        CComPtr<IPersist> spPersist;
        spSelf->QueryInterface(IID_IPersist, reinterpret_cast<void**>(&spPersist));
    }
    static HRESULT Refuse(void*, REFIID, void**) { return E_ACCESSDENIED; }
    /// Serves IStorage as IPersistFile; a stray pointer behind a failure must not reach the caller.
    static HRESULT Blind(void* pThis, REFIID riid, void** ppv)
    {
        if (!IsEqualGUID(riid, IID_IStorage))
        {
            *ppv = pThis;
            return E_NOINTERFACE;
        }
        IPersistFile* pFile = static_cast<CTestObject*>(pThis);
        pFile->AddRef();
        *ppv = pFile;
        return S_OK;
    }
};

/// Refuses to be part of another object.
class CTestAlone : public CTestBase<CComSingleThreadModel>, public CComCoClass<CTestAlone, &CLSID_TestAlone>
{
public:
    DECLARE_NO_REGISTRY()
    DECLARE_NOT_AGGREGATABLE(CTestAlone)
    BEGIN_COM_MAP(CTestAlone)
    COM_INTERFACE_ENTRY(IPersistStream)
    END_COM_MAP()
};

/// Fails in the second step of its construction.
class CTestFailing : public CTestBase<CComMultiThreadModel>,
                     public CComCoClass<CTestFailing, &CLSID_TestFailing>
{
public:
    DECLARE_NO_REGISTRY()
    BEGIN_COM_MAP(CTestFailing)
    COM_INTERFACE_ENTRY(IPersistStream)
    END_COM_MAP()
    HRESULT FinalConstruct()
    {
        InterlockedIncrement(&g_counts.nConstructed);
        return E_ACCESSDENIED;
    }
    void FinalRelease() { InterlockedIncrement(&g_counts.nReleased); }
};

/// The address of an object's identity.
inline IUnknown* IdentityOf(IUnknown* p)
{
    CComPtr<IUnknown> sp;
    p->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&sp));
    return sp.p;
}

/// The present count.
inline ULONG CountOf(IUnknown* p)
{
    p->AddRef();
    return p->Release();
}
