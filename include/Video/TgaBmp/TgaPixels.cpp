#include "Video/TgaBmp/TgaPixels.h"

#include "dstl/dshowx/DSTrace.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace
{
constexpr BYTE fPacketRun = 0x80;
constexpr DWORD nLongestPacket = 128; // pixels
constexpr DWORD cbMaxPixel = 4;

/// Bands stay in the cache of a core.
constexpr DWORD cbBand = 256 * 1024;

/// Runs and literals are written in steps of fixed size, so that short ones take one step and no decision: so
/// many bytes may be written, or read, too far.
constexpr DWORD cbStep = 64;
/// Bytes that have to lie ready before a packet is decoded without further questions.
constexpr DWORD cbPacketWindow = 1 + nLongestPacket * cbMaxPixel + cbStep;
/// Pixels that have to be missing from the image for it: the longest packet, and room to write too far.
constexpr DWORD nPacketRoom = nLongestPacket + cbStep;

/// Three words that the pixel fills again and again: their 24 bytes are a multiple of every depth.
template <DWORD cbPixel>
void WriteRun(BYTE* pbOut, const BYTE* pbPixel, DWORD nCount) noexcept
{
    uint64_t nPixel = 0;
    std::memcpy(&nPixel, pbPixel, cbPixel);
    uint64_t rgWords[3];
    static_assert(2 * sizeof(rgWords) <= cbStep && sizeof(rgWords) % cbPixel == 0);
    if constexpr (cbPixel == 3)
    {
        // A word ends after the second or after the first byte of its last pixel, where the next one goes on.
        rgWords[0] = nPixel | nPixel << 24 | nPixel << 48;
        rgWords[1] = nPixel >> 16 | nPixel << 8 | nPixel << 32 | nPixel << 56;
        rgWords[2] = nPixel >> 8 | nPixel << 16 | nPixel << 40;
    }
    else
    {
        constexpr uint64_t nOnes = cbPixel == 1   ? 0x0101010101010101u
                                   : cbPixel == 2 ? 0x0001000100010001u
                                                  : 0x0000000100000001u;
        rgWords[0] = rgWords[1] = rgWords[2] = nPixel * nOnes;
    }
    const BYTE* const pbEnd = pbOut + nCount * cbPixel;
    for (; pbOut < pbEnd; pbOut += 2 * sizeof(rgWords))
    {
        std::memcpy(pbOut, rgWords, sizeof(rgWords));
        std::memcpy(pbOut + sizeof(rgWords), rgWords, sizeof(rgWords));
    }
}

void WriteLiteral(BYTE* pbOut, const BYTE* pbPixels, DWORD cb) noexcept
{
    for (DWORD i = 0; i < cb; i += cbStep)
        std::memcpy(pbOut + i, pbPixels + i, cbStep);
}

/// Decodes whole packets out of what lies ready, as long as none can lack bytes or room.
/// \return pixels written: nWanted or up to a packet less one more, or fewer
template <DWORD cbPixel>
DWORD DecodeReady(CReadAhead& ahead, BYTE* pbOut, DWORD nWanted, DWORD nRest) noexcept
{
    const BYTE* const pbFirst = ahead.Ready();
    const BYTE* const pbLast = pbFirst + ahead.ReadyBytes() - cbPacketWindow;
    const BYTE* pb = pbFirst;
    DWORD nGot = 0;
    while (pb <= pbLast && nGot < nWanted && nRest - nGot >= nPacketRoom)
    {
        const BYTE byPacket = *pb++;
        const DWORD nCount = (byPacket & ~fPacketRun) + 1u;
        const DWORD cbOut = nCount * cbPixel;
        if ((byPacket & fPacketRun) != 0)
        {
            WriteRun<cbPixel>(pbOut, pb, nCount);
            pb += cbPixel;
        }
        else
        {
            WriteLiteral(pbOut, pb, cbOut);
            pb += cbOut;
        }
        pbOut += cbOut;
        nGot += nCount;
    }
    ahead.Take(static_cast<DWORD>(pb - pbFirst));
    return nGot;
}

using PFNDECODE = DWORD (*)(CReadAhead& ahead, BYTE* pbOut, DWORD nWanted, DWORD nRest) noexcept;
constexpr PFNDECODE rgDecode[cbMaxPixel] = {DecodeReady<1>, DecodeReady<2>, DecodeReady<3>, DecodeReady<4>};

/// Room for a band of pixels, the packet that ends behind it, and what is written too far; null without
/// memory.
std::unique_ptr<BYTE[]> AllocBand(DWORD nPixels, DWORD cbPixel) noexcept
{
    const size_t cb = (size_t{nPixels} + nLongestPacket) * cbPixel + cbStep;
    return std::unique_ptr<BYTE[]>(new (std::nothrow) BYTE[cb]);
}
} // namespace

bool CTgaPixelReader::CanHold(ULONGLONG cbRest) const noexcept
{
    if (!m_header.IsPacked())
        return cbRest >= ULONGLONG{m_nPixels} * m_cbPixel;
    const ULONGLONG nPackets = (ULONGLONG{m_nPixels} + nLongestPacket - 1) / nLongestPacket;
    return cbRest >= nPackets * (1 + m_cbPixel);
}

/// Reads the pixels of the image band after band.
/// \param nBand pixels of a band; the last one may have fewer
/// \param place says where a band goes: (its first pixel, its count of pixels); room as in AllocBand, or
/// nothing behind the last pixel of the image
/// \param onBand called with each band, in file order: (its place, its first pixel, its count of pixels)
template <class TPlace, class TOnBand>
HRESULT CTgaPixelReader::ReadBands(DWORD nBand, TPlace&& place, TOnBand&& onBand, DWORD* pcbRead) noexcept
{
    Progress progress = {m_nPixels, 0};
    const BYTE* pbBefore = nullptr;
    DWORD nThere = 0; // pixels that the last packet of the band before has brought
    for (DWORD nFirst = 0, nWanted = 0; nFirst < m_nPixels; nFirst += nWanted)
    {
        nWanted = std::min(nBand, m_nPixels - nFirst);
        BYTE* const pbBand = place(nFirst, nWanted);
        if (nThere != 0)
            std::memmove(pbBand, pbBefore, size_t{nThere} * m_cbPixel);
        if (nThere < nWanted)
        {
            DWORD nGot = 0;
            const HRESULT hr =
                ReadPixels(pbBand + size_t{nThere} * m_cbPixel, nWanted - nThere, &progress, &nGot);
            if (FAILED(hr))
                return hr;
            nThere += nGot;
        }
        onBand(pbBand, nFirst, nWanted);
        nThere -= nWanted;
        pbBefore = pbBand + size_t{nWanted} * m_cbPixel;
    }
    *pcbRead = progress.cbRead;
    return S_OK;
}

HRESULT CTgaPixelReader::ReadWhole(BYTE* pbImage, DWORD* pcbRead) noexcept
{
    return ReadBands(
        m_nPixels, [&](DWORD, DWORD) { return pbImage; }, [](const BYTE*, DWORD, DWORD) {}, pcbRead);
}

HRESULT CTgaPixelReader::PassOver(DWORD* pcbRead) noexcept
{
    const DWORD nBand = std::min(cbBand / cbMaxPixel, m_nPixels);
    const std::unique_ptr<BYTE[]> pBand = AllocBand(nBand, m_cbPixel);
    if (!pBand)
        return E_OUTOFMEMORY;
    return Report(ReadBands(
        nBand, [&](DWORD, DWORD) { return pBand.get(); }, [](const BYTE*, DWORD, DWORD) {}, pcbRead));
}

HRESULT CTgaPixelReader::ReadConverted(const TgaRowForms& forms, DWORD fccType, BYTE* pBmp,
                                       DWORD* pcbRead) noexcept
{
    const DWORD nColumns = m_header.nWidth;
    const DWORD nRows = m_header.nHeight;
    const PFNTGAROW pfnRow = forms.Find(fccType);
    const size_t cbPixel = TgaBitmapPixel(fccType);
    const size_t cbRow = AlignTgaRow(nColumns * cbPixel);
    const size_t cbStoredRow = size_t{nColumns} * m_cbPixel;
    // In the order of the file a row never grows into what is still to be converted if its band is put to the
    // end of the place that it will take. So the system fills the fresh pages, which costs it less than a
    // fault costs here.
    const bool bInPlace = cbPixel == cbMaxPixel && !m_header.IsTopOrigin();
    if (bInPlace && m_cbPixel == cbMaxPixel && fccType == FOURCC_ARGB32)
        return Report(ReadWhole(pBmp, pcbRead)); // as it is to be

    const DWORD nBandRows = std::clamp<DWORD>(static_cast<DWORD>(cbBand / cbStoredRow), 1, nRows);
    const DWORD nBand = nBandRows * nColumns;
    std::unique_ptr<BYTE[]> pBand;
    if (!bInPlace)
    {
        pBand = AllocBand(nBand, m_cbPixel);
        if (!pBand)
            return E_OUTOFMEMORY;
    }
    const auto place = [&](DWORD nFirst, DWORD nPixels)
    {
        return bInPlace ? pBmp + (size_t{nFirst} + nPixels) * cbPixel - size_t{nPixels} * m_cbPixel
                        : pBand.get();
    };
    const auto convert = [&](const BYTE* pbBand, DWORD nFirst, DWORD nPixels)
    {
        const DWORD nFirstRow = nFirst / nColumns;
        for (DWORD y = 0; y < nPixels / nColumns; ++y)
            pfnRow(pbBand + y * cbStoredRow, pBmp + TgaBitmapRow(m_header, nFirstRow + y) * cbRow, nColumns);
    };
    return Report(ReadBands(nBand, place, convert, pcbRead));
}

/// \param pbOut room for nWanted pixels, and for a packet more unless the image ends before
/// \param pnGot out: pixels read: nWanted, or up to a packet less one more
HRESULT CTgaPixelReader::ReadPixels(BYTE* pbOut, DWORD nWanted, Progress* pProgress, DWORD* pnGot) noexcept
{
    *pnGot = 0;
    if (!m_header.IsPacked())
    {
        *pnGot = nWanted;
        return ReadPlain(pbOut, nWanted, pProgress);
    }
    while (*pnGot < nWanted)
    {
        BYTE* const pb = pbOut + size_t{*pnGot} * m_cbPixel;
        DWORD nGot = 0;
        if (pProgress->nRest >= nPacketRoom && m_input.MakeReady(m_hFile, cbPacketWindow))
        {
            const DWORD cbReady = m_input.ReadyBytes();
            nGot = rgDecode[m_cbPixel - 1](m_input, pb, nWanted - *pnGot, pProgress->nRest);
            pProgress->nRest -= nGot;
            pProgress->cbRead += cbReady - m_input.ReadyBytes();
        }
        else
        {
            const HRESULT hr = ReadPacket(pb, pProgress, &nGot);
            if (FAILED(hr))
                return hr;
        }
        *pnGot += nGot;
    }
    return S_OK;
}

/// What is missing is reported as missing from the whole image, wherever a band ends.
HRESULT CTgaPixelReader::ReadPlain(BYTE* pbOut, DWORD nWanted, Progress* pProgress) noexcept
{
    const DWORD cb = nWanted * m_cbPixel;
    DWORD cbGot = 0;
    const bool bRead = m_input.Read(m_hFile, pbOut, cb, &cbGot);
    pProgress->nRest -= nWanted;
    pProgress->cbRead += cbGot;
    if (bRead && cbGot == cb)
        return S_OK;
    return CTgaInput::Report(bRead, ImageSize(), pProgress->cbRead);
}

/// One packet, step by step: reports what is wrong with it.
HRESULT CTgaPixelReader::ReadPacket(BYTE* pbOut, Progress* pProgress, DWORD* pnGot) noexcept
{
    BYTE byPacket = 0;
    HRESULT hr = m_input.ReadExactly(m_hFile, sizeof(byPacket), &byPacket);
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::ReadRLEImage(): Read( count )=0x%X\n", hr);
        return hr;
    }
    // The whole image is the limit: a packet may run across the end of a row.
    const DWORD nCount = (byPacket & ~fPacketRun) + 1u;
    if (nCount > pProgress->nRest)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CTga::ReadRLEImage(): Invalid image: nCount=%u > nRest=%u\n", nCount,
              pProgress->nRest);
        return E_FAIL;
    }
    DWORD cbColors = m_cbPixel;
    if ((byPacket & fPacketRun) != 0)
    {
        BYTE bColors[cbMaxPixel] = {};
        hr = m_input.ReadExactly(m_hFile, cbColors, bColors);
        if (FAILED(hr))
        {
            trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::ReadRLEImage(): Read( compressed )=0x%X\n",
                  hr);
            return hr;
        }
        for (DWORD i = 0; i < nCount; ++i)
            std::memcpy(pbOut + i * m_cbPixel, bColors, m_cbPixel);
    }
    else
    {
        cbColors *= nCount;
        hr = m_input.ReadExactly(m_hFile, cbColors, pbOut);
        if (FAILED(hr))
        {
            trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::ReadRLEImage(): Read( uncompressed )=0x%X\n",
                  hr);
            return hr;
        }
    }
    pProgress->nRest -= nCount;
    pProgress->cbRead += static_cast<DWORD>(sizeof(byPacket)) + cbColors;
    *pnGot = nCount;
    return S_OK;
}

HRESULT CTgaPixelReader::Report(HRESULT hr) const noexcept
{
    if (FAILED(hr))
        trace(atlTraceGeneral, eTL_Error,
              m_header.IsPacked()
                  ? L"###Err### CTga::ReadFile(): ReadRLEImage()=0x%X\n"
                  : L"###Err### CTga::ReadFile(): read Uncompressed Image Data failed, hr=0x%X\n",
              hr);
    return hr;
}
