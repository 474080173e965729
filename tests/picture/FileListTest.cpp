// A name that stands for several pictures.
#include "TempFiles.h"
#include "dstl/Old/FileList.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{
using Names = std::vector<std::string>;

struct FileList : testing::Test
{
    /// A folder with three files, two of them pictures, and an empty folder.
    FileList()
    {
        folder.Write("one.tga", {1});
        folder.Write("two.tga", {1});
        folder.Write("read me", {1});
        std::filesystem::create_directory(folder.Path("empty"));
    }

    Names Scan(const std::string& sName)
    {
        CFileNames arrFiles;
        const bool bAny = ScanFileList(WideText(sName), arrFiles);
        EXPECT_EQ(bAny, arrFiles.GetSize() != 0);
        Names names;
        for (int i = 0; i < arrFiles.GetSize(); ++i)
            names.push_back(Utf8(arrFiles[i].m_str));
        return names;
    }

    /// Files of a folder in the order of the system.
    Names Listed(const std::string& sFolder, const std::string& sPattern)
    {
        Names names;
        WIN32_FIND_DATAW fd;
        const HANDLE hFind = FindFirstFileW(WideText(sFolder + sPattern), &fd);
        if (hFind == INVALID_HANDLE_VALUE)
            return names;
        do
        {
            if (fd.dwFileAttributes != FILE_ATTRIBUTE_DIRECTORY)
                names.push_back(sFolder + Utf8(fd.cFileName));
        } while (FindNextFileW(hFind, &fd));
        FindClose(hFind);
        return names;
    }

    static Names Sorted(Names names)
    {
        std::sort(names.begin(), names.end());
        return names;
    }

    TempFolder folder;
    LogCapture log;
};

TEST_F(FileList, ExistingFile)
{
    EXPECT_EQ(Scan(folder.Path("one.tga")), Names{folder.Path("one.tga")});
    EXPECT_EQ(Scan(folder.Path("empty\\..\\one.tga")), Names{folder.Path("empty\\..\\one.tga")})
        << "the name as given";
}

TEST_F(FileList, Folder)
{
    const Names files = {folder.Path("one.tga"), folder.Path("read me"), folder.Path("two.tga")};
    EXPECT_EQ(Sorted(Scan(folder.Path())), files);
    EXPECT_EQ(Sorted(Scan(folder.Path() + "\\")), files);
    EXPECT_EQ(Scan(folder.Path()), Listed(folder.Path() + "\\", "*.*")) << "in the order of the system";

    std::string sSlashes = folder.Path();
    std::replace(sSlashes.begin(), sSlashes.end(), '\\', '/');
    EXPECT_EQ(Sorted(Scan(sSlashes + "/")),
              (Names{sSlashes + "/one.tga", sSlashes + "/read me", sSlashes + "/two.tga"}));
    EXPECT_EQ(Sorted(Scan(sSlashes)),
              (Names{sSlashes + "\\one.tga", sSlashes + "\\read me", sSlashes + "\\two.tga"}));
}

TEST_F(FileList, EmptyFolder)
{
    EXPECT_EQ(Scan(folder.Path("empty")), Names{});
    EXPECT_EQ(Scan(folder.Path("empty\\")), Names{});
    EXPECT_EQ(Scan(folder.Path("empty\\*.tga")), Names{});
    EXPECT_EQ(Scan(folder.Path("empty\\*")), Names{});
}

TEST_F(FileList, Wildcards)
{
    const Names pictures = {folder.Path("one.tga"), folder.Path("two.tga")};
    const Names files = {folder.Path("one.tga"), folder.Path("read me"), folder.Path("two.tga")};
    EXPECT_EQ(Sorted(Scan(folder.Path("*.tga"))), pictures);
    EXPECT_EQ(Sorted(Scan(folder.Path("???.tga"))), pictures);
    EXPECT_EQ(Scan(folder.Path("o*.tga")), Names{folder.Path("one.tga")});
    EXPECT_EQ(Scan(folder.Path("*.png")), Names{});
    // Their first match may be a folder; the closing "*" keeps the pattern.
    EXPECT_EQ(Sorted(Scan(folder.Path("*"))), files);
    EXPECT_EQ(Sorted(Scan(folder.Path("*.*"))), files);
    EXPECT_EQ(Scan(folder.Path("t*")), Names{folder.Path("two.tga")});
}

/// The first match is a folder and the last character no "*": "\*.*" goes behind the pattern, which then
/// matches nothing.
TEST_F(FileList, WildcardThatFindsAFolderFirst)
{
    EXPECT_EQ(Scan(folder.Path("emp?y")), Names{});
    folder.Write("emp_y", {1});
    WIN32_FIND_DATAW fd;
    const HANDLE hFind = FindFirstFileW(WideText(folder.Path("emp?y")), &fd);
    ASSERT_NE(hFind, INVALID_HANDLE_VALUE);
    FindClose(hFind);
    const bool bFolderFirst = (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    EXPECT_EQ(Scan(folder.Path("emp?y")), bFolderFirst ? Names{} : Names{folder.Path("emp_y")});
}

TEST_F(FileList, WildcardWithoutFolder)
{
    EXPECT_EQ(Scan("*.nosuchfile"), Names{"*.nosuchfile"});
    EXPECT_EQ(Scan("*"), Names{"*"});
}

TEST_F(FileList, MissingFile)
{
    EXPECT_EQ(Scan(folder.Path("no.tga")), Names{}) << "its folder is there: it is looked for, and not found";
    EXPECT_EQ(Scan(folder.Path("none\\no.tga")), Names{folder.Path("none\\no.tga")});
    EXPECT_EQ(Scan("bars"), Names{"bars"});
    EXPECT_EQ(Scan("nosuchfile.tga"), Names{"nosuchfile.tga"});
}

TEST_F(FileList, Lists)
{
    EXPECT_EQ(Scan("bars|red"), (Names{"bars", "red"}));
    EXPECT_EQ(Scan(""), Names{""});
    EXPECT_EQ(Scan("a|"), (Names{"a", ""}));
    EXPECT_EQ(Scan("|a"), (Names{"", "a"}));
    EXPECT_EQ(Scan("|"), (Names{"", ""}));
    EXPECT_EQ(Scan("a||b"), (Names{"a", "", "b"}));
    EXPECT_EQ(Scan("|||"), Names(4));
    EXPECT_EQ(Scan("C:\\none\\a.tga|C:\\none\\b.tga"), (Names{"C:\\none\\a.tga", "C:\\none\\b.tga"}));
    const std::string sOne = folder.Path("one.tga");
    const std::string sTwo = folder.Path("two.tga");
    EXPECT_EQ(Scan(sOne + "|" + sTwo), (Names{sOne, sTwo}))
        << "what stands before the last separator is no folder";
    EXPECT_EQ(Scan(sOne + "|bars"), Names{}) << "while here it is one";
}

TEST_F(FileList, NullName)
{
    CFileNames arrFiles;
    EXPECT_TRUE(ScanFileList(nullptr, arrFiles));
    ASSERT_EQ(arrFiles.GetSize(), 1);
    EXPECT_EQ(Utf8(arrFiles[0].m_str), "");
    ASSERT_NE(arrFiles[0].m_str, nullptr);
}

TEST_F(FileList, AddsToTheArray)
{
    CFileNames arrFiles;
    EXPECT_FALSE(ScanFileList(WideText(folder.Path("empty")), arrFiles));
    EXPECT_TRUE(ScanFileList(L"a|b", arrFiles));
    EXPECT_TRUE(ScanFileList(WideText(folder.Path("empty")), arrFiles)) << "the array holds what it held";
    EXPECT_TRUE(ScanFileList(L"c", arrFiles));
    ASSERT_EQ(arrFiles.GetSize(), 3);
    EXPECT_EQ(Utf8(arrFiles[2].m_str), "c");
}

/// Separators at the very start are not seen.
TEST_F(FileList, FirstCharacterIsNoSeparator)
{
    EXPECT_EQ(Scan("\\nosuchfile"), Names{"\\nosuchfile"});
    EXPECT_EQ(Scan("/nosuchfile"), Names{"/nosuchfile"});
}

TEST_F(FileList, LongNames)
{
    for (size_t cch : {259, 260, 261, 519, 520, 521, 100000})
    {
        const std::string sName(cch, 'a');
        EXPECT_EQ(Scan(sName), Names{sName}) << cch;
        const std::string sList = sName + "|b|" + sName;
        EXPECT_EQ(Scan(sList), (Names{sName, "b", sName})) << cch;
        const std::string sNowhere = "C:\\none\\" + sName;
        EXPECT_EQ(Scan(sNowhere), Names{sNowhere}) << cch;
    }
    const std::string sBars(100000, '|');
    EXPECT_EQ(Scan(sBars), Names(100001));
}

/// What stands behind the first 259 characters is not seen by the test for a folder.
TEST_F(FileList, LongNamesOfFolders)
{
    const std::string sFolder = folder.Path() + "\\";
    for (size_t cch : {258, 259, 260, 400, 100000})
        EXPECT_EQ(Scan(sFolder + std::string(cch - sFolder.size(), 'x')), Names{}) << cch;

    std::string sName = sFolder;
    while (sName.size() < 300)
        sName += ".\\";
    sName += "one.tga";
    const std::string sCut = sName.substr(0, 259);
    const std::string sFound = sCut + (sCut.back() == '\\' ? "" : "\\") + "one.tga";
    const Names names = Scan(sName);
    EXPECT_TRUE(names == Names{} || names == Names{sFound}) << "as far as the system takes such names";
}

/// The comparison is exact: a folder with a further attribute is listed like a file.
TEST_F(FileList, FolderWithFurtherAttributes)
{
    const std::string sEmpty = folder.Path("empty");
    for (DWORD dwAttribute : {FILE_ATTRIBUTE_READONLY, FILE_ATTRIBUTE_HIDDEN, FILE_ATTRIBUTE_SYSTEM})
    {
        SetFileAttributesW(WideText(sEmpty), dwAttribute);
        const bool bKept = GetFileAttributesW(WideText(sEmpty)) != FILE_ATTRIBUTE_DIRECTORY;
        Names expected = {folder.Path("one.tga"), folder.Path("read me"), folder.Path("two.tga")};
        if (bKept) // a file system may have no room for an attribute
            expected.insert(expected.begin(), sEmpty);
        EXPECT_EQ(Sorted(Scan(folder.Path())), expected);
        EXPECT_EQ(Scan(folder.Path()), Listed(folder.Path() + "\\", "*.*"));
        SetFileAttributesW(WideText(sEmpty), FILE_ATTRIBUTE_NORMAL);
    }
}

TEST_F(FileList, ManyFiles)
{
    for (int i = 0; i < 600; ++i)
        folder.Write("empty\\" + std::to_string(i), {});
    EXPECT_EQ(Scan(folder.Path("empty")).size(), 600u);
    EXPECT_TRUE(log.Lines().empty()) << "nothing is traced";
}
} // namespace
