// A picture of 24 megapixels on its way from the file into a frame of 1920x1080 UYVY, step by step as the
// filter takes them, each with memory of its own that it takes anew; and the composition in one, beside
// libswscale.
#include "Bench.h"
#include "PictureFiles.h"

#include "Common/Common.h"
#include "Video/TgaBmp/TgaBmp.h"
#include "asm/SIMD64Mix.h"
#include "dstl/WinAPI/TaskBytes.h"
#include "imgconverter/ImgConverter.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <malloc.h>
#include <vector>

extern "C"
{
#include <libswscale/swscale.h>
}

namespace
{

constexpr int nWidth = 6000;
constexpr int nHeight = 4000;
constexpr PicProps picSource = {FOURCC_ARGB32, nWidth, nHeight, nWidth};
constexpr PicProps picBetween = {FOURCC_UYVY, nWidth, nHeight, nWidth};
constexpr PicProps picFrame = {FOURCC_UYVY, 1920, 1080, 0};

/// What the steps begin with. Made when the first of them runs: it takes 150 MB.
struct Pictures
{
    Pictures()
    {
        constexpr int cbFreshPages =
            128 * 1024; // larger blocks come as fresh pages, also after one was given back
        mallopt(M_MMAP_THRESHOLD, cbFreshPages);
        Load(source);
        between.Alloc(GetPicSize(&picBetween));
        Convert(source, between);
    }

    static void Load(CTaskBytes& pixels)
    {
        static const std::string sPath = PictureFile(FileKind::Tga, Content::Photo, 32, nWidth, nHeight);
        const std::vector<wchar_t> name(sPath.c_str(), sPath.c_str() + sPath.size() + 1);
        BITMAPINFOHEADER bmi;
        if (FAILED(TgaBmpConv(name.data(), FOURCC_ARGB32, &bmi, pixels.Out(), nullptr, false)))
            std::exit(1);
    }

    static void Premultiply(CTaskBytes& pixels)
    {
        PremultiplyAlpha(pixels.Get(), size_t{nWidth} * 4, nWidth, nHeight);
    }

    static void Convert(const CTaskBytes& input, const CTaskBytes& output)
    {
        const RECT rc = {0, 0, nWidth, nHeight};
        Img_Convert(input.Get(), output.Get(), &picSource, &picBetween, &rc, &rc, true, nullptr);
    }

    static void Scale(const CTaskBytes& input)
    {
        const RECT rcIn = {0, 0, nWidth, nHeight};
        const RECT rcOut = {0, 0, picFrame.nWidth, picFrame.nHeight};
        const CTaskBytes frame(GetPicSize(&picFrame));
        Img_ResizeFrame(input.Get(), frame.Get(), &picBetween, &picFrame, &rcIn, &rcOut, eIR_Cubic, nullptr,
                        0);
        benchmark::DoNotOptimize(frame.Get());
    }

    CTaskBytes source;
    CTaskBytes between;
};

Pictures& All()
{
    static Pictures pictures;
    return pictures;
}

void Load()
{
    CTaskBytes pixels;
    Pictures::Load(pixels);
}

void Premultiply()
{
    Pictures::Premultiply(All().source);
}

void Convert()
{
    const CTaskBytes between(GetPicSize(&picBetween));
    Pictures::Convert(All().source, between);
}

void Scale()
{
    Pictures::Scale(All().between);
}

void Compose()
{
    const CTaskBytes between(GetPicSize(&picBetween));
    Pictures::Convert(All().source, between);
    Pictures::Scale(between);
}

void ComposeBySwscale()
{
    static SwsContext* const pContext =
        sws_getContext(nWidth, nHeight, AV_PIX_FMT_BGRA, picFrame.nWidth, picFrame.nHeight,
                       AV_PIX_FMT_UYVY422, SWS_BICUBIC, nullptr, nullptr, nullptr);
    const CTaskBytes frame(GetPicSize(&picFrame));
    // Bottom-up: the last row first.
    const BYTE* const arrSource[4] = {All().source.Get() + size_t{nWidth} * 4 * (nHeight - 1)};
    const int arrSourceStep[4] = {-nWidth * 4};
    BYTE* const arrFrame[4] = {frame.Get()};
    const int arrFrameStep[4] = {picFrame.nWidth * 2};
    sws_scale(pContext, arrSource, arrSourceStep, 0, nHeight, arrFrame, arrFrameStep);
    benchmark::DoNotOptimize(frame.Get());
}

} // namespace

void RegisterLargePicture()
{
    const auto prepare = [] { All(); };
    const struct
    {
        const char* pszJob;
        const char* pszContestant;
        void (*pfnWork)();
    } arrRows[] = {
        {"large-load-TGA32", pszOurs, Load},      {"large-premultiply", pszOurs, Premultiply},
        {"large-convert", pszOurs, Convert},      {"large-scale", pszOurs, Scale},
        {"large-compose-UYVY", pszOurs, Compose}, {"large-compose-UYVY", "swscale", ComposeBySwscale}};
    for (const auto& row : arrRows)
        Register(row.pszJob, nWidth, nHeight, row.pszContestant, row.pfnWork, prepare);
    Expect("large-compose-UYVY", nWidth, nHeight, {1.0, 1.0});
}
