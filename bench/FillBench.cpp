// Fills at full opacity beside memset over the same bytes.
#include "Bench.h"

#include "asm/Cpu.h"
#include "imgconverter/ImgConverter.h"

#include <cstring>
#include <memory>
#include <vector>

namespace
{

using PFNFILL = void (*)(BYTE* pbFrame, const PicProps& pic);

constexpr DWORD dwFillColor = 0xFF4080C0;

void Fill(BYTE* pbFrame, const PicProps& pic)
{
    Img_Fill(pbFrame, &pic, dwFillColor, nullptr, 255, -1);
}

/// A frame so thick that nothing is left inside: the only way to paint 8-bit pictures.
void FillByFrame(BYTE* pbFrame, const PicProps& pic)
{
    constexpr DWORD dwAllSides = 1 | 2 | 4 | 8;
    Img_DrawFrame(pbFrame, &pic, dwFillColor, pic.nWidth, nullptr, 255, dwAllSides);
}

struct Job
{
    const char* pszName;
    DWORD fccType;
    Target target;
    PFNFILL pfnFill = Fill;
};

constexpr Target targetFill = {0.7, 0.9};

constexpr Job arrJobs[] = {
    {"fill-RGB32", FOURCC_RGB32, targetFill},   {"fill-ARGB32", FOURCC_ARGB32, targetFill},
    {"fill-RGB24", FOURCC_RGB24, {0.5, 0.9}},   {"fill-RGB565", FOURCC_RGB565, targetFill},
    {"fill-RGB555", FOURCC_RGB555, targetFill}, {"fill-RGB8", FOURCC_RGB8, targetFill, FillByFrame},
    {"fill-YUY2", FOURCC_YUY2, targetFill},     {"fill-YVYU", FOURCC_YVYU, targetFill},
    {"fill-UYVY", FOURCC_UYVY, targetFill},     {"fill-HDYC", FOURCC_HDYC, targetFill},
    {"fill-I420", FOURCC_I420, targetFill},     {"fill-YV12", FOURCC_YV12, targetFill},
};

void RegisterJob(const Job& job, int nWidth, int nHeight)
{
    const PicProps pic = {job.fccType, nWidth, -nHeight, 0};
    const auto spFrame = std::make_shared<std::vector<BYTE>>(GetPicSize(&pic));
    const PFNFILL pfnFill = job.pfnFill;
    const auto work = [=](eCPU eLevel)
    {
        const CCpuLimit limit(eLevel);
        pfnFill(spFrame->data(), pic);
    };
    Expect(job.pszName, nWidth, nHeight, job.target);
    Register(job.pszName, nWidth, nHeight, pszOurs, [=] { work(eCPU_AVX2); });
    Register(job.pszName, nWidth, nHeight, pszOursSse41, [=] { work(eCPU_SSE41); });
    Register(job.pszName, nWidth, nHeight, "memset",
             [=] { std::memset(spFrame->data(), 0x80, spFrame->size()); });
}

} // namespace

void RegisterFill()
{
    for (const Job& job : arrJobs)
    {
        RegisterJob(job, 1920, 1080);
        RegisterJob(job, 720, 576);
    }
}
