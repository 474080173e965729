// Which allocator a connection gets.
#include "TestFilter.h"
#include "dstl/dshowx/memory/GreedAllocator.h"

#include <algorithm>
#include <tuple>

namespace
{
using Tuple = std::tuple<LONG, LONG, LONG, LONG>;

Tuple AsTuple(const ALLOCATOR_PROPERTIES& rgProps)
{
    return {rgProps.cBuffers, rgProps.cbBuffer, rgProps.cbAlign, rgProps.cbPrefix};
}

const std::string sExtern = "2 ###Err### [TestPin] CAllocatorMatch::MatchExternAllocator(): ";
const std::string sOur = "2 ###Err### [TestPin] CAllocatorMatch::MatchOurAllocator(): ";
const std::string sUse = "8 @@@@ [TestPin] CAllocatorMatch::AttachAllocator(): use ";

class AllocatorTest : public FrameworkTest
{
protected:
    AllocatorTest()
    {
        Pin().m_hrCreate = S_OK;
        Pin().m_pOwn = &m_own;
    }
    /// The lines of an agreement on its own.
    Lines Agree(HRESULT hrExpected)
    {
        LogCapture log;
        EXPECT_EQ(Pin().AllocatorAgree(&Peer()), hrExpected);
        const Lines lines = Own(log);
        LetGo();
        return lines;
    }
    void LetGo()
    {
        Pin().m_spAllocOut.Release();
        Pin().m_eAllocSrc = eAS_None;
    }
    static constexpr LONG cbFrame = 16 * 8 * 3;
};

TEST_F(AllocatorTest, SourceWords)
{
    EXPECT_EQ(Utf8(AllocSrcName(eAS_None)), "internal");
    EXPECT_EQ(Utf8(AllocSrcName(eAS_Upstream)), "upstream");
    EXPECT_EQ(Utf8(AllocSrcName(eAS_Internal)), "internal");
    EXPECT_EQ(Utf8(AllocSrcName(eAS_Downstream)), "downstream");
}

TEST_F(AllocatorTest, TheDownstreamAllocatorIsPreferred)
{
    EXPECT_EQ(Agree(S_OK), Lines{sUse + "downstream allocator\n"});
    // The last question is that of the dump.
    EXPECT_EQ(m_calls.Calls(), (Lines{"in.GetAllocatorRequirements", "in.GetAllocator", "alloc.SetProperties",
                                      "in.NotifyAllocator", "alloc.GetProperties", "alloc.GetProperties"}));
    EXPECT_EQ(AsTuple(m_alloc.m_rgRequest), Tuple(2, cbFrame, 1, 0));
    EXPECT_EQ(Peer().NotifiedAllocator(), &m_alloc);
    EXPECT_FALSE(Peer().NotifiedReadOnly());
}

/// Each way in which the downstream allocator is refused, with the line that says why.
TEST_F(AllocatorTest, RefusedDownstreamAllocators)
{
    struct Row
    {
        const char* pszName;
        std::function<void()> script;
        std::string sLine;
        bool bNotified; ///< the sink heard of its own allocator first
    };
    const Row rows[] = {
        {"none", [this] { Peer().m_pAllocator = nullptr; }, "pMemInput->GetAllocator()=0x8004020A\n", false},
        {"positive result", [this] { Peer().m_hrGetAllocator = S_FALSE; }, "pMemInput->GetAllocator()=0x1\n",
         false},
        {"null",
         [this]
         {
             Peer().m_hrGetAllocator = S_OK;
             Peer().m_pAllocator = nullptr;
         },
         "pMemInput->GetAllocator()=0x80004005\n", false},
        {"SetProperties fails", [this] { m_alloc.m_hrSetProperties = VFW_E_BADALIGN; },
         "spMemAlloc->SetProperties()=0x8004020E\n", false},
        {"SetProperties is positive", [this] { m_alloc.m_hrSetProperties = S_FALSE; },
         "spMemAlloc->SetProperties()=0x1\n", false},
        {"one buffer", [this] { m_alloc.m_grant = [](ALLOCATOR_PROPERTIES& rg) { rg.cBuffers = 1; }; },
         "pOutPin->AllocatorTestProps()=0x80004005\n", false},
        {"too small", [this] { m_alloc.m_grant = [](ALLOCATOR_PROPERTIES& rg) { --rg.cbBuffer; }; },
         "pOutPin->AllocatorTestProps()=0x80004005\n", false},
        {"alignment 0", [this] { m_alloc.m_grant = [](ALLOCATOR_PROPERTIES& rg) { rg.cbAlign = 0; }; },
         "pOutPin->AllocatorTestProps()=0x80004005\n", false},
        {"alignment 3", [this] { m_alloc.m_grant = [](ALLOCATOR_PROPERTIES& rg) { rg.cbAlign = 3; }; },
         "pOutPin->AllocatorTestProps()=0x80004005\n", false},
        {"no prefix",
         [this]
         {
             Peer().m_rgRequire = ALLOCATOR_PROPERTIES{1, 1, 1, 8};
             m_alloc.m_grant = [](ALLOCATOR_PROPERTIES& rg) { rg.cbPrefix = 0; };
         },
         "pOutPin->AllocatorTestProps()=0x80004005\n", false},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.pszName);
        Peer().m_pAllocator = &m_alloc;
        Peer().m_hrGetAllocator.reset();
        Peer().m_rgRequire.reset();
        m_alloc.m_hrSetProperties.reset();
        m_alloc.m_grant = nullptr;
        row.script();
        m_calls.Clear();
        EXPECT_EQ(Agree(S_OK), (Lines{sExtern + row.sLine, sUse + "internal allocator\n"}));
        EXPECT_EQ(Peer().NotifiedAllocator(), &m_own);
        EXPECT_EQ(m_calls.Count("in.NotifyAllocator"), 1);
        EXPECT_EQ(m_alloc.Refs(), 0);
    }
}

TEST_F(AllocatorTest, ASinkThatWillNotBeTold)
{
    struct Row
    {
        HRESULT hrNotify, hr;
    };
    for (const Row& row : {Row{VFW_E_NO_ALLOCATOR, VFW_E_NO_ALLOCATOR}, Row{S_FALSE, E_FAIL}})
    {
        Peer().m_hrNotify = row.hrNotify;
        const std::string sHr = Hex(static_cast<unsigned>(row.hrNotify)) + "\n";
        EXPECT_EQ(
            Agree(row.hr),
            (Lines{sExtern + "pMemInput->NotifyAllocator()=" + sHr,
                   sOur + "pMemInput->NotifyAllocator()=" + sHr,
                   "8 ###Err### [TestPin] CStdAllocator::AllocatorAgree() - allocator agreement failed, hr=" +
                       Hex(static_cast<unsigned>(row.hr)) + "\n"}));
        EXPECT_FALSE(Pin().m_spAllocOut);
        EXPECT_EQ(m_own.Refs(), 0);
        EXPECT_EQ(m_alloc.Refs(), 0);
    }
}

/// Each way in which the pin's own allocator fails after the downstream one.
TEST_F(AllocatorTest, RefusedOwnAllocators)
{
    Peer().m_pAllocator = nullptr;
    struct Row
    {
        const char* pszName;
        std::function<void()> script;
        std::string sLine;
        HRESULT hr;
    };
    const Row rows[] = {
        {"not made",
         [this]
         {
             Pin().m_hrCreate = E_NOTIMPL;
             Pin().m_pOwn = nullptr;
         },
         "pOutPin->AllocatorCreate()=0x80004001\n", E_NOTIMPL},
        {"no memory",
         [this]
         {
             Pin().m_hrCreate = E_OUTOFMEMORY;
             Pin().m_pOwn = nullptr;
         },
         "pOutPin->AllocatorCreate()=0x8007000E\n", E_OUTOFMEMORY},
        {"positive", [this] { Pin().m_hrCreate = S_FALSE; }, "pOutPin->AllocatorCreate()=0x1\n", E_FAIL},
        {"SetProperties fails", [this] { m_own.m_hrSetProperties = E_ABORT; },
         "spMemAlloc->SetProperties()=0x80004004\n", E_ABORT},
        {"too few buffers", [this] { m_own.m_grant = [](ALLOCATOR_PROPERTIES& rg) { rg.cBuffers = 1; }; },
         "pOutPin->AllocatorTestProps()=0x80004005\n", E_FAIL},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.pszName);
        Pin().m_hrCreate = S_OK;
        Pin().m_pOwn = &m_own;
        m_own.m_hrSetProperties.reset();
        m_own.m_grant = nullptr;
        row.script();
        EXPECT_EQ(
            Agree(row.hr),
            (Lines{sExtern + "pMemInput->GetAllocator()=0x8004020A\n", sOur + row.sLine,
                   "8 ###Err### [TestPin] CStdAllocator::AllocatorAgree() - allocator agreement failed, hr=" +
                       Hex(static_cast<unsigned>(row.hr)) + "\n"}));
        EXPECT_EQ(m_own.Refs(), 0);
    }
}

TEST_F(AllocatorTest, MoreThanRequestedIsKept)
{
    m_alloc.m_grant = [](ALLOCATOR_PROPERTIES& rg) { rg = {10, rg.cbBuffer * 2, 64, 16}; };
    ASSERT_EQ(Connect(), S_OK);
    EXPECT_EQ(Pin().m_spAllocOut.p, &m_alloc);
    EXPECT_EQ(Pin().m_eAllocSrc, eAS_Downstream);
    EXPECT_EQ(AsTuple(Pin().m_rgPropsOut), Tuple(10, cbFrame * 2, 64, 16));
}

TEST_F(AllocatorTest, TheOwnAllocatorOfAConnection)
{
    Peer().m_pAllocator = nullptr;
    ASSERT_EQ(Connect(), S_OK);
    EXPECT_EQ(Pin().m_spAllocOut.p, &m_own);
    EXPECT_EQ(Pin().m_eAllocSrc, eAS_Internal);
    EXPECT_EQ(Peer().NotifiedAllocator(), &m_own);
    EXPECT_EQ(m_own.Refs(), 1);
}

TEST_F(AllocatorTest, RequestTable)
{
    struct Row
    {
        std::optional<ALLOCATOR_PROPERTIES> rgRequire;
        Tuple expected;
    };
    const Row rows[] = {
        {std::nullopt, {2, cbFrame, 1, 0}},
        {ALLOCATOR_PROPERTIES{0, 0, 0, 0}, {2, cbFrame, 1, 0}},
        {ALLOCATOR_PROPERTIES{3, 10, 16, 8}, {3, cbFrame, 16, 8}},
        {ALLOCATOR_PROPERTIES{1, 1000000, 1, 0}, {2, 1000000, 1, 0}},
        {ALLOCATOR_PROPERTIES{-1, -1, -1, -1}, {2, cbFrame, 1, 0}},
    };
    for (const Row& row : rows)
    {
        Peer().m_rgRequire = row.rgRequire;
        ALLOCATOR_PROPERTIES rg = {9, 9, 9, 9};
        EXPECT_EQ(Pin().AllocatorGetProps(&Peer(), &rg), S_OK);
        EXPECT_EQ(AsTuple(rg), row.expected);
    }
    AssertCapture asserts;
    ALLOCATOR_PROPERTIES rg = {9, 9, 9, 9};
    EXPECT_EQ(Pin().AllocatorGetProps(nullptr, &rg), S_OK);
    EXPECT_EQ(AsTuple(rg), Tuple(2, cbFrame, 1, 0));
    EXPECT_EQ(asserts.Texts(), Lines{"pMemInput != NULL"});
}

TEST_F(AllocatorTest, TheSizeComesFromTypeAndPicture)
{
    ALLOCATOR_PROPERTIES rg = {1, 1, 1, 0};
    EXPECT_EQ(Pin().AllocatorDecideProps(&rg), S_OK);
    EXPECT_EQ(rg.cbBuffer, cbFrame);
    rg = {1, 1, 1, 0};
    CMType mt = m_mtStart;
    mt.lSampleSize = 5000;
    Pin().ApplyOutputType(&mt);
    EXPECT_EQ(Pin().AllocatorDecideProps(&rg), S_OK);
    EXPECT_EQ(rg.cbBuffer, 5000);
    rg = {1, 1, 1, 0};
    mt.VideoInfo()->bmiHeader.biSizeImage = 6000;
    Pin().ApplyOutputType(&mt);
    EXPECT_EQ(Pin().AllocatorDecideProps(&rg), S_OK);
    EXPECT_EQ(rg.cbBuffer, 6000);
    rg = {1, 1, 1, 0};
    mt = VideoType(64, 64, FOURCC_RGB32);
    mt.lSampleSize = 1;
    mt.VideoInfo()->bmiHeader.biSizeImage = 1;
    Pin().ApplyOutputType(&mt);
    EXPECT_EQ(Pin().AllocatorDecideProps(&rg), S_OK);
    EXPECT_EQ(rg.cbBuffer, 64 * 64 * 4);

    Pin().ApplyOutputType(nullptr);
    AssertCapture asserts;
    rg = {0, 0, 0, 0};
    EXPECT_EQ(Pin().AllocatorDecideProps(&rg), S_OK);
    EXPECT_EQ(AsTuple(rg), Tuple(2, 1, 1, 0));
    EXPECT_EQ(asserts.Texts(), Lines{"m_theMediaType.IsDefined()"});
}

TEST_F(AllocatorTest, NullArguments)
{
    AssertCapture asserts;
    ALLOCATOR_PROPERTIES rg = {1, 1, 1, 0};
    EXPECT_EQ(Pin().AllocatorAgree(nullptr), E_POINTER);
    EXPECT_EQ(Pin().MatchExternAllocator(nullptr, &rg, FALSE), E_POINTER);
    EXPECT_EQ(Pin().MatchOurAllocator(nullptr, &rg, FALSE), E_POINTER);
    Pin().AttachAllocator(nullptr, eAS_None);
    EXPECT_EQ(asserts.Texts(), (Lines{"pMemInput != NULL", "pMemInput != NULL", "pMemInput != NULL",
                                      "pAllocator != NULL", "eAllocSrc != eAS_None",
                                      "CAllocatorMatch::AttachAllocator(): GetProperties() != S_OK"}));
}

/// The allocator that the pin makes by itself: asked for by a sink without one, and by a sink whose own is
/// refused.
TEST_F(AllocatorTest, TheGreedyAllocator)
{
    Pin().m_hrCreate.reset();
    for (const bool bOffered : {false, true})
    {
        Peer().m_pAllocator = bOffered ? &m_alloc : nullptr;
        m_alloc.m_grant = [](ALLOCATOR_PROPERTIES& rg) { rg.cBuffers = 1; };
        Peer().m_rgRequire = ALLOCATOR_PROPERTIES{5, 1, 64, 8};
        LogCapture log;
        ASSERT_EQ(Connect(), S_OK);
        const Lines lines = Own(log);
        EXPECT_EQ(std::count(lines.begin(), lines.end(),
                             sExtern + (bOffered ? "pOutPin->AllocatorTestProps()=0x80004005\n"
                                                 : "pMemInput->GetAllocator()=0x8004020A\n")),
                  1);
        EXPECT_EQ(std::count(lines.begin(), lines.end(), sUse + "internal allocator\n"), 1);
        CComPtr<IMemAllocatorEx> spOurs;
        ASSERT_EQ(Pin().m_spAllocOut->QueryInterface(&spOurs), S_OK);
        EXPECT_EQ(Pin().m_eAllocSrc, eAS_Internal);
        // The size has grown so that the prefix and the frame fill whole alignments.
        EXPECT_EQ(AsTuple(Pin().m_rgPropsOut), Tuple(5, (cbFrame + 8 + 63) / 64 * 64 - 8, 64, 8));
        EXPECT_TRUE(
            log.Has(4, "WARNING. CAllocatorBuffers::Correct(): input props = { 5, 384, 64, 8 }, corrected "
                       "size of buffer = 440\n"));

        ASSERT_EQ(Pin().AllocatorActivate(true), S_OK);
        CComPtr<IMediaSample> spSample;
        ASSERT_EQ(Pin().GetSample(&spSample, 0), S_OK);
        EXPECT_EQ(spSample->GetSize(), 440);
        BYTE* pb = nullptr;
        EXPECT_EQ(spSample->GetPointer(&pb), S_OK);
        EXPECT_EQ((reinterpret_cast<UINT_PTR>(pb) - 8) % 64, 0u);
        spSample.Release();
        ASSERT_EQ(Pin().AllocatorActivate(false), S_OK);
        EXPECT_EQ(Pin().GetSample(&spSample, 0), VFW_E_NOT_COMMITTED);
        EXPECT_EQ(PinItf()->Disconnect(), S_OK);
    }
}

/// A sink that is slow to give back: the sample outlives stop, disconnection and the filter.
TEST_F(AllocatorTest, ASampleOutlivesTheFilter)
{
    Pin().m_hrCreate.reset();
    Peer().m_pAllocator = nullptr;
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Pin().AllocatorActivate(true), S_OK);
    CComPtr<IMediaSample> arrSamples[2];
    for (CComPtr<IMediaSample>& spSample : arrSamples)
        ASSERT_EQ(Pin().GetSample(&spSample, 0), S_OK);
    ASSERT_EQ(Pin().AllocatorActivate(false), S_OK);
    EXPECT_EQ(PinItf()->Disconnect(), S_OK);
    m_spFilter.Release();
    EXPECT_EQ(TestPin::s_nLiving, 0);
    EXPECT_EQ(_Module.GetLockCount(), 1) << "the allocator keeps itself";
    for (CComPtr<IMediaSample>& spSample : arrSamples)
    {
        BYTE* pb = nullptr;
        ASSERT_EQ(spSample->GetPointer(&pb), S_OK);
        std::fill_n(pb, spSample->GetSize(), BYTE{1});
        spSample.Release();
    }
    EXPECT_EQ(_Module.GetLockCount(), 0);
}

TEST_F(AllocatorTest, ASecondAgreementIsAsserted)
{
    ASSERT_EQ(Connect(), S_OK);
    AssertCapture asserts;
    EXPECT_EQ(Pin().AllocatorAgree(&Peer()), S_OK);
    EXPECT_EQ(asserts.Texts(), Lines{"!m_spAllocOut"});
    EXPECT_EQ(m_alloc.Refs(), 1);
}

TEST_F(AllocatorTest, AnAllocatorThatDoesNotTellItsProperties)
{
    m_alloc.m_hrGetProperties = E_ABORT;
    {
        AssertCapture asserts;
        ASSERT_EQ(Connect(), S_OK);
        EXPECT_EQ(asserts.Texts(), Lines{"CAllocatorMatch::AttachAllocator(): GetProperties() != S_OK"});
        EXPECT_EQ(AsTuple(Pin().m_rgPropsOut), Tuple(0, 0, 0, 0));
    }
    AssertCapture asserts;
    EXPECT_EQ(Pin().AllocatorActivate(true), S_OK);
    EXPECT_EQ(asserts.Texts(), Lines{"CAllocatorMatch::AllocatorActivate(): GetProperties() != S_OK"});
    EXPECT_TRUE(Pin().m_bActive);
}

TEST_F(AllocatorTest, Activate)
{
    ASSERT_EQ(Connect(), S_OK);
    m_calls.Clear();
    m_alloc.m_rgActual.cBuffers = 7; // known only after the commit
    EXPECT_EQ(Pin().AllocatorActivate(false), S_OK);
    EXPECT_EQ(m_calls.Calls(), Lines{});
    EXPECT_EQ(Pin().AllocatorActivate(true), S_OK);
    EXPECT_EQ(Pin().m_rgPropsOut.cBuffers, 7);
    EXPECT_EQ(Pin().AllocatorActivate(true), S_OK);
    EXPECT_EQ(m_calls.Calls(), (Lines{"alloc.Commit", "alloc.GetProperties"}));
    EXPECT_EQ(Pin().AllocatorActivate(false), S_OK);
    EXPECT_EQ(Pin().AllocatorActivate(false), S_OK);
    EXPECT_EQ(m_calls.Calls(), (Lines{"alloc.Commit", "alloc.GetProperties", "alloc.Decommit"}));
}

TEST_F(AllocatorTest, ActivateWithoutAllocator)
{
    ASSERT_EQ(Connect(), S_OK);
    CComPtr<IMemAllocator> spAlloc;
    std::swap(spAlloc.p, Pin().m_spAllocOut.p);
    AssertCapture asserts;
    EXPECT_EQ(Pin().AllocatorActivate(true), VFW_E_NO_ALLOCATOR);
    EXPECT_EQ(asserts.Texts(), Lines{"m_spAllocOut != NULL"});
    EXPECT_FALSE(Pin().m_bActive);
}

TEST_F(AllocatorTest, FailuresOfTheAllocator)
{
    ASSERT_EQ(Connect(), S_OK);
    struct Row
    {
        HRESULT hrAlloc, hr;
    };
    const Row rows[] = {{E_OUTOFMEMORY, E_OUTOFMEMORY}, {S_FALSE, E_FAIL}};
    for (const Row& row : rows)
    {
        m_alloc.m_hrCommit = row.hrAlloc;
        EXPECT_EQ(Pin().AllocatorActivate(true), row.hr);
        EXPECT_FALSE(Pin().m_bActive);
    }
    m_alloc.m_hrCommit.reset();
    EXPECT_EQ(Pin().AllocatorActivate(true), S_OK);
    for (const Row& row : rows)
    {
        m_alloc.m_hrDecommit = row.hrAlloc;
        EXPECT_EQ(Pin().AllocatorActivate(false), row.hr);
        EXPECT_TRUE(Pin().m_bActive);
    }
    m_alloc.m_hrDecommit.reset();
    EXPECT_EQ(Pin().AllocatorActivate(false), S_OK);
}
} // namespace
