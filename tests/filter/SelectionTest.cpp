// Pictures by name.
#include "FilterSupport.h"

namespace
{

class Selection : public FilterTest
{
};

/// Values that no row of the table sets.
constexpr LONG nOtherId = 4711;
constexpr DWORD nOtherColor = 0x12345678;

struct SpecialRow
{
    const char* pszName;
    LONG nPictureId;
    DWORD nSolidColor; ///< nOtherColor: kept
    bool bAlpha;
};

constexpr SpecialRow arrRows[] = {
    {"", -1, nOtherColor, false},         {"bars", -1, nOtherColor, false},
    {"videoq", -2, nOtherColor, false},   {"bars75", 110, nOtherColor, false},
    {"bars100", 109, nOtherColor, false}, {"barsHD", 108, nOtherColor, false},
    {"barsSD", 107, nOtherColor, false},  {"red", 0, 0xFF0000FF, false},
    {"green", 0, 0xFF00FF00, false},      {"blue", 0, 0xFFFF0000, false},
    {"white", 0, 0xFFFFFFFF, false},      {"black", 0, 0xFF000000, false},
    {"none", 0, 0xFF000000, false},       {"transparent", 0, 0, true},
    {"RED", 0, 0xFF0000FF, false},        {"BarsHd", 108, nOtherColor, false},
    {"TRANSPARENT", 0, 0, true},          {"VIDEOQ", -2, nOtherColor, false},
};

TEST_F(Selection, SpecialNames)
{
    for (const SpecialRow& row : arrRows)
    {
        Inside().m_nPictureId = nOtherId;
        Inside().m_nSolidColor = nOtherColor;
        Inside().m_picSource = {FOURCC_UYVY, 720, 576, 720};
        EXPECT_EQ(Control().SetPicture(Text(row.pszName)), S_OK) << row.pszName;
        EXPECT_EQ(Inside().m_nPictureId, row.nPictureId) << row.pszName;
        EXPECT_EQ(Inside().m_nSolidColor, row.nSolidColor) << row.pszName;
        const DWORD fcc = row.bAlpha ? FOURCC_ARGB32 : FOURCC_UYVY;
        EXPECT_EQ(Inside().m_picSource, (PicProps{fcc, 720, 576, 720})) << row.pszName;
        EXPECT_EQ(Inside().m_picOutput.fccType, fcc) << row.pszName;
        EXPECT_EQ(Utf8(InsideFilter().m_bsFileName), row.pszName);
        ASSERT_EQ(Inside().m_arrFiles.GetSize(), 1) << row.pszName;
        EXPECT_EQ(Utf8(Inside().m_arrFiles[0]), row.pszName);
    }
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_F(Selection, NullNameIsTheEmptyOne)
{
    Inside().m_nPictureId = nOtherId;
    EXPECT_EQ(Control().SetPicture(nullptr), S_OK);
    EXPECT_EQ(Inside().m_nPictureId, -1);
    EXPECT_EQ(Inside().m_arrFiles.GetSize(), 1);
    Inside().m_nPictureId = nOtherId;
    EXPECT_EQ(SelectPictureByName(nullptr), S_OK);
    EXPECT_EQ(Inside().m_nPictureId, -1);
}

TEST_F(Selection, FileIsLoaded)
{
    const std::string sFile = m_folder.Write("a.tga", SolidTga(8, 4, {10, 20, 30, 255}));
    Inside().m_nPictureId = nOtherId;
    EXPECT_EQ(Control().SetPicture(Text(sFile)), S_OK);
    EXPECT_EQ(Inside().m_nPictureId, nOtherId); // kept
    ASSERT_EQ(Inside().m_blobSource.GetSize(), 8u * 4 * 4);
    EXPECT_EQ(Bytes(Inside().m_blobSource.GetPtr(), Inside().m_blobSource.GetPtr() + 4),
              (Bytes{10, 20, 30, 255}));
    // Opaque: alpha says nothing.
    EXPECT_EQ(Inside().m_picSource, (PicProps{FOURCC_RGB32, 8, 4, 8}));
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB32, 8, 4, 8}));
    EXPECT_EQ(Utf8(InsideFilter().m_bsFileName), sFile);
}

TEST_F(Selection, AlphaDecidesTheFormat)
{
    struct
    {
        BYTE byAlpha;
        DWORD fcc;
    } const rows[] = {{0, FOURCC_RGB32}, {255, FOURCC_RGB32}, {1, FOURCC_ARGB32}, {254, FOURCC_ARGB32}};
    for (const auto& row : rows)
    {
        const std::string sFile = m_folder.Write("a.tga", SolidTga(5, 3, {10, 20, 30, row.byAlpha}));
        EXPECT_EQ(Control().SetPicture(Text(sFile)), S_OK);
        EXPECT_EQ(Inside().m_picSource.fccType, row.fcc) << int(row.byAlpha);
    }
    // One pixel is enough.
    Bytes file = SolidTga(5, 3, {10, 20, 30, 255});
    file[file.size() - 1] = 0;
    EXPECT_EQ(Control().SetPicture(Text(m_folder.Write("b.tga", file))), S_OK);
    EXPECT_EQ(Inside().m_picSource.fccType, static_cast<DWORD>(FOURCC_ARGB32));
}

TEST_F(Selection, StraightAlphaOnlyForAlphaOutput)
{
    const std::string sFile = m_folder.Write("a.tga", SolidTga(4, 4, {200, 100, 50, 128}));
    EXPECT_EQ(Control().SetPicture(Text(sFile)), S_OK);
    EXPECT_NE(Inside().m_blobSource.GetPtr()[0], 200); // premultiplied
    EXPECT_EQ(Control().SetOutputFormat(Text("ARGB32"), 0, 0), S_OK);
    EXPECT_EQ(Control().SetPicture(Text(sFile)), S_OK);
    EXPECT_EQ(Inside().m_blobSource.GetPtr()[0], 200);
}

TEST_F(Selection, LoadedFileEmptiesTheFrame)
{
    Inside().m_blobFrame.Alloc(100);
    EXPECT_EQ(Control().SetPicture(Text("red")), S_OK);
    // The output type was set on an unconnected pin, which empties it in any case.
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 0u);

    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    Inside().m_blobFrame.Alloc(100);
    EXPECT_EQ(Control().SetPicture(Text("red")), S_OK);
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 100u); // a colour keeps it
    const std::string sFile = m_folder.Write("a.tga", SolidTga(8, 4, {10, 20, 30, 255}));
    EXPECT_EQ(Control().SetPicture(Text(sFile)), S_OK);
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 0u);
    EXPECT_GE(Inside().m_blobFrame.GetAllocSize(), 100u); // with its memory kept
}

TEST_F(Selection, LoadedFileOutranksLaterNames)
{
    const std::string sFile = m_folder.Write("a.tga", SolidTga(8, 4, {10, 20, 30, 255}));
    ASSERT_EQ(Control().SetPicture(Text(sFile)), S_OK);
    for (const char* psz : {"bars", "red", "videoq", ""})
    {
        EXPECT_EQ(Control().SetPicture(Text(psz)), S_OK);
        EXPECT_EQ(Inside().m_blobSource.GetSize(), 128u);
        EXPECT_EQ(Inside().m_picSource, (PicProps{FOURCC_RGB32, 8, 4, 8}));
        Bytes frame(128);
        EXPECT_EQ(FillSampleBuffer(frame.data(), 128), S_OK);
        EXPECT_EQ(Bytes(frame.begin(), frame.begin() + 4), (Bytes{10, 20, 30, 255})) << psz;
    }
    EXPECT_EQ(Inside().m_nPictureId, -1); // stored all the same
}

TEST_F(Selection, TransparentOverALoadedFileIsClassifiedAgain)
{
    const std::string sFile = m_folder.Write("a.tga", SolidTga(8, 4, {10, 20, 30, 255}));
    ASSERT_EQ(Control().SetPicture(Text(sFile)), S_OK);
    EXPECT_EQ(Control().SetPicture(Text("transparent")), S_OK);
    EXPECT_EQ(Inside().m_picSource.fccType, static_cast<DWORD>(FOURCC_RGB32)); // all opaque
}

TEST_F(Selection, MissingFileInAMissingFolder)
{
    ASSERT_EQ(Control().SetPicture(Text("red")), S_OK);
    EXPECT_EQ(Control().SetPicture(Text("C:\\no such folder\\x.tga")),
              HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(Utf8(InsideFilter().m_bsFileName), "red");
    ASSERT_EQ(Inside().m_arrFiles.GetSize(), 1); // left filled
    EXPECT_EQ(Utf8(Inside().m_arrFiles[0]), "C:\\no such folder\\x.tga");
    EXPECT_EQ(Inside().m_nPictureId, 0);
    EXPECT_EQ(Inside().m_nSolidColor, 0xFF0000FF);
}

TEST_F(Selection, NoEntry)
{
    ASSERT_EQ(Control().SetPicture(Text("red")), S_OK);
    // A file that does not exist, in a folder that does.
    EXPECT_EQ(Control().SetPicture(Text(m_folder.Path("missing.tga"))), E_INVALIDARG);
    EXPECT_EQ(Utf8(InsideFilter().m_bsFileName), "red");
    EXPECT_EQ(Inside().m_arrFiles.GetSize(), 0);
    EXPECT_EQ(Inside().m_nSolidColor, 0xFF0000FF);
}

TEST_F(Selection, UnreadableFileKeepsThePicture)
{
    const std::string sGood = m_folder.Write("a.tga", SolidTga(8, 4, {10, 20, 30, 255}));
    ASSERT_EQ(Control().SetPicture(Text(sGood)), S_OK);
    const std::string sBad = m_folder.Write("b.tga", Bytes(5, 0));
    EXPECT_EQ(Control().SetPicture(Text(sBad)), E_FAIL); // what GDI+ made of it
    EXPECT_EQ(Utf8(InsideFilter().m_bsFileName), sGood);
    EXPECT_EQ(Inside().m_blobSource.GetSize(), 128u);
    EXPECT_EQ(Inside().m_picSource, (PicProps{FOURCC_RGB32, 8, 4, 8}));
}

TEST_F(Selection, ListSetsTheStopFrame)
{
    EXPECT_EQ(Control().SetPicture(Text("red|green|blue")), S_OK);
    EXPECT_EQ(Inside().m_arrFiles.GetSize(), 3);
    EXPECT_EQ(Inside().m_nStopFrame, 3);
    EXPECT_EQ(Inside().m_nSolidColor, 0xFF0000FF); // the first one
    EXPECT_EQ(Utf8(InsideFilter().m_bsFileName), "red|green|blue");
    // A single name leaves the stop frame where it is.
    EXPECT_EQ(Control().SetPicture(Text("blue")), S_OK);
    EXPECT_EQ(Inside().m_nStopFrame, 3);
    EXPECT_EQ(Control().SetPicture(Text("a|")), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(Inside().m_nStopFrame, 3); // a first entry that fails comes before
    EXPECT_EQ(Control().SetPicture(Text("|a")), S_OK);
    EXPECT_EQ(Inside().m_nStopFrame, 2);
    EXPECT_EQ(Inside().m_nPictureId, -1); // the empty one
}

TEST_F(Selection, ListEntriesAreCountedRound)
{
    constexpr DWORD nRed = 0xFF0000FF, nGreen = 0xFF00FF00, nBlue = 0xFFFF0000;
    ASSERT_EQ(Control().SetPicture(Text("red")), S_OK);
    EXPECT_EQ(SelectPictureByName(L"blue"), S_OK);
    Out().Picture().SelectListEntry(0, false); // a list of one is never read
    EXPECT_EQ(Inside().m_nSolidColor, nBlue);
    ASSERT_EQ(Control().SetPicture(Text("red|green|blue")), S_OK);
    struct
    {
        LONGLONG nFrame;
        DWORD nColor;
    } const rows[] = {{0, nRed},   {1, nGreen}, {2, nBlue},
                      {3, nRed},   {4, nGreen}, {193273528230000, nRed},
                      {-1, nBlue}, {-3, nRed},  {LLONG_MIN, nGreen}};
    for (const auto& row : rows)
    {
        Inside().m_nSolidColor = 0;
        Out().Picture().SelectListEntry(row.nFrame, false);
        EXPECT_EQ(Inside().m_nSolidColor, row.nColor) << row.nFrame;
    }
}

TEST_F(Selection, LoadAndGetCurFile)
{
    IFileSourceFilter& source = Filter();
    LPOLESTR psz = nullptr;
    EXPECT_EQ(source.GetCurFile(&psz, nullptr), S_OK);
    EXPECT_EQ(Utf8(psz), "");
    CoTaskMemFree(psz);

    AM_MEDIA_TYPE mt;
    memset(&mt, 0xAB, sizeof(mt));
    EXPECT_EQ(source.Load(L"red|green", &mt), S_OK); // the type is not looked at
    EXPECT_EQ(source.GetCurFile(&psz, &mt), S_OK);
    EXPECT_EQ(Utf8(psz), "red|green");
    CoTaskMemFree(psz);
    const BYTE* pb = reinterpret_cast<const BYTE*>(&mt);
    EXPECT_EQ(std::count(pb, pb + sizeof(mt), 0xAB), static_cast<ptrdiff_t>(sizeof(mt)));

    EXPECT_EQ(source.Load(WideText(m_folder.Path("missing.tga")), nullptr), E_INVALIDARG);
    EXPECT_EQ(source.Load(nullptr, nullptr), S_OK); // as an empty name
    EXPECT_EQ(Inside().m_nPictureId, -1);
    EXPECT_EQ(source.GetCurFile(&psz, nullptr), S_OK);
    EXPECT_EQ(Utf8(psz), "");
    CoTaskMemFree(psz);
}

TEST_F(Selection, GetCurFileCutsLongNames)
{
    for (const int nLength : {1, 258, 259, 260, 1000, 100000})
    {
        // A list of names that are never looked at behind the first.
        std::string sName = "red|";
        sName.resize(static_cast<size_t>(nLength), 'x');
        if (nLength == 1)
            sName = "";
        ASSERT_EQ(Control().SetPicture(Text(sName)), S_OK);
        LPOLESTR psz = nullptr;
        EXPECT_EQ(Filter().GetCurFile(&psz, nullptr), S_OK);
        EXPECT_EQ(Utf8(psz), sName.substr(0, 259)) << nLength;
        CoTaskMemFree(psz);
        EXPECT_EQ(Utf8(InsideFilter().m_bsFileName), sName); // whole
    }
}

TEST_F(Selection, GetCurFileNullPointer)
{
    EXPECT_EQ(Filter().GetCurFile(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{"ppszFileName"});
}

TEST_F(Selection, NetworkNameIsLikeAnyOther)
{
    EXPECT_EQ(Control().SetPicture(Text("http://host/a.tga")), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
}

TEST_F(Selection, ListAndNameSurviveStopAndRun)
{
    ShowSmall();
    ASSERT_EQ(Control().SetPicture(Text("red|green")), S_OK);
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Run(0), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.Receive"));
    ASSERT_EQ(Filter().Stop(), S_OK);
    EXPECT_EQ(Inside().m_arrFiles.GetSize(), 2);
    EXPECT_EQ(Utf8(InsideFilter().m_bsFileName), "red|green");
}

} // namespace
