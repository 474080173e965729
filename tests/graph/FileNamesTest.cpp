/// Files under unusual names, and files that others hold: the result is clear, and no file stays open.

#include "GraphSupport.h"
#include "support/picture/JpegFiles.h"
#include "support/picture/PngFile.h"
#include <gtest/gtest.h>

namespace
{
Bytes GreyPng(uint8_t level)
{
    PngFile png;
    png.nWidth = 4;
    png.nHeight = 2;
    png.colour = ePNG_Grey;
    png.samples.assign(8, level);
    return png.Encode();
}

// A picture of each reader, all of them 4 x 2 pixels of one grey.
struct Kind
{
    std::wstring extension;
    Bytes file;
};

std::vector<Kind> Kinds()
{
    Bytes tga = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 4, 0, 2, 0, 24, 0};
    Bytes bmp = {'B', 'M', 78, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0,  40,
                 0,   0,   0,  4, 0, 0, 0, 2, 0, 0, 0,  1, 0, 24, 0};
    bmp.resize(54);
    for (Bytes* file : {&tga, &bmp})
        file->insert(file->end(), 24, 77);
    return {{L".tga", tga}, {L".bmp", bmp}, {L".png", GreyPng(77)}};
}

class FileNames : public testing::Test
{
protected:
    FileNames() : m_source(m_module.CreateSource()) {}

    void ExpectShown(const std::wstring& name)
    {
        ASSERT_EQ(SetPicture(m_source, name), S_OK);
        const std::vector<ReceivedFrame> frames = GrabFrames(m_source, 1);
        ASSERT_EQ(frames.size(), 1u);
        EXPECT_EQ(frames[0].bytes[0], 77);
        EXPECT_EQ(frames[0].bytes[1], 77);
        EXPECT_EQ(frames[0].bytes[2], 77);
    }

    // Nobody else has the file open.
    static bool IsFree(const std::wstring& name)
    {
        const HANDLE file = CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, 0, nullptr,
                                        OPEN_EXISTING, 0, nullptr);
        if (file == INVALID_HANDLE_VALUE)
            return false;
        CloseHandle(file);
        return true;
    }

    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
    CComPtr<IBaseFilter> m_source;
};
} // namespace

TEST_F(FileNames, SpacesUmlautsAndOtherScripts)
{
    for (const Kind& kind : Kinds())
    {
        for (const wchar_t* name :
             {L"two words", L" leading", L"\u00FC\u00E4\u00F6\u00DF \u00C5", L"\u4E2D\u6587 \u56FE\u7247",
              L"\u0416\u0443\u043A", L"\u65E5\u672C", L"a.b.c", L"(1) [2] {3} 'x' & # %41 ^ ~"})
        {
            const std::wstring path = m_folder.Write(name + kind.extension, kind.file);
            ExpectShown(path);
            EXPECT_EQ(CurrentFile(m_source), path);
            EXPECT_TRUE(IsFree(path));
        }
    }
}

// A letter beyond 16 bits is two units of the name.
TEST_F(FileNames, LettersBeyondThe16thBit)
{
    for (const Kind& kind : Kinds())
        ExpectShown(m_folder.Write(L"\U0001F600" + kind.extension, kind.file));
}

TEST_F(FileNames, FilesAreFreeAfterALoadOfAnySort)
{
    for (const Kind& kind : Kinds())
    {
        for (size_t size = 0; size <= kind.file.size(); ++size)
        {
            // Wine's GDI+ itself keeps a BMP file open whose pixels are cut, and gives nothing that could be
            // closed.
            if (kind.extension == L".bmp" && size >= 54 && size < kind.file.size())
                continue;
            const std::wstring path =
                m_folder.Write(L"cut" + kind.extension,
                               Bytes(kind.file.begin(), kind.file.begin() + static_cast<ptrdiff_t>(size)));
            const HRESULT hr = SetPicture(m_source, path);
            EXPECT_TRUE(hr == S_OK || hr == E_FAIL) << size << " " << std::hex << hr;
            EXPECT_TRUE(IsFree(path)) << size;
        }
    }
}

// Who writes a file does not want it read half done: no reader shares with a writer.
TEST_F(FileNames, FileThatIsOpenForWriting)
{
    for (const Kind& kind : Kinds())
    {
        ExpectShown(m_folder.Write(L"before" + kind.extension, kind.file));
        const std::wstring before = CurrentFile(m_source);
        const std::wstring path = m_folder.Write(L"held" + kind.extension, kind.file);
        const HANDLE writer =
            CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                        nullptr, OPEN_EXISTING, 0, nullptr);
        ASSERT_NE(writer, INVALID_HANDLE_VALUE);
        EXPECT_EQ(SetPicture(m_source, path), E_FAIL);
        EXPECT_EQ(CurrentFile(m_source), before);
        CloseHandle(writer);
        ExpectShown(path);
    }
}

// Readers beside each other do no harm.
TEST_F(FileNames, FileThatIsOpenForReading)
{
    for (const Kind& kind : Kinds())
    {
        const std::wstring path = m_folder.Write(L"read" + kind.extension, kind.file);
        const HANDLE reader =
            CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
        ASSERT_NE(reader, INVALID_HANDLE_VALUE);
        ExpectShown(path);
        CloseHandle(reader);
    }
}

// One thread writes and cuts the file all the time, and lets everybody else at it; another one loads it.
TEST_F(FileNames, FileThatIsCutWhileItIsRead)
{
    for (const Kind& kind : Kinds())
    {
        if (kind.extension == L".bmp")
            continue; // as above
        struct Writer
        {
            std::wstring path;
            Bytes file;
            HANDLE end;
        } writer = {m_folder.Write(L"cut" + kind.extension, kind.file), kind.file,
                    CreateEventW(nullptr, TRUE, FALSE, nullptr)};
        const auto write = [](void* context) -> DWORD
        {
            const Writer& w = *static_cast<Writer*>(context);
            for (size_t round = 0; WaitForSingleObject(w.end, 0) == WAIT_TIMEOUT; ++round)
            {
                const HANDLE file = CreateFileW(w.path.c_str(), GENERIC_WRITE,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                                nullptr, OPEN_EXISTING, 0, nullptr);
                if (file == INVALID_HANDLE_VALUE)
                    continue; // somebody reads
                DWORD written = 0;
                const DWORD cut = static_cast<DWORD>(round % w.file.size());
                WriteFile(file, w.file.data(), cut, &written, nullptr);
                SetEndOfFile(file);
                if (round % 2 == 0)
                    WriteFile(file, w.file.data() + cut, static_cast<DWORD>(w.file.size()) - cut, &written,
                              nullptr);
                CloseHandle(file);
            }
            return 0;
        };
        DWORD id = 0;
        const HANDLE thread = CreateThread(nullptr, 0, write, &writer, 0, &id);
        ASSERT_NE(thread, nullptr);
        for (int i = 0; i < 200; ++i)
        {
            const HRESULT hr = SetPicture(m_source, writer.path);
            EXPECT_TRUE(hr == S_OK || hr == E_FAIL) << std::hex << hr;
        }
        SetEvent(writer.end);
        EXPECT_EQ(WaitForSingleObject(thread, g_limit), WAIT_OBJECT_0);
        CloseHandle(thread);
        CloseHandle(writer.end);
        ExpectShown(m_folder.Write(L"cut" + kind.extension, kind.file));
    }
}

// Names are asked for in 259 characters: what is longer is looked for in another place, where nothing is.
TEST_F(FileNames, LongPaths)
{
    constexpr size_t longest = MAX_PATH - 1;
    const std::wstring mark = L"\\\\?\\"; // tells the platform that a path may be long
    const HRESULT missing = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    std::filesystem::path folder = m_folder.Path();
    std::vector<std::wstring> made;
    size_t shown = 0;
    size_t refused = 0;
    for (int depth = 0; depth < 6; ++depth)
    {
        folder /= std::wstring(50, static_cast<wchar_t>(L'a' + depth));
        made.push_back(mark + folder.wstring());
        ASSERT_TRUE(CreateDirectoryW(made.back().c_str(), nullptr)) << depth;
        for (const Kind& kind : Kinds())
        {
            const std::wstring path =
                folder.wstring() + L"\\picture" + std::to_wstring(depth) + kind.extension;
            made.push_back(mark + path);
            const HANDLE file =
                CreateFileW(made.back().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
            ASSERT_NE(file, INVALID_HANDLE_VALUE);
            DWORD written = 0;
            WriteFile(file, kind.file.data(), static_cast<DWORD>(kind.file.size()), &written, nullptr);
            CloseHandle(file);
            for (const std::wstring& name : {path, mark + path})
            {
                const bool fits = name.size() <= longest;
                EXPECT_EQ(SetPicture(m_source, name), fits ? S_OK : missing) << name.size();
                ++(fits ? shown : refused);
            }
        }
    }
    EXPECT_GT(shown, 0u);
    EXPECT_GT(refused, 0u);
    // Too deep for the names with which the rest is removed.
    for (auto path = made.rbegin(); path != made.rend(); ++path)
        EXPECT_TRUE(DeleteFileW(path->c_str()) || RemoveDirectoryW(path->c_str()));
}
