// Dumps of raw memory and of the headers in format blocks.
#include "diagnostics/FormatBlocks.h"
#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/dumps/FormatDump.h"
#include "dstl/dshowx/dumps/MemoryDump.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

constexpr size_t cbWaveHeader = 18;

class FormatDump : public testing::Test
{
protected:
    /// The texts written since the last call, which all have this level.
    Texts Dumped(int nLevel = eTL_Main)
    {
        const Texts texts = m_log.Texts(nLevel);
        EXPECT_EQ(m_log.Lines().size(), texts.size());
        m_log.Clear();
        return texts;
    }

    void ExpectSilence()
    {
        EXPECT_EQ(m_log.Lines(), std::vector<LogLine>{});
        EXPECT_EQ(m_asserts.Texts(), Texts{});
    }

    LogCapture m_log;
    AssertCapture m_asserts;
};

TEST_F(FormatDump, MemoryRows)
{
    BYTE rgBytes[40];
    for (size_t i = 0; i < sizeof(rgBytes); i++)
        rgBytes[i] = static_cast<BYTE>(0x18 + i * 3);
    rgBytes[37] = 0x20;
    rgBytes[38] = 0x7E;
    rgBytes[39] = 0x7F;
    Debug_Memory(atlTraceGeneral, eTL_Main, rgBytes, sizeof(rgBytes), L"title:");
    const Texts rows = {
        "  0000: 18 1B 1E 21 24 27 2A 2D 30 33 36 39 3C 3F 42 45 |...!$'*-0369<?BE|\n",
        "  0010: 48 4B 4E 51 54 57 5A 5D 60 63 66 69 6C 6F 72 75 |HKNQTWZ]`cfiloru|\n",
        "  0020: 78 7B 7E 81 84 20 7E 7F                         |x{~.. ~.|\n",
    };
    Texts expected = {"title: Trace from address 0x" + Address(rgBytes) + " (40 bytes)\n"};
    expected.insert(expected.end(), rows.begin(), rows.end());
    EXPECT_EQ(Dumped(), expected);

    expected[0] = "Trace from address 0x" + Address(rgBytes) + " (40 bytes)\n";
    Debug_Memory(atlTraceGeneral, eTL_Error, rgBytes, sizeof(rgBytes), nullptr);
    EXPECT_EQ(Dumped(eTL_Error), expected);
    Debug_Memory(atlTraceGeneral, eTL_Error, rgBytes, sizeof(rgBytes), L"");
    EXPECT_EQ(Dumped(eTL_Error), expected);
}

TEST_F(FormatDump, MemoryOfFewBytes)
{
    const BYTE rgBytes[17] = {};
    const std::string sHeading = "Trace from address 0x" + Address(rgBytes);
    Debug_Memory(atlTraceGeneral, eTL_Main, rgBytes, 0, nullptr);
    EXPECT_EQ(Dumped(), Texts{sHeading + " (0 bytes)\n"});
    Debug_Memory(atlTraceGeneral, eTL_Main, nullptr, 0, nullptr);
    EXPECT_EQ(Dumped(), Texts{"Trace from address 0x0000000000000000 (0 bytes)\n"});
    Debug_Memory(atlTraceGeneral, eTL_Main, rgBytes, 1, nullptr);
    EXPECT_EQ(Dumped(), (Texts{sHeading + " (1 bytes)\n", "  0000: 00" + std::string(46, ' ') + "|.|\n"}));
    const std::string sFullRow =
        "  0000: 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 |................|\n";
    Debug_Memory(atlTraceGeneral, eTL_Main, rgBytes, 16, nullptr);
    EXPECT_EQ(Dumped(), (Texts{sHeading + " (16 bytes)\n", sFullRow}));
    Debug_Memory(atlTraceGeneral, eTL_Main, rgBytes, 17, nullptr);
    EXPECT_EQ(Dumped(),
              (Texts{sHeading + " (17 bytes)\n", sFullRow, "  0010: 00" + std::string(46, ' ') + "|.|\n"}));
}

TEST_F(FormatDump, BitmapHeader)
{
    BITMAPINFOHEADER header = UyvyHeader();
    const std::string sFirst =
        "p: BITMAPINFOHEADER:size=40, w=720, h=576, planes=1, bits=16, compress=UYVY, sizeImg=829440\n";
    Debug_BitmapInfoHeader(atlTraceGeneral, eTL_Main, &header, L"p: ");
    EXPECT_EQ(Dumped(), Texts{sFirst});

    struct
    {
        LONG nX, nY;
        DWORD nUsed, nImportant;
        const char* pszSecond;
    } const rgRows[] = {
        {1, 0, 0, 0, "p: XPels=1, YPels=0\n"},
        {0, -1, 0, 0, "p: XPels=0, YPels=-1\n"},
        {0, 0, 0xFFFFFFFE, 0, "p: ClrUsed=4294967294, ClrImp=0\n"},
        {0, 0, 0, 0xFFFFFFFF, "p: ClrUsed=0, ClrImp=4294967295\n"},
        {3780, 3780, 256, 256, "p: XPels=3780, YPels=3780, ClrUsed=256, ClrImp=256\n"},
    };
    for (const auto& row : rgRows)
    {
        header.biXPelsPerMeter = row.nX;
        header.biYPelsPerMeter = row.nY;
        header.biClrUsed = row.nUsed;
        header.biClrImportant = row.nImportant;
        Debug_BitmapInfoHeader(atlTraceGeneral, eTL_Main, &header, L"p: ");
        EXPECT_EQ(Dumped(), (Texts{sFirst, row.pszSecond}));
    }
}

TEST_F(FormatDump, BitmapHeaderWithoutPrefixAndAtTheEdges)
{
    BITMAPINFOHEADER header;
    memset(&header, 0xFF, sizeof(header));
    const Texts expected = {"BITMAPINFOHEADER:size=-1, w=-1, h=-1, planes=65535, bits=65535, "
                            "compress=0xFFFFFFFF, sizeImg=-1\n",
                            "XPels=-1, YPels=-1, ClrUsed=4294967295, ClrImp=4294967295\n"};
    Debug_BitmapInfoHeader(atlTraceGeneral, eTL_Main, &header, nullptr);
    EXPECT_EQ(Dumped(), expected);
    memset(&header, 0, sizeof(header));
    Debug_BitmapInfoHeader(atlTraceGeneral, eTL_Main, &header, L"");
    EXPECT_EQ(Dumped(),
              Texts{"BITMAPINFOHEADER:size=0, w=0, h=0, planes=0, bits=0, compress=BI_RGB, sizeImg=0\n"});
}

TEST_F(FormatDump, NullPointers)
{
    Debug_BitmapInfoHeader(atlTraceGeneral, eTL_Main, nullptr, L"p: ");
    EXPECT_EQ(Dumped(), Texts{"###Err### p: Debug_BitmapInfoHeader(): Empty header pointer\n"});
    Debug_BitmapInfoHeader(atlTraceGeneral, eTL_Warning, nullptr, nullptr);
    EXPECT_EQ(Dumped(eTL_Warning), Texts{"###Err### Debug_BitmapInfoHeader(): Empty header pointer\n"});
    Debug_WaveFormatEx(atlTraceGeneral, eTL_Main, nullptr, L"p: ");
    EXPECT_EQ(Dumped(), Texts{"###Err### Debug_WaveFormatEx() : Empty WAVEFORMATEX pointer\n"});
    Debug_DvInfo(atlTraceGeneral, eTL_Main, nullptr, L"p: ");
    EXPECT_EQ(Dumped(), Texts{"###Err### p: Debug_DvInfo(): Empty DVINFO pointer\n"});
    Debug_DvInfo(atlTraceGeneral, eTL_Main, nullptr, nullptr);
    EXPECT_EQ(Dumped(), Texts{"###Err### Debug_DvInfo(): Empty DVINFO pointer\n"});
}

TEST_F(FormatDump, DvInfo)
{
    const struct DvInfo info = {1, 0xFFFFFFFF, 0x12345678, 0, 0xABCDEF, 5, {6, 0xF0000000}};
    Debug_DvInfo(atlTraceGeneral, eTL_Main, &info, L"p: ");
    EXPECT_EQ(Dumped(), Texts{"p: DVINFO:\n"
                              "\tdwDVAAuxSrc =00000001, dwDVAAuxCtl =FFFFFFFF (1st 5/6 DIF seq)\n"
                              "\tdwDVAAuxSrc1=12345678, dwDVAAuxCtl1=00000000 (2nd 5/6 DIF seq)\n"
                              "\tdwDVVAuxSrc =00ABCDEF, dwDVVAuxCtl =00000005 (Video)\n"
                              "\tdwDVReserved[0]=00000006, dwDVReserved[1]=F0000000\n"});
#ifndef QX_NATIVE
    static_assert(sizeof(DVINFO) == sizeof(struct DvInfo));
#endif
}

/// A WAVEFORMATEX with so many bytes behind it, 0x41 each.
std::vector<BYTE> Wave(WORD cbExtra, size_t cbBehind)
{
    WAVEFORMATEX wave = {};
    wave.wFormatTag = 0xFFFE;
    wave.nChannels = 2;
    wave.nSamplesPerSec = 48000;
    wave.nAvgBytesPerSec = 192000;
    wave.nBlockAlign = 4;
    wave.wBitsPerSample = 16;
    wave.cbSize = cbExtra;
    std::vector<BYTE> block(cbWaveHeader + cbBehind, BYTE{0x41});
    memcpy(block.data(), &wave, cbWaveHeader);
    return block;
}

const WAVEFORMATEX* AsWave(const std::vector<BYTE>& block)
{
    return reinterpret_cast<const WAVEFORMATEX*>(block.data());
}

Texts ExpectedWave(const std::vector<BYTE>& block, int nSize, const std::string& sHeading, size_t cb)
{
    Texts expected = {
        "p: WAVEFORMATEX: Tag=0xFFFE, chan=2, nPerSec=48000, nAvg=192000, align=4, bits=16  size=" +
        std::to_string(nSize) + "\n"};
    if (cb == 0)
        return expected;
    expected.push_back("p: " + sHeading + " Trace from address 0x" + Address(block.data() + cbWaveHeader) +
                       " (" + std::to_string(cb) + " bytes)\n");
    for (size_t n = 0; n < cb; n += 16)
    {
        const size_t cbRow = std::min<size_t>(16, cb - n);
        char szOffset[16];
        snprintf(szOffset, sizeof(szOffset), "%04X", static_cast<unsigned>(n));
        std::string sHex;
        for (size_t i = 0; i < 16; i++)
            sHex += i < cbRow ? "41 " : "   ";
        expected.push_back("  " + std::string(szOffset) + ": " + sHex + "|" + std::string(cbRow, 'A') +
                           "|\n");
    }
    return expected;
}

TEST_F(FormatDump, Wave)
{
    struct
    {
        WORD cbExtra;
        const char* pszHeading;
        size_t cbTraced;
    } const rgRows[] = {
        {0, "", 0},
        {1, "WAVEFORMATEX extra bytes:", 1},
        {22, "WAVEFORMATEX extra bytes:", 22},
        {1023, "WAVEFORMATEX extra bytes:", 1023},
        {1024, "WAVEFORMATEX extra bytes:", 1024},
        {1025, "WAVEFORMATEX first 1024 extra bytes:", 1024},
        {65535, "WAVEFORMATEX first 1024 extra bytes:", 1024},
    };
    for (const auto& row : rgRows)
    {
        const std::vector<BYTE> block = Wave(row.cbExtra, row.cbExtra);
        Debug_WaveFormatEx(atlTraceGeneral, eTL_Main, AsWave(block), L"p: ");
        EXPECT_EQ(Dumped(), ExpectedWave(block, row.cbExtra, row.pszHeading, row.cbTraced)) << row.cbExtra;
    }
}

TEST_F(FormatDump, WaveAtTheEdges)
{
    WAVEFORMATEX wave;
    memset(&wave, 0xFF, sizeof(wave));
    wave.cbSize = 0;
    Debug_WaveFormatEx(atlTraceGeneral, eTL_Main, &wave, nullptr);
    EXPECT_EQ(Dumped(), Texts{"WAVEFORMATEX: Tag=0xFFFF, chan=65535, nPerSec=-1, nAvg=-1, align=65535, "
                              "bits=65535  size=0\n"});
}

TEST_F(FormatDump, WaveThatLiesAboutItsSize)
{
    // The block ends before the extra bytes that it promises.
    const std::vector<BYTE> block = Wave(65535, 3);
    Debug_WaveFormatEx(atlTraceGeneral, eTL_Main, AsWave(block), L"p: ", block.size());
    EXPECT_EQ(Dumped(), ExpectedWave(block, 65535, "WAVEFORMATEX extra bytes:", 3));
    const std::vector<BYTE> header = Wave(100, 0);
    Debug_WaveFormatEx(atlTraceGeneral, eTL_Main, AsWave(header), L"p: ", header.size());
    EXPECT_EQ(Dumped(), ExpectedWave(header, 100, "", 0));
    // Plain PCM without a size field.
    std::vector<BYTE> pcm = Wave(100, 0);
    pcm.resize(16);
    pcm.shrink_to_fit();
    Debug_WaveFormatEx(atlTraceGeneral, eTL_Main, AsWave(pcm), L"p: ", pcm.size());
    EXPECT_EQ(Dumped(), ExpectedWave(pcm, 0, "", 0));
    // The size is a lie that hides bytes: those are nobody's.
    const std::vector<BYTE> more = Wave(2, 30);
    Debug_WaveFormatEx(atlTraceGeneral, eTL_Main, AsWave(more), L"p: ", more.size());
    EXPECT_EQ(Dumped(), ExpectedWave(more, 2, "WAVEFORMATEX extra bytes:", 2));
}

TEST_F(FormatDump, ALongPrefixIsCut)
{
    const std::wstring::value_type ch = L'p';
    std::vector<wchar_t> prefix(3000, ch);
    prefix.push_back(0);
    const BITMAPINFOHEADER header = UyvyHeader();
    Debug_BitmapInfoHeader(atlTraceGeneral, eTL_Main, &header, prefix.data());
    EXPECT_EQ(Dumped(),
              Texts{std::string(511, 'p') + "size=40, w=720, h=576, planes=1, bits=16, compress=UYVY, "
                                            "sizeImg=829440\n"});
}

TEST_F(FormatDump, NothingIsWrittenAboveLevelEightOrWithoutACategory)
{
    const BITMAPINFOHEADER header = UyvyHeader();
    const std::vector<BYTE> wave = Wave(4, 4);
    const struct DvInfo info = {};
    struct
    {
        DWORD_PTR dwCategory;
        UINT nLevel;
    } const rgRows[] = {
        {atlTraceGeneral, 9}, {atlTraceGeneral, eTL_Frame}, {atlTraceCOM, eTL_Call}, {0, eTL_Main}};
    for (const auto& row : rgRows)
    {
        for (const bool bNull : {false, true})
        {
            Debug_BitmapInfoHeader(row.dwCategory, row.nLevel, bNull ? nullptr : &header, L"p: ");
            Debug_WaveFormatEx(row.dwCategory, row.nLevel, bNull ? nullptr : AsWave(wave), L"p: ");
            Debug_DvInfo(row.dwCategory, row.nLevel, bNull ? nullptr : &info, L"p: ");
            Debug_Memory(row.dwCategory, row.nLevel, bNull ? nullptr : &header, sizeof(header), L"p: ");
        }
    }
    ExpectSilence();
}

} // namespace
