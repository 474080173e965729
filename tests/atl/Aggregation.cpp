// Objects that are part of another object.
#include <gtest/gtest.h>

#include "TestObject.h"

namespace
{

/// An outer object with one interface of its own; everything else is its inner object's.
class COuter : public CComObjectRootEx<CComMultiThreadModel>, public IMessageFilter
{
public:
    COuter() { ++nAlive; }
    ~COuter() { --nAlive; }
    static inline int nAlive = 0;

    BEGIN_COM_MAP(COuter)
    COM_INTERFACE_ENTRY(IMessageFilter)
    COM_INTERFACE_ENTRY_FUNC_BLIND(&Inner)
    END_COM_MAP()

    HRESULT FinalConstruct()
    {
        return CTestObject::_CreatorClass::CreateInstance(GetUnknown(), IID_IUnknown,
                                                          reinterpret_cast<void**>(&m_spInner));
    }
    void FinalRelease() { m_spInner.Release(); }

    STDMETHOD_(DWORD, HandleInComingCall)(DWORD, HTASK, DWORD, LPINTERFACEINFO) override { return 0; }
    STDMETHOD_(DWORD, RetryRejectedCall)(HTASK, DWORD, DWORD) override { return 0; }
    STDMETHOD_(DWORD, MessagePending)(HTASK, DWORD, DWORD) override { return 0; }

    CComPtr<IUnknown> m_spInner;

private:
    static HRESULT Inner(void* pThis, REFIID riid, void** ppv)
    {
        // Null while the inner object is made and while it goes: it asks for itself in both.
        IUnknown* pInner = static_cast<COuter*>(pThis)->m_spInner;
        return pInner != nullptr ? pInner->QueryInterface(riid, ppv) : E_NOINTERFACE;
    }
};

class Aggregation : public testing::Test
{
protected:
    void SetUp() override
    {
        g_counts = {};
        m_nLocks = _Module.GetLockCount();
        CComObject<COuter>* pOuter = nullptr;
        ASSERT_EQ(S_OK, CComObject<COuter>::CreateInstance(&pOuter));
        m_pOuter = pOuter;
        m_spOuter = pOuter;
    }
    void TearDown() override
    {
        m_spOuter.Release();
        EXPECT_EQ(0, g_counts.nAlive);
        EXPECT_EQ(1, g_counts.nConstructed);
        EXPECT_EQ(1, g_counts.nReleased);
        EXPECT_EQ(0, COuter::nAlive);
        EXPECT_EQ(m_nLocks, _Module.GetLockCount());
    }
    LONG m_nLocks = 0;
    CComObject<COuter>* m_pOuter = nullptr;
    CComPtr<IMessageFilter> m_spOuter;
};

TEST_F(Aggregation, InterfacesOfTheInnerObjectBelongToTheOuterOne)
{
    CComQIPtr<IPersistStream> spStream(m_spOuter);
    ASSERT_NE(nullptr, spStream.p);
    EXPECT_EQ(IdentityOf(m_spOuter), IdentityOf(spStream));
    CComQIPtr<IMessageFilter> spBack(spStream);
    EXPECT_EQ(m_spOuter.p, spBack.p);
    CComQIPtr<IPersistFile> spFile(spStream);
    EXPECT_NE(nullptr, spFile.p);
    CLSID clsid = {};
    EXPECT_EQ(S_OK, spFile->GetClassID(&clsid));
    EXPECT_TRUE(IsEqualGUID(CLSID_Test, clsid));
}

TEST_F(Aggregation, CountsGoToTheOuterObject)
{
    IUnknown* const pInner = m_pOuter->m_spInner;
    EXPECT_EQ(1u, CountOf(pInner));
    EXPECT_EQ(1u, CountOf(m_spOuter));
    CComQIPtr<IPersistStream> spStream(m_spOuter);
    EXPECT_EQ(2u, CountOf(m_spOuter));
    EXPECT_EQ(3u, spStream->AddRef());
    EXPECT_EQ(3u, CountOf(m_spOuter));
    EXPECT_EQ(2u, spStream->Release());
    EXPECT_EQ(1u, CountOf(pInner));
}

TEST_F(Aggregation, OnlyTheInnerUnknownIsTheInnerObjectsOwn)
{
    IUnknown* const pInner = m_pOuter->m_spInner;
    EXPECT_NE(IdentityOf(m_spOuter), pInner);
    EXPECT_EQ(pInner, IdentityOf(pInner));
    EXPECT_EQ(E_POINTER, pInner->QueryInterface(IID_IUnknown, nullptr));
    CComPtr<IMoniker> spMoniker;
    EXPECT_EQ(E_NOINTERFACE, pInner->QueryInterface(IID_IMoniker, reinterpret_cast<void**>(&spMoniker)));
}

TEST_F(Aggregation, AnInterfaceKeepsTheWholeAlive)
{
    CComQIPtr<IPersistStream> spStream(m_spOuter);
    m_spOuter.Release();
    EXPECT_EQ(1, COuter::nAlive);
    EXPECT_EQ(1, g_counts.nAlive);
    EXPECT_EQ(S_FALSE, spStream->IsDirty());
    spStream.Release();
    EXPECT_EQ(0, COuter::nAlive);
    EXPECT_EQ(0, g_counts.nAlive);
}

TEST_F(Aggregation, OuterAndInnerBothKeepTheModule)
{
    EXPECT_EQ(m_nLocks + 2, _Module.GetLockCount());
}

} // namespace
