// How the readers treat real files: names of every kind, sharing with others, nothing open afterwards.
#include "BmpBuilder.h"
#include "Common/Common.h"
#include "TgaBuilder.h"
#include "Video/TgaBmp/BmpFile.h"
#include "Video/TgaBmp/TgaBmp.h"
#include "dstl/WinAPI/File.h"

#include <gtest/gtest.h>

namespace
{
/// A name of 16-bit characters in both builds.
using Name = std::vector<wchar_t>;

Name Join(const std::string& sFolder, const char16_t* psz)
{
    Name name(sFolder.begin(), sFolder.end());
    name.push_back('\\');
    for (; *psz != 0; ++psz)
        name.push_back(static_cast<wchar_t>(*psz));
    name.push_back(0);
    return name;
}

/// \return false when the system does not make such a file
bool Write(const Name& name, const Bytes& bytes)
{
    COwnedHandle file(
        CreateFileW(name.data(), GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, NULL));
    DWORD cb = 0;
    return file && WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &cb, NULL) &&
           cb == bytes.size() && file.Close();
}

using PFNLOAD = HRESULT (*)(const wchar_t* pszFile);

HRESULT LoadTga(const wchar_t* pszFile)
{
    BITMAPINFOHEADER bmi;
    CTaskBytes pPicture;
    return TgaBmpConv(pszFile, FOURCC_ARGB32, &bmi, pPicture.Out(), NULL, false);
}

HRESULT LoadBmp(const wchar_t* pszFile)
{
    BITMAPINFOHEADER bmi;
    CTaskBytes pPicture;
    return LoadBmpFile(pszFile, &bmi, pPicture.Out());
}

struct Reader
{
    const char* pszReader;
    PFNLOAD pfnLoad;
    Bytes file;
};

std::vector<Reader> Readers()
{
    return {{"TGA", LoadTga, TgaBuilder::TrueColour(24).File()},
            {"packed TGA", LoadTga, TgaBuilder::TrueColour(24, 30, 20).Packed({2, 3}).File()},
            {"BMP", LoadBmp, BmpBuilder(32, 3, 2).File()}};
}

TEST(FileHandling, NamesOfEveryKind)
{
    const TempFolder folder;
    const char16_t* const rgNames[] = {u"two words.tga",
                                       u" leading",
                                       u"\u00C4\u00F6\u00FC\u00DF \u00E9.bmp",
                                       u"\u56FE\u7247.tga",
                                       u"\u043A\u0430\u0434\u0440",
                                       u"\U0001F5BC",
                                       u"a.b.c",
                                       u"100%+#&'()[]{};,=@~"};
    for (const Reader& reader : Readers())
    {
        for (const char16_t* pszName : rgNames)
        {
            const Name name = Join(folder.Path(), pszName);
            ASSERT_TRUE(Write(name, reader.file));
            EXPECT_EQ(reader.pfnLoad(name.data()), S_OK) << reader.pszReader;
        }
    }
}

#ifdef _WIN32
std::vector<Bytes> CutsOf(const Bytes& file)
{
    std::vector<Bytes> cuts;
    for (size_t cb = 0; cb <= file.size(); ++cb)
        cuts.emplace_back(file.begin(), file.begin() + static_cast<ptrdiff_t>(cb));
    return cuts;
}

/// Whatever came of it, nobody holds the file: it can be opened for itself alone, and deleted.
TEST(FileHandling, NothingStaysOpen)
{
    const TempFolder folder;
    const Name name = Join(folder.Path(), u"picture");
    for (const Reader& reader : Readers())
    {
        for (const Bytes& bytes : CutsOf(reader.file))
        {
            ASSERT_TRUE(Write(name, bytes));
            EXPECT_EQ(reader.pfnLoad(name.data()), bytes.size() == reader.file.size() ? S_OK : E_FAIL);
            COwnedHandle file(CreateFileW(name.data(), GENERIC_READ | GENERIC_WRITE | DELETE, 0, NULL,
                                          OPEN_EXISTING, 0, NULL));
            ASSERT_TRUE(file) << reader.pszReader << " " << bytes.size();
            ASSERT_TRUE(file.Close());
            ASSERT_TRUE(DeleteFileW(name.data()));
        }
    }
}

/// TGA files are shared for reading, BMP files with nobody.
TEST(FileHandling, Sharing)
{
    const HRESULT hrShared = HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION);
    constexpr DWORD dwAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const struct
    {
        DWORD dwAccess, dwShare; ///< of the other one
        HRESULT hrTga, hrBmp;
    } rgRows[] = {
        {GENERIC_READ, FILE_SHARE_READ, S_OK, hrShared},
        {GENERIC_READ, dwAll, S_OK, hrShared},
        {GENERIC_READ, 0, hrShared, hrShared},
        {GENERIC_WRITE, dwAll, hrShared, hrShared},
        {GENERIC_READ | GENERIC_WRITE, dwAll, hrShared, hrShared},
        {DELETE, dwAll, hrShared, hrShared},
    };
    const TempFolder folder;
    const Name name = Join(folder.Path(), u"picture");
    for (const Reader& reader : Readers())
    {
        ASSERT_TRUE(Write(name, reader.file));
        for (const auto& row : rgRows)
        {
            const COwnedHandle other(
                CreateFileW(name.data(), row.dwAccess, row.dwShare, NULL, OPEN_EXISTING, 0, NULL));
            ASSERT_TRUE(other);
            EXPECT_EQ(reader.pfnLoad(name.data()), reader.pfnLoad == LoadBmp ? row.hrBmp : row.hrTga)
                << reader.pszReader << " " << row.dwAccess << " " << row.dwShare;
        }
        EXPECT_EQ(reader.pfnLoad(name.data()), S_OK);
    }
}

TEST(FileHandling, Folder)
{
    const TempFolder folder;
    for (const Reader& reader : Readers())
        EXPECT_EQ(reader.pfnLoad(WideText(folder.Path())), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
}

/// The readers set no limit: what CreateFileW opens they read, and what it refuses they refuse alike. It
/// takes more than 260 characters with the prefix for names that the system does not look into, and without
/// it only where system and program have agreed to long names.
TEST(FileHandling, LongNames)
{
    const TempFolder folder;
    std::string sPath = "\\\\?\\" + folder.Path();
    for (int i = 0; i < 6; ++i)
    {
        sPath += "\\" + std::string(60, static_cast<char>('a' + i));
        ASSERT_TRUE(CreateDirectoryW(WideText(sPath), NULL));
    }
    ASSERT_GT(sPath.size(), size_t{MAX_PATH + 100});
    const Name name = Join(sPath, u"picture");
    const wchar_t* const pszPlain = name.data() + 4; // behind the prefix
    for (const Reader& reader : Readers())
    {
        ASSERT_TRUE(Write(name, reader.file));
        EXPECT_EQ(reader.pfnLoad(name.data()), S_OK) << reader.pszReader;

        HRESULT hrOpen = S_OK;
        {
            const COwnedHandle file(CreateFileW(pszPlain, GENERIC_READ, 0, NULL, OPEN_EXISTING, 0, NULL));
            if (!file)
                hrOpen = HRESULT_FROM_WIN32(GetLastError());
        }
        EXPECT_EQ(reader.pfnLoad(pszPlain), hrOpen) << reader.pszReader;
    }
    // Deepest first, as the test's folder cannot be emptied under such names otherwise.
    DeleteFileW(name.data());
    while (sPath.size() > folder.Path().size() + 4)
    {
        RemoveDirectoryW(WideText(sPath));
        sPath.resize(sPath.rfind('\\'));
    }
}
#endif
} // namespace
