// Scaling beside libswscale and libyuv: a job of the output's size, whose pixels are counted.
#include "Bench.h"

#include "asm/Cpu.h"
#include "imgconverter/ImgConverter.h"

#include <libyuv.h>
#include <memory>
#include <vector>

extern "C"
{
#include <libswscale/swscale.h>
}

namespace
{

struct Size
{
    int nWidth, nHeight;
};

struct SizePair
{
    Size src, dst;
};

/// A filter and what it is called by the peers; libyuv has no cubic.
struct Filter
{
    const char* pszName;
    int nMode;
    int nSwsFlag;
    int nYuvFilter; ///< or -1
};

/// Beside the fastest peer of the same filter.
constexpr Target targetOther = {0.7, 1.0};

struct Layout
{
    const char* pszName;
    DWORD fccType;
    int nChannels;
    AVPixelFormat eFormat;
    Target targetReducing, targetEnlarging; ///< of cubic filters
};

/// Either way by unlike ratios and by two.
constexpr SizePair arrSizes[] = {{{1920, 1080}, {720, 576}},
                                 {{720, 576}, {1920, 1080}},
                                 {{3840, 2160}, {1920, 1080}},
                                 {{1440, 1152}, {720, 576}},
                                 {{960, 540}, {1920, 1080}}};

constexpr Filter arrFilters[] = {
    {"nearest", eIR_Nearest, SWS_POINT, libyuv::kFilterNone},
    {"linear", eIR_Linear, SWS_BILINEAR, libyuv::kFilterBilinear},
    {"cubic", eIR_Cubic, SWS_BICUBIC, -1},
    {"area", eIR_Super, SWS_AREA, libyuv::kFilterBox},
};

constexpr Layout arrLayouts[] = {
    {"plane", FOURCC_RGB8, 1, AV_PIX_FMT_GRAY8, {2.5, 4.0}, {1.0, 1.2}},
    {"RGB24", FOURCC_RGB24, 3, AV_PIX_FMT_BGR24, {2.0, 4.0}, {2.0, 4.0}},
    {"RGB32", FOURCC_RGB32, 4, AV_PIX_FMT_BGR0, {5.0, 10.0}, {5.0, 10.0}},
};

/// The pictures of a job, in memory that stays warm.
struct Frames
{
    Frames(const SizePair& sizes, const Layout& layout)
        : picInput{layout.fccType, sizes.src.nWidth, -sizes.src.nHeight, 0}, picOutput{layout.fccType,
                                                                                       sizes.dst.nWidth,
                                                                                       -sizes.dst.nHeight, 0},
          input(GetPicSize(&picInput)), output(GetPicSize(&picOutput)),
          nInputStep(static_cast<int>(GetPicRowBytes(&picInput))),
          nOutputStep(static_cast<int>(GetPicRowBytes(&picOutput)))
    {
        unsigned nSeed = 1;
        for (BYTE& b : input)
            b = static_cast<BYTE>((nSeed = nSeed * 1664525u + 1013904223u) >> 24);
    }

    PicProps picInput, picOutput;
    std::vector<BYTE> input, output;
    int nInputStep, nOutputStep;
};

void RegisterOurs(const std::string& sJob, const Size& size, const std::shared_ptr<Frames>& f, int nMode)
{
    const auto work = [f, nMode](eCPU eLevel)
    {
        const CCpuLimit limit(eLevel);
        Img_ResizeFrame(f->input.data(), f->output.data(), &f->picInput, &f->picOutput, nullptr, nullptr,
                        nMode, nullptr, 0);
    };
    Register(sJob, size.nWidth, size.nHeight, pszOurs, [work] { work(eCPU_AVX2); });
    Register(sJob, size.nWidth, size.nHeight, pszOursSse41, [work] { work(eCPU_SSE41); });
}

void RegisterSwscale(const std::string& sJob, const SizePair& sizes, const std::shared_ptr<Frames>& f,
                     const Layout& layout, const Filter& filter)
{
    const std::shared_ptr<SwsContext> sws(sws_getContext(sizes.src.nWidth, sizes.src.nHeight, layout.eFormat,
                                                         sizes.dst.nWidth, sizes.dst.nHeight, layout.eFormat,
                                                         filter.nSwsFlag, nullptr, nullptr, nullptr),
                                          sws_freeContext);
    if (!sws)
        return;
    const int nRows = sizes.src.nHeight;
    Register(sJob, sizes.dst.nWidth, sizes.dst.nHeight, "libswscale",
             [f, sws, nRows]
             {
                 const BYTE* arrSrc[] = {f->input.data()};
                 BYTE* arrDst[] = {f->output.data()};
                 sws_scale(sws.get(), arrSrc, &f->nInputStep, 0, nRows, arrDst, &f->nOutputStep);
             });
}

void RegisterLibyuv(const std::string& sJob, const SizePair& sizes, const std::shared_ptr<Frames>& f,
                    int nChannels, int nFilter)
{
    if (nFilter < 0 || nChannels == 3)
        return;
    const auto eFilter = static_cast<libyuv::FilterMode>(nFilter);
    const bool bPlane = nChannels == 1;
    Register(sJob, sizes.dst.nWidth, sizes.dst.nHeight, "libyuv",
             [f, sizes, eFilter, bPlane]
             {
                 if (bPlane)
                     libyuv::ScalePlane(f->input.data(), f->nInputStep, sizes.src.nWidth, sizes.src.nHeight,
                                        f->output.data(), f->nOutputStep, sizes.dst.nWidth, sizes.dst.nHeight,
                                        eFilter);
                 else
                     libyuv::ARGBScale(f->input.data(), f->nInputStep, sizes.src.nWidth, sizes.src.nHeight,
                                       f->output.data(), f->nOutputStep, sizes.dst.nWidth, sizes.dst.nHeight,
                                       eFilter);
             });
}

} // namespace

void RegisterResize()
{
    for (const Layout& layout : arrLayouts)
    {
        for (const SizePair& sizes : arrSizes)
        {
            const auto frames = std::make_shared<Frames>(sizes, layout);
            for (const Filter& filter : arrFilters)
            {
                const bool bEnlarges = sizes.dst.nWidth > sizes.src.nWidth;
                if (filter.nMode == eIR_Super && bEnlarges)
                    continue;
                const std::string sJob = std::string(layout.pszName) + " " + filter.pszName + " from " +
                                         std::to_string(sizes.src.nWidth) + "x" +
                                         std::to_string(sizes.src.nHeight);
                const Target& targetCubic = bEnlarges ? layout.targetEnlarging : layout.targetReducing;
                Expect(sJob, sizes.dst.nWidth, sizes.dst.nHeight,
                       filter.nMode == eIR_Cubic ? targetCubic : targetOther);
                RegisterOurs(sJob, sizes.dst, frames, filter.nMode);
                RegisterSwscale(sJob, sizes, frames, layout, filter);
                RegisterLibyuv(sJob, sizes, frames, layout.nChannels, filter.nYuvFilter);
            }
        }
    }
}
