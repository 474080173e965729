#include "imgconverter/ImgConverter.h"
#include "imgconverter/KeyPicture.h"

#include "dstl/dshowx/DSTrace.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace
{

constexpr size_t nTile = 256;
constexpr size_t nTableEntries = nTile * nTile;
constexpr size_t nSpaces = 3;
constexpr size_t nTablesPerSpace = 3;
constexpr size_t nTables = nSpaces * nTablesPerSpace;
constexpr size_t cbPixel = 4;
constexpr size_t cbLine = nTablesPerSpace * nTile * cbPixel;

/// How many pixels have two values, and what their third one is on average.
struct ColorInfo
{
    DWORD nCount;
    DWORD nAvgThird; ///< the sum of the third values at first, in 32 bits
};
static_assert(nTables * nTableEntries * sizeof(ColorInfo) == 0x480000);

/// The channels that a table is laid out by.
struct TableAxes
{
    BYTE nX;
    BYTE nY;
    BYTE nThird;
};

constexpr TableAxes arrAxes[nTablesPerSpace] = {{2, 1, 0}, {2, 0, 1}, {1, 0, 2}};

/// What the painting of a colour space leaves out or changes, and where its tiles stand.
struct SpaceRow
{
    PFNKEYSPACE pfnSpace;
    size_t nFirstLine;
    bool bOnlyCounted; ///< entries without pixels stay clear
    bool bScaled;      ///< the largest count shows as 255
};

constexpr SpaceRow arrSpaces[nSpaces] = {{RGBToRGB, 2 * nTile, false, false},
                                         {RGBToHLSBytes, nTile, true, false},
                                         {RGBToYUVBytes, 0, false, true}};

void Count(ColorInfo* pColorInfo, const CKeyPicture& picture) noexcept
{
    constexpr size_t nChunk = 256;
    BYTE arrPixels[nChunk * cbPixel];
    for (int64_t y = 0; y < picture.Height(); y++)
    {
        for (int64_t x = 0; x < picture.Width(); x += int64_t{nChunk})
        {
            const auto nPixels = std::min(static_cast<size_t>(picture.Width() - x), nChunk);
            const BYTE* const pRow = picture.Row(y) + x * int64_t{cbPixel};
            ColorInfo* pTable = pColorInfo;
            for (const SpaceRow& space : arrSpaces)
            {
                space.pfnSpace(pRow, arrPixels, nPixels);
                for (const TableAxes& axes : arrAxes)
                {
                    for (const BYTE* p = arrPixels; p < arrPixels + nPixels * cbPixel; p += cbPixel)
                    {
                        ColorInfo& entry = pTable[p[axes.nX] + p[axes.nY] * nTile];
                        entry.nCount++;
                        entry.nAvgThird += p[axes.nThird];
                    }
                    pTable += nTableEntries;
                }
            }
        }
    }
}

/// Turns sums into averages and counts into what a byte shows. \return the largest of these
DWORD Average(ColorInfo* pColorInfo) noexcept
{
    DWORD nLargest = 0;
    for (size_t i = 0; i < nTables * nTableEntries; i++)
    {
        if (pColorInfo[i].nCount == 0)
            continue;
        pColorInfo[i].nAvgThird /= pColorInfo[i].nCount;
        DSASSERT(pColorInfo[i].nAvgThird <= 0xFF);
        pColorInfo[i].nCount = std::min<DWORD>(pColorInfo[i].nCount, 128) * 2;
        pColorInfo[i].nCount = std::min<DWORD>(pColorInfo[i].nCount, 255);
        nLargest = std::max(nLargest, pColorInfo[i].nCount);
    }
    return nLargest;
}

void PaintTile(BYTE* pTile, const ColorInfo* pTable, const TableAxes& axes, const SpaceRow& space,
               DWORD nLargest) noexcept
{
    for (size_t i = 0; i < nTableEntries; i++)
    {
        const ColorInfo& entry = pTable[i];
        if (space.bOnlyCounted && entry.nCount == 0)
            continue;
        const size_t x = i % nTile;
        const size_t y = i / nTile;
        BYTE* const pPixel = pTile + y * cbLine + x * cbPixel;
        pPixel[axes.nThird] = static_cast<BYTE>(entry.nAvgThird);
        pPixel[axes.nX] = static_cast<BYTE>(x);
        pPixel[axes.nY] = static_cast<BYTE>(y);
        pPixel[3] = static_cast<BYTE>(space.bScaled ? entry.nCount * 255 / nLargest : entry.nCount);
    }
}

} // namespace

HRESULT Img_GetImageGraph(const BYTE* _pbInput, const PicProps* _pInputProps, int nMode, BYTE* pbGraph,
                          PicProps* _pGraphProps) noexcept
{
    DSASSERT(_pbInput && _pInputProps && _pGraphProps);
    if (!_pbInput || !_pInputProps || !_pGraphProps)
        return E_POINTER;
    // The picture is prepared before anything is told: one that cannot be is refused even where only the
    // description of the graph is asked for.
    CKeyPicture picture;
    const HRESULT hr = picture.Open(_pbInput, *_pInputProps, nullptr);
    if (FAILED(hr))
        return hr;
    if (nMode != 1)
        return E_INVALIDARG;
    // The width of one tile beside the row of three: deliberate.
    *_pGraphProps = {FOURCC_RGB32, LONG{nTile}, LONG{nSpaces * nTile}, LONG{nTablesPerSpace * nTile}};
    if (!pbGraph)
        return S_OK;

    const std::unique_ptr<ColorInfo[]> tables(new (std::nothrow) ColorInfo[nTables * nTableEntries]());
    if (!tables)
        return E_OUTOFMEMORY;

    std::memset(pbGraph, 0, nSpaces * nTile * cbLine);
    Count(tables.get(), picture);
    const DWORD nLargest = Average(tables.get());
    const ColorInfo* pTable = tables.get();
    for (const SpaceRow& space : arrSpaces)
    {
        BYTE* pTile = pbGraph + space.nFirstLine * cbLine;
        for (const TableAxes& axes : arrAxes)
        {
            PaintTile(pTile, pTable, axes, space, nLargest);
            pTable += nTableEntries;
            pTile += nTile * cbPixel;
        }
    }
    return S_OK;
}
