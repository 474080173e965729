// Entry points that are neither copy nor resizing.
#include "ImageTest.h"

#include <climits>

namespace
{

TEST(EntryPoints, CheckProps)
{
    for (const DWORD fccType : arrUsableFormats)
    {
        const PicProps pic = {fccType, 16, 8, 0};
        EXPECT_TRUE(Img_CheckProps(&pic, true)) << Str(pic);
        const bool bSixteen = fccType == FOURCC_RGB565 || fccType == FOURCC_RGB555;
        EXPECT_EQ(Img_CheckProps(&pic, false), !bSixteen) << Str(pic);
        const PicProps picShort = {fccType, 16, 8, 14};
        EXPECT_FALSE(Img_CheckProps(&picShort, true)) << Str(pic);
    }
    for (const DWORD fccType : arrRefusedFormats)
    {
        const PicProps pic = {fccType, 16, 8, 0};
        EXPECT_FALSE(Img_CheckProps(&pic, true)) << Str(pic);
        EXPECT_FALSE(Img_CheckProps(&pic, false)) << Str(pic);
    }
    const PicProps picOdd = {FOURCC_UYVY, 15, 8, 0};
    EXPECT_FALSE(Img_CheckProps(&picOdd, true));

    AssertCapture asserts;
    EXPECT_FALSE(Img_CheckProps(nullptr, true));
    EXPECT_EQ(asserts.Texts(), Texts{"_pProps != NULL"});
}

TEST(EntryPoints, BufferSize)
{
    constexpr struct
    {
        PicProps picInput, picOutput;
        size_t cb;
    } arrSizes[] = {
        {{FOURCC_RGB24, 720, 576, 0}, {FOURCC_YUY2, 720, 576, 0}, size_t{576} * 720 * 8},
        {{FOURCC_RGB24, 721, 10, 0}, {FOURCC_YUY2, 720, -20, 0}, size_t{20} * 728 * 8},
        {{FOURCC_RGB24, 721, -30, 730}, {FOURCC_YUY2, 720, 20, 0}, size_t{30} * 736 * 8},
        {{FOURCC_RGB24, 10, 1, 0}, {FOURCC_YUY2, 20, 1, 40}, size_t{1} * 40 * 8},
        {{FOURCC_RGB24, 1, 1, 0}, {FOURCC_YUY2, 1, 1, 0}, size_t{64}},
        // The number is not cut to 32 bits, so what is allocated by it is large enough.
        {{FOURCC_RGB24, 30000, 30000, 0}, {FOURCC_RGB24, 30000, 30000, 0}, size_t{7200000000}},
        {{FOURCC_RGB24, 1, INT_MIN, 0}, {FOURCC_RGB24, 1, 1, 0}, size_t{0x80000000} * 64},
    };
    for (const auto& size : arrSizes)
    {
        SCOPED_TRACE(Str(size.picInput));
        EXPECT_EQ(Img_GetBufferSize(&size.picInput, &size.picOutput), size.cb);
        EXPECT_EQ(Img_GetBufferSize(&size.picOutput, &size.picInput), size.cb);
        EXPECT_EQ(Img_GetBufferSizeEx(&size.picInput, &size.picOutput), size.cb * 2);
    }
    const PicProps picNone = {FOURCC_RGB24, -5, 4, 0};
    EXPECT_EQ(Img_GetBufferSize(&picNone, &picNone), 0u);
    const PicProps picMost = {FOURCC_RGB24, INT_MAX, INT_MIN, 0};
    EXPECT_EQ(Img_GetBufferSize(&picMost, &picMost), SIZE_MAX);
    EXPECT_EQ(Img_GetBufferSizeEx(&picMost, &picMost), SIZE_MAX);
}

TEST(EntryPoints, BufferSizeOfNull)
{
    const PicProps pic = {FOURCC_RGB24, 16, 8, 0};
    AssertCapture asserts;
    EXPECT_EQ(Img_GetBufferSize(nullptr, &pic), 0x80070057u);
    EXPECT_EQ(Img_GetBufferSize(&pic, nullptr), 0x80070057u);
    EXPECT_EQ(Img_GetBufferSizeEx(nullptr, &pic), 0x80070057u);
    EXPECT_EQ(Img_GetBufferSizeEx(&pic, nullptr), 0x80070057u);
    EXPECT_EQ(asserts.Texts(), Texts(4, "pInputProps && pOutputProps"));
}

TEST(EntryPoints, ProcessorCodeTakesTheHighestAbility)
{
    constexpr struct
    {
        DWORD dwEcx, dwEdx;
        int nCode;
    } arrCodes[] = {
        {1u << 20, 0, 0x45},
        {1u << 19, 0, 0x44},
        {1u << 9, 0, 0x43},
        {1, 0, 0x42},
        {0, 1u << 26, 0x41},
        {0, 1u << 25, 0x40},
        {0, 0, 0},
        {0xFFFFFFFF, 0xFFFFFFFF, 0x45},
        {0xFFEFFFFF, 0, 0x44},
        {0xFFE7FFFF, 0, 0x43},
        {0xFFE7FDFF, 0, 0x42},
        {0xFFE7FDFE, 0xFFFFFFFF, 0x41},
        {0xFFE7FDFE, 0xFBFFFFFF, 0x40},
        {0xFFE7FDFE, 0xF9FFFFFF, 0},
    };
    for (const auto& code : arrCodes)
        EXPECT_EQ(ProcessorCode(code.dwEcx, code.dwEdx), code.nCode)
            << std::hex << code.dwEcx << " " << code.dwEdx;
}

TEST(EntryPoints, InitConverterTracesWhatItDetects)
{
    LogCapture log;
    const int nFirst = Img_InitConverter(7);
    const int nSecond = Img_InitConverter(-1);
    EXPECT_EQ(nFirst, nSecond);
    EXPECT_GE(nFirst, 0x41); // every 64-bit x86 processor has SSE2
    EXPECT_LE(nFirst, 0x45);
    const std::string sDetected = "[CPU Type] (Img_InitConverter) IPP Detect:" + std::to_string(nFirst);
    EXPECT_EQ(log.Texts(2), (Texts{sDetected + ", Use:7\n", sDetected + ", Use:-1\n"}));
}

TEST(EntryPoints, ConvertChecksItsArguments)
{
    BYTE arrInput[64] = {};
    BYTE arrOutput[64] = {};
    const PicProps pic = {FOURCC_RGB32, 4, 4, 0};
    AssertCapture asserts;
    EXPECT_EQ(Img_Convert(arrInput, arrOutput, nullptr, &pic, nullptr, nullptr, true, nullptr), E_INVALIDARG);
    EXPECT_EQ(Img_Convert(arrInput, arrOutput, &pic, nullptr, nullptr, nullptr, true, nullptr), E_INVALIDARG);
    EXPECT_EQ(Img_Convert(nullptr, arrOutput, &pic, &pic, nullptr, nullptr, true, nullptr), E_INVALIDARG);
    EXPECT_EQ(Img_Convert(arrInput, nullptr, &pic, &pic, nullptr, nullptr, true, nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), (Texts{"_pInputProps && _pOutputProps", "_pInputProps && _pOutputProps",
                                      "_pbInput && _pbOutput", "_pbInput && _pbOutput"}));
    asserts.Clear();
    EXPECT_EQ(Img_Convert(arrInput, arrOutput, &pic, &pic, nullptr, nullptr, true, nullptr), S_OK);
    EXPECT_EQ(asserts.Texts(), Texts{});
}

TEST(EntryPoints, FillChecksItsArguments)
{
    BYTE arrOutput[64] = {};
    const PicProps pic = {FOURCC_RGB32, 4, 4, 0};
    AssertCapture asserts;
    EXPECT_EQ(Img_Fill(nullptr, &pic, 0, nullptr, 255, -1), E_INVALIDARG);
    EXPECT_EQ(Img_Fill(arrOutput, nullptr, 0, nullptr, 255, -1), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), (Texts{"_pbOutput != NULL", "_pOutputProps != NULL"}));
    asserts.Clear();
    EXPECT_EQ(Img_Fill(arrOutput, &pic, 0xFFFFFFFF, nullptr, 255, -1), S_OK);
    EXPECT_EQ(asserts.Texts(), Texts{});
    EXPECT_EQ(arrOutput[0], 0xFF);
}

} // namespace
