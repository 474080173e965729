/// From a TGA file to the frames that a real graph delivers.

#include "GraphSupport.h"
#include <gtest/gtest.h>

namespace
{
class Frames : public testing::TestWithParam<TgaCase>
{
protected:
    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
};

// Tells where two frames differ; bytes are four a pixel, bottom row first.
std::string FirstDifference(const TgaCase& expected, const Bytes& actual)
{
    if (actual.size() != expected.frame.size())
        return std::to_string(actual.size()) + " bytes instead of " + std::to_string(expected.frame.size());
    for (size_t i = 0; i < actual.size(); ++i)
    {
        if (actual[i] == expected.frame[i])
            continue;
        const size_t row = static_cast<size_t>(expected.width) * 4;
        return "byte " + std::to_string(i % 4) + " of pixel " + std::to_string(i % row / 4) + ", row " +
               std::to_string(i / row) + " from the bottom: " + std::to_string(actual[i]) + " instead of " +
               std::to_string(expected.frame[i]);
    }
    return "none";
}
} // namespace

TEST_P(Frames, AreThePixelsOfTheFile)
{
    const TgaCase& tga = GetParam();
    {
        const CComPtr<IBaseFilter> source = m_module.CreateSource();
        ASSERT_EQ(SetPicture(source, m_folder.Write(L"picture.tga", tga.file)), S_OK);
        VideoFormat format;
        const std::vector<ReceivedFrame> frames = GrabFrames(source, 3, &format);

        EXPECT_EQ(SubtypeName(format.subtype), tga.usesAlpha ? "ARGB32" : "RGB32");
        EXPECT_TRUE(IsEqualGUID(format.formatType, FORMAT_VideoInfo));
        EXPECT_EQ(format.width, tga.width);
        EXPECT_EQ(format.height, tga.height);
        EXPECT_FALSE(format.topDown);
        EXPECT_EQ(format.bitsPerPixel, 32);
        EXPECT_EQ(format.frameTime, 400000);
        ASSERT_EQ(frames.size(), 3u);
        for (size_t i = 0; i < frames.size(); ++i)
        {
            SCOPED_TRACE("frame " + std::to_string(i));
            EXPECT_EQ(FirstDifference(tga, frames[i].bytes), "none");
            EXPECT_EQ(frames[i].start, static_cast<REFERENCE_TIME>(i) * 400000);
            EXPECT_EQ(frames[i].end, static_cast<REFERENCE_TIME>(i + 1) * 400000);
            EXPECT_EQ(frames[i].mediaStart, static_cast<LONGLONG>(i));
            EXPECT_EQ(frames[i].mediaEnd, static_cast<LONGLONG>(i + 1));
            EXPECT_TRUE(frames[i].isSyncPoint);
            EXPECT_EQ(frames[i].isDiscontinuity, i == 0);
        }
    }
    EXPECT_EQ(m_module.CanUnloadNow(), S_OK);
}

INSTANTIATE_TEST_SUITE_P(Tga, Frames, testing::ValuesIn(TgaCases()),
                         [](const auto& info)
                         {
                             std::string name;
                             for (const char c : info.param.name)
                                 name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
                             return name;
                         });

namespace
{
class Graph : public testing::Test
{
protected:
    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
};
} // namespace

// Three entries have their stop frame at 3, which is delivered as well.
TEST_F(Graph, PlaysAListOnceRoundAndThenEnds)
{
    std::vector<TgaCase> pictures;
    for (unsigned i = 0; i < 3; ++i)
    {
        pictures.push_back(TransparentTga("entry", 20, 10, i));
        m_folder.Write(L"entry" + std::to_wstring(i) + L".tga", pictures.back().file);
    }
    const CComPtr<IBaseFilter> source = m_module.CreateSource();
    ASSERT_EQ(SetPicture(source, m_folder.Name(L"entry?.tga")), S_OK);

    FilterGraph graph;
    const std::vector<ReceivedFrame> frames = PlayToEnd(graph, source, 100);

    ASSERT_EQ(frames.size(), 4u);
    // The folder gives its files in an order of its own, but goes round in it.
    EXPECT_EQ(frames[3].bytes, frames[0].bytes);
    for (const TgaCase& picture : pictures)
    {
        int shown = 0;
        for (size_t i = 0; i < 3; ++i)
            shown += frames[i].bytes == picture.frame;
        EXPECT_EQ(shown, 1);
    }
}

// Media times count on over a stop, sample times start again.
TEST_F(Graph, RunsAgainAfterAStop)
{
    const TgaCase tga = PlainTga("again", 33, 17, 5);
    const CComPtr<IBaseFilter> source = m_module.CreateSource();
    ASSERT_EQ(SetPicture(source, m_folder.Write(L"again.tga", tga.file)), S_OK);
    const std::vector<ReceivedFrame> first = GrabFrames(source, 2);
    const std::vector<ReceivedFrame> second = GrabFrames(source, 2);
    ASSERT_EQ(first.size(), 2u);
    ASSERT_EQ(second.size(), 2u);
    EXPECT_EQ(second[0].bytes, tga.frame);
    EXPECT_EQ(second[0].start, 0);
    EXPECT_TRUE(second[0].isDiscontinuity);
    EXPECT_GT(second[0].mediaStart, first[1].mediaStart);
}

TEST_F(Graph, TellsTheWholeNameOfThePicture)
{
    const std::wstring name = m_folder.Write(L"picture.tga", PlainTga("name", 4, 4, 1).file);
    const CComPtr<IBaseFilter> source = m_module.CreateSource();
    EXPECT_EQ(CurrentFile(source), L"");
    ASSERT_EQ(SetPicture(source, name), S_OK);
    EXPECT_EQ(CurrentFile(source), name);
}

// The file is free for others as soon as it has been read.
TEST_F(Graph, LeavesThePictureFileAlone)
{
    const TgaCase tga = PlainTga("free", 16, 16, 9);
    const std::wstring name = m_folder.Write(L"free.tga", tga.file);
    const CComPtr<IBaseFilter> source = m_module.CreateSource();
    ASSERT_EQ(SetPicture(source, name), S_OK);
    EXPECT_TRUE(DeleteFileW(name.c_str()));
    const std::vector<ReceivedFrame> frames = GrabFrames(source, 1);
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_EQ(frames[0].bytes, tga.frame);
}
