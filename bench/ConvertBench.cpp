// Conversions beside libyuv and libswscale.
#include "Bench.h"

#include "asm/Cpu.h"
#include "imgconverter/ImgConverter.h"

#include <cstring>
#include <libyuv.h>
#include <memory>
#include <vector>

extern "C"
{
#include <libswscale/swscale.h>
}

namespace
{

/// Both pictures of a job in memory, seen as planes.
struct Frames
{
    int nWidth, nHeight;
    std::vector<BYTE> input, output, temp;
    BYTE* arrSrc[3];
    int arrSrcStep[3];
    BYTE* arrDst[3];
    int arrDstStep[3];
};

using PFNPEER = void (*)(Frames&);

/// Rows of one band of a peer that has no direct path: 32-bit pixels that stay in the cache.
constexpr int nBandRows = 8;
BYTE g_arrBand[1920 * 4 * nBandRows];

template <class TFirst, class TSecond>
void InBands(Frames& f, TFirst first, TSecond second)
{
    for (int y = 0; y < f.nHeight; y += nBandRows)
    {
        first(f.arrSrc[0] + y * f.arrSrcStep[0], g_arrBand);
        second(g_arrBand, f.arrDst[0] + y * f.arrDstStep[0]);
    }
}

void Yuv24ToYuy2(Frames& f)
{
    InBands(
        f,
        [&](BYTE* s, BYTE* d)
        { libyuv::RGB24ToARGB(s, f.arrSrcStep[0], d, f.nWidth * 4, f.nWidth, nBandRows); },
        [&](BYTE* s, BYTE* d)
        { libyuv::ARGBToYUY2(s, f.nWidth * 4, d, f.arrDstStep[0], f.nWidth, nBandRows); });
}
void Yuv24ToUyvy(Frames& f)
{
    InBands(
        f,
        [&](BYTE* s, BYTE* d)
        { libyuv::RGB24ToARGB(s, f.arrSrcStep[0], d, f.nWidth * 4, f.nWidth, nBandRows); },
        [&](BYTE* s, BYTE* d)
        { libyuv::ARGBToUYVY(s, f.nWidth * 4, d, f.arrDstStep[0], f.nWidth, nBandRows); });
}
void YuvYuy2To24(Frames& f)
{
    InBands(
        f,
        [&](BYTE* s, BYTE* d)
        { libyuv::YUY2ToARGB(s, f.arrSrcStep[0], d, f.nWidth * 4, f.nWidth, nBandRows); },
        [&](BYTE* s, BYTE* d)
        { libyuv::ARGBToRGB24(s, f.nWidth * 4, d, f.arrDstStep[0], f.nWidth, nBandRows); });
}
void YuvUyvyTo24(Frames& f)
{
    InBands(
        f,
        [&](BYTE* s, BYTE* d)
        { libyuv::UYVYToARGB(s, f.arrSrcStep[0], d, f.nWidth * 4, f.nWidth, nBandRows); },
        [&](BYTE* s, BYTE* d)
        { libyuv::ARGBToRGB24(s, f.nWidth * 4, d, f.arrDstStep[0], f.nWidth, nBandRows); });
}

/// A libyuv function from one plane to one plane.
template <auto pfn>
void Packed(Frames& f)
{
    pfn(f.arrSrc[0], f.arrSrcStep[0], f.arrDst[0], f.arrDstStep[0], f.nWidth, f.nHeight);
}
template <auto pfn>
void ToPlanes(Frames& f)
{
    pfn(f.arrSrc[0], f.arrSrcStep[0], f.arrDst[0], f.arrDstStep[0], f.arrDst[1], f.arrDstStep[1], f.arrDst[2],
        f.arrDstStep[2], f.nWidth, f.nHeight);
}
template <auto pfn>
void FromPlanes(Frames& f)
{
    pfn(f.arrSrc[0], f.arrSrcStep[0], f.arrSrc[1], f.arrSrcStep[1], f.arrSrc[2], f.arrSrcStep[2], f.arrDst[0],
        f.arrDstStep[0], f.nWidth, f.nHeight);
}
void SwapBytes(Frames& f)
{
    static const BYTE arrOrder[16] = {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14};
    libyuv::ARGBShuffle(f.arrSrc[0], f.arrSrcStep[0], f.arrDst[0], f.arrDstStep[0], arrOrder, f.nWidth / 2,
                        f.nHeight);
}
void Copy(Frames& f)
{
    std::memcpy(f.output.data(), f.input.data(), f.output.size());
}

struct Job
{
    const char* pszName;
    DWORD fccIn, fccOut;
    PFNPEER pfnPeer;
    bool bBottomUpInput = false;
};

/// Jobs with one target at each size.
struct Group
{
    Target target1080, target576;
    std::vector<Job> jobs;
};

const Group arrGroups[] = {
    {{1.8, 2.5},
     {1.1, 1.5},
     {
         {"RGB32-YUY2", FOURCC_RGB32, FOURCC_YUY2, Packed<libyuv::ARGBToYUY2>},
         {"RGB32-UYVY", FOURCC_RGB32, FOURCC_UYVY, Packed<libyuv::ARGBToUYVY>},
         {"RGB24-YUY2", FOURCC_RGB24, FOURCC_YUY2, Yuv24ToYuy2},
         {"RGB24-UYVY", FOURCC_RGB24, FOURCC_UYVY, Yuv24ToUyvy},
     }},
    {{0.9, 1.2},
     {0.9, 1.2},
     {
         {"RGB32-I420", FOURCC_RGB32, FOURCC_I420, ToPlanes<libyuv::ARGBToI420>},
         {"RGB32-YV12", FOURCC_RGB32, FOURCC_YV12, ToPlanes<libyuv::ARGBToI420>},
         {"RGB24-I420", FOURCC_RGB24, FOURCC_I420, ToPlanes<libyuv::RGB24ToI420>},
         {"RGB24-YV12", FOURCC_RGB24, FOURCC_YV12, ToPlanes<libyuv::RGB24ToI420>},
     }},
    {{0.7, 1.0},
     {0.7, 1.0},
     {
         {"YUY2-RGB32", FOURCC_YUY2, FOURCC_RGB32, Packed<libyuv::YUY2ToARGB>},
         {"UYVY-RGB32", FOURCC_UYVY, FOURCC_RGB32, Packed<libyuv::UYVYToARGB>},
         {"I420-RGB32", FOURCC_I420, FOURCC_RGB32, FromPlanes<libyuv::I420ToARGB>},
         {"YUY2-RGB24", FOURCC_YUY2, FOURCC_RGB24, YuvYuy2To24},
         {"UYVY-RGB24", FOURCC_UYVY, FOURCC_RGB24, YuvUyvyTo24},
         {"I420-RGB24", FOURCC_I420, FOURCC_RGB24, FromPlanes<libyuv::I420ToRGB24>},
     }},
    {{0.9, 1.2},
     {0.9, 1.2},
     {
         {"YUY2-UYVY", FOURCC_YUY2, FOURCC_UYVY, SwapBytes},
         {"RGB32-RGB24", FOURCC_RGB32, FOURCC_RGB24, Packed<libyuv::ARGBToRGB24>},
         {"RGB24-RGB32", FOURCC_RGB24, FOURCC_RGB32, Packed<libyuv::RGB24ToARGB>},
         {"YUY2-I420", FOURCC_YUY2, FOURCC_I420, ToPlanes<libyuv::YUY2ToI420>},
         {"UYVY-I420", FOURCC_UYVY, FOURCC_I420, ToPlanes<libyuv::UYVYToI420>},
         {"I420-YUY2", FOURCC_I420, FOURCC_YUY2, FromPlanes<libyuv::I420ToYUY2>},
         {"I420-UYVY", FOURCC_I420, FOURCC_UYVY, FromPlanes<libyuv::I420ToUYVY>},
     }},
    {{0.9, 0.9},
     {0.9, 0.9},
     {
         {"copy-RGB32", FOURCC_RGB32, FOURCC_RGB32, Copy},
         {"copy-RGB32-mirrored", FOURCC_RGB32, FOURCC_RGB32, Copy, true},
         {"copy-RGB24-mirrored", FOURCC_RGB24, FOURCC_RGB24, Copy, true},
         {"copy-UYVY", FOURCC_UYVY, FOURCC_UYVY, Copy},
         {"copy-I420", FOURCC_I420, FOURCC_I420, Copy},
     }},
};

AVPixelFormat PixelFormat(DWORD fcc)
{
    switch (fcc)
    {
    case FOURCC_RGB24:
        return AV_PIX_FMT_BGR24;
    case FOURCC_RGB32:
        return AV_PIX_FMT_BGRA;
    case FOURCC_YUY2:
        return AV_PIX_FMT_YUYV422;
    case FOURCC_UYVY:
        return AV_PIX_FMT_UYVY422;
    default:
        return AV_PIX_FMT_YUV420P;
    }
}

void Place(const PicProps& pic, std::vector<BYTE>& bytes, BYTE* arrPlanes[3], int arrSteps[3])
{
    DWORD arrShift[3] = {};
    DWORD arrStep[3] = {};
    GetPicPlanes(&pic, arrShift, arrStep, nullptr, false);
    bytes.resize(GetPicSize(&pic));
    for (size_t i = 0; i < bytes.size(); i++)
        bytes[i] = static_cast<BYTE>(i * 2654435761u >> 13);
    for (int i = 0; i < 3; i++)
    {
        arrPlanes[i] = bytes.data() + arrShift[i];
        arrSteps[i] = static_cast<int>(arrStep[i]);
    }
}

void RegisterJob(const Job& job, int nWidth, int nHeight)
{
    const PicProps picInput = {job.fccIn, nWidth, job.bBottomUpInput ? nHeight : -nHeight, 0};
    const PicProps picOutput = {job.fccOut, nWidth, -nHeight, 0};
    auto spFrames = std::make_shared<Frames>();
    spFrames->nWidth = nWidth;
    spFrames->nHeight = nHeight;
    Place(picInput, spFrames->input, spFrames->arrSrc, spFrames->arrSrcStep);
    Place(picOutput, spFrames->output, spFrames->arrDst, spFrames->arrDstStep);
    spFrames->temp.resize(1); // only its presence counts

    const auto ours = [=]
    {
        Img_Convert(spFrames->input.data(), spFrames->output.data(), &picInput, &picOutput, nullptr, nullptr,
                    true, spFrames->temp.data());
    };
    Register(job.pszName, nWidth, nHeight, pszOurs, ours);
    Register(job.pszName, nWidth, nHeight, pszOursSse41,
             [=]
             {
                 CCpuLimit limit(eCPU_SSE41);
                 ours();
             });
    const bool bCopy = job.fccIn == job.fccOut;
    Register(job.pszName, nWidth, nHeight, bCopy ? "memcpy" : "libyuv", [=] { job.pfnPeer(*spFrames); });
    if (bCopy)
        return;
    SwsContext* pContext = sws_getContext(nWidth, nHeight, PixelFormat(job.fccIn), nWidth, nHeight,
                                          PixelFormat(job.fccOut), SWS_POINT, nullptr, nullptr, nullptr);
    Register(job.pszName, nWidth, nHeight, "swscale",
             [=]
             {
                 sws_scale(pContext, spFrames->arrSrc, spFrames->arrSrcStep, 0, nHeight, spFrames->arrDst,
                           spFrames->arrDstStep);
             });
}

} // namespace

void RegisterConvert()
{
    for (const Group& group : arrGroups)
    {
        for (const Job& job : group.jobs)
        {
            Expect(job.pszName, 1920, 1080, group.target1080);
            RegisterJob(job, 1920, 1080);
            Expect(job.pszName, 720, 576, group.target576);
            RegisterJob(job, 720, 576);
        }
    }
}
