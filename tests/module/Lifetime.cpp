// The DLL as a host loads it: what its class factory makes, and what keeps it loaded.
#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include <ocidl.h>
#include <olectl.h>
#include <strmif.h>

#include "LoadedModule.h"
#include "QXStillSource.h"

CComModule _Module;

namespace
{

class Module : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
        m_pModule = std::make_unique<LoadedModule>();
        EXPECT_EQ(S_OK, m_pModule->CanUnloadNow());
    }
    void TearDown() override
    {
        EXPECT_EQ(S_OK, m_pModule->CanUnloadNow());
        m_pModule.reset();
        CoUninitialize();
    }
    CComPtr<IClassFactory> Factory() const
    {
        CComPtr<IClassFactory> sp;
        EXPECT_EQ(S_OK, m_pModule->GetClassObject(CLSID_CoQXStillSource, IID_IClassFactory,
                                                  reinterpret_cast<void**>(&sp)));
        return sp;
    }
    CComPtr<IBaseFilter> Filter() const
    {
        CComPtr<IBaseFilter> sp;
        EXPECT_EQ(S_OK, Factory()->CreateInstance(nullptr, IID_IBaseFilter, reinterpret_cast<void**>(&sp)));
        return sp;
    }
    std::unique_ptr<LoadedModule> m_pModule;
};

TEST_F(Module, ClassObject)
{
    void* pv = &pv;
    EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, m_pModule->GetClassObject(CLSID_QXFilters, IID_IClassFactory, &pv));
    EXPECT_EQ(nullptr, pv);
    EXPECT_EQ(E_NOINTERFACE, m_pModule->GetClassObject(CLSID_CoQXStillSource, IID_IBaseFilter, &pv));
    EXPECT_EQ(E_POINTER, m_pModule->GetClassObject(CLSID_CoQXStillSource, IID_IClassFactory, nullptr));
}

/// A host may ask for the page's texts and size before it has a window, and where it cannot have one.
TEST_F(Module, ThePageSaysItsSizeWithoutAWindow)
{
    CComPtr<IClassFactory> spFactory;
    ASSERT_EQ(S_OK, m_pModule->GetClassObject(CLSID_QXStillSourcePage, IID_IClassFactory,
                                              reinterpret_cast<void**>(&spFactory)));
    CComPtr<IPropertyPage> spPage;
    ASSERT_EQ(S_OK, spFactory->CreateInstance(nullptr, IID_IPropertyPage, reinterpret_cast<void**>(&spPage)));
    PROPPAGEINFO info = {};
    ASSERT_EQ(S_OK, spPage->GetPageInfo(&info));
    EXPECT_STREQ(info.pszTitle, L"Qorvex Still Source");
    // 186 by 95 dialog units in a small font: four pixels, at least, for four across, and eight for eight
    // down.
    EXPECT_GE(info.size.cx, 186);
    EXPECT_LE(info.size.cx, 3 * 186);
    EXPECT_GE(info.size.cy, 95);
    EXPECT_LE(info.size.cy, 3 * 95);
    CoTaskMemFree(info.pszTitle);
    CoTaskMemFree(info.pszHelpFile);
    CoTaskMemFree(info.pszDocString);
}

TEST_F(Module, AFactoryKeepsItLoaded)
{
    CComPtr<IClassFactory> spFactory = Factory();
    EXPECT_EQ(S_FALSE, m_pModule->CanUnloadNow());
    CComPtr<IUnknown> spAgain;
    EXPECT_EQ(S_OK, m_pModule->GetClassObject(CLSID_CoQXStillSource, IID_IUnknown,
                                              reinterpret_cast<void**>(&spAgain)));
    spFactory.Release();
    EXPECT_EQ(S_FALSE, m_pModule->CanUnloadNow());
    spAgain.Release();
    EXPECT_EQ(S_OK, m_pModule->CanUnloadNow());
}

TEST_F(Module, ALockKeepsItLoaded)
{
    CComPtr<IClassFactory> spFactory = Factory();
    EXPECT_EQ(S_OK, spFactory->LockServer(TRUE));
    spFactory.Release();
    EXPECT_EQ(S_FALSE, m_pModule->CanUnloadNow());
    spFactory = Factory();
    EXPECT_EQ(S_OK, spFactory->LockServer(FALSE));
    spFactory.Release();
    EXPECT_EQ(S_OK, m_pModule->CanUnloadNow());
}

TEST_F(Module, AFilterKeepsItLoaded)
{
    CComPtr<IBaseFilter> spFilter = Filter();
    ASSERT_NE(nullptr, spFilter.p);
    EXPECT_EQ(S_FALSE, m_pModule->CanUnloadNow());
    CComPtr<IBaseFilter> spOther = Filter();
    spFilter.Release();
    EXPECT_EQ(S_FALSE, m_pModule->CanUnloadNow());
    spOther.Release();
    EXPECT_EQ(S_OK, m_pModule->CanUnloadNow());
}

TEST_F(Module, EnumeratorsAndPinsKeepItLoaded)
{
    CComPtr<IBaseFilter> spFilter = Filter();
    ASSERT_NE(nullptr, spFilter.p);
    CComPtr<IEnumPins> spPins;
    ASSERT_EQ(S_OK, spFilter->EnumPins(&spPins));
    spFilter.Release();
    EXPECT_EQ(S_FALSE, m_pModule->CanUnloadNow());

    CComPtr<IPin> spPin;
    ASSERT_EQ(S_OK, spPins->Next(1, &spPin, nullptr));
    CComPtr<IEnumPins> spClone;
    ASSERT_EQ(S_OK, spPins->Clone(&spClone));
    spPins.Release();
    EXPECT_EQ(S_FALSE, m_pModule->CanUnloadNow());
    spClone.Release();
    EXPECT_EQ(S_FALSE, m_pModule->CanUnloadNow());

    CComPtr<IEnumMediaTypes> spTypes;
    ASSERT_EQ(S_OK, spPin->EnumMediaTypes(&spTypes));
    spPin.Release();
    EXPECT_EQ(S_FALSE, m_pModule->CanUnloadNow());
    spTypes.Release();
    EXPECT_EQ(S_OK, m_pModule->CanUnloadNow());
}

TEST_F(Module, APinKeepsItLoaded)
{
    CComPtr<IBaseFilter> spFilter = Filter();
    ASSERT_NE(nullptr, spFilter.p);
    CComPtr<IPin> spPin;
    {
        CComPtr<IEnumPins> spPins;
        ASSERT_EQ(S_OK, spFilter->EnumPins(&spPins));
        ASSERT_EQ(S_OK, spPins->Next(1, &spPin, nullptr));
    }
    spFilter.Release();
    EXPECT_EQ(S_FALSE, m_pModule->CanUnloadNow());
    PIN_DIRECTION eDirection = PINDIR_INPUT;
    EXPECT_EQ(S_OK, spPin->QueryDirection(&eDirection));
    EXPECT_EQ(PINDIR_OUTPUT, eDirection);
}

/// An outer object as small as can be.
class Outer : public IUnknown
{
public:
    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) override
    {
        if (IsEqualGUID(riid, IID_IUnknown))
        {
            *ppv = this;
            AddRef();
            return S_OK;
        }
        if (m_spInner.p != nullptr)
            return m_spInner->QueryInterface(riid, ppv);
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHOD_(ULONG, AddRef)() override { return InterlockedIncrement(&m_nRef); }
    STDMETHOD_(ULONG, Release)() override { return InterlockedDecrement(&m_nRef); }

    LONG m_nRef = 1;
    CComPtr<IUnknown> m_spInner;
};

TEST_F(Module, TheFilterCanBePartOfAnotherObject)
{
    Outer outer;
    CComPtr<IClassFactory> spFactory = Factory();
    void* pv = &pv;
    EXPECT_EQ(CLASS_E_NOAGGREGATION, spFactory->CreateInstance(&outer, IID_IBaseFilter, &pv));
    EXPECT_EQ(nullptr, pv);
    ASSERT_EQ(S_OK,
              spFactory->CreateInstance(&outer, IID_IUnknown, reinterpret_cast<void**>(&outer.m_spInner)));
    EXPECT_EQ(1, outer.m_nRef);
    {
        CComQIPtr<IBaseFilter> spFilter(static_cast<IUnknown*>(&outer));
        ASSERT_NE(nullptr, spFilter.p);
        EXPECT_EQ(2, outer.m_nRef);
        CComPtr<IUnknown> spIdentity;
        EXPECT_EQ(S_OK, spFilter->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&spIdentity)));
        EXPECT_EQ(static_cast<IUnknown*>(&outer), spIdentity.p);
        CComQIPtr<IQXStillSource> spSource(spFilter);
        EXPECT_NE(nullptr, spSource.p);
        // Its enumerators and pins hold the whole.
        CComPtr<IEnumPins> spPins;
        ASSERT_EQ(S_OK, spFilter->EnumPins(&spPins));
        CComPtr<IPin> spPin;
        EXPECT_EQ(S_OK, spPins->Next(1, &spPin, nullptr));
        PIN_INFO info = {};
        EXPECT_EQ(S_OK, spPin->QueryPinInfo(&info));
        EXPECT_EQ(spFilter.p, info.pFilter);
        info.pFilter->Release();
    }
    EXPECT_EQ(1, outer.m_nRef);
    outer.m_spInner.Release();
    EXPECT_EQ(1, outer.m_nRef);
}

TEST_F(Module, LoadsAndUnloadsManyTimes)
{
    for (int i = 0; i < 20; ++i)
    {
        EXPECT_NE(nullptr, Filter().p);
        EXPECT_EQ(S_OK, m_pModule->CanUnloadNow());
        m_pModule.reset();
        EXPECT_EQ(nullptr, GetModuleHandleW(L"QXStillSource.dll"));
        m_pModule = std::make_unique<LoadedModule>();
    }
}

TEST_F(Module, FactoriesOnManyThreads)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back(
            [this]
            {
                for (int n = 0; n < 500; ++n)
                    EXPECT_NE(nullptr, Factory().p);
            });
    }
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
