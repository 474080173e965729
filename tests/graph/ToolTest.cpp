/// The parts of the host program that can be tested without a filter.

#include "Chart.h"
#include "Failure.h"
#include "FrameWriter.h"
#include "GraphSupport.h"
#include "HResultText.h"
#include "OptionValues.h"
#include "TgaWriter.h"
#include "OutputFile.h"
#include <dvdmedia.h>
#include <gtest/gtest.h>
#include <cstring>
#include <fstream>
#include <iterator>

namespace
{
Bytes ReadAll(const std::wstring& path)
{
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

VideoFormat RgbFormat(const GUID& subtype, int bits, int width, int height, bool topDown)
{
    VideoFormat format;
    format.subtype = subtype;
    format.formatType = FORMAT_VideoInfo;
    format.width = width;
    format.height = height;
    format.topDown = topDown;
    format.bitsPerPixel = bits;
    return format;
}

bool SamePixel(const ChartPixel& a, const ChartPixel& b)
{
    return std::memcmp(&a, &b, sizeof(a)) == 0;
}
} // namespace

TEST(HResultText, NamesCodesAndGivesTheirText)
{
    EXPECT_STREQ(HResultName(VFW_E_NOT_STOPPED), "VFW_E_NOT_STOPPED");
    EXPECT_STREQ(HResultName(E_INVALIDARG), "E_INVALIDARG");
    EXPECT_STREQ(HResultName(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)), "ERROR_FILE_NOT_FOUND");
    EXPECT_EQ(HResultName(static_cast<HRESULT>(0x8123BEEF)), nullptr);
    EXPECT_EQ(HResultText(static_cast<HRESULT>(0x8123BEEF)), "0x8123BEEF");
    const std::string text = HResultText(HRESULT_FROM_WIN32(ERROR_DISK_FULL));
    EXPECT_EQ(text.rfind("ERROR_DISK_FULL (0x80070070): ", 0), 0u) << text;
    EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos) << text;
}

TEST(HResultText, LeavesOutTextsThatNameNoCause)
{
    for (const HRESULT hr : {E_FAIL, E_INVALIDARG, E_HANDLE, E_POINTER, E_UNEXPECTED})
        EXPECT_EQ(HResultText(hr), HResultCode(hr));
    EXPECT_EQ(HResultReason(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)), "file not found (0x80070002)");
    EXPECT_EQ(HResultReason(VFW_E_NOT_STOPPED), HResultText(VFW_E_NOT_STOPPED));
}

TEST(OptionValues, ReadWhatIsMeant)
{
    const FrameSize size = ParseFrameSize("1280x-720");
    EXPECT_EQ(size.width, 1280);
    EXPECT_EQ(size.height, -720);
    EXPECT_EQ(ParseWindowSize("20x10").height, 10);
    EXPECT_EQ(ParsePosition("-3,5").x, -3);
    EXPECT_EQ(ParseAspectRatio("16:9").x, 16);
    EXPECT_EQ(ParseKeepAspect("letter-box"), eQGKA_LetterBox);
    EXPECT_EQ(ParseFieldOrder("progressive"), eQGI_Progressive);
    EXPECT_EQ(ParseFrameRate("29.97"), 29.97);
}

TEST(OptionValues, RefuseWhatIsNotAndSayWhatIsExpected)
{
    const auto refusal = [](const auto& parse, const char* text) -> std::string
    {
        try
        {
            parse(text);
        }
        catch (const UsageError& error)
        {
            return error.what();
        }
        return "";
    };
    for (const char* text : {"", "640", "640x", "x480", "640x480x", "640 x480", " 640x480", "640x480 ",
                             "99999999999x1", "-1x1", "1x-2147483648"})
        EXPECT_EQ(refusal(ParseFrameSize, text),
                  "invalid size \"" + std::string(text) + "\": expected WIDTHxHEIGHT, for example 1280x720");
    EXPECT_EQ(refusal(ParseWindowSize, "640x-480"),
              "invalid window size \"640x-480\": expected WIDTHxHEIGHT, for example 1280x720");
    EXPECT_EQ(refusal(ParsePosition, "1"), "invalid position \"1\": expected X,Y, for example 100,50");
    for (const char* text : {"16/9", "0:9", "16:-9", "32768:1"})
        EXPECT_EQ(refusal(ParseAspectRatio, text),
                  "invalid aspect ratio \"" + std::string(text) + "\": expected X:Y, for example 16:9");
    EXPECT_EQ(refusal(ParseKeepAspect, "wide"),
              "invalid aspect mode \"wide\": expected default, none, letter-box or crop");
    EXPECT_EQ(refusal(ParseFieldOrder, "both"),
              "invalid order of fields \"both\": expected auto, top, bottom or progressive");
    for (const char* text : {"", "0", "-25", "nan", "inf", "1e9", "25fps"})
        EXPECT_EQ(refusal(ParseFrameRate, text),
                  "invalid frame rate \"" + std::string(text) +
                      "\": expected 0.001 to 10000000 frames a second, for example 29.97");
}

TEST(UnfinishedFile, IsGoneUnlessItIsFinished)
{
    const TempFolder folder;
    const std::wstring path = folder.Name(L"x.bin");
    {
        const UnfinishedFile file(path);
        EXPECT_TRUE(std::filesystem::exists(path + L".part"));
        EXPECT_THROW(UnfinishedFile second(path), Failure) << "one at a time";
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
    {
        UnfinishedFile file(path);
        DWORD written = 0;
        ASSERT_TRUE(WriteFile(file.File()->Get(), "abc", 3, &written, nullptr));
        file.Finish(false);
    }
    EXPECT_EQ(ReadAll(path), (Bytes{'a', 'b', 'c'}));
    EXPECT_FALSE(std::filesystem::exists(path + L".part"));
}

TEST(UnfinishedFile, ReplacesAnotherOnlyWhenAllowed)
{
    const TempFolder folder;
    const std::wstring path = folder.Write(L"x.bin", {1});
    {
        UnfinishedFile file(path);
        EXPECT_THROW(file.Finish(false), Failure);
    }
    EXPECT_EQ(ReadAll(path), Bytes{1});
    EXPECT_FALSE(std::filesystem::exists(path + L".part"));
    UnfinishedFile(path).Finish(true);
    EXPECT_TRUE(ReadAll(path).empty());
    EXPECT_THROW(UnfinishedFile(folder.Path().wstring()), Failure) << "a folder";
}

TEST(VideoFormat, TellsTheOrderOfRows)
{
    struct Case
    {
        GUID subtype;
        LONG nHeight;
        bool bTopDown;
    };
    const Case rgCases[] = {
        {MEDIASUBTYPE_RGB32, 48, false}, {MEDIASUBTYPE_RGB32, -48, true}, {MEDIASUBTYPE_RGB24, 48, false},
        {MEDIASUBTYPE_UYVY, 48, true},   {MEDIASUBTYPE_UYVY, -48, true},  {MEDIASUBTYPE_YV12, 48, true},
    };
    for (const Case& test : rgCases)
    {
        VIDEOINFOHEADER header = {};
        header.bmiHeader.biWidth = 64;
        header.bmiHeader.biHeight = test.nHeight;
        AM_MEDIA_TYPE type = {};
        type.majortype = MEDIATYPE_Video;
        type.subtype = test.subtype;
        type.formattype = FORMAT_VideoInfo;
        type.cbFormat = sizeof(header);
        type.pbFormat = reinterpret_cast<BYTE*>(&header);
        VideoFormat format;
        ASSERT_TRUE(ReadVideoFormat(type, format));
        EXPECT_EQ(format.topDown, test.bTopDown) << SubtypeName(test.subtype) << " " << test.nHeight;
        EXPECT_EQ(format.height, 48);
    }
}

TEST(FrameWriter, WritesRowsFromTheBottomWhateverTheirOrder)
{
    const TempFolder folder;
    const std::wstring path = folder.Name(L"frame.bmp");
    const Bytes bottomUp = {1, 2, 3, 9, 4, 5, 6, 9, 11, 12, 13, 9, 14, 15, 16, 9}; // two rows of two
    const Bytes topDown = {11, 12, 13, 9, 14, 15, 16, 9, 1, 2, 3, 9, 4, 5, 6, 9};
    const Bytes pixels24 = {1, 2, 3, 4, 5, 6, 0, 0, 11, 12, 13, 14, 15, 16, 0, 0};

    for (const bool isTopDown : {false, true})
    {
        const Bytes& frame = isTopDown ? topDown : bottomUp;
        ASSERT_EQ(WriteFrameAsBmp(path, RgbFormat(MEDIASUBTYPE_RGB32, 32, 2, 2, isTopDown), frame.data(),
                                  frame.size()),
                  S_OK);
        Bytes file = ReadAll(path);
        ASSERT_EQ(file.size(), 54u + pixels24.size());
        EXPECT_EQ(Bytes(file.begin() + 54, file.end()), pixels24);
        BITMAPINFOHEADER header = {};
        std::memcpy(&header, file.data() + 14, sizeof(header));
        EXPECT_EQ(header.biWidth, 2);
        EXPECT_EQ(header.biHeight, 2);
        EXPECT_EQ(header.biBitCount, 24);

        ASSERT_EQ(WriteFrameAsBmp(path, RgbFormat(MEDIASUBTYPE_ARGB32, 32, 2, 2, isTopDown), frame.data(),
                                  frame.size()),
                  S_OK);
        file = ReadAll(path);
        ASSERT_EQ(file.size(), 122u + bottomUp.size());
        EXPECT_EQ(Bytes(file.begin() + 122, file.end()), bottomUp);
    }
}

TEST(FrameWriter, RefusesWhatItCannotWrite)
{
    const TempFolder folder;
    const Bytes frame(64);
    EXPECT_FALSE(CanWriteFrames(RgbFormat(MEDIASUBTYPE_YUY2, 16, 4, 4, false)));
    EXPECT_EQ(WriteFrameAsBmp(folder.Name(L"x.bmp"), RgbFormat(MEDIASUBTYPE_YUY2, 16, 4, 4, false),
                              frame.data(), 64),
              E_INVALIDARG);
    EXPECT_EQ(WriteFrameAsBmp(folder.Name(L"x.bmp"), RgbFormat(MEDIASUBTYPE_RGB32, 32, 4, 4, false),
                              frame.data(), 63),
              E_INVALIDARG);
    EXPECT_EQ(WriteFrameAsBmp(folder.Name(L"no\\x.bmp"), RgbFormat(MEDIASUBTYPE_RGB32, 32, 4, 4, false),
                              frame.data(), 64),
              HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
}

TEST(VideoFormat, ReadsBothHeaders)
{
    VIDEOINFOHEADER2 header2 = {};
    header2.AvgTimePerFrame = 333667;
    header2.bmiHeader.biWidth = 720;
    header2.bmiHeader.biHeight = -576;
    header2.bmiHeader.biBitCount = 16;
    header2.bmiHeader.biSizeImage = 829440;
    AM_MEDIA_TYPE type = {};
    type.majortype = MEDIATYPE_Video;
    type.subtype = MEDIASUBTYPE_UYVY;
    type.formattype = FORMAT_VideoInfo2;
    type.cbFormat = sizeof(header2);
    type.pbFormat = reinterpret_cast<BYTE*>(&header2);
    VideoFormat format;
    ASSERT_TRUE(ReadVideoFormat(type, format));
    EXPECT_EQ(Describe(format),
              "UYVY, 720 x 576, 16 bits, rows from the top, 829440 bytes a frame, 29.97 frames/s, "
              "VIDEOINFOHEADER2");

    VIDEOINFOHEADER header = {};
    header.bmiHeader = header2.bmiHeader;
    header.bmiHeader.biHeight = 576;
    type.subtype = MEDIASUBTYPE_RGB565;
    type.formattype = FORMAT_VideoInfo;
    type.cbFormat = sizeof(header);
    type.pbFormat = reinterpret_cast<BYTE*>(&header);
    ASSERT_TRUE(ReadVideoFormat(type, format));
    EXPECT_EQ(Describe(format), "RGB565, 720 x 576, 16 bits, rows from the bottom, 829440 bytes a frame, "
                                "VIDEOINFOHEADER");

    type.cbFormat = sizeof(header) - 1;
    EXPECT_FALSE(ReadVideoFormat(type, format));
    type.cbFormat = sizeof(header);
    type.majortype = MEDIATYPE_Audio;
    EXPECT_FALSE(ReadVideoFormat(type, format));
}

TEST(Chart, HasACornerOfEachColour)
{
    for (const auto& [width, height] :
         {std::pair(640, 360), std::pair(1, 1), std::pair(37, 5), std::pair(3, 100)})
    {
        SCOPED_TRACE(width);
        const Chart chart = DrawChart(width, height, true);
        ASSERT_EQ(chart.pixels.size(), static_cast<size_t>(width) * static_cast<size_t>(height));
        if (width == 1)
            continue;
        EXPECT_TRUE(SamePixel(chart.At(0, 0), {0, 0, 255, 255}));
        EXPECT_TRUE(SamePixel(chart.At(width - 1, 0), {0, 255, 0, 255}));
        EXPECT_TRUE(SamePixel(chart.At(0, height - 1), {255, 0, 0, 255}));
        EXPECT_TRUE(SamePixel(chart.At(width - 1, height - 1), {255, 255, 255, 255}));
    }
}

TEST(TgaWriter, WritesTheHeaderAndTheRows)
{
    Chart chart;
    chart.width = 3;
    chart.height = 2;
    chart.pixels = {{1, 2, 3, 4}, {1, 2, 3, 4}, {1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {9, 10, 11, 12}};
    EXPECT_EQ(EncodeTga(chart, {}), (Bytes{0, 0, 2, 0, 0,  0,  0, 0,  0,  0, 0, 0, 3, 0, 2, 0, 24, 0,
                                           5, 6, 7, 9, 10, 11, 9, 10, 11, 1, 2, 3, 1, 2, 3, 1, 2,  3}));
    EXPECT_EQ(EncodeTga(chart, {true, true, true}),
              (Bytes{0,    0,    10, 0, 0, 0, 0,    0, 0, 0, 0, 0,    3, 0,  2,  0, 32,
                     0x28, 0x82, 1,  2, 3, 4, 0x00, 5, 6, 7, 8, 0x81, 9, 10, 11, 12}));
}
