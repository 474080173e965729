// From the picture to the frame.
#include "FilterSupport.h"

#include "support/GuardedPages.h"

#include <random>

namespace
{

class Composition : public FilterTest
{
protected:
    /// The frame as a sample of its exact size gets it.
    Bytes Fill(HRESULT hrExpected = S_OK)
    {
        Bytes frame(GetPicSize(&Inside().m_picOutput), 0xEE);
        EXPECT_EQ(FillSampleBuffer(frame.data(), static_cast<DWORD>(frame.size())), hrExpected);
        return frame;
    }
};

TEST_F(Composition, NullBuffer)
{
    ShowSmall();
    EXPECT_EQ(FillSampleBuffer(nullptr, 128), E_INVALIDARG);
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{"pbBuf != NULL"});
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 0u);
}

TEST_F(Composition, SameSizeAndFormatIsAnExactCopy)
{
    struct
    {
        DWORD fcc;
        LONG nWidth, nHeight;
    } const rows[] = {
        {FOURCC_RGB32, 8, 4},  {FOURCC_RGB32, 7, 5}, {FOURCC_ARGB32, 8, 4}, {FOURCC_ARGB32, 1, 1},
        {FOURCC_RGB24, 8, 4},  {FOURCC_UYVY, 8, 4},  {FOURCC_YUY2, 6, 3},   {FOURCC_YVYU, 8, 4},
        {FOURCC_HDYC, 8, 4},   {FOURCC_YV12, 8, 4},  {FOURCC_I420, 16, 6},  {FOURCC_RGB32, 8, -4},
        {FOURCC_RGB24, 4, -7},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::Message()
                     << std::hex << row.fcc << std::dec << " " << row.nWidth << "*" << row.nHeight);
        const PicProps pic = {row.fcc, row.nWidth, row.nHeight, row.nWidth};
        const Bytes pixels = Pattern(GetPicSize(&pic));
        Show(row.fcc, row.nWidth, row.nHeight, pixels);
        m_asserts.Clear();
        EXPECT_EQ(Fill(), pixels);
        EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
        EXPECT_EQ(Bytes(Inside().m_blobFrame.GetPtr(),
                        Inside().m_blobFrame.GetPtr() + Inside().m_blobFrame.GetSize()),
                  pixels);
    }
}

TEST_F(Composition, SameSizeIsACopyUnderEveryAspectMode)
{
    const Bytes pixels = Pattern(128);
    for (const int nMode : {0, 1, 2, 3, 4, 100, -1})
    {
        InsideFilter().m_VidProps.eKeepAspect = static_cast<eQGKeepAspect>(nMode);
        Show(FOURCC_RGB32, 8, 4, pixels);
        EXPECT_EQ(Fill(), pixels) << nMode;
    }
}

TEST_F(Composition, OtherRowOrderTurnsThePicture)
{
    const Bytes pixels = Pattern(128);
    Show(FOURCC_RGB32, 8, 4, pixels);
    ASSERT_EQ(Control().SetOutputFormat(nullptr, 8, -4), S_OK);
    Bytes expected;
    for (int y = 3; y >= 0; y--)
        expected.insert(expected.end(), pixels.begin() + y * 32, pixels.begin() + (y + 1) * 32);
    EXPECT_EQ(Fill(), expected);
}

TEST_F(Composition, FrameIsComposedOnce)
{
    ShowSmall(0x11);
    EXPECT_EQ(Fill(), Bytes(128, 0x11));
    memset(Inside().m_blobSource.GetPtr(), 0x22, 128);
    EXPECT_EQ(Fill(), Bytes(128, 0x11)); // the cache never looks at what changed
    Inside().m_blobFrame.SetSize(0);
    EXPECT_EQ(Fill(), Bytes(128, 0x22));
}

TEST_F(Composition, WhatEmptiesTheFrame)
{
    ShowSmall(0x11);
    Fill();
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 128u);
    const CMType mt = VideoType(FOURCC_RGB32, 8, 4);
    Out().ApplyOutputType(&mt);
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 0u);
    EXPECT_GE(Inside().m_blobFrame.GetAllocSize(), 128u);
    Fill();
    EXPECT_EQ(Control().SetFrameRate(10), S_OK); // sets the type of an unconnected pin
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 0u);
}

TEST_F(Composition, WhatDoesNotEmptyTheFrame)
{
    ShowSmall(0x11);
    ASSERT_EQ(Connect(), S_OK);
    Fill();
    const BYTE* const pbFrame = Inside().m_blobFrame.GetPtr();
    EXPECT_EQ(Control().SetPicture(Text("red")), S_OK);
    EXPECT_EQ(Control().SetPicture(Text("bars")), S_OK);
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 128u);
    m_sink.m_pin.m_gate.Close();
    EXPECT_EQ(Filter().Run(0), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.Receive"));
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 128u);
    QG_VID_PROPS props = Props();
    props.nWidth = 100;
    EXPECT_EQ(Control().SetOutputProps(&props), S_OK);
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 128u);
    m_sink.m_pin.m_gate.Open();
    EXPECT_EQ(Filter().Stop(), S_OK);
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 128u);
    EXPECT_EQ(Inside().m_blobFrame.GetPtr(), pbFrame);
}

TEST_F(Composition, FrameKeepsItsMemoryWhileItIsLargeEnough)
{
    Show(FOURCC_RGB32, 16, 16, Bytes(1024, 1));
    Fill();
    const BYTE* const pbFrame = Inside().m_blobFrame.GetPtr();
    ShowSmall(0x22);
    EXPECT_EQ(Fill(), Bytes(128, 0x22));
    EXPECT_EQ(Inside().m_blobFrame.GetPtr(), pbFrame);
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 128u);
    EXPECT_EQ(Inside().m_blobFrame.GetAllocSize(), 1024u);
}

TEST_F(Composition, CopyEndsWithTheBuffer)
{
    ShowSmall(0x11);
    Bytes buffer(200, 0xEE);
    EXPECT_EQ(FillSampleBuffer(buffer.data(), 50), S_OK);
    EXPECT_EQ(std::count(buffer.begin(), buffer.end(), 0x11), 50);
    EXPECT_EQ(buffer[50], 0xEE);
    EXPECT_EQ(FillSampleBuffer(buffer.data(), 200), S_OK);
    EXPECT_EQ(std::count(buffer.begin(), buffer.end(), 0x11), 128); // and with the frame
    EXPECT_EQ(buffer[128], 0xEE);
}

TEST_F(Composition, VideoQualityHasNoPicture)
{
    ASSERT_EQ(Control().SetPicture(Text("videoq")), S_OK);
    for (int i = 0; i < 2; i++)
    {
        m_asserts.Clear();
        BYTE byBuffer = 0xEE;
        EXPECT_EQ(FillSampleBuffer(&byBuffer, 1), E_INVALIDARG);
        EXPECT_EQ(byBuffer, 0xEE);
        EXPECT_EQ(Inside().m_blobFrame.GetSize(), 0u); // so the next call tries again
        EXPECT_EQ(m_asserts.Count("hr == S_OK"), 1);
        EXPECT_EQ(m_asserts.Texts().back(), "bmiHeader.biSize >= sizeof(BITMAPINFOHEADER)");
    }
    EXPECT_EQ(Inside().m_picSource, (PicProps{FOURCC_UYVY, 720, 576, 720}));
}

TEST_F(Composition, LoadedPictureIsShownUnderVideoQuality)
{
    ShowSmall(0x11);
    ASSERT_EQ(Control().SetPicture(Text("videoq")), S_OK);
    EXPECT_EQ(Fill(), Bytes(128, 0x11));
}

TEST_F(Composition, ColourLeavesItsFormatInTheSource)
{
    ASSERT_EQ(Control().SetPicture(Text("red")), S_OK);
    ASSERT_EQ(Control().SetOutputFormat(Text("RGB32"), 16, -8), S_OK);
    EXPECT_EQ(Inside().m_picSource, (PicProps{FOURCC_UYVY, 720, 576, 720}));
    Fill();
    EXPECT_EQ(Inside().m_picSource, (PicProps{FOURCC_RGB32, 16, -8, 16}));
    EXPECT_EQ(Inside().m_blobSource.GetSize(), 0u);
    // The default of the next type comes from there.
    ASSERT_EQ(Control().SetOutputFormat(nullptr, 0, 0), S_OK);
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB32, 16, -8, 16}));
}

TEST_F(Composition, TransparentIsAllZero)
{
    ASSERT_EQ(Control().SetPicture(Text("transparent")), S_OK);
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_ARGB32, 720, 576, 720}));
    EXPECT_EQ(Fill(), Bytes(720 * 576 * 4, 0));
}

TEST_F(Composition, FailedConversionIsOnlyAsserted)
{
    // A format that nobody knows.
    Show(FOURCC_RGB32, 8, 4, Bytes(128, 0x11));
    Inside().m_picSource.fccType = 0x41414141;
    EXPECT_EQ(Fill(), Bytes(128, 0)); // no stranger's memory
    EXPECT_EQ(m_asserts.Count("hr == S_OK"), 1);
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 128u);
}

TEST_F(Composition, FailedResizeLeavesAZeroedFrame)
{
    Show(FOURCC_RGB32, 8, 4, Bytes(128, 0x11));
    Inside().m_picSource.nRowWidth = -1;
    EXPECT_EQ(Fill(), Bytes(128, 0));
}

TEST_F(Composition, BlockThatIsTooSmallReadsAsZero)
{
    // 24-bit pixels that are then said to have 32.
    Show(FOURCC_RGB24, 8, 4, Bytes(96, 0x11));
    Inside().m_picSource.fccType = FOURCC_ARGB32;
    ASSERT_EQ(Control().SetOutputFormat(Text("ARGB32"), 8, 4), S_OK);
    Bytes expected(128, 0);
    std::fill_n(expected.begin(), 96, BYTE{0x11});
    EXPECT_EQ(Fill(), expected);
}

/// A loaded block that ends at a page that nobody may touch.
class GuardedSource
{
public:
    GuardedSource(CBLOBHolder<CTaskMemory>& blobSource, const Bytes& pixels) : m_blobSource(blobSource)
    {
        DSTLBLOB blob = {static_cast<DWORD>(pixels.size()),
                         m_pages.Place(pixels.size(), GuardedPages::AtEnd)};
        memcpy(blob.pbData, pixels.data(), pixels.size());
        m_blobSource.Detach(&m_blobOwn);
        m_blobSource.Attach(&blob);
    }
    ~GuardedSource()
    {
        DSTLBLOB blob{};
        m_blobSource.Detach(&blob);
        m_blobSource.Attach(&m_blobOwn);
    }
    GuardedSource(const GuardedSource&) = delete;
    GuardedSource& operator=(const GuardedSource&) = delete;

private:
    GuardedPages m_pages;
    CBLOBHolder<CTaskMemory>& m_blobSource;
    DSTLBLOB m_blobOwn{};
};

TEST_F(Composition, NothingIsReadBehindTheLoadedBlock)
{
    // "transparent" says of a 24-bit picture that it has 32: the block ends before the picture does.
    const Bytes pixels = Pattern(8 * 4 * 3);
    Show(FOURCC_RGB24, 8, 4, pixels);
    ASSERT_EQ(Control().SetPicture(Text("transparent")), S_OK);
    const GuardedSource source(Inside().m_blobSource, pixels);
    for (const char* pszFormat : {"ARGB32", "RGB32", "RGB24", "UYVY", "YUY2", "YV12"})
    {
        for (const LONG nHeight : {4, -4, 6})
        {
            SCOPED_TRACE(testing::Message() << pszFormat << ' ' << nHeight);
            Inside().m_picSource.fccType = FOURCC_ARGB32;
            ASSERT_EQ(Control().SetOutputFormat(Text(pszFormat), 8, nHeight), S_OK);
            const Bytes frame = Fill();
            EXPECT_GT(frame.size(), 0u);
            if (strcmp(pszFormat, "ARGB32") == 0 && nHeight == 4)
            {
                Bytes expected = pixels; // what the block lacks is zero
                expected.resize(8 * 4 * 4, 0);
                EXPECT_EQ(frame, expected);
            }
        }
    }
}

TEST_F(Composition, FailedResizeShowsNothingOfTheLastPicture)
{
    Show(FOURCC_RGB32, 16, 16, Bytes(1024, 0x11)); // the block is used again
    EXPECT_EQ(Fill(), Bytes(1024, 0x11));
    Show(FOURCC_RGB32, 8, 4, Bytes(128, 0x22));
    Inside().m_picSource.nRowWidth = -1;
    EXPECT_EQ(Fill(), Bytes(128, 0));
}

TEST_F(Composition, PaddingShowsNothingOfTheLastPicture)
{
    Show(FOURCC_RGB32, 16, 16, Bytes(1024, 0x11));
    EXPECT_EQ(Fill(), Bytes(1024, 0x11));
    Show(FOURCC_RGB24, 1, 2, {1, 2, 3, 9, 4, 5, 6, 9});
    EXPECT_EQ(Fill(), (Bytes{1, 2, 3, 0, 4, 5, 6, 0}));
}

TEST_F(Composition, FrameDependsOnNothingThatTheBlockHeld)
{
    std::mt19937 random(1);
    const auto pick = [&random](const auto& values) { return values[random() % std::size(values)]; };
    constexpr DWORD arrSources[] = {FOURCC_RGB32, FOURCC_RGB24, FOURCC_ARGB32, FOURCC_UYVY, FOURCC_I420};
    constexpr LONG arrSides[] = {1, 2, 3, 4, 6, 7, 8, 10, 16, 22};
    for (int i = 0; i < 3000; i++)
    {
        const MediaFormat& format = pick(rgFormat);
        const LONG nWidth = pick(arrSides) * format.nHorzYtoUV;
        const LONG nHeight = pick(arrSides) * format.nVertYtoUV * (random() % 3 == 0 ? -1 : 1);
        const LONG nRowWidth = nWidth + (random() % 4 == 0 ? 2 : 0);
        const DWORD fccSource = random() % 4 == 0 ? format.Code() : pick(arrSources);
        const bool bPairs = !IsRGBFormat(fccSource);
        const PicProps picSource = {fccSource, pick(arrSides) * (bPairs ? 2 : 1),
                                    pick(arrSides) * (bPairs ? 2 : 1), 0};
        CMType mt;
        ASSERT_EQ(MTCreateVideo(&mt, format.Code(), FORMAT_VideoInfo, nWidth, nHeight, nRowWidth), S_OK);
        Out().ApplyOutputType(&mt);
        const Bytes pixels = Pattern(GetPicSize(&picSource));
        ASSERT_NE(Inside().m_blobSource.Alloc(static_cast<DWORD>(pixels.size())), E_OUTOFMEMORY);
        memcpy(Inside().m_blobSource.GetPtr(), pixels.data(), pixels.size());
        InsideFilter().m_VidProps.eKeepAspect = static_cast<eQGKeepAspect>(random() % 4);
        InsideFilter().m_VidProps.nAspectX = static_cast<SHORT>(random() % 3);
        InsideFilter().m_VidProps.nAspectY = static_cast<SHORT>(random() % 3);
        SCOPED_TRACE(testing::Message() << i << std::hex << ' ' << fccSource << " to " << format.Code()
                                        << std::dec << ' ' << nWidth << '*' << nHeight << " row " << nRowWidth
                                        << " from " << picSource.nWidth << '*' << picSource.nHeight);

        Bytes arrFrames[2];
        for (const BYTE byHeld : {BYTE{0}, BYTE{0xEE}})
        {
            Inside().m_picSource = picSource;
            ASSERT_NE(Inside().m_blobFrame.Alloc(100000, true, byHeld), E_OUTOFMEMORY);
            Inside().m_blobFrame.SetSize(0);
            arrFrames[byHeld != 0] = Fill();
        }
        ASSERT_EQ(arrFrames[0], arrFrames[1]);
    }
}

TEST_F(Composition, NoTypeNoFrame)
{
    ShowSmall();
    const CMType mtEmpty;
    Out().ApplyOutputType(&mtEmpty);
    BYTE byBuffer = 0xEE;
    EXPECT_EQ(FillSampleBuffer(&byBuffer, 1), S_OK);
    EXPECT_EQ(byBuffer, 0xEE);
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 0u);
}

TEST_F(Composition, SizesThatNoSampleHolds)
{
    ShowSmall();
    for (const LONG nWidth : {0, -1, 40000, 100000, INT_MAX})
    {
        for (const LONG nHeight : {20000, -20000, INT_MAX, INT_MIN})
        {
            for (const DWORD fcc : {FOURCC_RGB32, FOURCC_UYVY, FOURCC_v210, FOURCC_YV12})
            {
                if (nWidth == 40000 && std::abs(nHeight) == 20000 && fcc != FOURCC_RGB32)
                    continue; // those fit
                Inside().m_blobFrame.SetSize(0);
                Inside().m_picOutput = {fcc, nWidth, nHeight, nWidth};
                BYTE byBuffer = 0xEE;
                EXPECT_EQ(FillSampleBuffer(&byBuffer, 1), S_OK);
                EXPECT_EQ(byBuffer, 0xEE);
                EXPECT_EQ(Inside().m_blobFrame.GetSize(), 0u);
            }
        }
    }
}

TEST_F(Composition, TgaComesOutRightSideUp)
{
    // Bottom row blue, top row red, stored from the top.
    TgaBuilder tga = TgaBuilder::TrueColour(24, 4, 2);
    tga.fImageDesc = 0x20;
    tga.image.clear();
    for (int i = 0; i < 8; i++)
        Append(tga.image, i < 4 ? Bytes{0, 0, 255} : Bytes{255, 0, 0});
    ASSERT_EQ(Control().SetPicture(Text(m_folder.Write("top.tga", tga.File()))), S_OK);
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB32, 4, 2, 4}));
    const Bytes frame = Fill();
    EXPECT_EQ(Bytes(frame.begin(), frame.begin() + 3), (Bytes{255, 0, 0})); // the last row comes first
    EXPECT_EQ(Bytes(frame.begin() + 16, frame.begin() + 19), (Bytes{0, 0, 255}));
}

} // namespace
