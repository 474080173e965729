// The readers of picture files beside FFmpeg and stb_image: from the name of a file to its pixels in memory
// of their own, which every contestant takes anew for each picture and gives back.
#include "Bench.h"
#include "PictureFiles.h"

#include "Common/Common.h"
#include "Video/TgaBmp/BmpFile.h"
#include "Video/TgaBmp/TgaBmp.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <malloc.h>
#include <memory>
#include <stb/stb_image.h>
#include <vector>

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace
{

void Check(bool bGood, const char* pszContestant, const std::string& sPath)
{
    if (bGood)
        return;
    std::fprintf(stderr, "%s does not read %s\n", pszContestant, sPath.c_str());
    std::exit(1);
}

void LoadOurTga(const std::string& sPath)
{
    const std::vector<wchar_t> name(sPath.c_str(), sPath.c_str() + sPath.size() + 1);
    BITMAPINFOHEADER bmi;
    CTaskBytes pPicture;
    Check(TgaBmpConv(name.data(), FOURCC_ARGB32, &bmi, pPicture.Out(), nullptr, false) == S_OK, pszOurs,
          sPath);
    benchmark::DoNotOptimize(pPicture.Get());
}

void LoadOurBmp(const std::string& sPath)
{
    const std::vector<wchar_t> name(sPath.c_str(), sPath.c_str() + sPath.size() + 1);
    BITMAPINFOHEADER bmi;
    CTaskBytes pPicture;
    Check(LoadBmpFile(name.data(), &bmi, pPicture.Out()) == S_OK, pszOurs, sPath);
    benchmark::DoNotOptimize(pPicture.Get());
}

void LoadStb(const std::string& sPath)
{
    int nWidth = 0;
    int nHeight = 0;
    int nChannels = 0;
    stbi_uc* const pb = stbi_load(sPath.c_str(), &nWidth, &nHeight, &nChannels, 0);
    Check(pb != nullptr, "stb_image", sPath);
    benchmark::DoNotOptimize(pb);
    stbi_image_free(pb);
}

/// One picture through demuxer and decoder, on one thread. Nothing is probed: the demuxer is given.
void LoadFFmpeg(const std::string& sPath)
{
    static const AVInputFormat* const pInput = av_find_input_format("image2");
    AVFormatContext* pFormat = nullptr;
    AVDictionary* pOptions = nullptr;
    av_dict_set(&pOptions, "pattern_type", "none", 0);
    bool bGood = avformat_open_input(&pFormat, sPath.c_str(), pInput, &pOptions) == 0;
    av_dict_free(&pOptions);
    Check(bGood, "FFmpeg", sPath);

    const AVCodecParameters* const pParameters = pFormat->streams[0]->codecpar;
    AVCodecContext* pContext = avcodec_alloc_context3(nullptr);
    avcodec_parameters_to_context(pContext, pParameters);
    pContext->thread_count = 1;
    AVPacket* pPacket = av_packet_alloc();
    AVFrame* pFrame = av_frame_alloc();
    bGood = avcodec_open2(pContext, avcodec_find_decoder(pParameters->codec_id), nullptr) == 0 &&
            av_read_frame(pFormat, pPacket) == 0 && avcodec_send_packet(pContext, pPacket) == 0 &&
            avcodec_receive_frame(pContext, pFrame) == 0;
    Check(bGood, "FFmpeg", sPath);
    benchmark::DoNotOptimize(pFrame->data[0]);
    av_frame_free(&pFrame);
    av_packet_free(&pPacket);
    avcodec_free_context(&pContext);
    avformat_close_input(&pFormat);
}

struct Job
{
    const char* pszName;
    FileKind kind;
    Content content;
    int nBits;
    void (*pfnOurs)(const std::string& sPath);
    Target target;
};

constexpr Target targetSame = {1.0, 1.0};
constexpr Target targetGrows = {0.6, 1.0};  ///< to 32 bits, while the peers keep 24
constexpr Target targetPacked = {0.7, 1.0}; ///< to FFmpeg, which always is the fastest peer here

constexpr Job arrJobs[] = {
    {"file-TGA24", FileKind::Tga, Content::Photo, 24, LoadOurTga, targetGrows},
    {"file-TGA32", FileKind::Tga, Content::Photo, 32, LoadOurTga, targetSame},
    {"file-TGA24-top", FileKind::TgaTop, Content::Photo, 24, LoadOurTga, targetGrows},
    {"file-TGA32-top", FileKind::TgaTop, Content::Photo, 32, LoadOurTga, targetSame},
    {"file-TGA24-packed-photo", FileKind::TgaPacked, Content::Photo, 24, LoadOurTga, targetPacked},
    {"file-TGA32-packed-photo", FileKind::TgaPacked, Content::Photo, 32, LoadOurTga, targetPacked},
    {"file-TGA24-packed-graphic", FileKind::TgaPacked, Content::Graphic, 24, LoadOurTga, targetPacked},
    {"file-TGA32-packed-graphic", FileKind::TgaPacked, Content::Graphic, 32, LoadOurTga, targetPacked},
    {"file-BMP24", FileKind::Bmp, Content::Photo, 24, LoadOurBmp, targetSame},
    {"file-BMP32", FileKind::Bmp, Content::Photo, 32, LoadOurBmp, targetSame},
};

void RegisterJob(const Job& job, int nWidth, int nHeight)
{
    const struct
    {
        const char* pszName;
        void (*pfnLoad)(const std::string& sPath);
    } arrContestants[] = {{pszOurs, job.pfnOurs}, {"FFmpeg", LoadFFmpeg}, {"stb_image", LoadStb}};
    for (const auto& contestant : arrContestants)
    {
        // Filled when the contestant's turn comes: most runs ask for few of the files.
        auto spPath = std::make_shared<std::string>();
        Register(
            job.pszName, nWidth, nHeight, contestant.pszName,
            [spPath, pfnLoad = contestant.pfnLoad] { pfnLoad(*spPath); },
            [spPath, job, nWidth, nHeight]
            {
                // Blocks of this size come as fresh pages, as they do from the heap of the target system,
                // also after one was given back.
                constexpr int cbFreshPages = 128 * 1024;
                mallopt(M_MMAP_THRESHOLD, cbFreshPages);
                *spPath = PictureFile(job.kind, job.content, job.nBits, nWidth, nHeight);
            });
    }
    Expect(job.pszName, nWidth, nHeight, job.target);
}

} // namespace

void RegisterReaders()
{
    av_log_set_level(AV_LOG_ERROR);
    for (const Job& job : arrJobs)
    {
        RegisterJob(job, 1920, 1080);
        RegisterJob(job, 7680, 4320);
    }
}
