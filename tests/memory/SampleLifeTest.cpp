// The complete sample: how it is built in its block, and what its last Release does.
#include "memory/AllocatorUnderTest.h"

#include <algorithm>
#include <new>

namespace
{
using SampleObject = CGreedMemoryAllocator::SampleObject;

class SampleLifeTest : public AllocatorFixture
{
};

TEST_F(SampleLifeTest, Interfaces)
{
    CommitWith({1, 100, 1, 0});
    CComPtr<IMediaSample> spSample;
    ASSERT_EQ(Get(spSample), S_OK);
    CComPtr<IMediaSample2> spSample2;
    CComPtr<IUnknown> spUnknown1, spUnknown2;
    EXPECT_EQ(spSample->QueryInterface(&spSample2), S_OK);
    EXPECT_EQ(spSample->QueryInterface(&spUnknown1), S_OK);
    EXPECT_EQ(spSample2->QueryInterface(&spUnknown2), S_OK);
    EXPECT_EQ(spUnknown1, spUnknown2);
    for (const IID* piid : {&IID_IMemAllocator, &IID_IPin, &IID_IDispatch})
    {
        void* pv = nullptr;
        EXPECT_EQ(spSample->QueryInterface(*piid, &pv), E_NOINTERFACE);
    }
    EXPECT_EQ(spSample->AddRef(), 5u);
    EXPECT_EQ(spSample->Release(), 4u);
    spSample2.Release();
    spUnknown1.Release();
    spUnknown2.Release();
    IMediaSample* const pLast = spSample.Detach();
    EXPECT_EQ(pLast->Release(), 0u);
    EXPECT_EQ(Alloc().Decommit(), S_OK);
    EXPECT_EQ(m_asserts.Texts(), Lines{});
}

TEST_F(SampleLifeTest, AFreshSampleInAUsedBlock)
{
    CommitWith({1, 100, 1, 0});
    IMediaSample* pBefore = nullptr;
    for (int i = 0; i < 3; ++i)
    {
        CComPtr<IMediaSample> spSample;
        ASSERT_EQ(Get(spSample), S_OK);
        EXPECT_TRUE(pBefore == nullptr || pBefore == spSample.p) << "the block is used again";
        pBefore = spSample;
        CComPtr<IMediaSample2> spSample2;
        ASSERT_EQ(spSample->QueryInterface(&spSample2), S_OK);
        AM_SAMPLE2_PROPERTIES rg = {};
        ASSERT_EQ(spSample2->GetProperties(sizeof(rg), reinterpret_cast<BYTE*>(&rg)), S_OK);
        EXPECT_EQ(rg.dwTypeSpecificFlags | rg.dwSampleFlags | rg.dwStreamId, 0u);
        EXPECT_EQ(rg.lActual, 0);
        EXPECT_EQ(rg.tStart | rg.tStop, 0);
        EXPECT_EQ(rg.pMediaType, nullptr);
        EXPECT_EQ(rg.cbBuffer, 100);
        LONGLONG ll = 0;
        EXPECT_EQ(spSample->GetMediaTime(&ll, &ll), VFW_E_MEDIA_TIME_NOT_SET);
        rg.dwTypeSpecificFlags = 1;
        rg.dwSampleFlags = AM_SAMPLE_PREROLL;
        rg.lActual = 7;
        rg.tStart = 8;
        rg.dwStreamId = 9;
        CMType mt(MEDIATYPE_Video, MEDIASUBTYPE_RGB24);
        rg.pMediaType = &mt;
        ASSERT_EQ(spSample2->SetProperties(sizeof(rg), reinterpret_cast<const BYTE*>(&rg)), S_OK);
        LONGLONG llE = 5;
        ASSERT_EQ(spSample->SetMediaTime(&ll, &llE), S_OK);
    }
    EXPECT_EQ(Alloc().Decommit(), S_OK);
}

TEST_F(SampleLifeTest, InitInstanceRefuses)
{
    alignas(SampleObject) BYTE arrBlock[sizeof(SampleObject)] = {};
    BYTE arrBuffer[4];
    IMediaSample* pSample = nullptr;
    Greedy* const pAlloc = m_spAlloc;
    const struct
    {
        void* pBlock;
        CGreedMemoryAllocator* pAlloc;
        BYTE* pBuffer;
        LONG cbBuffer;
        IMediaSample** ppSample;
        HRESULT hr;
        const char* pszAssert;
    } rows[] = {
        {nullptr, pAlloc, arrBuffer, 4, &pSample, E_POINTER, "pSample != NULL && ppMediaSample != NULL"},
        {arrBlock, pAlloc, arrBuffer, 4, nullptr, E_POINTER, "pSample != NULL && ppMediaSample != NULL"},
        {arrBlock, nullptr, arrBuffer, 4, &pSample, E_INVALIDARG,
         "pAlloc != NULL && pBuffer != NULL && cbBuffer > 0"},
        {arrBlock, pAlloc, nullptr, 4, &pSample, E_INVALIDARG,
         "pAlloc != NULL && pBuffer != NULL && cbBuffer > 0"},
        {arrBlock, pAlloc, arrBuffer, 0, &pSample, E_INVALIDARG,
         "pAlloc != NULL && pBuffer != NULL && cbBuffer > 0"},
    };
    for (const auto& row : rows)
    {
        m_asserts.Clear();
        EXPECT_EQ(SampleObject::InitInstance(row.pBlock, row.pAlloc, row.pBuffer, row.cbBuffer, row.ppSample),
                  row.hr);
        EXPECT_EQ(m_asserts.Texts(), Lines{row.pszAssert});
    }
    EXPECT_EQ(std::count(arrBlock, arrBlock + sizeof(arrBlock), 0), static_cast<ptrdiff_t>(sizeof(arrBlock)));
}

/// A sample of another class, whose construction or whose map is at fault.
template <HRESULT hrConstruct, bool bMap>
class FaultySample : public CMediaSample
{
public:
    HRESULT FinalConstruct() noexcept { return hrConstruct; }
    HRESULT _InternalQueryInterface(REFIID riid, void** ppv) noexcept
    {
        return bMap ? CMediaSample::_InternalQueryInterface(riid, ppv) : E_NOINTERFACE;
    }
};

TEST_F(SampleLifeTest, FaultySamples)
{
    using NotBuilt = CComSampleObject<CGreedMemoryAllocator, FaultySample<E_ABORT, true>>;
    using HalfBuilt = CComSampleObject<CGreedMemoryAllocator, FaultySample<S_FALSE, true>>;
    using NoInterface = CComSampleObject<CGreedMemoryAllocator, FaultySample<S_OK, false>>;
    alignas(NotBuilt) BYTE arrBlock[sizeof(NotBuilt)] = {};
    BYTE arrBuffer[4];
    IMediaSample* pSample = nullptr;
    Greedy* const p = m_spAlloc;
    EXPECT_EQ(NotBuilt::InitInstance(arrBlock, p, arrBuffer, 4, &pSample), E_ABORT);
    EXPECT_EQ(HalfBuilt::InitInstance(arrBlock, p, arrBuffer, 4, &pSample), E_FAIL);
    EXPECT_EQ(NoInterface::InitInstance(arrBlock, p, arrBuffer, 4, &pSample), E_NOINTERFACE);
    EXPECT_EQ(m_asserts.Texts(),
              (Lines{"CComSampleObject::InitInstance() : pSample->FinalConstruct() FAILED",
                     "CComSampleObject::InitInstance() : pSample->FinalConstruct() FAILED",
                     "CComSampleObject::InitInstance() : pSample->QueryInterface() FAILED"}));
    EXPECT_EQ(pSample, nullptr);
    EXPECT_EQ(Refs(), 1);
}

TEST_F(SampleLifeTest, Delete)
{
    SampleObject::operator delete(nullptr);
    SampleObject::operator delete(nullptr, nullptr);
    EXPECT_EQ(m_asserts.Texts(),
              (Lines{"CComSampleObject::operator delete 1", "CComSampleObject::operator delete 2"}));
}

/// A sample that has lost its buffer gives none back: the allocator never has all of them again.
TEST_F(SampleLifeTest, ABufferThatIsLost)
{
    CommitWith({2, 100, 1, 0});
    CComPtr<IMediaSample> spSample;
    ASSERT_EQ(Get(spSample), S_OK);
    auto* const pSample = static_cast<SampleObject*>(spSample.p);
    BYTE* const pBuffer = pSample->m_pBuffer;
    pSample->m_pBuffer = nullptr;
    spSample.Release();
    EXPECT_EQ(m_asserts.Texts(), (Lines{"m_pBuffer != NULL", "pSample->GetPointer() != S_OK"}));
    EXPECT_EQ(State(), AS_Partial);
    EXPECT_FALSE(Alloc().IsAllReturn());
    EXPECT_EQ(Alloc().m_samples.m_nBusy, 2u) << "the block is back";
    // The test gives it back, and a decommit can end.
    Alloc().m_buffers.Push(pBuffer);
    EXPECT_EQ(Alloc().Decommit(), S_OK);
}

TEST_F(SampleLifeTest, TheAllocatorRefusesTheReturn)
{
    CommitWith({1, 100, 1, 0});
    CComPtr<IMediaSample> spSample;
    ASSERT_EQ(Get(spSample), S_OK);
    Alloc().m_eState = AS_Prop;
    spSample.Release();
    EXPECT_EQ(m_asserts.Texts(), Lines{"ReleaseBuffer() != S_OK"});
    Alloc().m_eState = AS_Committed;
    EXPECT_EQ(Alloc().Decommit(), S_OK);
}

/// Decommit when a state and the buffers disagree.
TEST_F(SampleLifeTest, CommittedWithABufferOut)
{
    CommitWith({2, 100, 1, 0});
    CComPtr<IMediaSample> spSample;
    ASSERT_EQ(Get(spSample), S_OK);
    Alloc().m_eState = AS_Committed;
    EXPECT_EQ(Alloc().ReleaseBuffer(spSample), S_OK);
    EXPECT_EQ(Alloc().Decommit(), S_OK);
    EXPECT_EQ(m_asserts.Texts(), (Lines{"pT->IsAllReturn()", "pT->IsAllReturn()"}));
    spSample.Release();
    EXPECT_EQ(State(), AS_Prop);
}

/// The last block that comes home ends a decommit that its buffer could not end.
TEST_F(SampleLifeTest, TheBlockEndsTheDecommit)
{
    CommitWith({1, 100, 1, 0});
    void* const pBlock = Alloc().m_samples.Get();
    Alloc().m_eState = AS_Decommitting;
    Alloc().ReturnBlock(pBlock);
    EXPECT_EQ(State(), AS_Prop);
    EXPECT_EQ(Refs(), 1);
    EXPECT_EQ(GetHeldPages().nBlocks, 0);
    EXPECT_EQ(m_asserts.Texts(), Lines{});
}
} // namespace
