#include "imgconverter/KeyPicture.h"

#include "dstl/WinAPI/Perf_only.h"
#include "imgconverter/ImgConverter.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace
{

/// 0 to 360 degrees. The channels differ.
float Hue(float r, float g, float b, float fMax, float fMin) noexcept
{
    float fHue;
    if (r == fMax)
        fHue = 60 * (g - b) / (fMax - fMin);
    else if (g == fMax)
        fHue = 60 * (b - r) / (fMax - fMin) + 120;
    else
        fHue = 60 * (r - g) / (fMax - fMin) + 240;
    return fHue < 0 ? fHue + 360 : fHue;
}

int YUVDifference(int nChannel, int nLuma, int nFactor) noexcept
{
    return (((nChannel * 65536 - nLuma + 32767) >> 16) * nFactor) >> 16;
}

} // namespace

HRESULT CKeyPicture::Open(const BYTE* pbInput, const PicProps& pic, BYTE* pTemp) noexcept
{
    DWORD arrShift[3];
    DWORD arrStep[3];
    if (!GetPicPlanes(&pic, arrShift, arrStep, &m_bMirror, false) || pic.nWidth <= 0 || pic.nHeight == 0)
        return E_INVALIDARG;
    m_nWidth = pic.nWidth;
    m_nHeight = AbsHeight(pic.nHeight);
    m_cbPitch = int64_t{pic.nRowWidth} * 4;
    m_pRows = pbInput;
    if (pic.fccType == FOURCC_RGB32 || pic.fccType == FOURCC_ARGB32)
        return S_OK;

    if (pic.nRowWidth <= 0)
        return E_INVALIDARG; // the converted rows would have no length
    const auto cbPicture = static_cast<size_t>(m_cbPitch * m_nHeight);
    if (!pTemp)
    {
        m_memory.reset(new (std::nothrow) BYTE[cbPicture]);
        pTemp = m_memory.get();
    }
    if (!pTemp)
        return E_OUTOFMEMORY;
    // Some formats have no path to RGB32 and leave the output as it is: such a picture counts as black.
    std::memset(pTemp, 0, cbPicture);
    // A YUV picture becomes a top-down one, an RGB picture keeps its order.
    const LONG nHeight = IsRGBFormat(pic.fccType) ? pic.nHeight : static_cast<LONG>(-m_nHeight);
    const PicProps picRGB = {FOURCC_RGB32, pic.nWidth, nHeight, pic.nRowWidth};
    static CPerf perf(L"[YUV->RGB]"); // also of RGB to RGB
    const CPerfScope scope(&perf);
    // With a mirror to the buffer the input is only read.
    const HRESULT hr =
        Img_Convert(const_cast<BYTE*>(pbInput), pTemp, &pic, &picRGB, nullptr, nullptr, true, nullptr);
    m_pRows = pTemp;
    return hr;
}

void RGBToHLS(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept
{
    for (; nPixels != 0; nPixels--, pSrc += 4, pDst += 4)
    {
        const float r = static_cast<float>(pSrc[2]) / 255.0f;
        const float g = static_cast<float>(pSrc[1]) / 255.0f;
        const float b = static_cast<float>(pSrc[0]) / 255.0f;
        const float fMax = std::max({r, g, b});
        const float fMin = std::min({r, g, b});
        const float fLight = (fMax + fMin) / 2;
        float fHue = 0;
        float fSat = 0;
        if (fMax != fMin)
        {
            fSat = (fMax - fMin) / (fLight > 0.5f ? 2 - fMax - fMin : fMax + fMin);
            fHue = Hue(r, g, b, fMax, fMin);
        }
        constexpr float fRound = 0.499999f;
        pDst[0] = static_cast<BYTE>(fHue * 255 / 360 + fRound);
        pDst[1] = static_cast<BYTE>(fLight * 255 + fRound);
        pDst[2] = static_cast<BYTE>(fSat * 255 + fRound);
        pDst[3] = pSrc[3];
    }
}

void RGBToHLSBytes(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept
{
    for (; nPixels != 0; nPixels--, pSrc += 4, pDst += 4)
    {
        const float r = pSrc[0];
        const float g = pSrc[1];
        const float b = pSrc[2];
        const float fMax = std::max({r, g, b});
        const float fMin = std::min({r, g, b});
        const float fLight = (fMax + fMin) * 0.5f;
        float fHue = 0;
        float fSat = 0;
        if (fMax != fMin)
        {
            fSat = (fMax - fMin) / (fLight > 127.5f ? 510 - fMax - fMin : fMax + fMin);
            fHue = Hue(r, g, b, fMax, fMin);
        }
        pDst[0] = static_cast<BYTE>(fHue * 255 / 360 + 0.5f);
        pDst[1] = static_cast<BYTE>(fLight + 0.5f);
        pDst[2] = static_cast<BYTE>(fSat * 255 + 0.5f);
        pDst[3] = pSrc[3];
    }
}

void RGBToYUVBytes(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept
{
    for (; nPixels != 0; nPixels--, pSrc += 4, pDst += 4)
    {
        const int p0 = pSrc[0];
        const int p2 = pSrc[2];
        const int nLuma = 19595 * p0 + 38470 * pSrc[1] + 7471 * p2;
        pDst[0] = static_cast<BYTE>(nLuma >> 16);
        pDst[1] = static_cast<BYTE>(YUVDifference(p2, nLuma, 32244) - 128);
        pDst[2] = static_cast<BYTE>(std::clamp(YUVDifference(p0, nLuma, 57475) + 128, 0, 255));
        pDst[3] = pSrc[3];
    }
}

void RGBToRGB(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept
{
    std::memmove(pDst, pSrc, nPixels * 4);
}

CPerf* KeySpaceCounter(int nMode) noexcept
{
    if (nMode == eIK_HLS)
    {
        static CPerf perf(L"[RGB->HLS]");
        return &perf;
    }
    if (nMode == eIK_YUV)
    {
        static CPerf perf(L"[RGB->YUV]");
        return &perf;
    }
    return nullptr;
}
