/// "qxstill record": it ends in a file that plays, or in none.

#include "AviFile.h"
#include "AviMux.h"
#include "Failure.h"
#include "GraphSupport.h"
#include "Commands.h"
#include <gtest/gtest.h>
#include <fstream>
#include <iterator>

namespace
{
constexpr int g_width = 32;
constexpr int g_height = 16;
constexpr uint64_t g_frameBytes = 4 * g_width * g_height;

class Recording : public testing::Test
{
protected:
    Recording()
    {
        m_options.source.picture = ToUtf8(m_folder.Write(L"a.tga", m_tga.file));
        m_options.out = ToUtf8(m_out);
        m_options.frames = 20;
    }
    ~Recording() override
    {
        CloseHandle(m_interrupted);
        EXPECT_EQ(m_module.CanUnloadNow(), S_OK);
    }

    // The failure's sentence; empty for a success.
    std::string RecordIt(const WriteBytes& write = WriteToFile)
    {
        try
        {
            Record(m_module.CreateSource(), m_options, m_interrupted, write);
        }
        catch (const Failure& failure)
        {
            return failure.what();
        }
        return {};
    }

    static Bytes ReadAll(const std::wstring& path)
    {
        std::ifstream file(std::filesystem::path(path), std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(file), {});
    }
    size_t Files() const
    {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(m_folder.Path()), {}));
    }

    const TgaCase m_tga = PlainTga("record", g_width, g_height, 1);
    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
    const std::wstring m_out = m_folder.Name(L"out.avi");
    RecordOptions m_options;
    const HANDLE m_interrupted = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

// A disk with room for so many bytes.
WriteBytes SmallDisk(uint64_t room)
{
    return [room](HANDLE file, const void* bytes, ULONG count) mutable
    {
        if (count > room)
            return HRESULT_FROM_WIN32(ERROR_DISK_FULL);
        room -= count;
        return WriteToFile(file, bytes, count);
    };
}
} // namespace

TEST_F(Recording, HasTheFramesAndTheSizeThatWereForetold)
{
    ASSERT_EQ(RecordIt(), "");
    const Bytes file = ReadAll(m_out);
    EXPECT_EQ(file.size(), AviFileBytes(g_frameBytes, 20));
    AviFile avi;
    ASSERT_EQ(ReadAvi(file, avi), "");
    EXPECT_EQ(avi.length, 20u);
    ASSERT_EQ(avi.frames.size(), 20u);
    EXPECT_EQ(avi.frames[19].bytes, m_tga.frame);
    EXPECT_EQ(Files(), 2u) << "the picture and the file";
}

TEST_F(Recording, ForetellsTheSizeOfMoreThanOnePart)
{
    for (const long frames : {4000, 4001})
    {
        m_options.frames = frames;
        m_options.force = true;
        ASSERT_EQ(RecordIt(), "");
        EXPECT_EQ(std::filesystem::file_size(m_out), AviFileBytes(g_frameBytes, frames)) << frames;
    }
}

TEST_F(Recording, AFullDiskLeavesNoFile)
{
    // Full in the headers, among the frames, and in the index, which comes when the graph stops.
    for (const uint64_t room :
         {uint64_t{0}, AviFileBytes(g_frameBytes, 10), AviFileBytes(g_frameBytes, 20) - 100})
    {
        SCOPED_TRACE(room);
        const std::string failure = RecordIt(SmallDisk(room));
        EXPECT_EQ(failure.substr(0, failure.rfind(": ERROR_DISK_FULL (0x80070070)")),
                  "cannot write \"" + m_options.out + "\"");
        EXPECT_EQ(Files(), 1u);
    }
}

TEST_F(Recording, AnInterruptionLeavesAFileWithTheFramesUpToIt)
{
    m_options.frames = 100000;
    uint64_t written = 0;
    const std::string failure = RecordIt(
        [&](HANDLE file, const void* bytes, ULONG count)
        {
            written += count;
            if (written > 10 * g_frameBytes + AviFileBytes(g_frameBytes, 0))
                SetEvent(m_interrupted);
            return WriteToFile(file, bytes, count);
        });
    AviFile avi;
    ASSERT_EQ(ReadAvi(ReadAll(m_out), avi), "");
    EXPECT_GE(avi.length, 1u);
    EXPECT_LT(avi.length, 100000u);
    EXPECT_EQ(avi.frames.size(), avi.length);
    EXPECT_EQ(avi.index.size(), avi.length);
    EXPECT_EQ(failure, "interrupted after " + std::to_string(avi.length) + " of 100000 frames; \"" +
                           m_options.out + "\" has these");
    EXPECT_EQ(Files(), 2u);
}

TEST_F(Recording, AnExistingFileIsOverwrittenOnlyWhenAsked)
{
    const Bytes old = {1, 2, 3};
    m_folder.Write(L"out.avi", old);
    EXPECT_EQ(RecordIt(), "cannot write \"" + m_options.out +
                              "\": the file exists; choose another --out, or --force to overwrite it");
    EXPECT_EQ(ReadAll(m_out), old);

    m_options.force = true;
    EXPECT_NE(RecordIt(SmallDisk(1000)), "");
    EXPECT_EQ(ReadAll(m_out), old) << "a failure keeps the old file";
    EXPECT_EQ(RecordIt(), "");
    EXPECT_EQ(ReadAll(m_out).size(), AviFileBytes(g_frameBytes, 20));
}

TEST_F(Recording, APictureIsNeverOverwritten)
{
    m_options.force = true;
    const std::wstring other = m_folder.Write(L"b.tga", m_tga.file);
    m_options.source.picture += '|';
    m_options.source.picture += ToUtf8(other);
    m_options.out = ToUtf8(m_folder.Name(L"B.TGA"));
    EXPECT_EQ(RecordIt(), "cannot write \"" + m_options.out +
                              "\": it is one of the pictures to record; choose another --out");
    EXPECT_EQ(ReadAll(other), m_tga.file);
}

TEST_F(Recording, WhatDoesNotFitIsRefusedBeforeItStarts)
{
    m_options.source.size = {640, 360};
    m_options.frames = 2600;
    const std::string failure = RecordIt([](HANDLE, const void*, ULONG) { return E_UNEXPECTED; });
    EXPECT_EQ(failure,
              "2600 frames of 921600 bytes do not fit an AVI file: it would have 2396 MB, of 2147 MB at "
              "most; --frames 2330 fits, or ask for a smaller --size");
    EXPECT_EQ(Files(), 1u);
}

TEST(AviSize, TheLargestFileStaysBelowTwoGigabytes)
{
    EXPECT_LE(AviFileBytes(921600, 2330), g_maxAviBytes);
    EXPECT_GT(AviFileBytes(921600, 2331), g_maxAviBytes);
    EXPECT_EQ(AviFileBytes(5, 1) - AviFileBytes(0, 1), 6u) << "an odd frame is padded";
}
