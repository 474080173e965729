#include "dstl/WinAPI/Wrappers.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

/// An object whose construction can fail, and which tells when it goes.
class CThing : public CComObjectRootEx<CComMultiThreadModel>, public IPersist
{
public:
    BEGIN_COM_MAP(CThing)
    COM_INTERFACE_ENTRY(IPersist)
    END_COM_MAP()

    static inline HRESULT s_hrConstruct = S_OK;
    static inline int s_nLiving = 0;

    CThing() { s_nLiving++; }
    ~CThing() { s_nLiving--; }
    HRESULT FinalConstruct() noexcept { return s_hrConstruct; }

    STDMETHODIMP GetClassID(CLSID* pClsid) override
    {
        *pClsid = GUID_NULL;
        return S_OK;
    }
};

template <class TPointer>
class CreatorTest : public testing::Test
{
protected:
    AssertCapture m_asserts;

    void SetUp() override
    {
        CThing::s_hrConstruct = S_OK;
        CThing::s_nLiving = 0;
    }
};

/// The two forms: the complete object, and the object as its class.
using Forms = testing::Types<CComObject<CThing>*, CThing*>;
TYPED_TEST_SUITE(CreatorTest, Forms);

TYPED_TEST(CreatorTest, TheCallerHoldsTheOnlyReference)
{
    TypeParam pThing = nullptr;
    ASSERT_EQ(DSTLCreateObject(&pThing), S_OK);
    ASSERT_NE(pThing, nullptr);
    EXPECT_EQ(CThing::s_nLiving, 1);
    IPersist* pPersist = nullptr;
    EXPECT_EQ(pThing->QueryInterface(IID_IPersist, reinterpret_cast<void**>(&pPersist)), S_OK);
    ASSERT_NE(pPersist, nullptr);
    EXPECT_EQ(pPersist->Release(), 1u);
    EXPECT_EQ(pThing->Release(), 0u);
    EXPECT_EQ(CThing::s_nLiving, 0);
    EXPECT_TRUE(this->m_asserts.Texts().empty());
}

TYPED_TEST(CreatorTest, NoOutput)
{
    TypeParam* ppThing = nullptr;
    EXPECT_EQ(DSTLCreateObject(ppThing), E_POINTER);
    const std::vector<std::string> texts = this->m_asserts.Texts();
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ(texts, std::vector<std::string>{"ppObject != NULL"});
    EXPECT_EQ(CThing::s_nLiving, 0);
}

TYPED_TEST(CreatorTest, AnOccupiedOutputIsAsserted)
{
    TypeParam pFirst = nullptr;
    ASSERT_EQ(DSTLCreateObject(&pFirst), S_OK);
    TypeParam pThing = pFirst;
    EXPECT_EQ(DSTLCreateObject(&pThing), S_OK);
    EXPECT_EQ(this->m_asserts.Texts(), std::vector<std::string>{"*ppObject == NULL"});
    EXPECT_NE(pThing, pFirst);
    EXPECT_EQ(pThing->Release(), 0u);
    EXPECT_EQ(pFirst->Release(), 0u);
}

TYPED_TEST(CreatorTest, AFailureLeavesNull)
{
    CThing::s_hrConstruct = E_ACCESSDENIED;
    TypeParam pThing = nullptr;
    EXPECT_EQ(DSTLCreateObject(&pThing), E_ACCESSDENIED);
    EXPECT_EQ(pThing, nullptr);
    EXPECT_EQ(CThing::s_nLiving, 0);
    EXPECT_TRUE(this->m_asserts.Texts().empty());
}

TEST(CheckedPointer, FillsFromTheCreator)
{
    AssertCapture asserts;
    CThing::s_hrConstruct = S_OK;
    {
        CComPtr<CThing> spThing;
        ASSERT_EQ(DSTLCreateObject(&spThing), S_OK);
        CLSID clsid;
        EXPECT_EQ(spThing->GetClassID(&clsid), S_OK);
        EXPECT_TRUE(asserts.Texts().empty());
        CThing** ppThing = &spThing; // occupied
        EXPECT_EQ(asserts.Texts(), std::vector<std::string>{"p==NULL"});
        EXPECT_NE(*ppThing, nullptr);
    }
    EXPECT_EQ(CThing::s_nLiving, 0);
}

} // namespace
