/// What the host program says of pictures that are not shown.

#include "Failure.h"
#include "GraphSupport.h"
#include "PictureCheck.h"
#include "support/picture/PngFile.h"
#include <gtest/gtest.h>

namespace
{
const std::string g_unread = "; the file is damaged, or of a kind that is not read";
const std::string g_gdiPlus = "GDI+ fails with E_FAIL (0x80004005)";

Bytes Png()
{
    PngFile png;
    png.nWidth = 1;
    png.nHeight = 1;
    png.samples = {10, 20, 30, 255};
    return png.Encode();
}

Bytes Text(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

class Pictures : public testing::Test
{
protected:
    // What the filter's refusal of a name is explained with.
    std::string Explain(const std::wstring& picture)
    {
        const HRESULT hr = SetPicture(m_module.CreateSource(), picture);
        EXPECT_TRUE(FAILED(hr)) << ToUtf8(picture);
        return ExplainSetPicture(picture, hr, m_check);
    }
    // A name in the folder, in quotes.
    std::string Quoted(const wchar_t* name) const { return ToUtf8(L"\"" + m_folder.Name(name) + L"\""); }

    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
    PictureCheck m_check{[this] { return m_module.CreateSource(); }};
};
} // namespace

TEST_F(Pictures, ThoseThatAreShownNeedNoWord)
{
    EXPECT_EQ(m_check.Try(m_folder.Write(L"a.png", Png())), "");
    EXPECT_EQ(m_check.Try(m_folder.Write(L"a.tga", PlainTga("a", 4, 4, 1).file)), "");
    EXPECT_EQ(m_check.Try(m_folder.Write(L"png.tga", Png())), "") << "the second reader takes it";
    EXPECT_EQ(m_check.Try(L"bars"), "");
    EXPECT_EQ(m_check.Try(L"RED"), "");
    EXPECT_EQ(m_check.Try(L""), "");
}

TEST_F(Pictures, AFileThatNoReaderTakesNamesTheReaders)
{
    Bytes png = Png();
    png.resize(30);
    for (const auto& [name, bytes] : {std::pair(L"broken.png", png), std::pair(L"notes.txt", Text("a text")),
                                      std::pair(L"a.webp", Text("RIFF....WEBPVP8 "))})
        EXPECT_EQ(Explain(m_folder.Write(name, bytes)),
                  "cannot show " + Quoted(name) + ": " + g_gdiPlus + g_unread);

    Bytes tga = PlainTga("a", 16, 16, 1).file;
    tga.resize(100);
    EXPECT_EQ(Explain(m_folder.Write(L"cut.tga", tga)),
              "cannot show " + Quoted(L"cut.tga") + ": the TGA reader fails with E_FAIL (0x80004005), " +
                  g_gdiPlus + g_unread);
    EXPECT_EQ(Explain(m_folder.Write(L"cut.bmp", Text("BM"))),
              "cannot show " + Quoted(L"cut.bmp") + ": the BMP reader fails with E_FAIL (0x80004005), " +
                  g_gdiPlus + g_unread);
    EXPECT_EQ(Explain(m_folder.Write(L"empty.png", {})),
              "cannot show " + Quoted(L"empty.png") + ": the file is empty");
}

TEST_F(Pictures, ANameWithoutAFileSaysWhatIsMissing)
{
    EXPECT_EQ(Explain(m_folder.Name(L"none.png")),
              "cannot open " + Quoted(L"none.png") + ": file not found (0x80070057)");
    EXPECT_EQ(Explain(m_folder.Name(L"none\\x.png")),
              "cannot show " + Quoted(L"none\\x.png") + ": folder not found (0x80070003)");
    EXPECT_EQ(Explain(m_folder.Name(L"*.gif")),
              "cannot show " + Quoted(L"*.gif") + ": no file matches the pattern (0x80070057)");
    EXPECT_EQ(Explain(m_folder.Path().wstring()), "cannot show the folder \"" +
                                                      ToUtf8(m_folder.Path().wstring()) +
                                                      "\": it has no files (0x80070057)");
    EXPECT_EQ(Explain(L"nonesuch"), "cannot show \"nonesuch\": file not found (0x80070002)");
}

TEST_F(Pictures, AFileThatAnotherProgramHasOpenIsSaidToBe)
{
    const std::wstring name = m_folder.Write(L"open.png", Png());
    const HANDLE file = CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    EXPECT_EQ(Explain(name),
              "cannot show " + Quoted(L"open.png") + ": another program has the file open (0x80070020)");
    CloseHandle(file);
}

TEST_F(Pictures, AFolderThatBeginsWithNoPictureNamesItAndTheCure)
{
    m_folder.Write(L"desktop.ini", Text("[.ShellClassInfo]"));
    m_folder.Write(L"photo.png", Png());
    const std::string folder = ToUtf8(m_folder.Path().wstring());
    EXPECT_EQ(Explain(m_folder.Path().wstring()),
              "cannot show \"" + folder + "\": its first entry " + Quoted(L"desktop.ini") +
                  " has to be a picture: " + g_gdiPlus + g_unread + "; name the pictures only, for example " +
                  Quoted(L"*.png"));
    EXPECT_EQ(SetPicture(m_module.CreateSource(), m_folder.Name(L"*.png")), S_OK) << "the cure works";
    EXPECT_EQ(Explain(m_folder.Name(L"desktop.ini") + L"|" + m_folder.Name(L"photo.png")),
              "cannot show \"" + ToUtf8(m_folder.Name(L"desktop.ini") + L"|" + m_folder.Name(L"photo.png")) +
                  "\": its first entry " + Quoted(L"desktop.ini") + " has to be a picture: " + g_gdiPlus +
                  g_unread + "; leave it out, or begin with " + Quoted(L"photo.png"));
}

TEST_F(Pictures, EachEntryOfAListThatIsNotShownIsNamed)
{
    const std::wstring good = m_folder.Write(L"a.png", Png());
    const std::wstring text = m_folder.Write(L"b.txt", Text("a text"));
    const std::wstring missing = m_folder.Name(L"c.png");
    const std::wstring list = good + L"|red|" + text + L"|" + missing;
    const std::string first = ToUtf8(text) + ": " + g_gdiPlus + g_unread;
    const std::string second = ToUtf8(missing) + ": file not found (0x80070002)";
    EXPECT_EQ(FindUnshownEntries(list, 100, m_check), (std::vector<std::string>{first, second}));
    EXPECT_EQ(FindUnshownEntries(list, 3, m_check), std::vector<std::string>{first})
        << "the rest has no frame";
    EXPECT_TRUE(FindUnshownEntries(text, 100, m_check).empty()) << "no list";
}
