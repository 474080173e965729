/// The platform's sample grabber and null renderer with every kind of type that the pin can be given.

#include "Failure.h"
#include "GraphSupport.h"
#include "FrameEnd.h"
#include "dstl/dshowx/DSTypes.h"
#include "support/LogCapture.h"
#include <dvdmedia.h>
#include <gtest/gtest.h>
#include <cstring>

namespace
{
constexpr int g_width = 64;
constexpr int g_height = 48;
constexpr int g_padding = 16; // pixels at the end of a wider row
constexpr int g_mainEvents = 8;

// A type of one of the two header records.
template <class Header>
void MakeType(const GUID& formatType, const VideoFormat& plain, int rowWidth, int height, uint32_t imageSize,
              CMType& type)
{
    Header header = {};
    header.AvgTimePerFrame = 400000;
    header.bmiHeader.biSize = sizeof(header.bmiHeader);
    header.bmiHeader.biWidth = rowWidth;
    header.bmiHeader.biHeight = height;
    header.bmiHeader.biPlanes = 1;
    header.bmiHeader.biBitCount = static_cast<WORD>(plain.bitsPerPixel);
    header.bmiHeader.biSizeImage = imageSize;
    if (rowWidth != plain.width)
    {
        header.rcTarget = {0, 0, plain.width, plain.height};
        header.rcSource = header.rcTarget;
    }
    AM_MEDIA_TYPE record = {};
    record.majortype = MEDIATYPE_Video;
    record.subtype = plain.subtype;
    record.bFixedSizeSamples = TRUE;
    record.lSampleSize = imageSize;
    record.formattype = formatType;
    record.cbFormat = sizeof(header);
    record.pbFormat = reinterpret_cast<BYTE*>(&header);
    Check(type.Set(&record), "no memory");
}

struct TypeCase
{
    const char* name;
    const GUID& subtype;
    int bits;
    bool isLong;    ///< VIDEOINFOHEADER2
    bool isTopDown; ///< a negative height
    bool isPadded;  ///< rows longer than the picture
};

class StockTypes : public testing::TestWithParam<TypeCase>
{
protected:
    StockTypes() : m_source(m_module.CreateSource())
    {
        EXPECT_EQ(SetPicture(m_source, m_folder.Write(L"picture.tga", m_tga.file)), S_OK);
        EXPECT_EQ(FindPin(m_source, PINDIR_OUTPUT)
                      ->QueryInterface(IID_IAMStreamConfig, reinterpret_cast<void**>(&m_config)),
                  S_OK);
    }
    ~StockTypes() override
    {
        m_config.Release();
        m_source.Release();
        EXPECT_EQ(m_module.CanUnloadNow(), S_OK);
    }

    const TgaCase m_tga = PlainTga("types", g_width, g_height, 9);
    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
    CComPtr<IBaseFilter> m_source;
    CComPtr<IAMStreamConfig> m_config;
};

// The picture's rows as they lie in a frame of that type.
Bytes ExpectedFrame(const Bytes& bottomUp32, const TypeCase& test, int rowWidth)
{
    const size_t pixel = static_cast<size_t>(test.bits) / 8;
    const size_t step = (static_cast<size_t>(rowWidth) * pixel + 3) / 4 * 4;
    Bytes frame(step * g_height);
    for (size_t y = 0; y < g_height; ++y)
    {
        const size_t from = test.isTopDown ? g_height - 1 - y : y;
        for (size_t x = 0; x < g_width; ++x)
            std::memcpy(&frame[y * step + x * pixel], &bottomUp32[(from * g_width + x) * 4], pixel);
    }
    return frame;
}
} // namespace

TEST_P(StockTypes, FramesReachTheGrabber)
{
    const TypeCase& test = GetParam();
    VideoFormat plain;
    plain.subtype = test.subtype;
    plain.width = g_width;
    plain.height = g_height;
    plain.bitsPerPixel = test.bits;
    const int rowWidth = g_width + (test.isPadded ? g_padding : 0);
    const int height = test.isTopDown ? -g_height : g_height;
    const Bytes expected = ExpectedFrame(m_tga.frame, test, rowWidth);
    CMType type;
    const uint32_t imageSize = static_cast<uint32_t>(expected.size());
    if (test.isLong)
        MakeType<VIDEOINFOHEADER2>(FORMAT_VideoInfo2, plain, rowWidth, height, imageSize, type);
    else
        MakeType<VIDEOINFOHEADER>(FORMAT_VideoInfo, plain, rowWidth, height, imageSize, type);
    ASSERT_EQ(m_config->SetFormat(&type), S_OK);

    FrameKeeper keeper(3);
    const LogCapture log;
    {
        FilterGraph graph;
        PlatformSink sink;
        Check(CreatePlatformSink(keeper, sink), "no platform sink");
        graph.Add(m_source, L"Source");
        graph.Add(sink.grabber, L"Grabber");
        graph.Add(sink.renderer, L"Renderer");
        ASSERT_EQ(graph.Connect(m_source, sink.grabber), S_OK);
        ASSERT_EQ(graph.Connect(sink.grabber, sink.renderer), S_OK);
        CMType agreed;
        ASSERT_EQ(FindPin(sink.renderer, PINDIR_INPUT)->ConnectionMediaType(&agreed), S_OK);
        ASSERT_EQ(agreed.cbFormat, type.cbFormat);
        EXPECT_EQ(std::memcmp(agreed.pbFormat, type.pbFormat, type.cbFormat), 0);
        graph.Run();
        EXPECT_TRUE(keeper.Wait());
        graph.Stop();
    }
    ASSERT_EQ(keeper.Frames().size(), 3u);
    const size_t pixel = static_cast<size_t>(test.bits) / 8;
    const size_t step = expected.size() / g_height;
    for (const ReceivedFrame& frame : keeper.Frames())
    {
        ASSERT_EQ(frame.bytes.size(), expected.size());
        // What lies between the end of the picture and the end of a row is nobody's.
        for (size_t y = 0; y < g_height; ++y)
            ASSERT_EQ(std::memcmp(&frame.bytes[y * step], &expected[y * step], g_width * pixel), 0) << y;
    }
    // Neither of the two sends a type of its own with a sample.
    EXPECT_FALSE(
        log.Has(g_mainEvents, "[CCoQXStillSourceOut] SetMediaTypeFromSample(): new mediatype is received\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Types, StockTypes,
    testing::Values(TypeCase{"RGB24", MEDIASUBTYPE_RGB24, 24, false, false, false},
                    TypeCase{"RGB24Top", MEDIASUBTYPE_RGB24, 24, false, true, false},
                    TypeCase{"RGB24Padded", MEDIASUBTYPE_RGB24, 24, false, false, true},
                    TypeCase{"RGB24LongTopPadded", MEDIASUBTYPE_RGB24, 24, true, true, true},
                    TypeCase{"RGB32", MEDIASUBTYPE_RGB32, 32, false, false, false},
                    TypeCase{"RGB32Top", MEDIASUBTYPE_RGB32, 32, false, true, false},
                    TypeCase{"RGB32Padded", MEDIASUBTYPE_RGB32, 32, false, false, true},
                    TypeCase{"RGB32TopPadded", MEDIASUBTYPE_RGB32, 32, false, true, true},
                    TypeCase{"RGB32Long", MEDIASUBTYPE_RGB32, 32, true, false, false},
                    TypeCase{"RGB32LongTop", MEDIASUBTYPE_RGB32, 32, true, true, false},
                    TypeCase{"RGB32LongPadded", MEDIASUBTYPE_RGB32, 32, true, false, true},
                    TypeCase{"RGB32LongTopPadded", MEDIASUBTYPE_RGB32, 32, true, true, true}),
    [](const testing::TestParamInfo<TypeCase>& info) { return info.param.name; });
