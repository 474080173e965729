// The pictures that the module brings along: their files, and the frames that are made of them.
#include "FilterSupport.h"

#include "Video/TgaBmp/BmpHeader.h"
#include "resource.h"

namespace
{

/// ISO 3309, as in PNG and ZIP.
DWORD Crc32(const BYTE* pb, size_t cb)
{
    DWORD dwCrc = 0xFFFFFFFF;
    for (size_t i = 0; i < cb; i++)
    {
        dwCrc ^= pb[i];
        for (int nBit = 0; nBit < 8; nBit++)
            dwCrc = (dwCrc >> 1) ^ (dwCrc & 1 ? 0xEDB88320 : 0);
    }
    return ~dwCrc;
}

struct Rgb
{
    int nRed, nGreen, nBlue;
    bool operator==(const Rgb&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Rgb& c)
{
    return out << c.nRed << ", " << c.nGreen << ", " << c.nBlue;
}

// --- The files

struct FileRow
{
    UINT nResource;
    LONG nWidth, nHeight;
    WORD nBits;
    DWORD cbSizeImage, cbFile;
    LONG nPelsPerMeter;
    DWORD dwCrc; ///< of the whole file
};

/// The sums were made from the published tables by a program of another language, pixel by pixel.
constexpr FileRow arrFiles[] = {
    {IDR_BARSSD, 720, 576, 24, 1244160, 1244214, 0, 0xF3EE94C8},
    {IDR_BARSHD, 800, 450, 24, 1080000, 1080054, 3780, 0x7A0A8670},
    {IDR_BARS100, 720, 576, 32, 0, 1658936, 2834, 0x94DCFAAD},
    {IDR_BARS75, 720, 576, 32, 0, 1658936, 2834, 0x1FAFD555},
};

TEST(TestPictures, Files)
{
    for (const FileRow& row : arrFiles)
    {
        SCOPED_TRACE(row.nResource);
        const HRSRC hResource = FindResourceW(nullptr, MAKEINTRESOURCEW(row.nResource), L"CUSTOM");
        ASSERT_NE(hResource, nullptr);
        ASSERT_EQ(SizeofResource(nullptr, hResource), row.cbFile);
        const BYTE* pb = static_cast<const BYTE*>(LockResource(LoadResource(nullptr, hResource)));
        ASSERT_NE(pb, nullptr);
        BITMAPFILEHEADER file;
        BITMAPINFOHEADER info;
        memcpy(&file, pb, sizeof(file));
        memcpy(&info, pb + sizeof(file), sizeof(info));
        EXPECT_EQ(file.bfType, 0x4D42);
        EXPECT_EQ(file.bfSize, row.cbFile);
        EXPECT_EQ(file.bfOffBits, 54u);
        EXPECT_EQ(info.biSize, 40u);
        EXPECT_EQ(info.biWidth, row.nWidth);
        EXPECT_EQ(info.biHeight, row.nHeight);
        EXPECT_EQ(info.biPlanes, 1);
        EXPECT_EQ(info.biBitCount, row.nBits);
        EXPECT_EQ(info.biCompression, static_cast<DWORD>(BI_RGB));
        EXPECT_EQ(info.biSizeImage, row.cbSizeImage);
        EXPECT_EQ(info.biXPelsPerMeter, row.nPelsPerMeter);
        EXPECT_EQ(info.biYPelsPerMeter, row.nPelsPerMeter);
        EXPECT_EQ(info.biClrUsed, 0u);
        EXPECT_EQ(info.biClrImportant, 0u);
        EXPECT_EQ(Crc32(pb, row.cbFile), row.dwCrc);
    }
}

TEST(TestPictures, ReaderMendsTheSize)
{
    for (const FileRow& row : arrFiles)
    {
        SCOPED_TRACE(row.nResource);
        const LogCapture log;
        BITMAPINFOHEADER info;
        DSTLBLOB pixels{};
        ASSERT_EQ(LoadBmpResource(nullptr, row.nResource, L"CUSTOM", &info, &pixels.pbData), S_OK);
        pixels.cbData = info.biSizeImage;
        CBLOBHolder<CTaskMemory> blob;
        blob.Attach(&pixels);
        const bool bMended = row.cbSizeImage == 0;
        EXPECT_EQ(info.biSizeImage, bMended ? 1658880 : row.cbSizeImage);
        EXPECT_EQ(log.Texts(4), bMended
                                    ? std::vector<std::string>{"WARNING. "
                                                               "CPicturePersist::TestAndCorrectBmpHeader(): "
                                                               "correcting bad image size: old=0, "
                                                               "new=1658880\n"}
                                    : std::vector<std::string>{});
        if (row.nBits == 32)
        {
            for (DWORD i = 3; i < blob.GetSize(); i += 4)
                ASSERT_EQ(blob.GetPtr()[i], 0) << "alpha of pixel " << i / 4;
        }
    }
}

TEST(TestPictures, NoOtherNumbers)
{
    for (const UINT nResource : {0u, 100u, 106u, 111u, 114u, 115u, 116u, 117u, 118u, 119u, 120u})
    {
        BITMAPINFOHEADER info;
        BYTE* pb = nullptr;
        EXPECT_EQ(LoadBmpResource(nullptr, nResource, L"CUSTOM", &info, &pb),
                  HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND))
            << nResource;
        EXPECT_EQ(info.biSize, 0u);
        EXPECT_EQ(pb, nullptr);
    }
}

// --- The frames

constexpr DWORD arrRgbFormats[] = {FOURCC_RGB24, FOURCC_RGB32, FOURCC_ARGB32};

class TestPictureFrames : public FilterTest
{
protected:
    /// Composes a picture into a frame of that size and format.
    void Compose(const char* pszPicture, DWORD fcc, LONG nWidth, LONG nHeight)
    {
        ASSERT_EQ(Control().SetPicture(Text(pszPicture)), S_OK);
        const CMType mt = VideoType(fcc, nWidth, nHeight);
        Out().ApplyOutputType(&mt);
        ASSERT_EQ(Inside().m_picOutput, (PicProps{fcc, nWidth, nHeight, nWidth}));
        m_frame.assign(GetPicSize(&Inside().m_picOutput), 0xEE);
        ASSERT_EQ(FillSampleBuffer(m_frame.data(), static_cast<DWORD>(m_frame.size())), S_OK);
        EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
    }

    const PicProps& Pic() { return Inside().m_picOutput; }

    const BYTE* PixelOf(LONG x, LONG y) // from the top left
    {
        const LONG nRows = static_cast<LONG>(AbsHeight(Pic().nHeight));
        const LONG nRow = Pic().nHeight > 0 ? nRows - 1 - y : y;
        return m_frame.data() + static_cast<size_t>(nRow) * GetPicRowBytes(&Pic()) +
               static_cast<size_t>(x) * GetBitCount(Pic().fccType) / 8;
    }

    Rgb Colour(LONG x, LONG y)
    {
        const BYTE* pb = PixelOf(x, y);
        return {pb[2], pb[1], pb[0]};
    }

    /// Y, Cb, Cr of a pixel, in any of the YUV formats.
    Rgb Yuv(LONG x, LONG y)
    {
        const size_t nWidth = static_cast<size_t>(Pic().nWidth);
        const size_t nHeight = static_cast<size_t>(Pic().nHeight);
        const size_t nX = static_cast<size_t>(x), nY = static_cast<size_t>(y);
        const BYTE* const pb = m_frame.data();
        const BYTE* const pbPair = pb + nY * nWidth * 2 + nX / 2 * 4;
        const size_t nChroma = nWidth * nHeight + nY / 2 * (nWidth / 2) + nX / 2;
        const size_t cbChroma = nWidth / 2 * (nHeight / 2);
        switch (Pic().fccType)
        {
        case FOURCC_YUY2:
            return {pbPair[nX % 2 * 2], pbPair[1], pbPair[3]};
        case FOURCC_UYVY:
        case FOURCC_HDYC:
            return {pbPair[nX % 2 * 2 + 1], pbPair[0], pbPair[2]};
        case FOURCC_I420:
            return {pb[nY * nWidth + nX], pb[nChroma], pb[nChroma + cbChroma]};
        case FOURCC_YV12:
            return {pb[nY * nWidth + nX], pb[nChroma + cbChroma], pb[nChroma]};
        default:
            return {-1, -1, -1};
        }
    }

    Bytes m_frame;
};

TEST_F(TestPictureFrames, NewFilterShowsBars)
{
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_UYVY, 720, 576, 720}));
    m_frame.resize(GetPicSize(&Inside().m_picOutput));
    ASSERT_EQ(FillSampleBuffer(m_frame.data(), static_cast<DWORD>(m_frame.size())), S_OK);
    const Rgb arrBars[] = {{181, 128, 128}, {162, 43, 141}, {132, 156, 43}, {113, 72, 57},
                           {84, 183, 198},  {65, 99, 212},  {35, 212, 114}};
    const LONG arrMiddles[] = {50, 150, 250, 360, 460, 560, 660};
    for (int i = 0; i < 7; i++)
    {
        EXPECT_EQ(Yuv(arrMiddles[i], 0), arrBars[i]);
        EXPECT_EQ(Yuv(arrMiddles[i], 383), arrBars[i]);
    }
    // What was composed last decides the next default.
    EXPECT_EQ(Inside().m_picSource, (PicProps{FOURCC_RGB24, 720, 576, 720}));
    ASSERT_EQ(Control().SetOutputFormat(nullptr, 0, 0), S_OK);
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB24, 720, 576, 720}));
}

TEST_F(TestPictureFrames, PixelsAtTheEdgesOfTheBars)
{
    struct Point
    {
        LONG x, y;
        Rgb colour;
    };
    const struct
    {
        const char* pszPicture;
        LONG nWidth, nHeight;
        std::vector<Point> points;
    } arrPictures[] = {
        {"barsSD",
         720,
         576,
         {{0, 0, {192, 192, 192}},     {101, 383, {192, 192, 192}}, {102, 0, {192, 192, 0}},
          {205, 383, {192, 192, 0}},   {206, 0, {0, 192, 192}},     {310, 0, {0, 192, 0}},
          {411, 0, {0, 192, 0}},       {412, 0, {192, 0, 192}},     {514, 0, {192, 0, 0}},
          {616, 383, {0, 0, 192}},     {719, 0, {0, 0, 192}},       {0, 384, {0, 0, 192}},
          {102, 384, {19, 19, 19}},    {206, 431, {192, 0, 192}},   {412, 400, {0, 192, 192}},
          {719, 431, {192, 192, 192}}, {0, 432, {0, 33, 76}},       {127, 575, {0, 33, 76}},
          {128, 432, {255, 255, 255}}, {256, 575, {255, 255, 255}}, {257, 432, {50, 0, 106}},
          {385, 432, {50, 0, 106}},    {386, 432, {19, 19, 19}},    {514, 432, {9, 9, 9}},
          {547, 574, {9, 9, 9}},       {548, 574, {19, 19, 19}},    {548, 575, {9, 9, 9}},
          {549, 575, {19, 19, 19}},    {582, 432, {29, 29, 29}},    {616, 575, {19, 19, 19}}}},
        {"barsHD",
         800,
         450,
         {{0, 0, {105, 105, 105}},     {99, 262, {105, 105, 105}},  {100, 0, {193, 193, 193}},
          {186, 0, {193, 193, 0}},     {273, 0, {193, 193, 0}},     {274, 0, {0, 193, 193}},
          {699, 262, {0, 0, 193}},     {799, 262, {105, 105, 105}}, {0, 263, {0, 255, 255}},
          {100, 299, {5, 37, 80}},     {186, 263, {193, 193, 193}}, {700, 299, {0, 0, 255}},
          {0, 300, {255, 255, 0}},     {185, 337, {54, 5, 109}},    {186, 300, {5, 5, 5}},
          {187, 337, {5, 5, 5}},       {188, 300, {6, 6, 6}},       {196, 300, {10, 10, 10}},
          {198, 300, {10, 10, 10}},    {199, 300, {11, 11, 11}},    {697, 300, {253, 253, 253}},
          {698, 300, {254, 254, 254}}, {699, 337, {254, 254, 254}}, {700, 300, {255, 0, 0}},
          {0, 338, {43, 43, 43}},      {230, 338, {255, 255, 255}}, {480, 449, {2, 2, 2}},
          {481, 449, {0, 0, 0}},       {533, 449, {6, 6, 6}},       {534, 449, {10, 10, 10}},
          {615, 449, {13, 13, 13}},    {799, 449, {43, 43, 43}}}},
        {"bars100",
         720,
         576,
         {{0, 0, {255, 255, 255}},
          {89, 575, {255, 255, 255}},
          {90, 0, {255, 255, 0}},
          {180, 0, {0, 255, 255}},
          {270, 0, {0, 255, 0}},
          {360, 0, {255, 0, 255}},
          {450, 0, {255, 0, 0}},
          {540, 0, {0, 0, 255}},
          {629, 575, {0, 0, 255}},
          {630, 0, {0, 0, 0}},
          {719, 575, {0, 0, 0}}}},
        {"bars75",
         720,
         576,
         {{0, 0, {255, 255, 255}},
          {89, 575, {255, 255, 255}},
          {90, 0, {191, 191, 0}},
          {180, 0, {0, 191, 191}},
          {270, 0, {0, 191, 0}},
          {360, 0, {191, 0, 191}},
          {450, 0, {191, 0, 0}},
          {540, 0, {0, 0, 191}},
          {629, 575, {0, 0, 191}},
          {630, 0, {0, 0, 0}},
          {719, 575, {0, 0, 0}}}},
    };
    for (const auto& picture : arrPictures)
    {
        for (const DWORD fcc : arrRgbFormats)
        {
            for (const LONG nSign : {1, -1})
            {
                SCOPED_TRACE(testing::Message()
                             << picture.pszPicture << " " << std::hex << fcc << " " << nSign);
                Compose(picture.pszPicture, fcc, picture.nWidth, nSign * picture.nHeight);
                for (const Point& point : picture.points)
                    EXPECT_EQ(Colour(point.x, point.y), point.colour) << point.x << " " << point.y;
            }
        }
    }
}

TEST_F(TestPictureFrames, FourthByte)
{
    Compose("bars75", FOURCC_RGB32, 720, 576);
    EXPECT_EQ(PixelOf(0, 0)[3], 0); // a plain copy
    Compose("bars75", FOURCC_ARGB32, 720, 576);
    EXPECT_EQ(PixelOf(0, 0)[3], 255); // the resource is no picture with alpha
    Compose("barsSD", FOURCC_RGB32, 720, 576);
    EXPECT_EQ(PixelOf(0, 0)[3], 0); // 24 bits leave it as it was, in a buffer of zeros
    Compose("barsSD", FOURCC_ARGB32, 720, 576);
    EXPECT_EQ(PixelOf(0, 0)[3], 0);
}

TEST_F(TestPictureFrames, EveryYuvFormat)
{
    // ITU-R BT.601; from 32 bits UYVY rounds to nearest, all others nearly down.
    const Rgb arrDown[] = {{235, 128, 128}, {161, 44, 141}, {131, 156, 44}, {112, 72, 57},
                           {84, 183, 198},  {65, 99, 211},  {35, 211, 114}, {16, 128, 128}};
    const Rgb arrNearest[] = {{235, 128, 128}, {161, 44, 142}, {131, 156, 44}, {112, 72, 58},
                              {84, 184, 198},  {65, 100, 212}, {35, 212, 114}, {16, 128, 128}};
    const struct
    {
        DWORD fcc;
        const Rgb (&arrBars)[8];
    } arrFormats[] = {{FOURCC_YUY2, arrDown},
                      {FOURCC_UYVY, arrNearest},
                      {FOURCC_HDYC, arrNearest},
                      {FOURCC_I420, arrDown},
                      {FOURCC_YV12, arrDown}};
    const struct
    {
        LONG nWidth, nHeight;
    } arrSizes[] = {{720, 576}, {360, 288}, {1440, 1152}, {720, 480}, {1920, 1080}};
    for (const auto& format : arrFormats)
    {
        for (const auto& size : arrSizes)
        {
            SCOPED_TRACE(testing::Message() << std::hex << format.fcc << std::dec << " " << size.nWidth);
            InsideFilter().m_VidProps.eKeepAspect = eQGKA_None;
            Compose("bars75", format.fcc, size.nWidth, size.nHeight);
            for (int nBar = 0; nBar < 8; nBar++)
            {
                const LONG x = (2 * nBar + 1) * size.nWidth / 16;
                EXPECT_EQ(Yuv(x, 0), format.arrBars[nBar]);
                EXPECT_EQ(Yuv(x, size.nHeight - 1), format.arrBars[nBar]);
            }
        }
    }
}

TEST_F(TestPictureFrames, ScaledByTheNearestPixel)
{
    const Rgb arrBars[] = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                           {255, 0, 255},   {255, 0, 0},   {0, 0, 255},   {0, 0, 0}};
    for (const DWORD fcc : arrRgbFormats)
    {
        for (const LONG nWidth : {8, 80, 360, 1440, 1920})
        {
            SCOPED_TRACE(testing::Message() << std::hex << fcc << std::dec << " " << nWidth);
            InsideFilter().m_VidProps.eKeepAspect = eQGKA_None;
            Compose("bars100", fcc, nWidth, 40);
            // No colour between two bars, and all bars equally wide.
            for (LONG y = 0; y < 40; y++)
            {
                for (LONG x = 0; x < nWidth; x++)
                    ASSERT_EQ(Colour(x, y), arrBars[x * 8 / nWidth]) << x << " " << y;
            }
        }
    }
}

TEST_F(TestPictureFrames, BarsAreCroppedByDefaultAndLetterBoxedOnDemand)
{
    ASSERT_EQ(Props().eKeepAspect, eQGKA_Crop);
    Compose("bars100", FOURCC_RGB32, 640, 360); // 5:4 in 16:9: all columns, cut at the top and at the bottom
    EXPECT_EQ(Colour(0, 0), (Rgb{255, 255, 255}));
    EXPECT_EQ(Colour(79, 359), (Rgb{255, 255, 255}));
    EXPECT_EQ(Colour(80, 0), (Rgb{255, 255, 0}));
    EXPECT_EQ(Colour(639, 359), (Rgb{0, 0, 0}));

    InsideFilter().m_VidProps.eKeepAspect = eQGKA_LetterBox;
    Compose("bars100", FOURCC_RGB32, 640, 360); // 450 columns of picture, 95 of colour 0 at each side
    EXPECT_EQ(Colour(94, 0), (Rgb{0, 0, 0}));
    EXPECT_EQ(Colour(95, 0), (Rgb{255, 255, 255}));
    EXPECT_EQ(Colour(95, 359), (Rgb{255, 255, 255}));
    EXPECT_EQ(Colour(545 - 57, 0), (Rgb{0, 0, 255})); // the eighth bar is black like the margin
    EXPECT_EQ(Colour(639, 0), (Rgb{0, 0, 0}));
}

TEST_F(TestPictureFrames, BarsByTheHeightOfTheFrame)
{
    const PicProps sd = {FOURCC_RGB24, 720, 576, 720};
    const PicProps hd = {FOURCC_RGB24, 800, 450, 800};
    const struct
    {
        const char* pszPicture;
        LONG nHeight;
        PicProps picture;
    } arrRows[] = {
        {"bars", 719, sd},
        {"bars", 720, hd},
        {"", 719, sd},
        {"", 720, hd},
        {"bars", 2, sd},
        {"bars", 2160, hd},
        {"bars", -720, sd}, // the height counts with its sign
        {"barsSD", 16, sd},
        {"barsSD", 1080, sd},
        {"barsHD", 16, hd},
        {"barsHD", 1080, hd},
        {"bars100", 1080, {FOURCC_RGB32, 720, 576, 720}},
        {"bars75", 16, {FOURCC_RGB32, 720, 576, 720}},
    };
    for (const auto& row : arrRows)
    {
        SCOPED_TRACE(testing::Message() << row.pszPicture << " " << row.nHeight);
        Compose(row.pszPicture, FOURCC_RGB24, 32, row.nHeight);
        EXPECT_EQ(Inside().m_picSource, row.picture);
    }
}

TEST_F(TestPictureFrames, VideoQualityHasNoPictureAtAnyHeight)
{
    for (const LONG nHeight : {2, 480, 482, 486, 488, 576, 578, 720, 722, 1080, -1080})
    {
        SCOPED_TRACE(nHeight);
        ASSERT_EQ(Control().SetPicture(Text("videoq")), S_OK);
        const CMType mt = VideoType(FOURCC_RGB32, 16, nHeight);
        Out().ApplyOutputType(&mt);
        m_asserts.Clear();
        BYTE byBuffer = 0xEE;
        EXPECT_EQ(FillSampleBuffer(&byBuffer, 1), E_INVALIDARG);
        EXPECT_EQ(byBuffer, 0xEE);
        EXPECT_EQ(m_asserts.Count("hr == S_OK"), 1);
        EXPECT_EQ(Inside().m_blobFrame.GetSize(), 0u);
    }
    // A pattern that exists is shown again.
    m_asserts.Clear();
    Compose("bars100", FOURCC_RGB32, 720, 576);
    EXPECT_EQ(Colour(90, 0), (Rgb{255, 255, 0}));
}

TEST_F(TestPictureFrames, NoPathToYvyu)
{
    ASSERT_EQ(Control().SetPicture(Text("barsSD")), S_OK);
    const CMType mt = VideoType(FOURCC_YVYU, 720, 576);
    Out().ApplyOutputType(&mt);
    Bytes frame(720 * 576 * 2, 0xEE);
    EXPECT_EQ(FillSampleBuffer(frame.data(), static_cast<DWORD>(frame.size())), S_OK);
    EXPECT_EQ(m_asserts.Texts(), (std::vector<std::string>{"NOT SUPPORTED RGB32->YVYU x64", "hr == S_OK"}));
    EXPECT_EQ(frame, Bytes(frame.size(), 0)); // no stranger's memory
}

TEST_F(TestPictureFrames, PatternsInAList)
{
    ASSERT_EQ(Control().SetPicture(Text("bars75|red|barsHD")), S_OK);
    EXPECT_EQ(Inside().m_arrFiles.GetSize(), 3);
    EXPECT_EQ(Inside().m_nStopFrame, 3);
    EXPECT_EQ(Inside().m_nPictureId, 110);
    // Like a colour, a pattern in a list changes nothing once a frame is there.
    Compose("bars75|red|barsHD", FOURCC_RGB32, 720, 576);
    EXPECT_EQ(SelectPictureByName(L"red"), S_OK);
    const Bytes before = m_frame;
    ASSERT_EQ(FillSampleBuffer(m_frame.data(), static_cast<DWORD>(m_frame.size())), S_OK);
    EXPECT_EQ(m_frame, before);
}

} // namespace
