// Frames of the sizes that hosts ask for, and larger ones: the rows of a file, pixel by pixel, and colours.
#include "FramesFixture.h"

namespace
{

class LargeFrames : public Frames
{
protected:
    /// The type comes from the peer; its number chooses header, order of rows and padding, so that a few
    /// types meet all of them.
    void ExpectFromPeer(const FormatRow& format, const SIZE& size, unsigned nVariant, const RowModel& model,
                        int nFrames)
    {
        const LONG nHeight = nVariant & 1 ? -size.cy : size.cy;
        const LONG nRow = nVariant & 2 ? size.cx + 32 : size.cx;
        const GUID& guidFormat = nVariant & 4 ? FORMAT_VideoInfo2 : FORMAT_VideoInfo;
        SCOPED_TRACE(testing::Message()
                     << format.pszName << " " << size.cx << " of " << nRow << " by " << nHeight);
        const CMType mt = HostType(SubtypeOf(format.fcc), size.cx, nHeight, nRow, guidFormat);
        m_sink.m_pin.m_arrTypes = {mt};
        ASSERT_EQ(Connect(), S_OK);
        const CMType mtConnected = Connected();
        EXPECT_TRUE(MTEqual(&mt, &mtConnected));
        ExpectFrames(format, mt, model, nFrames);
        Disconnect();
    }

    /// The file and a colour in every format that is painted, each in so many variants.
    void ExpectEverywhere(const SIZE& size, std::initializer_list<unsigned> variants)
    {
        const std::string sFile = m_folder.Write("chart.tga", TgaOf(size.cx, size.cy, 24, ChartColour));
        unsigned nFirst = 0;
        for (const FormatRow& format : g_arrFormats)
        {
            if (!format.bPainted)
                continue;
            ASSERT_EQ(SetProps(format.fcc, size.cx, size.cy, false), S_OK);
            ASSERT_EQ(SetPicture(sFile), S_OK);
            for (const unsigned nVariant : variants)
                ASSERT_NO_FATAL_FAILURE(
                    ExpectFromPeer(format, size, nVariant ^ nFirst, FileShown(eK_Tga24, ChartColour), 2));
            nFirst = (nFirst + 1) % 8;
        }
    }
};

TEST_F(LargeFrames, StandardDefinition)
{
    ASSERT_NO_FATAL_FAILURE(ExpectEverywhere({720, 576}, {0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(LargeFrames, HighDefinition)
{
    ASSERT_NO_FATAL_FAILURE(ExpectEverywhere({1920, 1080}, {0, 7}));
}

TEST_F(LargeFrames, ColoursOfUltraHighDefinition)
{
    ASSERT_EQ(SetPicture("green"), S_OK);
    unsigned nVariant = 0;
    for (const FormatRow& format : g_arrFormats)
    {
        if (!format.bPainted)
            continue;
        ASSERT_EQ(SetProps(format.fcc, 7680, 4320, false), S_OK);
        ASSERT_NO_FATAL_FAILURE(
            ExpectFromPeer(format, {7680, 4320}, nVariant++ % 8, OneColour({0, 255, 0, 255}), 1));
    }
}

TEST_F(LargeFrames, FilesOfUltraHighDefinition)
{
    const SIZE size = {7680, 4320};
    const std::string sFile = m_folder.Write("chart.tga", TgaOf(size.cx, size.cy, 24, ChartColour));
    unsigned nVariant = 3;
    for (const eQGFCC fcc : {eQGFCC_RGB32, eQGFCC_UYVY, eQGFCC_I420})
    {
        ASSERT_EQ(SetProps(fcc, size.cx, size.cy, false), S_OK);
        ASSERT_EQ(SetPicture(sFile), S_OK);
        ASSERT_NO_FATAL_FAILURE(
            ExpectFromPeer(FormatRowOf(fcc), size, nVariant++, FileShown(eK_Tga24, ChartColour), 1));
    }
}

} // namespace
