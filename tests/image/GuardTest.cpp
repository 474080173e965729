// Every entry point with every buffer between forbidden pages: no byte is read or written beside a buffer,
// and what comes out is what comes out in memory with room on both sides, so that nothing there has a say.
#include "ImageTest.h"
#include "asm/Cpu.h"
#include "support/GuardedPages.h"

#include <algorithm>
#include <cstring>
#include <tuple>

namespace
{

constexpr LONG arrOrders[] = {1, -1};

/// The buffers of a call; null where it has none.
struct CallBuffers
{
    BYTE* pbInput;
    BYTE* pbAlpha;
    BYTE* pbOutput;
    BYTE* pTemp;
};

/// Their sizes; 0 stands for none.
struct CallSizes
{
    size_t cbInput = 0;
    size_t cbAlpha = 0;
    size_t cbOutput = 0;
    size_t cbTemp = 0;
};

using GuardParam = std::tuple<GuardedPages::eSide, eCPU>;

class Guard : public testing::TestWithParam<GuardParam>
{
protected:
    static constexpr int nBuffers = 4;
    static constexpr size_t cbMargin = 1024;

    /// Makes a call twice, with buffers of the same content: between pages, and with room around.
    /// \return null, or what was wrong
    template <class TCall>
    const char* Run(const CallSizes& sizes, const TCall& call)
    {
        const size_t arrSize[nBuffers] = {sizes.cbInput, sizes.cbAlpha, sizes.cbOutput, sizes.cbTemp};
        BYTE* arrGuarded[nBuffers];
        BYTE* arrRoomy[nBuffers];
        for (int i = 0; i < nBuffers; i++)
        {
            arrGuarded[i] = arrSize[i] ? m_arrPages[i].Place(arrSize[i], std::get<0>(GetParam())) : nullptr;
            m_arrRoom[i].assign(arrSize[i] + 2 * cbMargin, nAround);
            arrRoomy[i] = arrSize[i] ? m_arrRoom[i].data() + cbMargin : nullptr;
            if (!arrSize[i])
                continue;
            Fill(arrRoomy[i], arrSize[i], static_cast<size_t>(i));
            std::memcpy(arrGuarded[i], arrRoomy[i], arrSize[i]);
        }
        m_hr = call(CallBuffers{arrGuarded[0], arrGuarded[1], arrGuarded[2], arrGuarded[3]});
        if (call(CallBuffers{arrRoomy[0], arrRoomy[1], arrRoomy[2], arrRoomy[3]}) != m_hr)
            return "another result where there is room around the buffers";
        for (int i = 0; i < nBuffers; i++)
        {
            if (!m_arrPages[i].IsWhole())
                return "a byte beside a buffer was written";
            if (!IsAround(m_arrRoom[i].data()) || !IsAround(m_arrRoom[i].data() + cbMargin + arrSize[i]))
                return "a byte far beside a buffer was written";
            const bool bTemp = i == 3; // its content is nobody's business
            if (!bTemp && arrSize[i] && std::memcmp(arrGuarded[i], arrRoomy[i], arrSize[i]) != 0)
                return "other bytes where there is room around the buffers";
        }
        return nullptr;
    }

    HRESULT m_hr = S_OK;

private:
    static constexpr BYTE nAround = 0xC5;

    /// Bytes that differ from their neighbours, others in each buffer.
    static void Fill(BYTE* pb, size_t cb, size_t nBuffer)
    {
        static const std::vector<BYTE> pattern = []
        {
            std::vector<BYTE> bytes(0x4000);
            for (size_t n = 0; n < bytes.size(); n++)
                bytes[n] = static_cast<BYTE>((n * 89 + n / 7 * 31) % 253);
            return bytes;
        }();
        const size_t nFrom = nBuffer * 57;
        for (size_t n = 0; n < cb; n += pattern.size() - nFrom)
            std::memcpy(pb + n, pattern.data() + nFrom, std::min(cb - n, pattern.size() - nFrom));
    }

    static bool IsAround(const BYTE* pb)
    {
        static const std::vector<BYTE> around(cbMargin, nAround);
        return std::memcmp(pb, around.data(), cbMargin) == 0;
    }

    CCpuLimit m_limit{std::get<1>(GetParam())};
    GuardedPages m_arrPages[nBuffers];
    std::vector<BYTE> m_arrRoom[nBuffers];
};

std::string ParamName(const testing::TestParamInfo<GuardParam>& info)
{
    constexpr const char* arrLevels[eCPU_Count] = {"Scalar", "SSE41", "AVX2"};
    const bool bEnd = std::get<0>(info.param) == GuardedPages::AtEnd;
    return std::string(bEnd ? "AtEnd" : "AtStart") + arrLevels[std::get<1>(info.param)];
}

INSTANTIATE_TEST_SUITE_P(All, Guard,
                         testing::Combine(testing::Values(GuardedPages::AtEnd, GuardedPages::AtStart),
                                          testing::Values(eCPU_Scalar, eCPU_SSE41, eCPU_AVX2)),
                         ParamName);

/// Calls fnPicture(pic) for widths that are odd or leave a tail, in both row orders, with and without
/// padding.
template <class TFunction>
void ForEachPicture(DWORD fccType, const TFunction& fnPicture)
{
    const LONG nUnit = IsRGBFormat(fccType) ? 1 : 2;
    constexpr LONG arrUnits[] = {1, 2, 3, 5, 8, 13, 17, 33, 70};
    constexpr LONG arrHeights[] = {1, 2, 3, 6};
    for (const LONG nUnits : arrUnits)
    {
        const LONG nWidth = nUnits * nUnit;
        for (const LONG nHeight : arrHeights)
        {
            for (const LONG nOrder : arrOrders)
            {
                for (const LONG nRowWidth : {LONG{0}, nWidth, nWidth + 3 * nUnit})
                    fnPicture(PicProps{fccType, nWidth, nHeight * nOrder, nRowWidth});
            }
        }
    }
}

TEST_P(Guard, Conversions)
{
    AssertCapture asserts; // the refused pairs assert
    for (const DWORD fccInput : arrUsableFormats)
    {
        for (const DWORD fccOutput : arrUsableFormats)
        {
            ForEachPicture(
                fccInput,
                [&](const PicProps& picInput)
                {
                    if ((!IsRGBFormat(fccOutput) && picInput.nWidth % 2 != 0) || HasFailure())
                        return;
                    // The last bit of the width chooses among the rest, which all widths together walk
                    // through.
                    const bool bTemp = picInput.nWidth % 4 < 2;
                    const bool bToBuffer = picInput.nHeight % 3 != 0;
                    for (const LONG nOrder : arrOrders)
                    {
                        const LONG nHeight = nOrder * static_cast<LONG>(AbsHeight(picInput.nHeight));
                        const PicProps picOutput = {
                            fccOutput, picInput.nWidth, nHeight,
                            picInput.nRowWidth == picInput.nWidth ? picInput.nWidth + 2 : 0};
                        const CallSizes sizes = {GetPicSize(&picInput), 0, GetPicSize(&picOutput),
                                                 bTemp ? Img_GetBufferSize(&picInput, &picOutput) : 0};
                        const char* const pszWrong = Run(
                            sizes,
                            [&](const CallBuffers& buffers)
                            {
                                return Img_Convert(buffers.pbInput, buffers.pbOutput, &picInput, &picOutput,
                                                   nullptr, nullptr, bToBuffer, buffers.pTemp);
                            });
                        ASSERT_EQ(pszWrong, nullptr)
                            << pszWrong << ": " << Str(picInput) << " to " << Str(picOutput);
                        const bool bPair = FAILED(m_hr) && m_hr != E_NOTIMPL;
                        ASSERT_TRUE(!bPair || (static_cast<DWORD>(m_hr) & 0xFFFFFFF0) == 0xFFFFFFF0 ||
                                    static_cast<DWORD>(m_hr) == 0x80070023)
                            << std::hex << m_hr;
                    }
                });
            asserts.Clear();
        }
    }
}

TEST_P(Guard, Copies)
{
    const RECT rc = {1, 1, 12, 3};
    for (const DWORD fccType : arrUsableFormats)
    {
        ForEachPicture(fccType,
                       [&](const PicProps& picInput)
                       {
                           for (const LONG nOrder : arrOrders)
                           {
                               const PicProps picOutput = {
                                   fccType, picInput.nWidth,
                                   nOrder * static_cast<LONG>(AbsHeight(picInput.nHeight)), 0};
                               const CallSizes sizes = {GetPicSize(&picInput), 0, GetPicSize(&picOutput), 0};
                               for (const RECT* const prc : {static_cast<const RECT*>(nullptr), &rc})
                               {
                                   const char* const pszWrong =
                                       Run(sizes,
                                           [&](const CallBuffers& buffers) {
                                               return Img_Copy(buffers.pbInput, buffers.pbOutput, &picInput,
                                                               &picOutput, prc, prc);
                                           });
                                   ASSERT_EQ(pszWrong, nullptr) << pszWrong << ": " << Str(picInput);
                                   ASSERT_TRUE(m_hr == S_OK || (prc && m_hr == S_FALSE)) << std::hex << m_hr;
                               }
                           }
                       });
    }
}

TEST_P(Guard, FillsAndOutlines)
{
    AssertCapture asserts; // RGB8 has no colour of its own
    const RECT rc = {1, 1, 9, 3};
    for (const DWORD fccType : arrUsableFormats)
    {
        ForEachPicture(fccType,
                       [&](const PicProps& pic)
                       {
                           const CallSizes sizes = {0, 0, GetPicSize(&pic), 0};
                           for (const RECT* const prc : {static_cast<const RECT*>(nullptr), &rc})
                           {
                               for (const int nOpacity : {255, 100})
                               {
                                   for (const int nField : {-1, 0, 1})
                                   {
                                       const char* const pszWrong =
                                           Run(sizes,
                                               [&](const CallBuffers& buffers) {
                                                   return Img_Fill(buffers.pbOutput, &pic, 0x80C04020, prc,
                                                                   nOpacity, nField);
                                               });
                                       ASSERT_EQ(pszWrong, nullptr)
                                           << pszWrong << ": " << Str(pic) << " field " << nField;
                                   }
                                   const char* const pszWrong =
                                       Run(sizes,
                                           [&](const CallBuffers& buffers) {
                                               return Img_DrawFrame(buffers.pbOutput, &pic, 0xC04020, 2, prc,
                                                                    nOpacity, 15);
                                           });
                                   ASSERT_EQ(pszWrong, nullptr) << pszWrong << ": " << Str(pic);
                               }
                           }
                       });
        asserts.Clear();
    }
}

TEST_P(Guard, Mixes)
{
    AssertCapture asserts; // formats of 8 and 16 bits have no blend
    for (const DWORD fccType : arrUsableFormats)
    {
        ForEachPicture(
            fccType,
            [&](const PicProps& picInput)
            {
                if (HasFailure())
                    return;
                const size_t cbPlane = static_cast<size_t>(PicRow(picInput)) * AbsHeight(picInput.nHeight);
                for (const LONG nOrder : arrOrders)
                {
                    const PicProps picOutput = {fccType, picInput.nWidth,
                                                nOrder * static_cast<LONG>(AbsHeight(picInput.nHeight)),
                                                picInput.nRowWidth};
                    const CallSizes sizes = {GetPicSize(&picInput), GetPicSize(&picInput),
                                             GetPicSize(&picOutput), 0};
                    const CallSizes sizesPlane = {sizes.cbInput, cbPlane, sizes.cbOutput, 0};
                    for (const int nField : {-1, 0, 1})
                    {
                        const char* pszWrong =
                            Run(sizes,
                                [&](const CallBuffers& buffers)
                                {
                                    return Img_MixAlpha(buffers.pbInput, buffers.pbAlpha, buffers.pbOutput,
                                                        &picInput, &picOutput, nullptr, nullptr, nField);
                                });
                        ASSERT_EQ(pszWrong, nullptr)
                            << pszWrong << ": " << Str(picInput) << " field " << nField;
                        for (const int nOpacity : {-1, 90})
                        {
                            const bool bMirrorAlpha = nOpacity < 0 ? nOrder > 0 : picInput.nHeight > 0;
                            pszWrong = Run(sizesPlane,
                                           [&](const CallBuffers& buffers)
                                           {
                                               return Img_MixPicture(buffers.pbInput, buffers.pbAlpha,
                                                                     buffers.pbOutput, nOpacity, &picInput,
                                                                     &picOutput, bMirrorAlpha, nullptr,
                                                                     nullptr, nField);
                                           });
                            ASSERT_EQ(pszWrong, nullptr)
                                << pszWrong << ": " << Str(picInput) << " field " << nField;
                        }
                    }
                    const char* const pszWrong =
                        Run(sizes,
                            [&](const CallBuffers& buffers) {
                                return Img_Blend(buffers.pbInput, buffers.pbOutput, 100, 150, &picInput,
                                                 &picOutput, nullptr, nullptr);
                            });
                    ASSERT_EQ(pszWrong, nullptr) << pszWrong << ": " << Str(picInput);
                    ASSERT_EQ(m_hr, S_OK);
                }
            });
        asserts.Clear();
    }
}

/// Both resizers, and the call that converts before; with work memory of the exact size and without.
TEST_P(Guard, Resizes)
{
    constexpr struct
    {
        LONG nInWidth, nInHeight, nOutWidth, nOutHeight;
    } arrSizes[] = {{2, 2, 4, 4},     {4, 4, 2, 2},    {16, 2, 2, 2},  {8, 6, 6, 14},
                    {34, 4, 70, 8},   {70, 8, 34, 4},  {66, 2, 32, 2}, {20, 10, 12, 4},
                    {12, 12, 36, 36}, {130, 6, 64, 6}, {14, 3, 22, 5}, {100, 4, 100, 8}};
    constexpr int arrModes[] = {eIR_Nearest, eIR_Linear, eIR_Cubic, eIR_Super, eIR_RequestBest, 0x23};
    for (const DWORD fccType : arrUsableFormats)
    {
        for (const auto& size : arrSizes)
        {
            for (const LONG nPad : {0, 6})
            {
                for (const LONG nOrder : arrOrders)
                {
                    const LONG nRgb = IsRGBFormat(fccType) ? 1 : 0; // odd widths where they may be
                    const LONG nInWidth = size.nInWidth - nRgb;
                    const LONG nOutWidth = size.nOutWidth - nRgb;
                    const PicProps picInput = {fccType, nInWidth, size.nInHeight, nPad ? nInWidth + nPad : 0};
                    const PicProps picOutput = {fccType, nOutWidth, size.nOutHeight * nOrder,
                                                nPad ? nOutWidth + nPad : 0};
                    for (const int nMode : arrModes)
                    {
                        for (const int nSharp : {0, 20, -20})
                        {
                            const bool bTemp = (nMode + nSharp / 20) % 2 != 0;
                            const CallSizes sizes = {GetPicSize(&picInput), 0, GetPicSize(&picOutput),
                                                     bTemp ? Img_GetBufferSize(&picInput, &picOutput) : 0};
                            const auto message = [&](const char* psz)
                            {
                                return testing::AssertionFailure()
                                       << psz << ": " << Str(picInput) << " to " << Str(picOutput) << " mode "
                                       << nMode << " sharp " << nSharp;
                            };
                            const char* pszWrong =
                                Run(sizes,
                                    [&](const CallBuffers& buffers)
                                    {
                                        return Img_ResizeFrame(buffers.pbInput, buffers.pbOutput, &picInput,
                                                               &picOutput, nullptr, nullptr, nMode,
                                                               buffers.pTemp, nSharp);
                                    });
                            ASSERT_TRUE(pszWrong == nullptr && m_hr == S_OK)
                                << message(pszWrong ? pszWrong : "failed").message();
                            for (const int nField : {-1, 0, 1})
                            {
                                pszWrong =
                                    Run(sizes,
                                        [&](const CallBuffers& buffers)
                                        {
                                            return Img_ResizeFields(buffers.pbInput, buffers.pbOutput,
                                                                    &picInput, &picOutput, nullptr, nullptr,
                                                                    nMode, buffers.pTemp, nSharp, nField);
                                        });
                                ASSERT_EQ(pszWrong, nullptr) << message(pszWrong).message();
                            }
                        }
                    }
                }
            }
        }
    }
}

TEST_P(Guard, ConversionsWithResizing)
{
    AssertCapture asserts; // the refused pairs assert
    constexpr LONG arrSizes[][4] = {
        {2, 2, 4, 4}, {16, 2, 2, 2}, {34, 4, 70, 8}, {70, 8, 34, 4}, {8, 5, 12, 7}};
    for (const DWORD fccInput : arrUsableFormats)
    {
        for (const DWORD fccOutput : arrUsableFormats)
        {
            for (const auto& size : arrSizes)
            {
                for (const LONG nOrder : arrOrders)
                {
                    const PicProps picInput = {fccInput, size[0], size[1] * nOrder, size[0] + 2};
                    const PicProps picOutput = {fccOutput, size[2], size[3], 0};
                    for (const bool bFields : {false, true})
                    {
                        const bool bTemp = nOrder > 0;
                        const CallSizes sizes = {GetPicSize(&picInput), 0, GetPicSize(&picOutput),
                                                 bTemp ? Img_GetBufferSizeEx(&picInput, &picOutput) : 0};
                        const char* const pszWrong =
                            Run(sizes,
                                [&](const CallBuffers& buffers)
                                {
                                    // What a conversion leaves out comes from the caller's memory.
                                    if (buffers.pTemp)
                                        std::memset(buffers.pTemp, 0, sizes.cbTemp);
                                    return Img_ConvertResize(buffers.pbInput, buffers.pbOutput, &picInput,
                                                             &picOutput, nullptr, nullptr, bFields,
                                                             eIR_RequestBest, buffers.pTemp, 0);
                                });
                        ASSERT_EQ(pszWrong, nullptr)
                            << pszWrong << ": " << Str(picInput) << " to " << Str(picOutput);
                    }
                }
            }
            asserts.Clear();
        }
    }
}

TEST_P(Guard, Measurements)
{
    constexpr size_t cbStatistics = 4176;
    for (const DWORD fccType : arrUsableFormats)
    {
        ForEachPicture(
            fccType,
            [&](const PicProps& pic)
            {
                const size_t cbWork =
                    static_cast<size_t>(PicRow(pic)) * AbsHeight(pic.nHeight) * 8 + cbStatistics;
                for (const int nMode : {eIK_RGB, eIK_HLS, eIK_YUV})
                {
                    const CallSizes sizes = {GetPicSize(&pic), 0, 2 * sizeof(DWORD),
                                             pic.nWidth % 2 ? cbWork : 0};
                    const char* pszWrong =
                        Run(sizes,
                            [&](const CallBuffers& buffers)
                            {
                                auto* const pKey = reinterpret_cast<DWORD*>(buffers.pbOutput);
                                return Img_GetChromaKey(buffers.pbInput, &pic, nMode, pKey, buffers.pTemp);
                            });
                    ASSERT_EQ(pszWrong, nullptr) << pszWrong << ": " << Str(pic);
                    // All corners, and the first row as shown, which a bottom-up picture reads behind its
                    // last one.
                    pszWrong =
                        Run(sizes,
                            [&](const CallBuffers& buffers)
                            {
                                POINT arrPoints[] = {{0, 0}, {9999, 0}, {0, 9999}, {9999, 9999}};
                                RECT rc = {-5, -5, 9999, 1};
                                auto* const pKey = reinterpret_cast<DWORD*>(buffers.pbOutput);
                                return Img_CalcKey(buffers.pbInput, &pic, 4, arrPoints, 1, &rc, nMode, pKey);
                            });
                    ASSERT_EQ(pszWrong, nullptr) << pszWrong << ": " << Str(pic);
                }
            });
    }
}

TEST_P(Guard, Graphs)
{
    constexpr size_t cbGraph = 768 * 768 * 4;
    constexpr PicProps arrPictures[] = {
        {FOURCC_RGB32, 5, 3, 7}, {FOURCC_YUY2, 6, 3, 6}, {FOURCC_RGB24, 5, -3, 5}};
    for (const PicProps& pic : arrPictures)
    {
        const CallSizes sizes = {GetPicSize(&pic), 0, cbGraph, 0};
        const char* const pszWrong =
            Run(sizes,
                [&](const CallBuffers& buffers)
                {
                    PicProps picGraph;
                    return Img_GetImageGraph(buffers.pbInput, &pic, 1, buffers.pbOutput, &picGraph);
                });
        ASSERT_EQ(pszWrong, nullptr) << pszWrong << ": " << Str(pic);
        ASSERT_EQ(m_hr, S_OK);
    }
}

/// A fill of 16 bits runs on by its stride: behind the rectangle, but not behind the frame.
TEST_P(Guard, FillOf16BitsEndsWithTheFrame)
{
    for (const DWORD fccType : {FOURCC_RGB565, FOURCC_RGB555})
    {
        const PicProps pic = {fccType, 3, -2, 0}; // 8 bytes a row
        GuardedPages pages;
        BYTE* const pb = pages.Place(16, std::get<0>(GetParam()));
        std::memset(pb, 0xEE, 16);
        EXPECT_EQ(Img_Fill(pb, &pic, 0xFF, nullptr, 255, -1), S_OK);
        const BYTE nHigh = fccType == FOURCC_RGB565 ? 0xF8 : 0x7C;
        // Three strides of 4 bytes from the second row's start would be 12 bytes: 8 are left.
        const std::vector<BYTE> expected = {0, nHigh, 0, 0, 0, nHigh, 0, 0, 0, nHigh, 0, 0, 0, nHigh, 0, 0};
        EXPECT_EQ(std::vector<BYTE>(pb, pb + 16), expected);
        EXPECT_TRUE(pages.IsWhole());
    }
}

/// The key point on the first row of a bottom-up picture is one row behind the last: zeros.
TEST_P(Guard, KeyPointBehindTheLastRowIsZero)
{
    for (const DWORD fccType : {FOURCC_RGB32, FOURCC_ARGB32, FOURCC_RGB24})
    {
        const PicProps pic = {fccType, 4, 2, 4};
        GuardedPages pages;
        BYTE* const pb = pages.Place(GetPicSize(&pic), std::get<0>(GetParam()));
        std::memset(pb, 0x40, GetPicSize(&pic));
        for (const LONG x : {0, 3})
        {
            POINT pt = {x, 0};
            DWORD arrKey[2] = {};
            EXPECT_EQ(Img_CalcKey(pb, &pic, 1, &pt, 0, nullptr, eIK_RGB, arrKey), S_OK);
            EXPECT_EQ(arrKey[0], 0u);
            EXPECT_EQ(arrKey[1], 0x010101u);
            pt = {x, 1};
            arrKey[1] = 0;
            EXPECT_EQ(Img_CalcKey(pb, &pic, 1, &pt, 0, nullptr, eIK_RGB, arrKey), S_OK);
            EXPECT_EQ(arrKey[0], 0x404040u);
        }
    }
}

/// The guard itself: the byte beside a buffer cannot be touched, and one that the margin holds is found.
TEST(GuardedPages, NobodyTouchesTheNextByte)
{
    for (const size_t cb : {size_t{0}, size_t{1}, size_t{4096}, size_t{70001}})
    {
        GuardedPages atEnd;
        GuardedPages atStart;
        BYTE* const pbEnd = atEnd.Place(cb, GuardedPages::AtEnd) + cb;
        BYTE* const pbStart = atStart.Place(cb, GuardedPages::AtStart);
        for (BYTE* const pb : {pbEnd, pbStart - 1})
        {
#ifdef QX_NATIVE
            EXPECT_DEATH(*pb = 1, "");
#else
            MEMORY_BASIC_INFORMATION info = {};
            EXPECT_EQ(VirtualQuery(pb, &info, sizeof(info)), sizeof(info));
            EXPECT_EQ(info.State, static_cast<DWORD>(MEM_RESERVE)); // without memory
#endif
        }
        EXPECT_TRUE(atEnd.IsWhole() && atStart.IsWhole());
        pbEnd[-static_cast<ptrdiff_t>(cb) - 1] = 1;
        pbStart[cb] = 1;
        EXPECT_FALSE(atEnd.IsWhole() || atStart.IsWhole());
    }
}

} // namespace
