// Frames of 4 GiB or more: their size in 32 bits says nothing, so every entry point that works on pixels
// refuses them, and touches nothing.
#include "ImageTest.h"
#include "support/GuardedPages.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>

namespace
{

struct HugeFrame
{
    PicProps pic;
    DWORD cbCut; ///< what GetPicSize keeps
};

constexpr HugeFrame arrHuge[] = {
    {{FOURCC_RGB32, 0x8000, 0x8000, 0}, 0},
    {{FOURCC_RGB32, 0x8000, -0x8000, 0x8000}, 0},
    {{FOURCC_ARGB32, 2, 0x20000002, 0}, 16},
    {{FOURCC_RGB24, 0x4000, 0x15556, 0}, 0x8000},
    {{FOURCC_RGB565, 0x10000, 0x8000, 0}, 0},
    {{FOURCC_RGB555, 6, 0x15555556, 8}, 0x55555560},
    {{FOURCC_RGB8, 14, 0x10000000, 14}, 0},                  // only with its padding
    {{FOURCC_RGB8, 0x10000000, 17, 0x10000000}, 0x10000000}, // a field has one row less
    {{FOURCC_YUY2, 0x10000, 0x8001, 0}, 0x20000},
    {{FOURCC_UYVY, 2, 0x40000001, 0}, 4},
    {{FOURCC_HDYC, 4, INT_MIN, 0}, 0},
    {{FOURCC_YVYU, 4, 0x20000000, 4}, 0},
    {{FOURCC_I420, 0x10000, 0xAAAB, 0}, 0x8000},
    {{FOURCC_YV12, 2, INT_MIN, 2}, 0x80000000},
    {{FOURCC_RGB32, INT_MAX, INT_MIN, 0}, 0},
};

/// A call of one entry point with a frame as its input, its output or both.
struct HugeCall
{
    const char* pszName;
    std::function<HRESULT(BYTE* pbInput, const PicProps& picInput, BYTE* pbOutput, const PicProps& picOutput)>
        fnCall;
    bool bInputOnly = false;
    bool bOutputOnly = false;
};

const std::vector<HugeCall>& Calls()
{
    static BYTE arrTemp[64];
    static DWORD arrKey[2];
    static POINT pt;
    static PicProps picGraph;
    static const std::vector<HugeCall> calls = {
        {"Img_Copy", [](BYTE* pbIn, const PicProps& in, BYTE* pbOut, const PicProps& out)
         { return Img_Copy(pbIn, pbOut, &in, &out, nullptr, nullptr); }},
        {"Img_Convert", [](BYTE* pbIn, const PicProps& in, BYTE* pbOut, const PicProps& out)
         { return Img_Convert(pbIn, pbOut, &in, &out, nullptr, nullptr, true, nullptr); }},
        {"Img_Convert in place", [](BYTE* pbIn, const PicProps& in, BYTE* pbOut, const PicProps& out)
         { return Img_Convert(pbIn, pbOut, &in, &out, nullptr, nullptr, false, arrTemp); }},
        {"Img_ConvertResize", [](BYTE* pbIn, const PicProps& in, BYTE* pbOut, const PicProps& out)
         { return Img_ConvertResize(pbIn, pbOut, &in, &out, nullptr, nullptr, false, 1, nullptr, 0); }},
        {"Img_ConvertResize of fields", [](BYTE* pbIn, const PicProps& in, BYTE* pbOut, const PicProps& out)
         { return Img_ConvertResize(pbIn, pbOut, &in, &out, nullptr, nullptr, true, 1, nullptr, 9); }},
        {"Img_ResizeFrame", [](BYTE* pbIn, const PicProps& in, BYTE* pbOut, const PicProps& out)
         { return Img_ResizeFrame(pbIn, pbOut, &in, &out, nullptr, nullptr, 0x22, nullptr, 0); }},
        {"Img_ResizeFields", [](BYTE* pbIn, const PicProps& in, BYTE* pbOut, const PicProps& out)
         { return Img_ResizeFields(pbIn, pbOut, &in, &out, nullptr, nullptr, 1, nullptr, 0, -1); }},
        {"Img_ResizeFields of the second",
         [](BYTE* pbIn, const PicProps& in, BYTE* pbOut, const PicProps& out)
         { return Img_ResizeFields(pbIn, pbOut, &in, &out, nullptr, nullptr, 1, nullptr, 0, 1); }},
        {"Img_MixAlpha", [](BYTE* pbIn, const PicProps& in, BYTE* pbOut, const PicProps& out)
         { return Img_MixAlpha(pbIn, pbIn, pbOut, &in, &out, nullptr, nullptr, -1); }},
        {"Img_MixAlpha of a field", [](BYTE* pbIn, const PicProps& in, BYTE* pbOut, const PicProps& out)
         { return Img_MixAlpha(pbIn, pbIn, pbOut, &in, &out, nullptr, nullptr, 1); }},
        {"Img_MixPicture", [](BYTE* pbIn, const PicProps& in, BYTE* pbOut, const PicProps& out)
         { return Img_MixPicture(pbIn, pbIn, pbOut, 100, &in, &out, false, nullptr, nullptr, -1); }},
        {"Img_MixPicture of a field", [](BYTE* pbIn, const PicProps& in, BYTE* pbOut, const PicProps& out)
         { return Img_MixPicture(pbIn, pbIn, pbOut, -1, &in, &out, true, nullptr, nullptr, 0); }},
        {"Img_Blend", [](BYTE* pbIn, const PicProps& in, BYTE* pbOut, const PicProps& out)
         { return Img_Blend(pbIn, pbOut, 100, 100, &in, &out, nullptr, nullptr); }},
        {"Img_Fill",
         [](BYTE*, const PicProps&, BYTE* pbOut, const PicProps& out)
         { return Img_Fill(pbOut, &out, 0, nullptr, 255, -1); },
         false, true},
        {"Img_Fill of a field",
         [](BYTE*, const PicProps&, BYTE* pbOut, const PicProps& out)
         { return Img_Fill(pbOut, &out, 0, nullptr, 255, 0); },
         false, true},
        {"Img_DrawFrame",
         [](BYTE*, const PicProps&, BYTE* pbOut, const PicProps& out)
         { return Img_DrawFrame(pbOut, &out, 0, 1, nullptr, 255, 15); },
         false, true},
        {"Img_GetChromaKey",
         [](BYTE* pbIn, const PicProps& in, BYTE*, const PicProps&)
         { return Img_GetChromaKey(pbIn, &in, eIK_RGB, arrKey, nullptr); },
         true},
        {"Img_CalcKey",
         [](BYTE* pbIn, const PicProps& in, BYTE*, const PicProps&)
         { return Img_CalcKey(pbIn, &in, 1, &pt, 0, nullptr, eIK_RGB, arrKey); },
         true},
        {"Img_GetImageGraph",
         [](BYTE* pbIn, const PicProps& in, BYTE* pbOut, const PicProps&)
         { return Img_GetImageGraph(pbIn, &in, 1, pbOut, &picGraph); },
         true},
    };
    return calls;
}

TEST(HugeFrames, EveryEntryPointRefuses)
{
    GuardedPages pagesHuge;
    GuardedPages pagesSmall;
    for (const HugeFrame& huge : arrHuge)
    {
        EXPECT_EQ(GetPicSize(&huge.pic), huge.cbCut) << Str(huge.pic);
        // What a caller has who takes the cut size for the size; its last bytes where that is a lot.
        BYTE* const pbHuge = pagesHuge.Place(std::min<size_t>(huge.cbCut, 0x10000), GuardedPages::AtEnd);
        const PicProps picSmall = {huge.pic.fccType, 4, 4, 4};
        BYTE* const pbSmall = pagesSmall.Place(GetPicSize(&picSmall), GuardedPages::AtEnd);
        std::memset(pbSmall, 0x11, GetPicSize(&picSmall));
        for (const HugeCall& call : Calls())
        {
            SCOPED_TRACE(std::string(call.pszName) + " " + Str(huge.pic));
            if (!call.bOutputOnly)
            {
                EXPECT_EQ(call.fnCall(pbHuge, huge.pic, pbSmall, picSmall), E_INVALIDARG);
            }
            if (!call.bInputOnly)
            {
                EXPECT_EQ(call.fnCall(pbSmall, picSmall, pbHuge, huge.pic), E_INVALIDARG);
            }
            if (!call.bInputOnly && !call.bOutputOnly)
            {
                EXPECT_EQ(call.fnCall(pbHuge, huge.pic, pbHuge, huge.pic), E_INVALIDARG);
            }
        }
        const std::vector<BYTE> before(GetPicSize(&picSmall), 0x11);
        EXPECT_EQ(std::vector<BYTE>(pbSmall, pbSmall + before.size()), before);
        EXPECT_TRUE(pagesHuge.IsWhole() && pagesSmall.IsWhole());
    }
}

TEST(HugeFrames, QueriesThatTouchNoPixelAnswer)
{
    for (const HugeFrame& huge : arrHuge)
    {
        SCOPED_TRACE(Str(huge.pic));
        EXPECT_TRUE(IsPicTooLarge(huge.pic));
        DWORD arrShift[3] = {7, 7, 7};
        DWORD arrStep[3] = {7, 7, 7};
        EXPECT_FALSE(GetPicPlanes(&huge.pic, arrShift, arrStep, nullptr, false));
        EXPECT_EQ(arrStep[0], 7u);
        EXPECT_TRUE(Img_CheckProps(&huge.pic, true));
        RECT rcSrc = {};
        RECT rcDst = {};
        const HRESULT hr = Img_GetRects(&huge.pic, &huge.pic, &rcSrc, &rcDst, false, nullptr, nullptr);
        EXPECT_TRUE(hr == S_OK);
        EXPECT_GE(Img_GetBufferSize(&huge.pic, &huge.pic), size_t{0xFFFFFFFF});
    }
}

struct FrameSize
{
    PicProps pic;
    uint64_t cbFrame;
    bool bSample; ///< a sample can hold it
};

TEST(FrameSizes, ExactAndWhetherASampleHoldsThem)
{
    constexpr FrameSize arrSizes[] = {
        {{FOURCC_UYVY, 720, 576, 0}, 829440, true},
        {{FOURCC_UYVY, 40000, 40000, 0}, 3200000000, false},
        {{FOURCC_RGB32, 30000, -30000, 30000}, 3600000000, false},
        {{FOURCC_RGB32, 32768, 32768, 0}, 0x100000000, false},
        {{FOURCC_RGB8, 0x7FFFFFFC, 1, 0}, 0x7FFFFFFC, true},
        {{FOURCC_RGB8, 0x7FFFFFFD, 1, 0}, 0x80000000, false}, // with its padding
        {{FOURCC_RGB32, 1, 0x1FFFFFFF, 0}, 0x7FFFFFFC, true},
        {{FOURCC_RGB32, 1, 0x20000000, 0}, 0x80000000, false},
        {{FOURCC_RGB32, 1, 0x10000000, 2}, 0x80000000, false}, // the row counts, not the width
        {{FOURCC_I420, 2, 0x2AAAAAAA, 0}, 0x7FFFFFFE, true},
        {{FOURCC_NV12, 2, 0x1FFFFFFF, 0}, 0x7FFFFFFC, true}, // at 16 bits a pixel
        {{FOURCC_NV12, 2, 0x20000000, 0}, 0x80000000, false},
        {{FOURCC_v210, 2, 0xFFFFFF, 0}, 0x7FFFFF80, true}, // blocks of 128 bytes
        {{FOURCC_v210, 2, 0x1000000, 0}, 0x80000000, false},
        {{FOURCC_v210, 6, 16800000, 6}, 2150400000, false},
        {{FOURCC_r210, 1, 0x7FFFFF, 0}, 0x7FFFFF00, true}, // blocks of 256 bytes
        {{FOURCC_r210, 1, 0x800000, 0}, 0x80000000, false},
        {{FOURCC_RGB32, 1, INT_MIN, 0}, 0x200000000, false},
        {{FOURCC_RGB32, INT_MAX, INT_MIN, 0}, 0xFFFFFFFE00000000, false},
        {{FOURCC_r210, INT_MAX, INT_MIN, 0}, UINT64_MAX, false}, // 2^64, which 64 bits do not hold
        {{FOURCC_RGB32, -8, 4, 0}, 0, false},
        {{FOURCC_RGB32, 8, 4, INT_MIN}, 0, false},
        {{FOURCC_RGB32, 8, 0, 0}, 0, true},
        {{0x31313131, 8, INT_MIN, 0}, 0, true}, // an unknown format
    };
    for (const FrameSize& size : arrSizes)
    {
        SCOPED_TRACE(Str(size.pic));
        EXPECT_EQ(FrameBytes(size.pic), size.cbFrame);
        EXPECT_EQ(GetPicSize(&size.pic), static_cast<DWORD>(size.cbFrame));
        EXPECT_EQ(FitsSample(size.pic), size.bSample);
        EXPECT_EQ(SampleBytes(size.pic), size.bSample ? static_cast<LONG>(size.cbFrame) : 0);
    }
}

/// The largest frames that an offset reaches all of.
TEST(HugeFrames, OneByteLessIsTaken)
{
    constexpr HugeFrame arrLargest[] = {
        {{FOURCC_RGB32, 0x8000, 0x7FFF, 0}, 0xFFFE0000}, {{FOURCC_RGB32, 1, 0x3FFFFFFF, 0}, 0xFFFFFFFC},
        {{FOURCC_UYVY, 2, 0x3FFFFFFF, 0}, 0xFFFFFFFC},   {{FOURCC_RGB8, 14, 0x0FFFFFFF, 14}, 0xFFFFFFF0},
        {{FOURCC_I420, 2, 0x55555555, 0}, 0xFFFFFFFF},
    };
    for (const HugeFrame& largest : arrLargest)
    {
        DWORD arrShift[3] = {};
        DWORD arrStep[3] = {};
        EXPECT_FALSE(IsPicTooLarge(largest.pic)) << Str(largest.pic);
        EXPECT_TRUE(GetPicPlanes(&largest.pic, arrShift, arrStep, nullptr, false)) << Str(largest.pic);
        EXPECT_EQ(GetPicSize(&largest.pic), largest.cbCut) << Str(largest.pic);
    }
}

} // namespace
