// A loaded picture on its way into an output frame: converted and scaled, beside one call of libswscale.
#include "Bench.h"

#include "asm/Cpu.h"
#include "imgconverter/ImgConverter.h"

#include <memory>
#include <vector>

extern "C"
{
#include <libswscale/swscale.h>
}

namespace
{

constexpr PicProps picSource = {FOURCC_RGB32, 1920, -1080, 0};
constexpr PicProps picFrame = {FOURCC_UYVY, 720, 576, 0};
/// The source in the frame's format, as it stands between the two steps.
constexpr PicProps picBetween = {FOURCC_UYVY, 1920, 1080, 0};

/// Everything that a call touches, in memory that stays warm.
struct Frames
{
    Frames()
        : input(GetPicSize(&picSource)), between(GetPicSize(&picBetween)), output(GetPicSize(&picFrame)),
          temp(Img_GetBufferSizeEx(&picSource, &picFrame))
    {
        unsigned nSeed = 1;
        for (BYTE& b : input)
            b = static_cast<BYTE>((nSeed = nSeed * 1664525u + 1013904223u) >> 24);
    }

    std::vector<BYTE> input, between, output, temp;
};

/// Beside one bicubic call of libswscale.
constexpr Target targetCompose = {3.0, 6.0};

using PFNCOMPOSE = void (*)(Frames& f);

void InOneCall(Frames& f)
{
    Img_ConvertResize(f.input.data(), f.output.data(), &picSource, &picFrame, nullptr, nullptr, false,
                      eIR_Cubic, f.temp.data(), 0);
}

/// The calls of the filter's own composition, which hands no work memory over.
void InTwoCalls(Frames& f)
{
    Img_Convert(f.input.data(), f.between.data(), &picSource, &picBetween, nullptr, nullptr, true, nullptr);
    Img_ResizeFrame(f.between.data(), f.output.data(), &picBetween, &picFrame, nullptr, nullptr, eIR_Cubic,
                    nullptr, 0);
}

void RegisterJob(const std::string& sJob, const std::shared_ptr<Frames>& frames, PFNCOMPOSE pfnCompose)
{
    Expect(sJob, picFrame.nWidth, static_cast<int>(AbsHeight(picFrame.nHeight)), targetCompose);
    const auto add = [&](const char* pszContestant, std::function<void()> work)
    { Register(sJob, picFrame.nWidth, static_cast<int>(AbsHeight(picFrame.nHeight)), pszContestant, work); };
    const auto ours = [frames, pfnCompose](eCPU eLevel)
    {
        const CCpuLimit limit(eLevel);
        pfnCompose(*frames);
    };
    add(pszOurs, [ours] { ours(eCPU_AVX2); });
    add(pszOursSse41, [ours] { ours(eCPU_SSE41); });

    const int nSrcRows = static_cast<int>(AbsHeight(picSource.nHeight));
    const std::shared_ptr<SwsContext> sws(
        sws_getContext(picSource.nWidth, nSrcRows, AV_PIX_FMT_BGR0, picFrame.nWidth,
                       static_cast<int>(AbsHeight(picFrame.nHeight)), AV_PIX_FMT_UYVY422, SWS_BICUBIC,
                       nullptr, nullptr, nullptr),
        sws_freeContext);
    if (!sws)
        return;
    add("libswscale",
        [frames, sws, nSrcRows]
        {
            const BYTE* arrSrc[] = {frames->input.data()};
            BYTE* arrDst[] = {frames->output.data()};
            const int nSrcStep = static_cast<int>(GetPicRowBytes(&picSource));
            const int nDstStep = static_cast<int>(GetPicRowBytes(&picFrame));
            sws_scale(sws.get(), arrSrc, &nSrcStep, 0, nSrcRows, arrDst, &nDstStep);
        });
}

} // namespace

void RegisterComposition()
{
    const auto frames = std::make_shared<Frames>();
    RegisterJob("compose RGB32 1920x1080 to UYVY, cubic, one call", frames, InOneCall);
    RegisterJob("compose RGB32 1920x1080 to UYVY, cubic, two calls", frames, InTwoCalls);
}
