// Every type that the pin offers, is given, or accepts from its peer is really delivered: size, width and
// order of rows, length and pixels of each frame, for small and odd sizes.
#include "FramesFixture.h"

#include <algorithm>
#include <cstring>

namespace
{

/// Pixels that a peer adds to each row.
constexpr LONG g_nPadding = 16;

const SIZE g_arrSizes[] = {{2, 2}, {6, 5}, {7, 5}, {7, 4}, {16, 8}};

/// Whether a format can have this size: no pixel may lack its chroma.
bool CanBe(const FormatRow& format, const SIZE& size)
{
    return size.cx % format.nAcross == 0 && size.cy % format.nDown == 0;
}

/// The ways in which a type reaches the connection.
enum eWay
{
    eW_Own,     ///< built from SetOutputProps, the pin's own list
    eW_Set,     ///< SetFormat, then the pin's own list
    eW_Peer,    ///< the peer's list
    eW_Connect, ///< given to Connect
    eW_Count
};

class SmallFrames : public Frames
{
protected:
    /// Every way, header, row order and padding of one format and size.
    void ExpectEveryWay(const FormatRow& format, const SIZE& size, const RowModel& model)
    {
        for (const bool bHeader2 : {false, true})
        {
            for (const LONG nHeight : {size.cy, -size.cy})
            {
                for (const LONG nRow : {size.cx, size.cx + g_nPadding})
                {
                    for (int eWay = eW_Own; eWay < eW_Count; eWay++)
                    {
                        SCOPED_TRACE(testing::Message()
                                     << format.pszName << " " << size.cx << " of " << nRow << " by "
                                     << nHeight << ", header " << 1 + bHeader2 << ", way " << eWay);
                        if (eWay == eW_Own && nRow != size.cx)
                            continue; // its own types have no padding
                        if (eWay == eW_Set && !format.bPainted)
                            continue; // SetFormat takes only what the image library paints
                        ASSERT_NO_FATAL_FAILURE(
                            ExpectOneWay(format, size, nHeight, nRow, bHeader2, eWay, model));
                    }
                }
            }
        }
    }

    void ExpectOneWay(const FormatRow& format, const SIZE& size, LONG nHeight, LONG nRow, bool bHeader2,
                      int eWay, const RowModel& model)
    {
        const GUID& guidFormat = bHeader2 ? FORMAT_VideoInfo2 : FORMAT_VideoInfo;
        ASSERT_EQ(SetProps(format.fcc, size.cx, nHeight, bHeader2), S_OK);
        const CMType mtHost = HostType(SubtypeOf(format.fcc), size.cx, nHeight, nRow, guidFormat);
        m_sink.m_pin.m_arrTypes.clear();
        if (eWay == eW_Set)
        {
            CMType mt(mtHost);
            ASSERT_EQ(Config().SetFormat(&mt), S_OK);
        }
        else if (eWay == eW_Peer)
            m_sink.m_pin.m_arrTypes.push_back(mtHost);
        ASSERT_EQ(Connect(eWay == eW_Connect ? &mtHost : nullptr), S_OK);

        // What was agreed is what was asked for.
        const CMType mt = Connected();
        ASSERT_TRUE(IsEqualGUID(mt.formattype, guidFormat));
        EXPECT_TRUE(IsEqualGUID(mt.subtype, SubtypeOf(format.fcc)));
        EXPECT_EQ(HeaderOf(mt).biWidth, nRow);
        EXPECT_EQ(HeaderOf(mt).biHeight, nHeight);
        const CMType mtPeer = m_sink.m_pin.ConnectionType();
        EXPECT_TRUE(MTEqual(&mt, &mtPeer));
        if (eWay != eW_Own)
        {
            EXPECT_TRUE(MTEqual(&mt, &mtHost));
        }
        ExpectFrames(format, mt, model);
        Disconnect();
    }
};

TEST_F(SmallFrames, ColoursInEveryType)
{
    ASSERT_EQ(SetPicture("red"), S_OK);
    for (const FormatRow& format : g_arrFormats)
    {
        for (const SIZE& size : g_arrSizes)
        {
            if (!CanBe(format, size))
                continue;
            ASSERT_NO_FATAL_FAILURE(ExpectEveryWay(format, size, OneColour({255, 0, 0, 255})));
        }
    }
}

/// Formats that the table of types knows and the image library does not paint: a new filter delivers zeros.
/// The 16-bit ones get the colour, in four bytes, deliberately: the word and two zeros.
TEST_F(SmallFrames, FormatsThatNobodyPaints)
{
    constexpr struct
    {
        const char* pszFormat;
        WORD nWord;
    } rows[] = {{"IYU2", 0}, {"v210", 0}, {"r210", 0}, {"NV12", 0}, {"RGB565", 0xF800}, {"RGB555", 0x7C00}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.pszFormat);
        TearDown();
        SetUp();
        ASSERT_EQ(SetPicture("red"), S_OK);
        ASSERT_EQ(SetFormat(row.pszFormat, 16, 8), S_OK);
        ASSERT_EQ(Connect(), S_OK);
        const CMType mt = Connected();
        Bytes expected(UnpaintedSize(FormatRowOf(mt.subtype.Data1), Layout::Of(mt)), 0);
        for (size_t i = 0; i < expected.size(); i += 4)
            memcpy(&expected[i], &row.nWord, sizeof(row.nWord));
        const auto fnLook = [&](IMediaSample& sample) -> std::string
        {
            BYTE* pb = nullptr;
            const LONG cb = sample.GetActualDataLength();
            if (sample.GetPointer(&pb) != S_OK || static_cast<size_t>(cb) != expected.size())
                return std::to_string(cb) + " bytes";
            return std::equal(expected.begin(), expected.end(), pb) ? "" : "other bytes";
        };
        EXPECT_EQ(Deliver(2, fnLook), Lines{});
        Disconnect();
    }
}

/// What the format cannot have gives no type at all: nothing is offered, nothing accepted, nothing connects.
TEST_F(SmallFrames, SizesThatAFormatCannotHave)
{
    ASSERT_EQ(SetPicture("red"), S_OK);
    for (const FormatRow& format : g_arrFormats)
    {
        for (const SIZE& size : g_arrSizes)
        {
            if (CanBe(format, size))
                continue;
            for (const bool bHeader2 : {false, true})
            {
                SCOPED_TRACE(testing::Message() << format.pszName << " " << size.cx << " by " << size.cy);
                EXPECT_EQ(SetProps(format.fcc, size.cx, size.cy, bHeader2), S_OK);
                EXPECT_FALSE(Offered().IsDefined());
                CMType mt = HostType(SubtypeOf(format.fcc), size.cx, size.cy, 0,
                                     bHeader2 ? FORMAT_VideoInfo2 : FORMAT_VideoInfo);
                EXPECT_EQ(Pin().QueryAccept(&mt), S_FALSE);
                EXPECT_EQ(Config().SetFormat(&mt), VFW_E_INVALIDMEDIATYPE);
                m_sink.m_pin.m_arrTypes = {mt};
                EXPECT_EQ(Connect(), VFW_E_NO_ACCEPTABLE_TYPES);
                EXPECT_EQ(Connect(&mt), VFW_E_TYPE_NOT_ACCEPTED);
                EXPECT_FALSE(m_sink.m_pin.IsConnected());
            }
        }
    }
}

/// A file whose rows and columns can be told apart, shown pixel by pixel.
TEST_F(SmallFrames, FilesInEveryType)
{
    for (const SIZE& size : {SIZE{2, 2}, SIZE{16, 8}, SIZE{34, 6}})
    {
        const std::string sFile = m_folder.Write("chart.tga", TgaOf(size.cx, size.cy, 24, ChartColour));
        for (const FormatRow& format : g_arrFormats)
        {
            if (!format.bPainted)
                continue;
            ASSERT_EQ(SetProps(format.fcc, size.cx, size.cy, false), S_OK);
            ASSERT_EQ(SetPicture(sFile), S_OK);
            ASSERT_NO_FATAL_FAILURE(ExpectEveryWay(format, size, FileShown(eK_Tga24, ChartColour)));
        }
    }
}

/// Odd sizes come out pixel by pixel where file and frame have one format.
TEST_F(SmallFrames, FilesOfOddSizes)
{
    const auto fnClear = [](LONG x, LONG y)
    {
        Rgba c = ChartColour(2 * x, 2 * y);
        c.a = static_cast<int>(40 + 13 * x + 7 * y);
        return c;
    };
    const auto fnOpaque = [](LONG x, LONG y) { return ChartColour(2 * x, 2 * y); };
    for (const SIZE& size : {SIZE{7, 5}, SIZE{1, 1}, SIZE{3, 8}, SIZE{8, 3}})
    {
        const FormatRow& rgb = FormatRowOf(eQGFCC_RGB32);
        ASSERT_EQ(SetProps(rgb.fcc, size.cx, size.cy, false), S_OK);
        ASSERT_EQ(SetPicture(m_folder.Write("opaque.tga", TgaOf(size.cx, size.cy, 24, fnOpaque))), S_OK);
        ASSERT_NO_FATAL_FAILURE(ExpectEveryWay(rgb, size, FileShown(eK_Tga24, fnOpaque)));
        const FormatRow& argb = FormatRowOf(eQGFCC_ARGB32);
        ASSERT_EQ(SetProps(argb.fcc, size.cx, size.cy, false), S_OK);
        ASSERT_EQ(SetPicture(m_folder.Write("clear.tga", TgaOf(size.cx, size.cy, 32, fnClear))), S_OK);
        ASSERT_NO_FATAL_FAILURE(ExpectEveryWay(argb, size, FileShown(eK_Tga32, fnClear)));
    }
}

/// A peer's own memory: nothing is written beside a buffer that just holds the frame.
TEST_F(SmallFrames, InThePeersMemory)
{
    ASSERT_EQ(SetPicture("blue"), S_OK);
    for (const FormatRow& format : g_arrFormats)
    {
        if (!format.bPainted)
            continue;
        SCOPED_TRACE(format.pszName);
        for (const LONG nRow : {16, 32})
        {
            FakeAllocator alloc(&m_log);
            std::vector<FakeSample*> samples;
            alloc.m_onLend = [&samples](FakeSample& sample) { samples.push_back(&sample); };
            m_pOffered = &alloc;
            ASSERT_EQ(SetProps(format.fcc, 16, 8, false), S_OK);
            m_sink.m_pin.m_arrTypes = {HostType(SubtypeOf(format.fcc), 16, 8, nRow)};
            ASSERT_EQ(Connect(), S_OK);
            const CMType mt = Connected();
            EXPECT_EQ(alloc.m_rgRequest.cbBuffer, static_cast<LONG>(Layout::Of(mt).cbFrame));
            ExpectFrames(format, mt, OneColour({0, 0, 255, 255}));
            ASSERT_FALSE(samples.empty());
            for (FakeSample* pSample : samples)
            {
                EXPECT_TRUE(pSample->GuardsIntact());
                EXPECT_EQ(pSample->BufferSize(), alloc.m_rgRequest.cbBuffer);
            }
            Disconnect();
            EXPECT_EQ(alloc.Refs(), 0);
            EXPECT_EQ(alloc.Lent(), 0);
        }
    }
}

} // namespace
