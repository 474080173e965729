#include "imgconverter/ImgConverter.h"
#include "imgconverter/KeyPicture.h"
#include "imgconverter/KeySpaces.h"

#include "dstl/WinAPI/Perf_only.h"
#include "dstl/dshowx/DSTrace.h"

#include <algorithm>
#include <cstddef>

namespace
{

constexpr int nChannels = 4;
constexpr int nBins = 256;

/// The counts of all channels, one channel behind the other.
struct Histograms
{
    DWORD arrCounts[nChannels * nBins] = {};

    /// A value outside 0 to 255 reads the neighbouring channel's counter, which is deliberate; before the
    /// first channel and behind the last nothing was counted.
    DWORD At(int nChannel, int nValue) const noexcept
    {
        const int nAt = nChannel * nBins + nValue;
        return nAt >= 0 && nAt < nChannels * nBins ? arrCounts[nAt] : 0;
    }
};

void Count(Histograms& histograms, const CKeyPicture& picture, PFNKEYSPACE pfnSpace,
           CPerf* pPerfSpace) noexcept
{
    CPerfPieces space(pPerfSpace);
    constexpr size_t nChunk = 256;
    BYTE arrPixels[nChunk * 4];
    for (int64_t y = 0; y < picture.Height(); y++)
    {
        const BYTE* pRow = picture.Row(y);
        for (auto nLeft = static_cast<size_t>(picture.Width()); nLeft != 0;)
        {
            const size_t nPixels = std::min(nLeft, nChunk);
            space.Begin();
            pfnSpace(pRow, arrPixels, nPixels);
            space.End();
            for (size_t i = 0; i < nPixels * 4; i++)
                histograms.arrCounts[i % 4 * nBins + arrPixels[i]]++;
            pRow += nPixels * 4;
            nLeft -= nPixels;
        }
    }
}

/// The centre and the tolerance of one channel.
struct ChannelKey
{
    int nPeak = 0;
    int nTolerance = 0;
};

/// \param nThreshold pixels that a value needs to belong to the peak wherever it lies
ChannelKey FindPeak(const Histograms& histograms, int nChannel, int64_t nThreshold) noexcept
{
    int64_t nMaxSum = 0;
    int nPeak = 0;
    for (int v = 1; v < nBins - 1; v++)
    {
        const int64_t nSum = int64_t{histograms.At(nChannel, v - 1)} + histograms.At(nChannel, v) +
                             histograms.At(nChannel, v + 1);
        if (nSum > nMaxSum)
        {
            nMaxSum = nSum;
            nPeak = v;
        }
    }

    int nLow = nPeak;
    int nHigh = nPeak;
    for (int d = -64; d < 64; d++)
    {
        const int v = nPeak + d;
        const int64_t nCount = histograms.At(nChannel, v);
        const bool bFrequent = v >= 0 && v < nBins && nCount > nThreshold;
        if (bFrequent || nCount > nMaxSum / 14)
        {
            nLow = std::min(nLow, v);
            nHigh = std::max(nHigh, v);
        }
    }
    return {nPeak, std::max(nHigh - nPeak, nPeak - nLow) + 5};
}

} // namespace

HRESULT Img_GetChromaKey(const BYTE* _pbInput, const PicProps* _pInputProps, int nMode, DWORD* _pChromaKey,
                         BYTE* pTemp) noexcept
{
    DSASSERT(_pbInput && _pInputProps && _pChromaKey);
    if (!_pbInput || !_pInputProps || !_pChromaKey)
        return E_POINTER;
    if (nMode != eIK_RGB && nMode != eIK_HLS)
        return E_INVALIDARG;
    CKeyPicture picture;
    const HRESULT hr = picture.Open(_pbInput, *_pInputProps, pTemp);
    if (FAILED(hr))
        return hr;

    static CPerf perf(L"[PIXEL STAT]");
    const CPerfScope scope(&perf);
    Histograms histograms;
    Count(histograms, picture, nMode == eIK_HLS ? RGBToHLS : RGBToRGB, KeySpaceCounter(nMode));
    const int64_t nThreshold = picture.Width() * picture.Height() / 256;
    DWORD dwCentre = 0;
    DWORD dwTolerance = 0;
    for (int nChannel = 0; nChannel < 3; nChannel++)
    {
        const ChannelKey key = FindPeak(histograms, nChannel, nThreshold);
        // A key begins with red, the picture with blue.
        const int nByte = nMode == eIK_HLS ? nChannel : 2 - nChannel;
        dwCentre |= static_cast<DWORD>(key.nPeak) << 8 * nByte;
        dwTolerance |= static_cast<DWORD>(key.nTolerance) << 8 * nByte;
    }
    _pChromaKey[0] = dwCentre;
    _pChromaKey[1] = dwTolerance;
    return S_OK;
}
