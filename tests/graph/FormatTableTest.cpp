/// Every pixel format that can be asked for, and what each kind of picture shows in it.

#include "Failure.h"
#include "GraphSupport.h"
#include "PictureCheck.h"
#include "support/picture/PngFile.h"
#include <gtest/gtest.h>
#include <algorithm>

namespace
{
constexpr int g_width = 96; // the packed ten-bit formats come in blocks of 48 and 64 pixels
constexpr int g_height = 32;

enum eShown
{
    eS_NoType, // the filter has no media type, so nothing connects
    eS_Zeros,  // the frame is all zero bytes
    eS_Picture
};

struct FormatRow
{
    const char* name;
    eShown file;   // of TGA and PNG, with alpha and without
    eShown bars;   // a picture that is built in
    eShown colour; // "red"
};

// docs/pictures.md has this table.
constexpr FormatRow g_rows[] = {
    {"RGB24", eS_Picture, eS_Picture, eS_Picture},  {"RGB32", eS_Picture, eS_Picture, eS_Picture},
    {"ARGB32", eS_Picture, eS_Picture, eS_Picture}, {"YUY2", eS_Picture, eS_Picture, eS_Picture},
    {"UYVY", eS_Picture, eS_Picture, eS_Picture},   {"HDYC", eS_Picture, eS_Picture, eS_Picture},
    {"I420", eS_Picture, eS_Picture, eS_Picture},   {"YV12", eS_Picture, eS_Picture, eS_Picture},
    {"YVYU", eS_Zeros, eS_Zeros, eS_Picture},       {"RGB565", eS_Zeros, eS_Zeros, eS_Picture},
    {"RGB555", eS_Zeros, eS_Zeros, eS_Picture},     {"NV12", eS_Zeros, eS_Zeros, eS_Zeros},
    {"v210", eS_Zeros, eS_Zeros, eS_Zeros},         {"r210", eS_Zeros, eS_Zeros, eS_Zeros},
    {"IYU2", eS_Zeros, eS_Zeros, eS_Zeros},         {"RGB8", eS_NoType, eS_NoType, eS_NoType},
    {"YVU9", eS_NoType, eS_NoType, eS_NoType},      {"Y422", eS_NoType, eS_NoType, eS_NoType},
    {"Y444", eS_NoType, eS_NoType, eS_NoType},      {"IYUV", eS_NoType, eS_NoType, eS_NoType},
    {"AYUV", eS_NoType, eS_NoType, eS_NoType},
};

class FormatTable : public testing::TestWithParam<FormatRow>
{
protected:
    static Bytes Png()
    {
        PngFile png;
        png.nWidth = g_width;
        png.nHeight = g_height;
        png.samples.assign(4 * g_width * g_height, 200);
        return png.Encode();
    }

    // The host program has to warn exactly where the frames are empty.
    void Expect(eShown expected, const std::wstring& picture)
    {
        SCOPED_TRACE(ToUtf8(picture));
        VideoFormat format;
        EXPECT_EQ(Show(picture, format), expected);
        if (expected != eS_NoType)
        {
            EXPECT_EQ(ConversionWarning(picture, format.subtype).empty(), expected == eS_Picture);
        }
    }

    eShown Show(const std::wstring& picture, VideoFormat& offer)
    {
        const CComPtr<IBaseFilter> source = m_module.CreateSource();
        CComPtr<IQXStillSource> control;
        EXPECT_EQ(source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&control)), S_OK);
        const CComBSTR format(FromUtf8(GetParam().name).c_str());
        EXPECT_EQ(control->SetOutputFormat(format, g_width, g_height), S_OK);
        EXPECT_EQ(SetPicture(source, picture), S_OK);
        CComPtr<IEnumMediaTypes> types;
        EXPECT_EQ(FindPin(source, PINDIR_OUTPUT)->EnumMediaTypes(&types), S_OK);
        if (types->Skip(1) != S_OK)
            return eS_NoType;
        const std::vector<ReceivedFrame> frames = GrabFrames(source, 1, &offer);
        const auto isZero = [](uint8_t byte) { return byte == 0; };
        const bool isEmpty =
            frames.empty() || std::all_of(frames[0].bytes.begin(), frames[0].bytes.end(), isZero);
        return isEmpty ? eS_Zeros : eS_Picture;
    }

    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
};
} // namespace

TEST_P(FormatTable, ShowsWhatTheDocumentsSay)
{
    const FormatRow& row = GetParam();
    Expect(row.file, m_folder.Write(L"a.tga", PlainTga("a", g_width, g_height, 1).file));
    Expect(row.file, m_folder.Write(L"b.tga", TransparentTga("b", g_width, g_height, 1).file));
    Expect(row.file, m_folder.Write(L"c.png", Png()));
    Expect(row.bars, L"bars");
    Expect(row.colour, L"red");
}

INSTANTIATE_TEST_SUITE_P(Formats, FormatTable, testing::ValuesIn(g_rows),
                         [](const testing::TestParamInfo<FormatRow>& info) { return info.param.name; });
