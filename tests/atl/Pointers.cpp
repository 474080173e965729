// Counted pointers and the auto pointer.
#include <gtest/gtest.h>

#include "TestObject.h"
#include "support/LogCapture.h"

namespace
{

CComPtr<IPersistStream> Make()
{
    CComPtr<IPersistStream> sp;
    EXPECT_EQ(S_OK, CTestObject::CreateInstance(&sp));
    return sp;
}

TEST(ComPtr, CountsCopiesAndMoves)
{
    CComPtr<IPersistStream> sp = Make();
    IPersistStream* const p = sp;
    EXPECT_EQ(1u, CountOf(p));
    {
        CComPtr<IPersistStream> spCopy(sp);
        EXPECT_EQ(2u, CountOf(p));
        CComPtr<IPersistStream> spAssigned;
        spAssigned = spCopy;
        EXPECT_EQ(3u, CountOf(p));
        spAssigned = spAssigned.p;
        EXPECT_EQ(3u, CountOf(p));
        CComPtr<IPersistStream> spMoved(std::move(spAssigned));
        EXPECT_EQ(3u, CountOf(p));
        EXPECT_TRUE(!spAssigned);
        spCopy = std::move(spMoved);
        EXPECT_EQ(2u, CountOf(p));
        spCopy = nullptr;
        EXPECT_EQ(1u, CountOf(p));
    }
    EXPECT_EQ(1u, CountOf(p));
    sp.Release();
    EXPECT_EQ(0, g_counts.nAlive);
    sp.Release();
}

TEST(ComPtr, AssigningTheOldPointersOwnerKeepsTheNewOne)
{
    // The object held may own the one that is assigned: the old one goes last.
    CComPtr<IPersistStream> sp = Make();
    CComPtr<IPersistStream> spOther = Make();
    sp = spOther;
    EXPECT_EQ(2u, CountOf(sp));
    EXPECT_EQ(1, g_counts.nAlive);
}

TEST(ComPtr, AttachAndDetachMoveOneReference)
{
    CComPtr<IPersistStream> sp = Make();
    IPersistStream* const p = sp.Detach();
    EXPECT_EQ(nullptr, sp.p);
    EXPECT_EQ(1u, CountOf(p));
    CComPtr<IPersistStream> spOther = Make();
    spOther.Attach(p);
    EXPECT_EQ(1, g_counts.nAlive);
    EXPECT_EQ(1u, CountOf(p));
}

TEST(ComPtr, CopyTo)
{
    CComPtr<IPersistStream> sp = Make();
    IPersistStream* p = nullptr;
    EXPECT_EQ(S_OK, sp.CopyTo(&p));
    EXPECT_EQ(sp.p, p);
    EXPECT_EQ(1u, p->Release());
    EXPECT_EQ(E_POINTER, sp.CopyTo(nullptr));
    sp.Release();
    p = reinterpret_cast<IPersistStream*>(8);
    EXPECT_EQ(S_OK, sp.CopyTo(&p));
    EXPECT_EQ(nullptr, p);
}

TEST(ComPtr, Comparisons)
{
    CComPtr<IPersistStream> sp = Make();
    CComPtr<IPersistStream> spSame = sp;
    CComPtr<IPersistStream> spNull;
    EXPECT_TRUE(sp == spSame);
    EXPECT_TRUE(sp == spSame.p);
    EXPECT_TRUE(sp != spNull);
    EXPECT_TRUE(spNull == nullptr);
    EXPECT_TRUE(sp != nullptr);
    EXPECT_TRUE(!spNull);
    EXPECT_FALSE(!sp);
}

TEST(ComPtr, EqualObjects)
{
    CComPtr<IPersistStream> sp = Make();
    CComPtr<IPersistStream> spOther = Make();
    CComQIPtr<IPersistFile> spFile(sp);
    CComPtr<IPersistStream> spNull;
    EXPECT_TRUE(sp.IsEqualObject(spFile));
    EXPECT_FALSE(sp.IsEqualObject(spOther));
    EXPECT_FALSE(sp.IsEqualObject(nullptr));
    EXPECT_FALSE(spNull.IsEqualObject(sp));
    EXPECT_TRUE(spNull.IsEqualObject(nullptr));
}

TEST(ComPtr, AsksForAnotherInterface)
{
    CComPtr<IPersistStream> sp = Make();
    CComPtr<IPersistFile> spFile;
    EXPECT_EQ(S_OK, sp.QueryInterface(&spFile));
    EXPECT_EQ(2u, CountOf(sp));
    CComPtr<IServiceProvider> spProvider;
    spProvider = spFile;
    EXPECT_NE(nullptr, spProvider.p);
    EXPECT_EQ(3u, CountOf(sp));
    CComPtr<IMoniker> spMoniker;
    spMoniker = spFile;
    EXPECT_EQ(nullptr, spMoniker.p);
    EXPECT_EQ(3u, CountOf(sp));
}

TEST(ComQIPtr, AsksForItsInterface)
{
    CComPtr<IPersistStream> sp = Make();
    {
        CComQIPtr<IPersistFile> spFile(sp);
        ASSERT_NE(nullptr, spFile.p);
        EXPECT_EQ(2u, CountOf(sp));
        CComQIPtr<IPersistFile> spRaw(static_cast<IUnknown*>(sp.p));
        EXPECT_EQ(spFile.p, spRaw.p);
        CComQIPtr<IUnknown> spUnknown(spFile);
        EXPECT_EQ(IdentityOf(sp), spUnknown.p);
        CComQIPtr<IPersistFile, &IID_IStorage> spOwnId(sp);
        EXPECT_EQ(spFile.p, spOwnId.p);
        spFile = sp.p;
        EXPECT_EQ(spRaw.p, spFile.p);
        CComQIPtr<IMoniker> spMoniker(sp);
        EXPECT_EQ(nullptr, spMoniker.p);
        CComQIPtr<IMoniker> spOfNull(static_cast<IPersistStream*>(nullptr));
        EXPECT_EQ(nullptr, spOfNull.p);
    }
    EXPECT_EQ(1u, CountOf(sp));
    CComQIPtr<IPersistFile> spFile(sp);
    spFile = static_cast<IUnknown*>(nullptr);
    EXPECT_EQ(nullptr, spFile.p);
    EXPECT_EQ(1u, CountOf(sp));
}

TEST(ComPtr, AssertsOnUseOfANullPointer)
{
    AssertCapture asserts;
    CComPtr<IPersistStream> sp;
    EXPECT_EQ(nullptr, sp.operator->());
    EXPECT_EQ(std::vector<std::string>{"p!=NULL"}, asserts.Texts());
    sp = Make();
    EXPECT_EQ(S_FALSE, sp->IsDirty());
    EXPECT_EQ(S_FALSE, (*sp).IsDirty());
    EXPECT_EQ(1u, asserts.Texts().size());
}

TEST(ComPtr, AssertsOnTheAddressOfAnOccupiedPointer)
{
    AssertCapture asserts;
    CComPtr<IPersistStream> sp;
    EXPECT_EQ(&sp.p, &sp);
    EXPECT_TRUE(asserts.Texts().empty());
    sp = Make();
    EXPECT_EQ(&sp.p, &sp);
    EXPECT_EQ(std::vector<std::string>{"p==NULL"}, asserts.Texts());
}

struct Counted
{
    explicit Counted(int& n) : m_n(n) { ++m_n; }
    ~Counted() { --m_n; }
    int& m_n;
};

TEST(AutoPtr, OwnsOneObject)
{
    int nAlive = 0;
    {
        CAutoPtr<Counted> ap(new Counted(nAlive));
        CAutoPtr<Counted> apOther(ap);
        EXPECT_EQ(nullptr, ap.m_p);
        ap = apOther;
        EXPECT_EQ(nullptr, apOther.m_p);
        apOther.Attach(new Counted(nAlive));
        EXPECT_EQ(2, nAlive);
        apOther.Free();
        EXPECT_EQ(1, nAlive);
        Counted* p = ap.Detach();
        EXPECT_EQ(1, nAlive);
        ap.Attach(p);
        EXPECT_EQ(&nAlive, &ap->m_n);
    }
    EXPECT_EQ(0, nAlive);
}

TEST(AutoPtr, Asserts)
{
    AssertCapture asserts;
    CAutoPtr<int> ap;
    EXPECT_EQ(nullptr, ap.operator->());
    EXPECT_EQ(std::vector<std::string>{"m_p != NULL"}, asserts.Texts());
}

} // namespace
