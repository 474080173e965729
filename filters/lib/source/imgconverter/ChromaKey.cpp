#include "imgconverter/ImgConverter.h"
#include "imgconverter/KeyPicture.h"

#include "dstl/WinAPI/Perf_only.h"
#include "dstl/dshowx/DSTrace.h"

#include <algorithm>
#include <cmath>
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

/// Four channels in the order of the working buffer.
struct ARGB
{
    BYTE arrBytes[4] = {};
};

/// An earlier key, or the one that is made: a colour and the half-axes around it.
struct Key
{
    ARGB ptCenter;
    ARGB ptAxle;
};

/// What is known of all samples.
struct Statistics
{
    BYTE ptLow[4] = {255, 255, 255, 255};
    BYTE ptHigh[4] = {};
    int64_t ptSumm[4] = {};
    int64_t nCount = 0;

    void Add(const ARGB& sample) noexcept
    {
        for (int i = 0; i < 4; i++)
        {
            ptLow[i] = std::min(ptLow[i], sample.arrBytes[i]);
            ptHigh[i] = std::max(ptHigh[i], sample.arrBytes[i]);
            ptSumm[i] += sample.arrBytes[i];
        }
        nCount++;
    }
};

LONG ClampTo(LONG n, int64_t nCount) noexcept
{
    return static_cast<LONG>(std::clamp<int64_t>(n, 0, nCount - 1));
}

/// Where the samples come from: the edges of an earlier key, points, rectangles, in this order. They are read
/// again where they are needed again, so that no list of them has to be kept.
class CSamples
{
public:
    CSamples(const CKeyPicture& picture, PFNKEYSPACE pfnSpace) noexcept
        : m_picture(picture), m_pfnSpace(pfnSpace)
    {
    }

    void SetKey(const Key& key) noexcept
    {
        m_key = key;
        m_bKey = true;
    }

    /// Moves points into the picture, where they stand.
    void SetPoints(POINT* pPoints, int nPoints) noexcept
    {
        m_pPoints = pPoints;
        m_nPoints = pPoints ? nPoints : 0;
        for (int i = 0; i < m_nPoints; i++)
        {
            pPoints[i].x = ClampTo(pPoints[i].x, m_picture.Width());
            pPoints[i].y = ClampTo(pPoints[i].y, m_picture.Height());
        }
    }

    /// Moves the edges of rectangles into the picture, where they stand.
    void SetRects(RECT* pRects, int nRects) noexcept
    {
        m_pRects = pRects;
        m_nRects = pRects ? nRects : 0;
        for (int i = 0; i < m_nRects; i++)
        {
            RECT& rc = pRects[i];
            rc = {ClampTo(rc.left, m_picture.Width()), ClampTo(rc.top, m_picture.Height()),
                  ClampTo(rc.right, m_picture.Width()), ClampTo(rc.bottom, m_picture.Height())};
        }
    }

    /// Calls fnSample(ARGB) for each sample until it answers false.
    template <class TFunction>
    void ForEach(const TFunction& fnSample) const noexcept
    {
        for (int i = 0; m_bKey && i < 6; i++)
        {
            if (!fnSample(KeyEdge(i / 2, i % 2 == 0)))
                return;
        }
        for (int i = 0; i < m_nPoints; i++)
        {
            if (!fnSample(Read(m_pPoints[i].x, m_pPoints[i].y)))
                return;
        }
        for (int i = 0; i < m_nRects; i++)
        {
            const RECT& rc = m_pRects[i];
            for (LONG y = rc.top; y <= rc.bottom; y++)
            {
                for (LONG x = rc.left; x <= rc.right; x++)
                {
                    if (!fnSample(Read(x, y)))
                        return;
                }
            }
        }
    }

private:
    /// The centre of the earlier key with one channel raised or lowered by its tolerance.
    ARGB KeyEdge(int nChannel, bool bRaised) const noexcept
    {
        ARGB sample = m_key.ptCenter;
        const int nAxle = m_key.ptAxle.arrBytes[nChannel];
        BYTE& byte = sample.arrBytes[nChannel];
        byte = static_cast<BYTE>(bRaised ? std::min(byte + nAxle, 255) : std::max(byte - nAxle, 0));
        return sample;
    }

    /// In a bottom-up picture the row is one further than where it is shown, deliberately: the first one
    /// reads the row behind the picture, which counts as zeros.
    ARGB Read(LONG x, LONG y) const noexcept
    {
        ARGB sample;
        const int64_t nRow = m_picture.IsMirror() ? m_picture.Height() - y : y;
        if (nRow < m_picture.Height())
            m_pfnSpace(m_picture.Row(nRow) + ptrdiff_t{x} * 4, sample.arrBytes, 1);
        return sample;
    }

    const CKeyPicture& m_picture;
    const PFNKEYSPACE m_pfnSpace;
    Key m_key;
    bool m_bKey = false;
    const POINT* m_pPoints = nullptr;
    int m_nPoints = 0;
    const RECT* m_pRects = nullptr;
    int m_nRects = 0;
};

/// The mean of all samples and the half-axes that reach the farthest one of each channel.
Key StartKey(const Statistics& statistics) noexcept
{
    Key key;
    for (int i = 0; i < 4; i++)
    {
        const int64_t nCentre =
            (2 * statistics.ptSumm[i] + statistics.nCount) / (2 * statistics.nCount); // half goes up
        const int64_t nAxle = std::max(nCentre - statistics.ptLow[i], statistics.ptHigh[i] - nCentre);
        key.ptCenter.arrBytes[i] = static_cast<BYTE>(nCentre);
        key.ptAxle.arrBytes[i] = static_cast<BYTE>(std::max<int64_t>(nAxle, i < 3 ? 1 : 0));
    }
    return key;
}

/// How far a sample lies from the centre, 1 on the ellipsoid. The third divisor takes a0 and a2, not the
/// square of a2: deliberate.
double Distance(const Key& key, const ARGB& sample) noexcept
{
    const auto d = [&](int i)
    { return static_cast<double>(sample.arrBytes[i]) - static_cast<double>(key.ptCenter.arrBytes[i]); };
    const auto a = [&](int i) { return static_cast<double>(key.ptAxle.arrBytes[i]); };
    const double e = d(0) * d(0) / (a(0) * a(0)) + d(1) * d(1) / (a(1) * a(1)) + d(2) * d(2) / (a(0) * a(2));
    return std::sqrt(e);
}

/// Grows the half-axes until the sample lies inside. \return false when they cannot grow any more
bool Cover(Key& key, const ARGB& sample) noexcept
{
    BYTE* const ptAxle = key.ptAxle.arrBytes;
    for (double r = Distance(key, sample); !(r <= 1.0); r = Distance(key, sample))
    {
        for (int i = 0; i < 3; i++)
            ptAxle[i] = static_cast<BYTE>(std::min(std::floor(ptAxle[i] * r + 1.0), 255.0));
        if (ptAxle[0] == 255 && ptAxle[1] == 255 && ptAxle[2] == 255)
            return false;
    }
    return true;
}

/// Three bytes, as they stand or with the first and the third exchanged: a key of colours begins with red,
/// the working buffer with blue.
ARGB Unpack(DWORD dw, bool bExchange) noexcept
{
    ARGB result;
    for (int i = 0; i < 4; i++)
        result.arrBytes[bExchange && i < 3 ? 2 - i : i] = static_cast<BYTE>(dw >> 8 * i);
    return result;
}

DWORD Pack(const ARGB& value, bool bExchange) noexcept
{
    DWORD dw = 0;
    for (int i = 0; i < 3; i++)
        dw |= DWORD{value.arrBytes[bExchange ? 2 - i : i]} << 8 * i;
    return dw;
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

HRESULT Img_CalcKey(const BYTE* _pbInput, const PicProps* _pInputProps, int nPoints, POINT* _arrPoints,
                    int nRects, RECT* _arrRects, int nMode, DWORD* _pKey) noexcept
{
    DSASSERT(_pbInput && _pInputProps && _pKey);
    DSASSERT(_arrPoints || _arrRects);
    if (!_pbInput || !_pInputProps || !_pKey || (!_arrPoints && !_arrRects))
        return E_POINTER;
    if (nPoints <= 0 && nRects <= 0)
        return S_FALSE;
    CKeyPicture picture;
    const HRESULT hr = picture.Open(_pbInput, *_pInputProps, nullptr);
    if (FAILED(hr))
        return hr;

    static CPerf perf(L"[Img_CalcKey]");
    const CPerfScope scope(&perf);
    const bool bRGB = nMode != eIK_HLS && nMode != eIK_YUV;
    CSamples samples(picture, bRGB ? RGBToRGB : nMode == eIK_HLS ? RGBToHLS : RGBToYUVBytes);
    if (static_cast<LONG>(_pKey[1]) > 0)
        samples.SetKey({Unpack(_pKey[0], bRGB), Unpack(_pKey[1], bRGB)});
    samples.SetPoints(_arrPoints, nPoints);
    samples.SetRects(_arrRects, nRects);

    Statistics statistics;
    {
        // Samples are converted while they are read: timing each on its own would cost more than converting
        // it.
        const CPerfScope scopeSpace(KeySpaceCounter(nMode));
        samples.ForEach(
            [&statistics](const ARGB& sample)
            {
                statistics.Add(sample);
                return true;
            });
    }
    if (statistics.nCount == 0)
        return E_UNEXPECTED;

    // Samples that lie inside are done with when they are met, so that one walk over all of them is enough.
    Key key = StartKey(statistics);
    samples.ForEach([&key](const ARGB& sample) { return Cover(key, sample); });
    _pKey[0] = Pack(key.ptCenter, bRGB);
    _pKey[1] = Pack(key.ptAxle, bRGB);
    return S_OK;
}
