// Colours and pictures as the pin delivers them, in every output format, byte for byte against values that
// the model of frames computes by itself.
#include "FilterSupport.h"
#include "FrameModel.h"

#include <algorithm>

namespace
{

constexpr Format g_arrFormats[] = {
    {"RGB24", FOURCC_RGB24, 3}, {"RGB32", FOURCC_RGB32, 4}, {"ARGB32", FOURCC_ARGB32, 4},
    {"YUY2", FOURCC_YUY2, 0},   {"UYVY", FOURCC_UYVY, 0},   {"HDYC", FOURCC_HDYC, 0},
    {"YVYU", FOURCC_YVYU, 0},   {"I420", FOURCC_I420, 0},   {"YV12", FOURCC_YV12, 0},
};

constexpr struct
{
    eKind eIs;
    const char* pszFile;
} g_arrKinds[] = {
    {eK_Tga32, "picture32.tga"},
    {eK_Tga24, "picture24.tga"},
    {eK_Bmp24, "picture.bmp"},
    {eK_Bmp24TopDown, "topdown.bmp"},
};

/// Where a picture goes in a frame, and which part of it.
struct Placing
{
    const char* pszWhat;
    eQGKeepAspect eAspect;
    LONG nPicWidth, nPicHeight, nWidth, nHeight;
    RECT rcTo;
    POINT from;
};

constexpr eQGKeepAspect g_arrAspects[] = {eQGKA_Default, eQGKA_None, eQGKA_LetterBox, eQGKA_Crop};

class Colour : public FilterTest
{
protected:
    void SetUp() override
    {
        FilterTest::SetUp();
        m_sink.m_pin.m_bCopyData = true;
        // The fake keeps its samples from one connection to the next: enough for the largest frame.
        m_alloc.m_grant = [](ALLOCATOR_PROPERTIES& props)
        { props.cbBuffer = std::max(props.cbBuffer, 4096L); };
        m_alloc.m_onLend = [](FakeSample& sample)
        {
            BYTE* pb = nullptr;
            ASSERT_EQ(sample.GetPointer(&pb), S_OK);
            std::fill_n(pb, sample.GetSize(), BYTE{0xEE}); // what nobody writes shows
        };
    }

    /// Connects, runs for two frames, which have to be alike, and stops.
    void ExpectFrames(const Bytes& expected)
    {
        Inside().m_nFrame = 0; // it survives a stop
        Inside().m_nStopFrame = 1;
        ASSERT_EQ(Connect(), S_OK);
        const size_t nBefore = m_sink.m_pin.Samples().size();
        const int nEnds = m_log.Count("in.EndOfStream");
        ASSERT_EQ(Filter().Pause(), S_OK);
        ASSERT_TRUE(m_log.WaitFor("in.EndOfStream", nEnds + 1));
        ASSERT_EQ(Filter().Stop(), S_OK);
        Out().Disconnect();
        m_sink.m_pin.Disconnect();
        const auto samples = m_sink.m_pin.Samples();
        ASSERT_EQ(samples.size(), nBefore + 2);
        EXPECT_EQ(samples[nBefore].arrData, expected);
        EXPECT_EQ(samples[nBefore + 1].arrData, expected);
    }

    /// Every kind of file in every format, rows from the bottom and from the top.
    /// \param picture what the file holds \param shown the same at the size that it has in the frame
    void ExpectEverywhere(const Placing& placing, const Picture& picture, const Picture& shown)
    {
        InsideFilter().m_VidProps.eKeepAspect = placing.eAspect;
        for (const auto& kind : g_arrKinds)
        {
            const Text file(m_folder.Write(kind.pszFile, FileOf(kind.eIs, picture)));
            for (const Format& format : g_arrFormats)
            {
                for (const bool bBottomUp : {true, false})
                {
                    SCOPED_TRACE(std::string(placing.pszWhat) + ": " + kind.pszFile + " in " +
                                 format.pszName + (bBottomUp ? "" : " from the top") + ", aspect " +
                                 std::to_string(placing.eAspect));
                    const LONG nHeight = bBottomUp ? placing.nHeight : -placing.nHeight;
                    // The format first: it decides whether alpha is kept.
                    ASSERT_EQ(Control().SetOutputFormat(Text(format.pszName), placing.nWidth, nHeight), S_OK);
                    ASSERT_EQ(Control().SetPicture(file), S_OK);
                    m_asserts.Clear();
                    ASSERT_NO_FATAL_FAILURE(
                        ExpectFrames(ExpectedFrame(format, kind.eIs, shown, {placing.nWidth, placing.nHeight},
                                                   placing.rcTo, placing.from, bBottomUp)));
                    EXPECT_EQ(m_asserts.Texts(), Refusals(kind.eIs, format.fcc));
                }
            }
        }
    }
};

constexpr LONG g_nColourWidth = 16;
constexpr LONG g_nColourHeight = 8;

constexpr struct
{
    const char* pszName;
    Rgba colour;
} g_arrColours[] = {
    {"red", {255, 0, 0, 255}}, {"green", {0, 255, 0, 255}},     {"blue", {0, 0, 255, 255}},
    {"RED", {255, 0, 0, 255}}, {"white", {255, 255, 255, 255}}, {"black", {0, 0, 0, 255}},
    {"none", {0, 0, 0, 255}},  {"transparent", {0, 0, 0, 0}},
};

TEST_F(Colour, NamesInEveryFormat)
{
    for (const auto& row : g_arrColours)
    {
        for (const Format& format : g_arrFormats)
        {
            const Bytes expected =
                format.cbRgb != 0
                    ? InMemory(Picture(g_nColourWidth, g_nColourHeight, row.colour), format.cbRgb, true)
                    : InMemory(Samples(g_nColourWidth, g_nColourHeight, ColourYuv(row.colour)), format.fcc);
            for (const eQGKeepAspect eAspect : g_arrAspects)
            {
                SCOPED_TRACE(std::string(row.pszName) + " in " + format.pszName + ", aspect " +
                             std::to_string(eAspect));
                InsideFilter().m_VidProps.eKeepAspect = eAspect;
                ASSERT_EQ(Control().SetPicture(Text(row.pszName)), S_OK);
                ASSERT_EQ(Control().SetOutputFormat(Text(format.pszName), g_nColourWidth, g_nColourHeight),
                          S_OK);
                ASSERT_NO_FATAL_FAILURE(ExpectFrames(expected));
            }
        }
    }
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

/// Figures that need no formula: primary colours of ITU-R BT.601 in studio range.
TEST_F(Colour, KnownValues)
{
    constexpr struct
    {
        const char* pszName;
        Yuv value;
    } rows[] = {
        {"red", {82, 90, 240}},     {"green", {145, 54, 34}},  {"blue", {41, 240, 110}},
        {"white", {235, 128, 128}}, {"black", {16, 128, 128}},
    };
    ASSERT_EQ(Control().SetOutputFormat(Text("YUY2"), 4, 1), S_OK);
    for (const auto& row : rows)
    {
        ASSERT_EQ(Control().SetPicture(Text(row.pszName)), S_OK);
        ASSERT_NO_FATAL_FAILURE(ExpectFrames(InMemory(Samples(4, 1, row.value), FOURCC_YUY2))) << row.pszName;
    }
}

/// The 16-bit formats can be named, and connect. A colour takes four bytes there, deliberately: the word and
/// two zeros. A picture has no path to them, and nothing says so.
TEST_F(Colour, SixteenBits)
{
    constexpr struct
    {
        const char* pszFormat;
        const char* pszColour;
        WORD nWord;
    } rows[] = {
        {"RGB565", "red", 0xF800},   {"RGB565", "green", 0x07E0}, {"RGB565", "blue", 0x001F},
        {"RGB565", "white", 0xFFFF}, {"RGB565", "black", 0},      {"RGB565", "transparent", 0},
        {"RGB555", "red", 0x7C00},   {"RGB555", "green", 0x03E0}, {"RGB555", "blue", 0x001F},
        {"RGB555", "white", 0x7FFF}, {"RGB555", "black", 0},      {"RGB555", "transparent", 0},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(std::string(row.pszColour) + " in " + row.pszFormat);
        ASSERT_EQ(Control().SetPicture(Text(row.pszColour)), S_OK);
        ASSERT_EQ(Control().SetOutputFormat(Text(row.pszFormat), g_nColourWidth, g_nColourHeight), S_OK);
        Bytes expected;
        for (LONG i = 0; i < g_nColourWidth * g_nColourHeight / 2; i++)
            AppendU32(expected, row.nWord);
        ASSERT_NO_FATAL_FAILURE(ExpectFrames(expected));
    }
    const Text file(m_folder.Write("flat.tga", SolidTga(8, 4, {10, 20, 30, 255})));
    ASSERT_EQ(Control().SetPicture(file), S_OK);
    for (const char* pszFormat : {"RGB565", "RGB555"})
    {
        for (const eQGKeepAspect eAspect : g_arrAspects)
        {
            InsideFilter().m_VidProps.eKeepAspect = eAspect;
            for (const SIZE size : {SIZE{8, 4}, SIZE{16, 8}, SIZE{16, 16}})
            {
                ASSERT_EQ(Control().SetOutputFormat(Text(pszFormat), size.cx, size.cy), S_OK);
                ASSERT_NO_FATAL_FAILURE(ExpectFrames(Bytes(static_cast<size_t>(size.cx * size.cy * 2), 0)))
                    << pszFormat;
            }
        }
    }
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

/// The setter takes the name, but no type comes of it: the pin has none, and does not connect.
TEST_F(Colour, EightBitsAreRefused)
{
    ASSERT_EQ(Control().SetPicture(Text("red")), S_OK);
    for (const char* pszFormat : {"RGB8", "YVU9"})
    {
        ASSERT_EQ(Control().SetOutputFormat(Text("RGB32"), 16, 8), S_OK);
        m_asserts.Clear();
        EXPECT_EQ(Control().SetOutputFormat(Text(pszFormat), 16, 8), S_OK) << pszFormat;
        EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{"nIndex != -1"}) << pszFormat;
        EXPECT_EQ(Inside().m_picOutput, (PicProps{0, 0, 0, 0})) << pszFormat;
        EXPECT_TRUE(FAILED(Connect())) << pszFormat;
        EXPECT_FALSE(m_sink.m_pin.IsConnected()) << pszFormat;
    }
}

/// Formats that the table of types knows and the image library does not: the frame stays zero.
TEST_F(Colour, FormatsThatNothingPaints)
{
    constexpr struct
    {
        const char* pszFormat;
        size_t cbFrame;
    } rows[] = {
        {"v210", size_t{128} * g_nColourHeight}, // 48 pixels in 128 bytes
        {"r210", size_t{256} * g_nColourHeight}, // 64 pixels in 256 bytes
        {"IYU2", size_t{3} * g_nColourWidth * g_nColourHeight},
        {"NV12", size_t{2} * g_nColourWidth * g_nColourHeight}, // deliberately more than its planes need
    };
    for (const auto& row : rows)
    {
        ASSERT_EQ(Control().SetPicture(Text("red")), S_OK);
        ASSERT_EQ(Control().SetOutputFormat(Text(row.pszFormat), g_nColourWidth, g_nColourHeight), S_OK);
        ASSERT_NO_FATAL_FAILURE(ExpectFrames(Bytes(row.cbFrame, 0))) << row.pszFormat;
    }
}

/// Pictures that go into the frame pixel by pixel, whole or in part.
TEST_F(Colour, PicturesInTheirOwnSize)
{
    for (const eQGKeepAspect eAspect : g_arrAspects)
    {
        const Placing placing = {"own size", eAspect, 8, 4, 8, 4, {0, 0, 8, 4}, {0, 0}};
        ASSERT_NO_FATAL_FAILURE(ExpectEverywhere(placing, Noise(8, 4), Noise(8, 4)));
    }
    constexpr Placing rows[] = {
        {"bands above and below", eQGKA_LetterBox, 8, 4, 8, 12, {0, 4, 8, 8}, {0, 0}},
        {"bands at the sides", eQGKA_LetterBox, 8, 4, 16, 4, {4, 0, 12, 4}, {0, 0}},
        {"cut at the sides", eQGKA_Crop, 16, 8, 8, 8, {0, 0, 8, 8}, {4, 0}},
        {"cut above and below", eQGKA_Crop, 8, 12, 8, 4, {0, 0, 8, 4}, {0, 4}},
    };
    for (const Placing& row : rows)
    {
        const Picture picture = Noise(row.nPicWidth, row.nPicHeight);
        ASSERT_NO_FATAL_FAILURE(ExpectEverywhere(row, picture, picture));
    }
}

/// Pictures of one colour, which stays as it is when they are scaled.
TEST_F(Colour, FlatPicturesScaled)
{
    constexpr Rgba colour = {200, 30, 90, 77};
    constexpr Placing rows[] = {
        {"higher frame", eQGKA_Default, 8, 4, 16, 16, {0, 4, 16, 12}, {0, 0}},
        {"higher frame", eQGKA_None, 8, 4, 16, 16, {0, 0, 16, 16}, {0, 0}},
        {"higher frame", eQGKA_LetterBox, 8, 4, 16, 16, {0, 4, 16, 12}, {0, 0}},
        {"higher frame", eQGKA_Crop, 8, 4, 16, 16, {0, 0, 16, 16}, {0, 0}},
        {"wider frame", eQGKA_Default, 8, 8, 32, 16, {8, 0, 24, 16}, {0, 0}},
        {"wider frame", eQGKA_None, 8, 8, 32, 16, {0, 0, 32, 16}, {0, 0}},
        {"smaller frame", eQGKA_LetterBox, 32, 32, 16, 8, {4, 0, 12, 8}, {0, 0}},
        {"same height", eQGKA_Default, 8, 8, 16, 8, {0, 0, 16, 8}, {0, 0}},
        {"same width", eQGKA_Default, 8, 4, 8, 12, {0, 0, 8, 12}, {0, 0}},
    };
    for (const Placing& row : rows)
    {
        ASSERT_NO_FATAL_FAILURE(ExpectEverywhere(
            row, Picture(row.nPicWidth, row.nPicHeight, colour),
            Picture(row.rcTo.right - row.rcTo.left, row.rcTo.bottom - row.rcTo.top, colour)));
    }
}

/// A TGA whose alpha says nothing is taken for opaque, but its colours are dimmed before, deliberately,
/// unless the output keeps alpha.
TEST_F(Colour, AlphaOfZerosThroughout)
{
    const Text file(m_folder.Write("clear.tga", SolidTga(8, 4, {10, 20, 30, 0})));
    constexpr struct
    {
        const char* pszFormat;
        Rgba colour;
    } rows[] = {{"RGB32", {0, 0, 0, 0}}, {"ARGB32", {30, 20, 10, 255}}};
    for (const auto& row : rows)
    {
        ASSERT_EQ(Control().SetOutputFormat(Text(row.pszFormat), 8, 4), S_OK);
        ASSERT_EQ(Control().SetPicture(file), S_OK);
        ASSERT_NO_FATAL_FAILURE(ExpectFrames(InMemory(Picture(8, 4, row.colour), 4, true))) << row.pszFormat;
    }
}

} // namespace
