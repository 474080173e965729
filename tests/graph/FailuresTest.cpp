/// Pictures that cannot be shown: the result says why, and what was shown goes on being shown.

#include "GraphSupport.h"
#include "FrameSink.h"
#include <gtest/gtest.h>

namespace
{
class Failures : public testing::Test
{
protected:
    Failures() : m_shown(PlainTga("shown", 30, 20, 4))
    {
        m_source = m_module.CreateSource();
        m_name = m_folder.Write(L"shown.tga", m_shown.file);
        EXPECT_EQ(SetPicture(m_source, m_name), S_OK);
    }

    // The picture that was set before a failure, in name and in frames.
    void ExpectUnchanged()
    {
        EXPECT_EQ(CurrentFile(m_source), m_name);
        VideoFormat format;
        const std::vector<ReceivedFrame> frames = GrabFrames(m_source, 2, &format);
        EXPECT_EQ(format.width, m_shown.width);
        EXPECT_EQ(format.height, m_shown.height);
        ASSERT_EQ(frames.size(), 2u);
        EXPECT_EQ(frames[0].bytes, m_shown.frame);
        EXPECT_EQ(frames[1].bytes, m_shown.frame);
    }

    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
    TgaCase m_shown;
    std::wstring m_name;
    CComPtr<IBaseFilter> m_source;
};
} // namespace

// A name in a folder that exists is looked for like a pattern, and the list of what was found is empty.
TEST_F(Failures, MissingFile)
{
    EXPECT_EQ(SetPicture(m_source, m_folder.Name(L"missing.tga")), E_INVALIDARG);
    ExpectUnchanged();
}

TEST_F(Failures, MissingFolder)
{
    EXPECT_EQ(SetPicture(m_source, m_folder.Name(L"missing\\missing.tga")),
              HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    ExpectUnchanged();
}

TEST_F(Failures, EmptyFolder)
{
    std::filesystem::create_directory(m_folder.Path() / L"empty");
    EXPECT_EQ(SetPicture(m_source, m_folder.Name(L"empty")), E_INVALIDARG);
    EXPECT_EQ(SetPicture(m_source, m_folder.Name(L"empty\\")), E_INVALIDARG);
    ExpectUnchanged();
}

TEST_F(Failures, EmptyFile)
{
    EXPECT_EQ(SetPicture(m_source, m_folder.Write(L"empty.tga", {})), E_FAIL);
    ExpectUnchanged();
}

TEST_F(Failures, TgaCutShort)
{
    const TgaCase tga = PlainTga("cut", 40, 40, 6);
    for (const size_t size :
         {size_t{1}, size_t{17}, size_t{18}, size_t{19}, tga.file.size() / 2, tga.file.size() - 1})
    {
        SCOPED_TRACE(size);
        const Bytes cut(tga.file.begin(), tga.file.begin() + static_cast<ptrdiff_t>(size));
        EXPECT_EQ(SetPicture(m_source, m_folder.Write(L"cut.tga", cut)), E_FAIL);
    }
    ExpectUnchanged();
}

TEST_F(Failures, BlackAndWhiteTga)
{
    Bytes file = PlainTga("grey", 8, 8, 2).file;
    file[2] = 3;  // black-and-white
    file[16] = 8; // of eight bits
    EXPECT_EQ(SetPicture(m_source, m_folder.Write(L"grey.tga", file)), E_FAIL);
    ExpectUnchanged();
}

TEST_F(Failures, RunOverTheEndOfThePicture)
{
    Bytes file = PlainTga("overfull", 2, 1, 2).file;
    file.resize(18);
    file[2] = 10; // run-length
    file.insert(file.end(), {0x84, 1, 2, 3});
    EXPECT_EQ(SetPicture(m_source, m_folder.Write(L"overfull.tga", file)), E_FAIL);
    ExpectUnchanged();
}

// Whatever is refused while it runs, the stream goes on.
TEST_F(Failures, WhileTheGraphRuns)
{
    FrameKeeper keeper(50);
    FilterGraph graph;
    CComPtr<IBaseFilter> sink;
    ASSERT_EQ(CreateFrameSink(keeper, sink), S_OK);
    graph.Add(m_source, L"Source");
    graph.Add(sink, L"Sink");
    ASSERT_EQ(graph.Connect(m_source, sink), S_OK);
    graph.Run();
    EXPECT_EQ(SetPicture(m_source, m_folder.Name(L"missing.tga")), E_INVALIDARG);
    EXPECT_EQ(SetPicture(m_source, m_folder.Name(L"missing\\missing.tga")),
              HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    CComPtr<IQXStillSource> control;
    ASSERT_EQ(m_source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&control)), S_OK);
    EXPECT_EQ(control->SetFrameRate(30), VFW_E_NOT_STOPPED);
    EXPECT_EQ(control->SetOutputFormat(nullptr, 0, 0), VFW_E_NOT_STOPPED);
    EXPECT_TRUE(keeper.Wait());
    graph.Stop();
    for (const ReceivedFrame& frame : keeper.Frames())
        EXPECT_EQ(frame.bytes, m_shown.frame);
}
