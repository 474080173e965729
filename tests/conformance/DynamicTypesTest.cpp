// Peers that attach a new type to a sample, and peers whose buffers do not hold the frame.
#include "FramesFixture.h"

#include "support/GuardedPages.h"

#include <algorithm>
#include <map>

namespace
{

constexpr LONG g_nWidth = 16, g_nHeight = 8;

class DynamicTypes : public Frames
{
protected:
    void SetUp() override
    {
        Frames::SetUp();
        m_pOffered = &m_alloc;
        // Room for rows that a new type pads.
        m_alloc.m_grant = [](ALLOCATOR_PROPERTIES& props) { props.cbBuffer *= 4; };
        m_alloc.m_onLend = [this](FakeSample& sample)
        {
            const auto it = m_arrAttach.find(m_nLent++);
            if (it != m_arrAttach.end())
                sample.m_mt = it->second;
        };
    }

    /// The pin's type is that of format, size and rows from the bottom; a file shows which row is which.
    void ShowChart(DWORD fcc)
    {
        ASSERT_EQ(SetProps(fcc, g_nWidth, g_nHeight, false), S_OK);
        ASSERT_EQ(SetPicture(m_folder.Write("chart.tga", TgaOf(g_nWidth, g_nHeight, 24, ChartColour))), S_OK);
        ASSERT_EQ(Connect(), S_OK);
    }

    /// Six frames, the layout of each as told.
    void ExpectLayouts(const std::vector<const CMType*>& types)
    {
        m_nLent = 0;
        const RowModel model = FileShown(eK_Tga24, ChartColour);
        const auto fnLook = [&, n = size_t{0}](IMediaSample& sample) mutable -> std::string
        {
            BYTE* pb = nullptr;
            sample.GetPointer(&pb);
            return Difference(Layout::Of(*types.at(n++)), model, pb,
                              static_cast<size_t>(sample.GetActualDataLength()));
        };
        EXPECT_EQ(Deliver(static_cast<int>(types.size()), fnLook), Lines{});
    }

    int m_nLent = 0;
    std::map<int, CMType> m_arrAttach; ///< by number of the sample
};

TEST_F(DynamicTypes, OtherRowOrderAndPadding)
{
    for (const FormatRow& format : g_arrFormats)
    {
        if (!format.bPainted)
            continue;
        SCOPED_TRACE(format.pszName);
        ASSERT_NO_FATAL_FAILURE(ShowChart(format.fcc));
        const CMType mtFirst = Connected();
        const GUID guid = SubtypeOf(format.fcc);
        const CMType mtTop = HostType(guid, g_nWidth, -g_nHeight);
        const CMType mtPadded = HostType(guid, g_nWidth, -g_nHeight, 32);
        const CMType mtBack = HostType(guid, g_nWidth, g_nHeight, 0, FORMAT_VideoInfo2);
        // The sample that brings the type is already filled in it.
        m_arrAttach = {{2, mtTop}, {3, mtPadded}, {5, mtBack}};
        ExpectLayouts({&mtFirst, &mtFirst, &mtTop, &mtPadded, &mtPadded, &mtBack, &mtBack});
        // The last type stays: in the connection, in the pin's list, and over a stop.
        const CMType mtNow = Connected(), mtOffered = Offered(), mtFormat = Format();
        EXPECT_TRUE(MTEqual(&mtNow, &mtBack));
        EXPECT_TRUE(MTEqual(&mtOffered, &mtBack));
        EXPECT_TRUE(MTEqual(&mtFormat, &mtBack));
        m_arrAttach.clear();
        ExpectLayouts({&mtBack, &mtBack});
        Disconnect();
    }
}

/// A change of the frame's length is a new time from that sample on.
TEST_F(DynamicTypes, OtherRate)
{
    ASSERT_NO_FATAL_FAILURE(ShowChart(eQGFCC_RGB32));
    const CMType mt = HostType(SubtypeOf(eQGFCC_RGB32), g_nWidth, g_nHeight, 0, FORMAT_VideoInfo, 1000);
    m_arrAttach = {{1, mt}};
    std::vector<std::pair<REFERENCE_TIME, REFERENCE_TIME>> times;
    EXPECT_EQ(Deliver(3,
                      [&](IMediaSample& sample) -> std::string
                      {
                          REFERENCE_TIME tS = -1, tE = -1;
                          sample.GetTime(&tS, &tE);
                          times.emplace_back(tS, tE);
                          return {};
                      }),
              Lines{});
    const std::vector<std::pair<REFERENCE_TIME, REFERENCE_TIME>> expected = {
        {0, 400000}, {400000, 401000}, {401000, 402000}};
    EXPECT_EQ(times, expected);
    Disconnect();
}

/// A type that the pin does not accept changes nothing; the log tells it, and the frames go on.
TEST_F(DynamicTypes, RefusedTypes)
{
    const CMType refused[] = {
        HostType(SubtypeOf(eQGFCC_RGB32), g_nWidth, 2 * g_nHeight),
        HostType(SubtypeOf(eQGFCC_RGB32), 2 * g_nWidth, g_nHeight),
        HostType(SubtypeOf(eQGFCC_RGB24), g_nWidth, g_nHeight),
        HostType(SubtypeOf(eQGFCC_UYVY), g_nWidth, g_nHeight),
        CMType(MEDIATYPE_Audio, GUID_NULL),
        CMType(MEDIATYPE_Video, SubtypeOf(eQGFCC_RGB32)),
    };
    ASSERT_NO_FATAL_FAILURE(ShowChart(eQGFCC_RGB32));
    const CMType mt = Connected();
    for (const CMType& mtRefused : refused)
    {
        m_arrAttach = {{1, mtRefused}};
        m_trace.Clear();
        ExpectLayouts({&mt, &mt, &mt});
        EXPECT_EQ(m_trace.Count(eTL_Error, "###Err### [CCoQXStillSourceOut] SetMediaTypeFromSample(): new "
                                           "mediatype is not accepted\n"),
                  1);
        const CMType mtNow = Connected();
        EXPECT_TRUE(MTEqual(&mtNow, &mt));
    }
    Disconnect();
}

/// Nothing but S_OK brings a type.
TEST_F(DynamicTypes, OtherAnswers)
{
    ASSERT_NO_FATAL_FAILURE(ShowChart(eQGFCC_RGB32));
    const CMType mt = Connected();
    const auto fnAttach = m_alloc.m_onLend;
    m_arrAttach = {{1, HostType(SubtypeOf(eQGFCC_RGB32), g_nWidth, -g_nHeight)}};
    for (const HRESULT hr : {S_FALSE, E_FAIL, E_NOTIMPL})
    {
        m_alloc.m_onLend = [&](FakeSample& sample)
        {
            fnAttach(sample);
            // Both ways of a sample to tell its type.
            sample.Script(eSC_GetMediaType, hr);
        };
        ExpectLayouts({&mt, &mt, &mt});
    }
    Disconnect();
}

/// The filter's own allocator lets a type ride on the next sample, and on no other.
TEST_F(DynamicTypes, ATypeThroughTheOwnAllocator)
{
    m_pOffered = nullptr;
    m_sink.m_pin.m_rgRequire = ALLOCATOR_PROPERTIES{1, 4096, 1, 0};
    ASSERT_NO_FATAL_FAILURE(ShowChart(eQGFCC_RGB32));
    const CComPtr<IMemAllocatorEx> spEx = Interface<IMemAllocatorEx>(m_sink.m_pin.NotifiedAllocator());
    ASSERT_TRUE(spEx);
    const CMType mt = HostType(SubtypeOf(eQGFCC_RGB32), g_nWidth, -g_nHeight, 32);
    EXPECT_EQ(spEx->SetMediaType(&mt), S_OK);
    int nTypes = 0;
    const RowModel model = FileShown(eK_Tga24, ChartColour);
    EXPECT_EQ(Deliver(3,
                      [&](IMediaSample& sample) -> std::string
                      {
                          AM_MEDIA_TYPE* pmt = nullptr;
                          if (sample.GetMediaType(&pmt) == S_OK)
                          {
                              nTypes++;
                              if (!MTEqual(pmt, &mt))
                                  return "another type";
                              MTDelete(pmt);
                          }
                          BYTE* pb = nullptr;
                          sample.GetPointer(&pb);
                          return Difference(Layout::Of(mt), model, pb,
                                            static_cast<size_t>(sample.GetActualDataLength()));
                      }),
              Lines{});
    EXPECT_EQ(nTypes, 1);
    Disconnect();
}

/// Buffers that do not hold the frame: the assertion, nothing behind the buffer, and a stream that sleeps as
/// the length cannot be stored.
const Lines g_arrTooSmall = {"sample.m_cbBuf >= cbSize",
                             "CSampleCopier::CopyBuffer(): GetSize() < actual data length"};

class SmallBuffers : public Frames
{
protected:
    /// \param nMissing bytes that each buffer is short of
    void ExpectSleep(LONG nMissing, bool bSample2)
    {
        std::vector<std::unique_ptr<GuardedPages>> pages;
        FakeAllocator alloc(&m_log);
        alloc.m_make = [&](LONG cbBuffer)
        {
            pages.push_back(std::make_unique<GuardedPages>());
            const LONG cb = cbBuffer - nMissing;
            auto pSample = std::make_unique<FakeSample>(
                cb, bSample2, pages.back()->Place(static_cast<size_t>(cb), GuardedPages::AtEnd));
            return pSample;
        };
        m_pOffered = &alloc;
        ASSERT_EQ(Connect(), S_OK);
        m_trace.Clear();
        m_log.Clear();
        ASSERT_EQ(Filter().Pause(), S_OK);
        const HRESULT hr = E_FAIL;
        char szSave[100], szPrepare[100];
        snprintf(szSave, sizeof(szSave),
                 "###Err### [CCoQXStillSourceOut]: PrepareSample(): sample.Save()=0x%X\n",
                 static_cast<unsigned>(hr));
        snprintf(szPrepare, sizeof(szPrepare),
                 "###Err### [CCoQXStillSourceOut]: Send(): PrepareSample()=0x%X\n",
                 static_cast<unsigned>(hr));
        ASSERT_TRUE(m_trace.WaitFor(eTL_Error, szPrepare));
        EXPECT_EQ(m_trace.Count(eTL_Error, szSave), 1);
        EXPECT_EQ(Filter().Stop(), S_OK); // the worker has finished its step
        EXPECT_EQ(Asserts(), g_arrTooSmall);
        EXPECT_EQ(m_log.Count("in.Receive"), 0);
        EXPECT_EQ(m_log.Count("alloc.GetBuffer"), 1); // it did not try again
        EXPECT_EQ(alloc.Lent(), 0);
        for (const auto& p : pages)
            EXPECT_TRUE(p->IsWhole());
        Disconnect();
    }
};

TEST_F(SmallBuffers, TheStreamSleeps)
{
    ASSERT_EQ(SetPicture("white"), S_OK);
    for (const DWORD fcc : {eQGFCC_RGB32, eQGFCC_RGB24, eQGFCC_UYVY, eQGFCC_I420})
    {
        ASSERT_EQ(SetProps(fcc, g_nWidth, g_nHeight, false), S_OK);
        const LONG cbFrame = static_cast<LONG>(Layout::Of(Offered()).cbFrame);
        for (const LONG nMissing : {LONG{1}, cbFrame / 2, cbFrame - 1})
        {
            for (const bool bSample2 : {true, false})
            {
                SCOPED_TRACE(testing::Message() << fcc << ", " << nMissing << " missing, " << bSample2);
                ASSERT_NO_FATAL_FAILURE(ExpectSleep(nMissing, bSample2));
            }
        }
    }
}

/// A type on a sample may pad the rows beyond what the agreed buffers hold.
TEST_F(SmallBuffers, ATypeThatNeedsMore)
{
    ASSERT_EQ(SetPicture("white"), S_OK);
    ASSERT_EQ(SetProps(eQGFCC_RGB32, g_nWidth, g_nHeight, false), S_OK);
    m_sink.m_pin.m_rgRequire = ALLOCATOR_PROPERTIES{1, 1, 4096, 0};
    ASSERT_EQ(Connect(), S_OK);
    const CComPtr<IMemAllocatorEx> spEx = Interface<IMemAllocatorEx>(m_sink.m_pin.NotifiedAllocator());
    ASSERT_TRUE(spEx);
    const CMType mt = HostType(SubtypeOf(eQGFCC_RGB32), g_nWidth, g_nHeight, 2048);
    EXPECT_EQ(spEx->SetMediaType(&mt), S_OK);
    m_trace.Clear();
    m_log.Clear();
    ASSERT_EQ(Filter().Pause(), S_OK);
    EXPECT_TRUE(
        m_trace.WaitFor(eTL_Error, "###Err### [CCoQXStillSourceOut]: Send(): PrepareSample()=0x80004005\n"));
    EXPECT_EQ(Filter().Stop(), S_OK);
    EXPECT_EQ(Asserts(), g_arrTooSmall);
    EXPECT_EQ(m_log.Count("in.Receive"), 0);
    Disconnect();
}

} // namespace
