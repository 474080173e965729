// Media types in one line, and prefixes.
#include "diagnostics/FormatBlocks.h"
#include "dstl/dshowx/dumps/MediaTypeText.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

std::string Parsed(const AM_MEDIA_TYPE* pmt, bool bLineEnd = false)
{
    std::vector<wchar_t> buffer(cchMediaTypeText + 8, wchar_t(0xA5A5));
    EXPECT_EQ(ParseMediaType(pmt, buffer.data(), bLineEnd), buffer.data());
    EXPECT_TRUE(std::all_of(buffer.begin() + cchMediaTypeText, buffer.end(),
                            [](wchar_t ch) { return ch == 0xA5A5; }));
    return Utf8(buffer.data());
}

template <class T>
CMType Video(const GUID& guidFormat, int nWidth, int nHeight)
{
    T block = {};
    BITMAPINFOHEADER* pHeader = nullptr;
    if constexpr (std::is_same_v<T, MPEG1VIDEOINFO> || std::is_same_v<T, MPEG2VIDEOINFO>)
        pHeader = &block.hdr.bmiHeader;
    else
        pHeader = &block.bmiHeader;
    pHeader->biWidth = nWidth;
    pHeader->biHeight = nHeight;
    return CMType(guidVideo, guidUyvy, guidFormat, sizeof(block), reinterpret_cast<const BYTE*>(&block));
}

TEST(ParseMediaType, NullType)
{
    EXPECT_EQ(Parsed(nullptr), "Empty media type\n");
    EXPECT_EQ(Parsed(nullptr, true), "Empty media type\n");
}

TEST(ParseMediaType, NoBuffer)
{
    AssertCapture asserts;
    const CMType mt;
    EXPECT_EQ(ParseMediaType(&mt, nullptr, false), nullptr);
    EXPECT_EQ(ParseMediaType(nullptr, nullptr, true), nullptr);
    EXPECT_EQ(asserts.Texts(), (Texts{"ParseMediaType()", "ParseMediaType()"}));
}

TEST(ParseMediaType, Names)
{
    CMType mt;
    EXPECT_EQ(Parsed(&mt), "( GUID_NULL / GUID_NULL / GUID_NULL )");
    EXPECT_EQ(Parsed(&mt, true), "( GUID_NULL / GUID_NULL / GUID_NULL )\r\n");
    mt.majortype = guidAudio;
    mt.subtype = FourccGuid(0x55);
    mt.formattype = guidWaveFormatEx;
    EXPECT_EQ(Parsed(&mt), "( MEDIATYPE_Audio / TAG_0x55(MP3) / FORMAT_WaveFormatEx )");
    EXPECT_EQ(Parsed(&mt, true), "( MEDIATYPE_Audio / TAG_0x55(MP3) / FORMAT_WaveFormatEx )\r\n");
    // Three of the longest texts that there are.
    mt.majortype = mt.subtype = mt.formattype = {0x266EEE41, 0x6C64, 0, {1, 2, 3, 4, 5, 6, 7, 8}};
    EXPECT_EQ(Parsed(&mt, true), "( {266EEE41-6C64-0000-0102-030405060708} / "
                                 "{266EEE41-6C64-0000-0102-030405060708} / "
                                 "{266EEE41-6C64-0000-0102-030405060708} )\r\n");
    mt.majortype = mt.subtype =
        mt.formattype = {0x37E92A92, 0xD9AA, 0x11D2, {0xBF, 0x84, 0x8E, 0xF2, 0xB1, 0x55, 0x5A, 0xED}};
    EXPECT_EQ(Parsed(&mt),
              "( Audio Renderer Advanced Property page / Audio Renderer Advanced Property page / "
              "Audio Renderer Advanced Property page )");
}

TEST(ParseMediaType, VideoFormatsEndWithTheirSize)
{
    const CMType mt1 = Video<VIDEOINFOHEADER>(guidVideoInfo, 720, 576);
    EXPECT_EQ(Parsed(&mt1), "( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / FORMAT_VideoInfo 720*576 )");
    EXPECT_EQ(Parsed(&mt1, true), "( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / FORMAT_VideoInfo 720*576 )\r\n");
    const CMType mt2 = Video<VIDEOINFOHEADER2>(guidVideoInfo2, 1920, -1080);
    EXPECT_EQ(Parsed(&mt2), "( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / FORMAT_VideoInfo2 1920*-1080 )");
    const CMType mt3 = Video<MPEG1VIDEOINFO>(guidMpegVideo, 0, 0);
    EXPECT_EQ(Parsed(&mt3), "( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / FORMAT_MPEGVideo 0*0 )");
    const CMType mt4 = Video<MPEG2VIDEOINFO>(guidMpeg2Video, 2147483647, -2147483647 - 1);
    EXPECT_EQ(Parsed(&mt4),
              "( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / FORMAT_MPEG2Video 2147483647*-2147483648 )");
}

TEST(ParseMediaType, ABlockWithoutAWholeHeaderHasNoSize)
{
    const std::string sPlain = "( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / FORMAT_VideoInfo )";
    CMType mt(guidVideo, guidUyvy);
    mt.formattype = guidVideoInfo;
    EXPECT_EQ(Parsed(&mt), sPlain);
    // A header of 40 bytes behind 48 others, in a block of its true size.
    for (const ULONG cb : {1u, 47u, 48u, 87u})
    {
        mt.SetFormat(cb, nullptr);
        mt.formattype = guidVideoInfo;
        EXPECT_EQ(Parsed(&mt), sPlain) << cb;
    }
    mt.SetFormat(88, nullptr);
    EXPECT_EQ(Parsed(&mt), "( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / FORMAT_VideoInfo 0*0 )");
    mt.formattype = guidVideoInfo2;
    mt.SetFormat(111, nullptr);
    EXPECT_EQ(Parsed(&mt), "( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / FORMAT_VideoInfo2 )");
    mt.SetFormat(112, nullptr);
    EXPECT_EQ(Parsed(&mt), "( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / FORMAT_VideoInfo2 0*0 )");

    AM_MEDIA_TYPE lying = {};
    lying.majortype = guidVideo;
    lying.subtype = guidUyvy;
    lying.formattype = guidVideoInfo;
    lying.cbFormat = 88; // and no block
    EXPECT_EQ(Parsed(&lying), sPlain);
}

std::string Prefix(const wchar_t* pszName, int nMaxLength)
{
    std::vector<wchar_t> buffer(64, wchar_t(0xA5A5));
    EXPECT_EQ(NamePrefix(pszName, buffer.data(), nMaxLength), buffer.data());
    EXPECT_TRUE(std::all_of(buffer.begin() + std::max(nMaxLength, 0), buffer.end(),
                            [](wchar_t ch) { return ch == 0xA5A5; }));
    return Utf8(buffer.data());
}

TEST(NamePrefix, NamesUpToTheLimit)
{
    EXPECT_EQ(Prefix(L"name", 32), "name: ");
    EXPECT_EQ(Prefix(L"name", 7), "name: "); // exactly nMaxLength - 3
    EXPECT_EQ(Prefix(L"name", 6), "n..: ");  // one more
    EXPECT_EQ(Prefix(L"nam", 6), "nam: ");
    EXPECT_EQ(Prefix(L"n", 6), "n: ");
    EXPECT_EQ(Prefix(L"0123456789", 13), "0123456789: ");
    EXPECT_EQ(Prefix(L"0123456789", 12), "0123456..: ");
    EXPECT_EQ(Prefix(L"0123456789", 11), "012345..: ");
    EXPECT_EQ(Prefix(L"0123456789", 6), "0..: ");
}

TEST(NamePrefix, WithoutNameOrRoomItIsEmpty)
{
    EXPECT_EQ(Prefix(nullptr, 32), "");
    EXPECT_EQ(Prefix(L"", 32), "");
    EXPECT_EQ(Prefix(L"", 6), "");
    EXPECT_EQ(Prefix(L"n", 5), "");
    EXPECT_EQ(Prefix(L"n", 1), "");
    wchar_t sz[] = L"kept";
    EXPECT_EQ(NamePrefix(L"n", sz, 0), sz);
    EXPECT_EQ(NamePrefix(L"n", sz, -1), sz);
    EXPECT_EQ(Utf8(sz), "kept");
    AssertCapture asserts;
    EXPECT_EQ(NamePrefix(L"n", nullptr, 32), nullptr);
    EXPECT_EQ(asserts.Texts(), Texts{"pszPrefix != NULL"});
}

} // namespace
