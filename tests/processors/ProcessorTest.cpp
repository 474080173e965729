// Every entry point of the image library, at odd sizes, at every level that the processor has: the bytes are
// those of the scalar forms. CTest runs this program on emulated processors, of which the older ones end it
// at the first instruction that they lack.
#include "asm/Cpu.h"
#include "image/ImageCalls.h"
#include "image/ImageTest.h"
#include "image/PictureBuffer.h"

#include <cstdlib>

namespace
{

constexpr const char* arrLevelNames[eCPU_Count] = {"scalar", "sse41", "avx2"};

/// What a call returned and left in its output.
struct Outcome
{
    std::string sCall;
    HRESULT hr;
    std::vector<BYTE> output;
};

using Outcomes = std::vector<Outcome>;

struct FrameSize
{
    LONG nWidth, nHeight;
};

/// Below every vector, between them, and above; bottom-up and top-down.
constexpr FrameSize arrSizes[] = {{1, 1}, {7, -5}, {37, 21}, {131, -9}};

struct Frame
{
    PicProps pic;
    PictureBuffer buffer;

    BYTE* Data() { return buffer.Data(); }
};

/// Random pixels in rows with padding. YUV has the next even width.
Frame MakeFrame(DWORD fccType, FrameSize size, unsigned nSeed)
{
    if (!IsRGBFormat(fccType))
        size.nWidth += size.nWidth & 1;
    const PicProps pic = {fccType, size.nWidth, size.nHeight, size.nWidth + 2};
    PictureBuffer buffer(pic);
    buffer.Fill(nSeed);
    return {pic, std::move(buffer)};
}

void Add(Outcomes& outcomes, const std::string& sCall, HRESULT hr, const Frame& frame)
{
    outcomes.push_back({sCall, hr, frame.buffer.Bytes()});
}

/// Numbers, for entry points without a picture.
template <class T, size_t n>
void Add(Outcomes& outcomes, const std::string& sCall, HRESULT hr, const T (&arrValues)[n])
{
    const auto* const pb = reinterpret_cast<const BYTE*>(arrValues);
    outcomes.push_back({sCall, hr, {pb, pb + sizeof(arrValues)}});
}

/// One picture of each format and size.
template <class TCall>
void ForEachFrame(const TCall& call)
{
    for (const DWORD fccType : arrUsableFormats)
    {
        for (const FrameSize size : arrSizes)
            call(MakeFrame(fccType, size, 1));
    }
}

/// Two pictures of one format, in equal and in opposite row order.
template <class TCall>
void ForEachPair(const TCall& call)
{
    for (const DWORD fccType : arrUsableFormats)
    {
        for (const FrameSize size : arrSizes)
        {
            for (const LONG nSign : {1, -1})
                call(MakeFrame(fccType, size, 2), MakeFrame(fccType, {size.nWidth, size.nHeight * nSign}, 3));
        }
    }
}

void CheckProps(Outcomes& outcomes)
{
    ForEachFrame([&](const Frame& frame)
                 { Add(outcomes, Str(frame.pic), Img_CheckProps(&frame.pic, false), frame); });
}

void GetRects(Outcomes& outcomes)
{
    ForEachPair(
        [&](const Frame& input, const Frame& output)
        {
            RECT arrRects[2] = {};
            const RECT rc = {-1, 1, 5, 3};
            const HRESULT hr =
                Img_GetRects(&input.pic, &output.pic, &arrRects[0], &arrRects[1], true, &rc, nullptr);
            Add(outcomes, Str(input.pic), hr, arrRects);
        });
}

template <size_t (*pfnSize)(const PicProps*, const PicProps*) noexcept>
void BufferSize(Outcomes& outcomes)
{
    ForEachPair(
        [&](const Frame& input, const Frame& output)
        {
            const size_t arrSizes[] = {pfnSize(&input.pic, &output.pic)};
            Add(outcomes, Str(input.pic), S_OK, arrSizes);
        });
}

void InitConverter(Outcomes& outcomes)
{
    const int arrCodes[] = {Img_InitConverter(1)};
    Add(outcomes, "", S_OK, arrCodes);
}

void FillColor(Outcomes& outcomes)
{
    for (const DWORD fccType : arrUsableFormats)
    {
        BYTE arrColor[4] = {};
        DWORD dwValid = 0;
        const bool bColor = GetFillColor(fccType, 0x7F3355AA, arrColor, &dwValid);
        Add(outcomes, std::to_string(dwValid), bColor, arrColor);
    }
}

void Yuv(Outcomes& outcomes)
{
    const DWORD arrYuv[] = {RGBToYUV(0x003355AA, true), RGBToYUV(0x003355AA, false)};
    Add(outcomes, "", S_OK, arrYuv);
}

void Copy(Outcomes& outcomes)
{
    ForEachPair(
        [&](Frame input, Frame output)
        {
            const HRESULT hr =
                Img_Copy(input.Data(), output.Data(), &input.pic, &output.pic, nullptr, nullptr);
            Add(outcomes, Str(input.pic), hr, output);
        });
}

void Convert(Outcomes& outcomes)
{
    AssertCapture asserts; // of pairs without a conversion
    for (const DWORD fccOutput : arrUsableFormats)
    {
        ForEachFrame(
            [&](Frame input)
            {
                Frame output = MakeFrame(fccOutput, {input.pic.nWidth, input.pic.nHeight}, 4);
                std::vector<BYTE> temp(Img_GetBufferSize(&input.pic, &output.pic));
                const HRESULT hr = Img_Convert(input.Data(), output.Data(), &input.pic, &output.pic, nullptr,
                                               nullptr, true, temp.data());
                Add(outcomes, Str(input.pic) + " to " + Str(output.pic), hr, output);
            });
    }
}

/// Sizes that a picture of 37 x 21 or of 74 x 42 is scaled to: larger, smaller, one axis each way, the
/// double, the half.
constexpr FrameSize arrScaled[] = {{131, 61}, {13, 7}, {11, -61}, {74, 42}, {37, 21}};

/// Scales between the sizes above by every interpolation, with and without sharpening.
template <class TCall>
void ForEachScaling(DWORD fccInput, DWORD fccOutput, const TCall& call)
{
    for (const FrameSize source : {FrameSize{37, 21}, FrameSize{74, 42}})
    {
        for (const FrameSize target : arrScaled)
        {
            for (const int nMode : {eIR_Nearest, eIR_Linear, eIR_Cubic, eIR_Super})
            {
                for (const int nSharp : {0, 30})
                    call(MakeFrame(fccInput, source, 5), MakeFrame(fccOutput, target, 6), nMode, nSharp);
            }
        }
    }
}

std::string DescribeScaling(const Frame& input, const Frame& output, int nMode, int nSharp)
{
    return Str(input.pic) + " to " + Str(output.pic) + ", mode " + std::to_string(nMode) + ", sharp " +
           std::to_string(nSharp);
}

void ResizeFrame(Outcomes& outcomes)
{
    for (const DWORD fccType : arrUsableFormats)
    {
        ForEachScaling(fccType, fccType,
                       [&](Frame input, Frame output, int nMode, int nSharp)
                       {
                           const HRESULT hr =
                               Img_ResizeFrame(input.Data(), output.Data(), &input.pic, &output.pic, nullptr,
                                               nullptr, nMode, nullptr, nSharp);
                           Add(outcomes, DescribeScaling(input, output, nMode, nSharp), hr, output);
                       });
    }
}

void ResizeFields(Outcomes& outcomes)
{
    for (const DWORD fccType : arrUsableFormats)
    {
        ForEachScaling(fccType, fccType,
                       [&](Frame input, Frame output, int nMode, int nSharp)
                       {
                           const HRESULT hr =
                               Img_ResizeFields(input.Data(), output.Data(), &input.pic, &output.pic, nullptr,
                                                nullptr, nMode, nullptr, nSharp, -1);
                           Add(outcomes, DescribeScaling(input, output, nMode, nSharp), hr, output);
                       });
    }
}

void ConvertResize(Outcomes& outcomes)
{
    constexpr DWORD arrPairs[][2] = {{FOURCC_RGB32, FOURCC_YUY2}, {FOURCC_I420, FOURCC_RGB24}};
    for (const auto& [fccInput, fccOutput] : arrPairs)
    {
        ForEachScaling(fccInput, fccOutput,
                       [&](Frame input, Frame output, int nMode, int nSharp)
                       {
                           const HRESULT hr =
                               Img_ConvertResize(input.Data(), output.Data(), &input.pic, &output.pic,
                                                 nullptr, nullptr, false, nMode, nullptr, nSharp);
                           Add(outcomes, DescribeScaling(input, output, nMode, nSharp), hr, output);
                       });
    }
}

void Fill(Outcomes& outcomes)
{
    AssertCapture asserts; // of the format without a colour
    for (const int nOpacity : {255, 100})
    {
        ForEachFrame(
            [&](Frame output)
            {
                const HRESULT hr = Img_Fill(output.Data(), &output.pic, 0x7F3355AA, nullptr, nOpacity, -1);
                Add(outcomes, Str(output.pic) + ", opacity " + std::to_string(nOpacity), hr, output);
            });
    }
}

void DrawFrame(Outcomes& outcomes)
{
    AssertCapture asserts;
    for (const int nOpacity : {255, 100})
    {
        ForEachFrame(
            [&](Frame output)
            {
                const HRESULT hr =
                    Img_DrawFrame(output.Data(), &output.pic, 0x3355AA, 3, nullptr, nOpacity, 15);
                Add(outcomes, Str(output.pic) + ", opacity " + std::to_string(nOpacity), hr, output);
            });
    }
}

void MixAlpha(Outcomes& outcomes)
{
    ForEachPair(
        [&](Frame input, Frame output)
        {
            PictureBuffer alpha(input.pic);
            alpha.Fill(7);
            const HRESULT hr = Img_MixAlpha(input.Data(), alpha.Data(), output.Data(), &input.pic,
                                            &output.pic, nullptr, nullptr, -1);
            Add(outcomes, Str(input.pic), hr, output);
        });
}

void MixPicture(Outcomes& outcomes)
{
    for (const int nOpacity : {-1, 100, 255})
    {
        ForEachPair(
            [&](Frame input, Frame output)
            {
                PictureBuffer alpha(static_cast<size_t>(PicRow(input.pic)) * AbsHeight(input.pic.nHeight));
                alpha.Fill(8);
                const HRESULT hr = Img_MixPicture(input.Data(), alpha.Data(), output.Data(), nOpacity,
                                                  &input.pic, &output.pic, false, nullptr, nullptr, -1);
                Add(outcomes, Str(input.pic) + ", opacity " + std::to_string(nOpacity), hr, output);
            });
    }
}

void Blend(Outcomes& outcomes)
{
    AssertCapture asserts; // of the formats that are not blended
    constexpr int arrWeights[][2] = {{100, 156}, {512, -256}, {-32768, 32767}};
    for (const auto& [nSrcWeight, nDstWeight] : arrWeights)
    {
        ForEachPair(
            [&, nSrc = nSrcWeight, nDst = nDstWeight](Frame input, Frame output)
            {
                const HRESULT hr = Img_Blend(input.Data(), output.Data(), nSrc, nDst, &input.pic, &output.pic,
                                             nullptr, nullptr);
                Add(outcomes, Str(input.pic) + ", weight " + std::to_string(nSrc), hr, output);
            });
    }
}

void ChromaKey(Outcomes& outcomes)
{
    for (const int nMode : {eIK_RGB, eIK_HLS})
    {
        ForEachFrame(
            [&](Frame input)
            {
                DWORD arrKey[2] = {};
                const HRESULT hr = Img_GetChromaKey(input.Data(), &input.pic, nMode, arrKey, nullptr);
                Add(outcomes, Str(input.pic), hr, arrKey);
            });
    }
}

void CalcKey(Outcomes& outcomes)
{
    for (const int nMode : {eIK_RGB, eIK_HLS, eIK_YUV})
    {
        ForEachFrame(
            [&](Frame input)
            {
                POINT pt = {1, 1};
                RECT rc = {0, 0, 5, 3};
                DWORD arrKey[2] = {};
                const HRESULT hr = Img_CalcKey(input.Data(), &input.pic, 1, &pt, 1, &rc, nMode, arrKey);
                Add(outcomes, Str(input.pic), hr, arrKey);
            });
    }
}

void ImageGraph(Outcomes& outcomes)
{
    Frame input = MakeFrame(FOURCC_UYVY, {37, 21}, 9);
    Frame graph = {{FOURCC_RGB32, 768, -768, 0}, PictureBuffer(size_t{768} * 768 * 4)};
    graph.buffer.Clear();
    PicProps picGraph = {};
    const HRESULT hr = Img_GetImageGraph(input.Data(), &input.pic, 1, graph.Data(), &picGraph);
    Add(outcomes, Str(input.pic), hr, graph);
}

struct EntryPoint
{
    const char* pszName;
    void (*pfnCall)(Outcomes& outcomes);
};

constexpr EntryPoint arrEntryPoints[] = {
    {"Img_CheckProps", CheckProps},
    {"Img_GetRects", GetRects},
    {"Img_GetBufferSize", BufferSize<Img_GetBufferSize>},
    {"Img_GetBufferSizeEx", BufferSize<Img_GetBufferSizeEx>},
    {"Img_InitConverter", InitConverter},
    {"GetFillColor", FillColor},
    {"RGBToYUV", Yuv},
    {"Img_Copy", Copy},
    {"Img_Convert", Convert},
    {"Img_ConvertResize", ConvertResize},
    {"Img_ResizeFrame", ResizeFrame},
    {"Img_ResizeFields", ResizeFields},
    {"Img_Fill", Fill},
    {"Img_DrawFrame", DrawFrame},
    {"Img_MixAlpha", MixAlpha},
    {"Img_MixPicture", MixPicture},
    {"Img_Blend", Blend},
    {"Img_GetChromaKey", ChromaKey},
    {"Img_CalcKey", CalcKey},
    {"Img_GetImageGraph", ImageGraph},
};

Outcomes CallsAtLevel(const EntryPoint& entry, eCPU eLevel)
{
    const CCpuLimit limit(eLevel);
    Outcomes outcomes;
    entry.pfnCall(outcomes);
    return outcomes;
}

class EveryLevel : public testing::TestWithParam<EntryPoint>
{
};

INSTANTIATE_TEST_SUITE_P(Processor, EveryLevel, testing::ValuesIn(arrEntryPoints),
                         [](const auto& info) { return std::string(info.param.pszName); });

TEST_P(EveryLevel, GivesTheBytesOfTheScalarForms)
{
    const Outcomes expected = CallsAtLevel(GetParam(), eCPU_Scalar);
    ASSERT_FALSE(expected.empty());
    for (int nLevel = eCPU_SSE41; nLevel <= CpuLevel(); nLevel++)
    {
        const Outcomes outcomes = CallsAtLevel(GetParam(), static_cast<eCPU>(nLevel));
        ASSERT_EQ(outcomes.size(), expected.size());
        for (size_t i = 0; i < outcomes.size(); i++)
        {
            ASSERT_EQ(outcomes[i].hr, expected[i].hr) << arrLevelNames[nLevel] << ", " << expected[i].sCall;
            ASSERT_EQ(outcomes[i].output, expected[i].output)
                << arrLevelNames[nLevel] << ", " << expected[i].sCall;
        }
    }
}

TEST(Processor, EveryEntryPointIsCalled)
{
    ASSERT_EQ(std::size(arrEntryPoints), ImageCalls::nEntries);
    for (size_t i = 0; i < ImageCalls::nEntries; i++)
    {
        const std::string sName = ImageCalls::NameOf(i);
        EXPECT_TRUE(std::any_of(std::begin(arrEntryPoints), std::end(arrEntryPoints),
                                [&](const EntryPoint& entry) { return entry.pszName == sName; }))
            << sName;
    }
}

/// QX_PROCESSOR_LEVEL names the level of an emulated processor. The machine's own is what the compiler's run-time
/// library finds.
TEST(Processor, HasItsLevel)
{
    const char* pszExpected = std::getenv("QX_PROCESSOR_LEVEL");
    if (!pszExpected)
        pszExpected = arrLevelNames[__builtin_cpu_supports("avx2")     ? eCPU_AVX2
                                    : __builtin_cpu_supports("sse4.1") ? eCPU_SSE41
                                                                       : eCPU_Scalar];
    EXPECT_STREQ(arrLevelNames[CpuLevel()], pszExpected);
}

} // namespace
