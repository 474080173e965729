// Interface maps, locks, and the life of objects on the heap.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "TestObject.h"
#include "support/LogCapture.h"

namespace
{

class ComObject : public testing::Test
{
protected:
    void SetUp() override
    {
        g_counts = {};
        m_nLocks = _Module.GetLockCount();
    }
    void TearDown() override
    {
        EXPECT_EQ(0, g_counts.nAlive);
        EXPECT_EQ(m_nLocks, _Module.GetLockCount());
    }
    LONG m_nLocks = 0;
};

TEST_F(ComObject, ComesWithACountOfZero)
{
    CComObject<CTestObject>* pObject = nullptr;
    ASSERT_EQ(S_OK, CComObject<CTestObject>::CreateInstance(&pObject));
    EXPECT_EQ(1, g_counts.nAlive);
    EXPECT_EQ(1, g_counts.nConstructed);
    EXPECT_EQ(0, pObject->m_dwRef);
    EXPECT_EQ(m_nLocks + 1, _Module.GetLockCount());
    EXPECT_EQ(1u, pObject->AddRef());
    EXPECT_EQ(2u, pObject->AddRef());
    EXPECT_EQ(1u, pObject->Release());
    EXPECT_EQ(0, g_counts.nReleased);
    EXPECT_EQ(0u, pObject->Release());
    EXPECT_EQ(0, g_counts.nAlive);
    EXPECT_EQ(1, g_counts.nReleased);
}

TEST_F(ComObject, CreateInstanceWantsAPointer)
{
    AssertCapture asserts;
    EXPECT_EQ(E_POINTER, CComObject<CTestObject>::CreateInstance(nullptr));
    EXPECT_EQ(std::vector<std::string>{"pp != NULL"}, asserts.Texts());
    EXPECT_EQ(E_POINTER,
              CComCreator<CComObject<CTestObject>>::CreateInstance(nullptr, IID_IUnknown, nullptr));
    EXPECT_EQ("ppv != NULL", asserts.Texts().back());
}

TEST_F(ComObject, AFailedConstructionLeavesNothing)
{
    auto pObject = reinterpret_cast<CComObject<CTestFailing>*>(8);
    EXPECT_EQ(E_ACCESSDENIED, CComObject<CTestFailing>::CreateInstance(&pObject));
    EXPECT_EQ(nullptr, pObject);
    EXPECT_EQ(1, g_counts.nConstructed);
    EXPECT_EQ(1, g_counts.nReleased);
    CComPtr<IPersistStream> sp;
    EXPECT_EQ(E_ACCESSDENIED, CTestFailing::CreateInstance(&sp));
    EXPECT_EQ(nullptr, sp.p);
}

TEST_F(ComObject, AnUnknownInterfaceDestroysTheNewObject)
{
    CComPtr<IMoniker> sp;
    EXPECT_EQ(E_NOINTERFACE, CTestObject::CreateInstance(&sp));
    EXPECT_EQ(nullptr, sp.p);
    EXPECT_EQ(1, g_counts.nConstructed);
    EXPECT_EQ(1, g_counts.nReleased);
}

TEST_F(ComObject, HasOneIdentityFromEveryInterface)
{
    CComPtr<IServiceProvider> sp;
    ASSERT_EQ(S_OK, CTestObject::CreateInstance(&sp));
    // The first row of the map is the identity.
    EXPECT_EQ(static_cast<IUnknown*>(sp.p), IdentityOf(sp));
    for (const IID* piid : {&IID_IPersist, &IID_IPersistStream, &IID_IPersistFile, &IID_IStorage})
    {
        CComPtr<IUnknown> spOther;
        ASSERT_EQ(S_OK, sp->QueryInterface(*piid, reinterpret_cast<void**>(&spOther)));
        EXPECT_EQ(IdentityOf(sp), IdentityOf(spOther));
        EXPECT_EQ(2u, CountOf(sp));
    }
}

TEST_F(ComObject, TriesTheMapInOrder)
{
    CComPtr<IServiceProvider> sp;
    ASSERT_EQ(S_OK, CTestObject::CreateInstance(&sp));
    CComQIPtr<IPersistStream> spStream(sp);
    CComQIPtr<IPersistFile> spFile(sp);
    CComQIPtr<IPersist> spPersist(sp);
    ASSERT_TRUE(spStream && spFile && spPersist);
    // IPersist is the stream's, the row that names the stream's identifier again is never reached.
    EXPECT_EQ(static_cast<IPersist*>(spStream.p), spPersist.p);
    EXPECT_NE(static_cast<void*>(spFile.p), static_cast<void*>(spStream.p));
    // Another identifier for the same interface, and the functions: the first refuses, the next serves.
    void* pv = nullptr;
    ASSERT_EQ(S_OK, sp->QueryInterface(IID_ISequentialStream, &pv));
    EXPECT_EQ(static_cast<void*>(spFile.p), pv);
    spFile->Release();
    ASSERT_EQ(S_OK, sp->QueryInterface(IID_IStorage, &pv));
    EXPECT_EQ(static_cast<void*>(spFile.p), pv);
    spFile->Release();
}

TEST_F(ComObject, RefusesInterfacesAndNullPointers)
{
    CComPtr<IServiceProvider> sp;
    ASSERT_EQ(S_OK, CTestObject::CreateInstance(&sp));
    void* pv = sp.p;
    EXPECT_EQ(E_NOINTERFACE, sp->QueryInterface(IID_IMoniker, &pv));
    EXPECT_EQ(nullptr, pv);
    EXPECT_EQ(E_POINTER, sp->QueryInterface(IID_IUnknown, nullptr));
    EXPECT_EQ(E_POINTER, sp->QueryInterface(IID_IMoniker, nullptr));
    EXPECT_EQ(1u, CountOf(sp));
}

/// A class whose map continues in that of its base.
class CDerived : public CTestObject
{
public:
    BEGIN_COM_MAP(CDerived)
    COM_INTERFACE_ENTRY(IPersistFile)
    COM_INTERFACE_ENTRY_CHAIN(CTestObject)
    END_COM_MAP()
};

TEST_F(ComObject, ChainedMap)
{
    CComObject<CDerived>* pObject = nullptr;
    ASSERT_EQ(S_OK, CComObject<CDerived>::CreateInstance(&pObject));
    CComPtr<IPersistFile> spFile(pObject);
    CComQIPtr<IServiceProvider> spProvider(spFile);
    EXPECT_NE(nullptr, spProvider.p);
    EXPECT_EQ(static_cast<IUnknown*>(spFile.p), IdentityOf(spProvider));
    void* pv = nullptr;
    EXPECT_EQ(E_NOINTERFACE, spFile->QueryInterface(IID_IMoniker, &pv));
}

TEST_F(ComObject, CountsUnderManyThreads)
{
    CComPtr<IServiceProvider> sp;
    ASSERT_EQ(S_OK, CTestObject::CreateInstance(&sp));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back(
            [p = sp.p]
            {
                for (int n = 0; n < 5000; ++n)
                {
                    CComPtr<IServiceProvider> spCopy(p);
                    CComQIPtr<IPersistFile> spFile(spCopy);
                }
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(1u, CountOf(sp));
    EXPECT_EQ(1, g_counts.nAlive);
}

TEST_F(ComObject, LockIsRecursiveAndExcludesOtherThreads)
{
    CComObject<CTestObject>* pObject = nullptr;
    ASSERT_EQ(S_OK, CComObject<CTestObject>::CreateInstance(&pObject));
    CComPtr<IPersistFile> spKeep(pObject);
    int nInside = 0;
    int nMost = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back(
            [&]
            {
                for (int n = 0; n < 2000; ++n)
                {
                    CTestObject::ObjectLock lock(pObject);
                    CTestObject::ObjectLock lockAgain(pObject);
                    nMost = std::max(nMost, ++nInside);
                    --nInside;
                }
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(1, nMost);
    CTestObject::ObjectLock none(nullptr);
}

TEST_F(ComObject, SingleThreadModelNeedsNoLock)
{
    CComPtr<IPersistStream> sp;
    ASSERT_EQ(S_OK, CTestAlone::CreateInstance(&sp));
    EXPECT_EQ(1u, CountOf(sp));
    LONG n = 5;
    EXPECT_EQ(6u, CComSingleThreadModel::Increment(&n));
    EXPECT_EQ(5u, CComSingleThreadModel::Decrement(&n));
    EXPECT_EQ(6u, CComMultiThreadModel::Increment(&n));
    EXPECT_EQ(5u, CComMultiThreadModel::Decrement(&n));
    EXPECT_EQ(6u, CComMultiThreadModelNoCS::Increment(&n));
    EXPECT_EQ(5u, CComMultiThreadModelNoCS::Decrement(&n));
}

TEST(ComCriticalSection, InitAndTerm)
{
    CComCriticalSection crs;
    EXPECT_EQ(S_OK, crs.Init());
    EXPECT_EQ(S_OK, crs.Lock());
    EXPECT_EQ(S_OK, crs.Lock());
    EXPECT_EQ(S_OK, crs.Unlock());
    EXPECT_EQ(S_OK, crs.Unlock());
    EXPECT_EQ(S_OK, crs.Term());
}

TEST(Assertions, GoToTheDebugReportWithFileAndText)
{
    AssertCapture asserts;
    const int nValue = 3;
    ATLASSERT(nValue == 3);
    EXPECT_TRUE(asserts.Reports().empty());
    const int nLine = __LINE__ + 1;
    ATLASSERT(nValue == 4);
    ASSERT_EQ(1u, asserts.Reports().size());
    EXPECT_EQ("nValue == 4", asserts.Reports()[0].sText);
    EXPECT_EQ(nLine, asserts.Reports()[0].nLine);
    EXPECT_EQ(__FILE__, asserts.Reports()[0].sFile);
}

} // namespace
