// Class factories, the object map and the module's lock count.
#include <gtest/gtest.h>

#include <thread>

#include "TestObject.h"

namespace
{

std::vector<std::string> g_registrations;
HRESULT g_hrFirst = S_OK;
HRESULT g_hrSecond = S_OK;

template <int nClass>
HRESULT WINAPI RecordRegistration(BOOL bRegister)
{
    std::string sCall(1, bRegister ? '+' : '-');
    g_registrations.push_back(sCall += std::to_string(nClass));
    return nClass == 1 ? g_hrFirst : g_hrSecond;
}

class Factory : public testing::Test
{
protected:
    void SetUp() override
    {
        g_counts = {};
        m_nLocks = _Module.GetLockCount();
        _Module.Init(m_map, GetModuleHandleW(nullptr), nullptr);
    }
    void TearDown() override
    {
        _Module.Term();
        _Module.Term();
        EXPECT_EQ(0, g_counts.nAlive);
        EXPECT_EQ(m_nLocks, _Module.GetLockCount());
    }
    static CComPtr<IClassFactory> Get(REFCLSID clsid)
    {
        CComPtr<IClassFactory> sp;
        EXPECT_EQ(S_OK, _Module.GetClassObject(clsid, IID_IClassFactory, reinterpret_cast<void**>(&sp)));
        return sp;
    }
    LONG Locks() const { return _Module.GetLockCount() - m_nLocks; }

    LONG m_nLocks = 0;
    _ATL_OBJMAP_ENTRY m_map[4] = {OBJECT_ENTRY(CLSID_Test, CTestObject)         // the macros end in a comma
                                  OBJECT_ENTRY(CLSID_TestAlone, CTestAlone)     //
                                  OBJECT_ENTRY(CLSID_TestFailing, CTestFailing) //
                                  {nullptr, nullptr, nullptr, nullptr, nullptr}};
};

TEST_F(Factory, IsFoundByClass)
{
    void* pv = &pv;
    EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, _Module.GetClassObject(CLSID_TestAbsent, IID_IClassFactory, &pv));
    EXPECT_EQ(nullptr, pv);
    EXPECT_EQ(E_POINTER, _Module.GetClassObject(CLSID_Test, IID_IClassFactory, nullptr));
    EXPECT_EQ(E_NOINTERFACE, _Module.GetClassObject(CLSID_Test, IID_IMoniker, &pv));
    EXPECT_EQ(nullptr, pv);
    CComPtr<IUnknown> spUnknown;
    EXPECT_EQ(S_OK, _Module.GetClassObject(CLSID_Test, IID_IUnknown, reinterpret_cast<void**>(&spUnknown)));
    // One factory a class.
    EXPECT_EQ(static_cast<IUnknown*>(Get(CLSID_Test).p), spUnknown.p);
    EXPECT_NE(static_cast<IUnknown*>(Get(CLSID_TestAlone).p), spUnknown.p);
}

TEST_F(Factory, KeepsTheModuleOnlyWhileHeldFromOutside)
{
    EXPECT_EQ(0, Locks());
    CComPtr<IClassFactory> spOne = Get(CLSID_Test);
    EXPECT_EQ(1, Locks());
    CComPtr<IClassFactory> spTwo = Get(CLSID_Test);
    CComPtr<IClassFactory> spOther = Get(CLSID_TestAlone);
    EXPECT_EQ(2, Locks());
    spOne.Release();
    EXPECT_EQ(2, Locks());
    spTwo.Release();
    EXPECT_EQ(1, Locks());
    spOther.Release();
    EXPECT_EQ(0, Locks());
    // The map still has the factories.
    EXPECT_NE(nullptr, m_map[0].pCF);
    spOne = Get(CLSID_Test);
    EXPECT_EQ(1, Locks());
}

TEST_F(Factory, ARefusedInterfaceLeavesNoLock)
{
    void* pv = nullptr;
    EXPECT_EQ(E_NOINTERFACE, _Module.GetClassObject(CLSID_Test, IID_IMoniker, &pv));
    EXPECT_EQ(0, Locks());
}

TEST_F(Factory, ObjectsAndLocksKeepTheModule)
{
    CComPtr<IClassFactory> spFactory = Get(CLSID_Test);
    CComPtr<IPersistStream> spObject;
    ASSERT_EQ(S_OK,
              spFactory->CreateInstance(nullptr, IID_IPersistStream, reinterpret_cast<void**>(&spObject)));
    EXPECT_EQ(2, Locks());
    EXPECT_EQ(S_OK, spFactory->LockServer(TRUE));
    EXPECT_EQ(3, Locks());
    EXPECT_EQ(S_OK, spFactory->LockServer(FALSE));
    EXPECT_EQ(2, Locks());
    spFactory.Release();
    EXPECT_EQ(1, Locks());
    spObject.Release();
    EXPECT_EQ(0, Locks());
}

TEST_F(Factory, CreatesByTheRules)
{
    CComPtr<IClassFactory> spFactory = Get(CLSID_Test);
    CComPtr<IClassFactory> spAlone = Get(CLSID_TestAlone);
    CComPtr<IClassFactory> spFailing = Get(CLSID_TestFailing);
    CComPtr<IPersistStream> spOuter; // stands in for an outer object
    ASSERT_EQ(S_OK, CTestObject::CreateInstance(&spOuter));

    void* pv = &pv;
    EXPECT_EQ(E_NOINTERFACE, spFactory->CreateInstance(nullptr, IID_IMoniker, &pv));
    EXPECT_EQ(nullptr, pv);
    EXPECT_EQ(E_POINTER, spFactory->CreateInstance(nullptr, IID_IUnknown, nullptr));
    // An outer object may only ask for IUnknown, whatever else the class has or allows.
    for (const CComPtr<IClassFactory>& sp : {spFactory, spAlone, spFailing})
    {
        for (const IID& iid : {IID_IPersistStream, IID_IMoniker})
        {
            pv = &pv;
            EXPECT_EQ(CLASS_E_NOAGGREGATION, sp->CreateInstance(spOuter, iid, &pv));
            EXPECT_EQ(nullptr, pv);
            EXPECT_EQ(E_POINTER, sp->CreateInstance(spOuter, iid, nullptr));
        }
    }
    EXPECT_EQ(1, g_counts.nAlive); // nothing was made for it
    pv = &pv;
    EXPECT_EQ(CLASS_E_NOAGGREGATION, spAlone->CreateInstance(spOuter, IID_IUnknown, &pv));
    EXPECT_EQ(nullptr, pv);
    pv = &pv;
    EXPECT_EQ(E_ACCESSDENIED, spFailing->CreateInstance(nullptr, IID_IUnknown, &pv));
    EXPECT_EQ(nullptr, pv);

    CComPtr<IUnknown> spInner;
    EXPECT_EQ(S_OK, spFactory->CreateInstance(spOuter, IID_IUnknown, reinterpret_cast<void**>(&spInner)));
    EXPECT_EQ(1u, CountOf(spOuter));
    EXPECT_EQ(2, g_counts.nAlive);
    spInner.Release();
    EXPECT_EQ(1, g_counts.nAlive);
}

TEST_F(Factory, LockCountUnderManyThreads)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back(
            []
            {
                for (int n = 0; n < 2000; ++n)
                {
                    CComPtr<IClassFactory> sp;
                    void* pv = nullptr;
                    if (FAILED(_Module.GetClassObject(CLSID_Test, IID_IClassFactory,
                                                      reinterpret_cast<void**>(&sp))) ||
                        FAILED(sp->CreateInstance(nullptr, IID_IUnknown, &pv)))
                        abort();
                    static_cast<IUnknown*>(pv)->Release();
                }
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, Locks());
}

TEST_F(Factory, AFactoryHeldAfterTermLivesOn)
{
    CComPtr<IClassFactory> spFactory = Get(CLSID_Test);
    _Module.Term();
    void* pv = nullptr;
    EXPECT_EQ(S_OK, spFactory->CreateInstance(nullptr, IID_IUnknown, &pv));
    static_cast<IUnknown*>(pv)->Release();
    EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, _Module.GetClassObject(CLSID_Test, IID_IUnknown, &pv));
}

class Registration : public testing::Test
{
protected:
    void SetUp() override
    {
        g_registrations.clear();
        g_hrFirst = g_hrSecond = S_OK;
        m_map[0].pclsid = &CLSID_Test;
        m_map[0].pfnUpdateRegistry = &RecordRegistration<1>;
        m_map[1].pclsid = &CLSID_TestAlone;
        m_map[1].pfnUpdateRegistry = &RecordRegistration<2>;
        m_module.Init(m_map, GetModuleHandleW(nullptr));
    }
    _ATL_OBJMAP_ENTRY m_map[3] = {};
    CComModule m_module;
};

using Strings = std::vector<std::string>;

TEST_F(Registration, GoesForwardsAndBackwards)
{
    EXPECT_EQ(S_OK, m_module.RegisterServer());
    EXPECT_EQ((Strings{"+1", "+2"}), g_registrations);
    g_registrations.clear();
    EXPECT_EQ(S_OK, m_module.UnregisterServer());
    EXPECT_EQ((Strings{"-2", "-1"}), g_registrations);
}

TEST_F(Registration, OfOneClass)
{
    EXPECT_EQ(S_OK, m_module.RegisterServer(FALSE, &CLSID_TestAlone));
    EXPECT_EQ(S_OK, m_module.UnregisterServer(FALSE, &CLSID_Test));
    EXPECT_EQ((Strings{"+2", "-1"}), g_registrations);
}

TEST_F(Registration, StopsAtAFailureForwardsAndGoesOnBackwards)
{
    g_hrFirst = E_ACCESSDENIED;
    EXPECT_EQ(E_ACCESSDENIED, m_module.RegisterServer());
    EXPECT_EQ(Strings{"+1"}, g_registrations);
    g_registrations.clear();
    g_hrSecond = E_FAIL;
    EXPECT_EQ(E_FAIL, m_module.UnregisterServer());
    EXPECT_EQ((Strings{"-2", "-1"}), g_registrations);
}

TEST_F(Registration, WithoutAMap)
{
    CComModule module;
    EXPECT_EQ(S_OK, module.Init(nullptr, GetModuleHandleW(nullptr)));
    EXPECT_EQ(S_OK, module.RegisterServer());
    EXPECT_EQ(S_OK, module.UnregisterServer());
    void* pv = nullptr;
    EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, module.GetClassObject(CLSID_Test, IID_IUnknown, &pv));
    module.Term();
    // A program without a type library has none to register.
    EXPECT_TRUE(FAILED(module.RegisterServer(TRUE)));
}

} // namespace
