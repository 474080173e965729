// Mixes, each beside what libyuv has that comes nearest: its mixes round otherwise and know one format each.
#include "Bench.h"

#include "asm/Cpu.h"
#include "imgconverter/ImgConverter.h"

#include <libyuv.h>
#include <memory>
#include <vector>

namespace
{

constexpr DWORD arrFormats[] = {FOURCC_RGB32, FOURCC_RGB24, FOURCC_UYVY, FOURCC_I420};

const char* FormatName(DWORD fccType)
{
    switch (fccType)
    {
    case FOURCC_RGB32:
        return "RGB32";
    case FOURCC_RGB24:
        return "RGB24";
    case FOURCC_UYVY:
        return "UYVY";
    default:
        return "I420";
    }
}

/// The buffers of a job: two pictures and as many alphas as the larger of them needs.
struct Pictures
{
    Pictures(DWORD fccType, int nWidth, int nHeight)
        : pic{fccType, nWidth, -nHeight, nWidth}, input(GetPicSize(&pic)), alpha(input.size()),
          output(input.size())
    {
        unsigned nSeed = 1;
        for (std::vector<BYTE>* pBytes : {&input, &alpha, &output})
        {
            for (BYTE& b : *pBytes)
                b = static_cast<BYTE>((nSeed = nSeed * 1664525u + 1013904223u) >> 24);
        }
    }

    PicProps pic;
    std::vector<BYTE> input, alpha, output;
};

using PFNWORK = void (*)(Pictures&);

void MixAlpha(Pictures& p)
{
    Img_MixAlpha(p.input.data(), p.alpha.data(), p.output.data(), &p.pic, &p.pic, nullptr, nullptr, -1);
}

void MixPicture(Pictures& p)
{
    Img_MixPicture(p.input.data(), p.alpha.data(), p.output.data(), -1, &p.pic, &p.pic, false, nullptr,
                   nullptr, -1);
}

void MixPicturePre(Pictures& p)
{
    Img_MixPicture(p.input.data(), p.alpha.data(), p.output.data(), 255, &p.pic, &p.pic, false, nullptr,
                   nullptr, -1);
}

void Blend(Pictures& p)
{
    Img_Blend(p.input.data(), p.output.data(), 96, 160, &p.pic, &p.pic, nullptr, nullptr);
}

/// An alpha for each byte, all bytes of the picture as one plane.
void YuvBlendPlane(Pictures& p)
{
    const int nRow = p.pic.nWidth;
    const int nRows = static_cast<int>(p.input.size()) / nRow;
    libyuv::BlendPlane(p.input.data(), nRow, p.output.data(), nRow, p.alpha.data(), nRow, p.output.data(),
                       nRow, nRow, nRows);
}

/// BGRA over BGRA by the alpha in the pixels.
void YuvARGBBlend(Pictures& p)
{
    const int nRow = 4 * p.pic.nWidth;
    libyuv::ARGBBlend(p.input.data(), nRow, p.output.data(), nRow, p.output.data(), nRow, p.pic.nWidth,
                      -p.pic.nHeight);
}

/// One weight for all bytes.
void YuvInterpolate(Pictures& p)
{
    const int nRow = p.pic.nWidth;
    const int nRows = static_cast<int>(p.input.size()) / nRow;
    libyuv::InterpolatePlane(p.input.data(), nRow, p.output.data(), nRow, p.output.data(), nRow, nRow, nRows,
                             160);
}

void RegisterJob(const char* pszWork, DWORD fccType, int nWidth, int nHeight, PFNWORK pfnOurs,
                 PFNWORK pfnPeer)
{
    const std::string sJob = std::string(pszWork) + "-" + FormatName(fccType);
    const auto spPictures = std::make_shared<Pictures>(fccType, nWidth, nHeight);
    const auto work = [=](eCPU eLevel)
    {
        const CCpuLimit limit(eLevel);
        pfnOurs(*spPictures);
    };
    Register(sJob, nWidth, nHeight, pszOurs, [=] { work(eCPU_AVX2); });
    Register(sJob, nWidth, nHeight, pszOursSse41, [=] { work(eCPU_SSE41); });
    Register(sJob, nWidth, nHeight, "libyuv", [=] { pfnPeer(*spPictures); });
}

} // namespace

void RegisterMix()
{
    for (const DWORD fccType : arrFormats)
    {
        // One alpha a pixel: only 32 bits have a peer that reads it so.
        const PFNWORK pfnPerPixel = fccType == FOURCC_RGB32 ? YuvARGBBlend : YuvBlendPlane;
        RegisterJob("MixAlpha", fccType, 1920, 1080, MixAlpha, YuvBlendPlane);
        RegisterJob("MixPicture", fccType, 1920, 1080, MixPicture, pfnPerPixel);
        RegisterJob("MixPicture-premultiplied", fccType, 1920, 1080, MixPicturePre, pfnPerPixel);
        RegisterJob("Blend", fccType, 1920, 1080, Blend, YuvInterpolate);
    }
}
