// What is shown: names, lists, pixels and the frame, without a pin and without the platform's readers.
#include "StillPicture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "Composition.h"
#include "dstl/Old/GDIPlusHelpers.h"
#include "dstl/WinAPI/Atl.h"
#include "support/LogCapture.h"

namespace
{

using Bytes = std::vector<BYTE>;

/// Wide text of ASCII, for the length of a call.
class Wide
{
public:
    Wide(const std::string& s) : m_text(s.begin(), s.end()) { m_text.push_back(0); }
    operator const wchar_t*() const { return m_text.data(); }

private:
    std::vector<wchar_t> m_text;
};

std::string Narrow(const wchar_t* psz)
{
    std::string s;
    for (; *psz != 0; psz++)
        s.push_back(static_cast<char>(*psz));
    return s;
}

struct Picture
{
    PicProps pic;
    Bytes pixels;
};

/// The files that the readers below find.
std::map<std::string, Picture> g_files;
/// Alpha modes and names with which they were asked.
std::vector<std::string> g_asked;
/// Numbers of the built-in pictures that were read.
std::vector<UINT> g_builtIn;

void Fill(CBLOBHolder<CTaskMemory>& blob, const Bytes& bytes)
{
    ASSERT_NE(blob.Resize(static_cast<DWORD>(bytes.size())), E_OUTOFMEMORY);
    memcpy(blob.GetPtr(), bytes.data(), bytes.size());
}

} // namespace

CComModule _Module;

// No name here is that of a folder.
HANDLE WINAPI FindFirstFileW(LPCWSTR, WIN32_FIND_DATAW*)
{
    return INVALID_HANDLE_VALUE;
}

BOOL WINAPI FindNextFileW(HANDLE, WIN32_FIND_DATAW*)
{
    return FALSE;
}

BOOL WINAPI FindClose(HANDLE)
{
    return TRUE;
}

HRESULT CPicturePersist::LoadPicture(const wchar_t* pszFile, HBITMAP, bool bAlpha,
                                     CBLOBHolder<CTaskMemory>& blob, PicProps& props) noexcept
{
    g_asked.push_back(Narrow(pszFile) + (bAlpha ? " straight" : ""));
    const auto found = g_files.find(Narrow(pszFile));
    if (found == g_files.end())
        return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    Fill(blob, found->second.pixels);
    props = found->second.pic;
    return S_OK;
}

HRESULT LoadBmpResource(HMODULE, UINT nResource, const wchar_t*, BITMAPINFOHEADER* pBmpHeader,
                        BYTE** ppPicture) noexcept
{
    g_builtIn.push_back(nResource);
    *pBmpHeader = {sizeof(*pBmpHeader), 16, 8, 1, 24, BI_RGB, 16 * 8 * 3, 0, 0, 0, 0};
    *ppPicture = static_cast<BYTE*>(CoTaskMemAlloc(pBmpHeader->biSizeImage));
    memset(*ppPicture, 0x40, pBmpHeader->biSizeImage);
    return S_OK;
}

namespace
{

constexpr PicProps picSmall = {FOURCC_RGB32, 8, 4, 8};
constexpr size_t cbSmall = 8 * 4 * 4;

class StillPicture : public testing::Test
{
protected:
    StillPicture()
    {
        g_files.clear();
        g_asked.clear();
        g_builtIn.clear();
        m_props.eKeepAspect = eQGKA_None;
        m_picture.SetOutput(picSmall);
    }
    Bytes Frame(size_t cb = cbSmall)
    {
        Bytes frame(cb, 0xEE);
        EXPECT_EQ(m_picture.FillSampleBuffer(frame.data(), static_cast<DWORD>(frame.size()), m_props), S_OK);
        return frame;
    }
    void AddFile(const std::string& sName, BYTE byValue, DWORD fccType = FOURCC_RGB32)
    {
        const PicProps pic = {fccType, 8, 4, 8};
        g_files[sName] = {pic, Bytes(static_cast<size_t>(FrameBytes(pic)), byValue)};
    }
    HRESULT SetList(const std::string& sName)
    {
        m_nEntries = -1;
        return m_picture.SetList(Wide(sName), KeepsAlpha(m_props), m_nEntries);
    }

    QG_VID_PROPS m_props{};
    CStillPicture m_picture;
    int m_nEntries = -1;
};

TEST_F(StillPicture, AFileIsShown)
{
    AddFile("a.tga", 0x22);
    EXPECT_EQ(SetList("a.tga"), S_OK);
    EXPECT_EQ(m_nEntries, 1);
    EXPECT_EQ(Frame(), Bytes(cbSmall, 0x22));
    EXPECT_EQ(g_asked, std::vector<std::string>{"a.tga"});
}

TEST_F(StillPicture, AlphaIsKeptForFramesWithAlpha)
{
    AddFile("a.tga", 0x22);
    m_props.fccType = eQGFCC_ARGB32;
    EXPECT_EQ(SetList("a.tga"), S_OK);
    EXPECT_EQ(g_asked, std::vector<std::string>{"a.tga straight"});
}

TEST_F(StillPicture, AnAlphaThatSaysNothingIsNone)
{
    for (const auto& [byAlpha, fccExpected] :
         {std::pair<BYTE, DWORD>{0, FOURCC_RGB32}, {255, FOURCC_RGB32}, {7, FOURCC_ARGB32}})
    {
        AddFile("a.tga", byAlpha, FOURCC_ARGB32);
        ASSERT_EQ(SetList("a.tga"), S_OK);
        EXPECT_EQ(m_picture.ClassifyAlpha(), S_OK);
        EXPECT_EQ(m_picture.GetSourceProps().fccType, fccExpected) << int(byAlpha);
    }
}

TEST_F(StillPicture, AFileThatFailsLeavesThePicture)
{
    AddFile("a.tga", 0x22);
    ASSERT_EQ(SetList("a.tga"), S_OK);
    EXPECT_EQ(SetList("b.tga|a.tga"), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(m_nEntries, 2); // the list is the new one all the same
    EXPECT_EQ(Frame(), Bytes(cbSmall, 0x22));
}

TEST_F(StillPicture, EntriesAreCountedRound)
{
    for (int i = 0; i < 3; i++)
        AddFile(std::string(1, static_cast<char>('a' + i)), static_cast<BYTE>(0x10 + i));
    ASSERT_EQ(SetList("a|b|c"), S_OK);
    EXPECT_EQ(m_nEntries, 3);
    for (const auto& [nFrame, nEntry] : {std::pair<int64_t, int>{0, 0},
                                         {4, 1},
                                         {-1, 2},
                                         {-3, 0},
                                         {193273528230000, 0},
                                         {std::numeric_limits<int64_t>::min(), 1}})
    {
        m_picture.SelectListEntry(nFrame, false);
        EXPECT_EQ(Frame(), Bytes(cbSmall, static_cast<BYTE>(0x10 + nEntry))) << nFrame;
    }
}

TEST_F(StillPicture, AListOfOneIsNeverRead)
{
    AddFile("a", 0x10);
    ASSERT_EQ(SetList("a"), S_OK);
    m_picture.SelectListEntry(0, false);
    EXPECT_EQ(g_asked.size(), 1u);
}

TEST_F(StillPicture, AColourNameLeavesALoadedPicture)
{
    AddFile("a", 0x10);
    ASSERT_EQ(SetList("a"), S_OK);
    ASSERT_EQ(SetList("red"), S_OK);
    EXPECT_EQ(Frame(), Bytes(cbSmall, 0x10));
}

TEST_F(StillPicture, AFinishedFrameStaysUntilTheFormatIsSet)
{
    ASSERT_EQ(SetList("white"), S_OK);
    EXPECT_EQ(Frame()[0], 0xFF);
    ASSERT_EQ(SetList("black"), S_OK);
    EXPECT_EQ(Frame()[0], 0xFF);
    m_picture.SetOutput(picSmall);
    EXPECT_EQ(Frame()[0], 0x00);
}

TEST_F(StillPicture, ABuiltInPictureIsChosenByTheHeightOfTheFrame)
{
    for (const LONG nHeight : {4, 576, 1080})
    {
        m_picture.SetOutput({FOURCC_RGB32, 8, nHeight, 8});
        Frame(static_cast<size_t>(8 * 4 * nHeight));
    }
    EXPECT_EQ(g_builtIn,
              (std::vector<UINT>{FindResourceNumber(ePI_Bars, 4), FindResourceNumber(ePI_Bars, 576),
                                 FindResourceNumber(ePI_Bars, 1080)}));
    EXPECT_EQ(m_picture.GetSourceProps().fccType, FOURCC_RGB24);
}

TEST_F(StillPicture, TheCopyEndsAtTheEndOfTheBuffer)
{
    AddFile("a", 0x10);
    ASSERT_EQ(SetList("a"), S_OK);
    for (const size_t cb : {size_t{0}, size_t{1}, cbSmall - 1})
    {
        Bytes buffer(cb + 1, 0xEE); // one byte more than is told
        EXPECT_EQ(m_picture.FillSampleBuffer(buffer.data(), static_cast<DWORD>(cb), m_props), S_OK);
        EXPECT_EQ(buffer[cb], 0xEE);
    }
}

TEST_F(StillPicture, PixelsThatAFormatClaimsAndTheBlockLacksAreZero)
{
    // "transparent" turns the 24 bits of a loaded picture into 32.
    AddFile("a", 0x10, FOURCC_RGB24);
    ASSERT_EQ(SetList("a"), S_OK);
    ASSERT_EQ(SetList("transparent"), S_OK);
    const PicProps picOutput = {FOURCC_ARGB32, 8, 4, 8};
    m_picture.SetOutput(picOutput);
    Bytes expected(cbSmall, 0);
    std::fill(expected.begin(), expected.begin() + 8 * 4 * 3, BYTE{0x10});
    EXPECT_EQ(Frame(), expected);
}

/// Any picture in any frame: nothing outside the blocks is touched, and nothing is left unwritten.
TEST(Composition, AnyPictureInAnyFrame)
{
    const DWORD arrFormats[] = {FOURCC_UYVY,  FOURCC_YUY2,   FOURCC_YV12, FOURCC_I420, FOURCC_RGB24,
                                FOURCC_RGB32, FOURCC_ARGB32, FOURCC_v210, FOURCC_r210, FOURCC_NV12};
    std::mt19937 random(7);
    const auto below = [&](int n) { return static_cast<LONG>(random() % static_cast<unsigned>(n)); };
    AssertCapture asserts; // pairs without a conversion are asserted
    for (int i = 0; i < 2000; i++)
    {
        const LONG nWidth = 1 + below(40), nOutWidth = 1 + below(40);
        const PicProps pic = {arrFormats[below(10)], nWidth, below(2) ? 1 + below(30) : -1 - below(30),
                              nWidth + below(2) * 2};
        const PicProps picOutput = {arrFormats[below(10)], nOutWidth,
                                    below(2) ? 1 + below(30) : -1 - below(30), nOutWidth};
        Bytes pixels(static_cast<size_t>(below(static_cast<int>(FrameBytes(pic)) + 1)), 0x55);
        QG_VID_PROPS props{};
        props.nAspectX = static_cast<SHORT>(below(20));
        props.nAspectY = static_cast<SHORT>(below(20));
        const int nPolicy = below(5); // one beyond the last
        memcpy(&props.eKeepAspect, &nPolicy, sizeof(nPolicy));
        CBLOBHolder<CTaskMemory> blobFrame;
        ComposePicture(
            {pixels.empty() ? nullptr : pixels.data(), static_cast<DWORD>(pixels.size()), pic, below(2) != 0},
            picOutput, props, blobFrame);
        ASSERT_EQ(blobFrame.GetSize(), FrameBytes(picOutput));
        unsigned nSum = 0; // reads every byte: the sanitizer finds those that nobody wrote
        for (DWORD n = 0; n < blobFrame.GetSize(); n++)
            nSum += blobFrame.GetPtr()[n];
        EXPECT_LE(nSum, blobFrame.GetSize() * 255);
    }
}

} // namespace
