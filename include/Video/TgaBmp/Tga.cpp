#include "Video/TgaBmp/Tga.h"

#include "dstl/WinAPI/File.h"
#include "dstl/dshowx/DSTrace.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace
{
constexpr DWORD cbHeader = 18;
constexpr DWORD cbFooter = 26;
constexpr DWORD cbSignatureOffset = 8;
constexpr char rgSignature[18] = "TRUEVISION-XFILE."; // the terminator is part of it

constexpr BYTE nTypeMask = 3; // 1 colour-mapped, 2 true-colour, 3 black-and-white
constexpr BYTE nTypeFirstRLE = 9;
constexpr BYTE nTypeLastRLE = 11;
constexpr BYTE nTypeLastPlain = 3;
constexpr BYTE nMaxBitDepth = 32;
constexpr DWORD cbMaxPixel = 4;

constexpr BYTE fDescRightToLeft = 0x10;
constexpr BYTE fDescInterleave = 0xC0;

constexpr BYTE fPacketRun = 0x80;

/// Pixels are fetched four bytes at a time, so zero bytes stand behind every buffer of pixels.
constexpr DWORD cbSlack = 4;

/// Packets are a few bytes each: they are served from pieces of this size.
constexpr DWORD cbReadAhead = 64 * 1024;

WORD GetU16(const BYTE* pb) noexcept
{
    return static_cast<WORD>(pb[0] | pb[1] << 8);
}

DWORD GetU32(const BYTE* pb) noexcept
{
    return GetU16(pb) | static_cast<DWORD>(GetU16(pb + 2)) << 16;
}

TGAHeader ParseHeader(const BYTE (&pb)[cbHeader]) noexcept
{
    TGAHeader header;
    header.nIdLength = pb[0];
    header.nColMapType = pb[1];
    header.nImageType = pb[2];
    header.nColMapFirst = GetU16(pb + 3);
    header.nColMapEntries = GetU16(pb + 5);
    header.nColMapDepth = pb[7];
    header.nOriginX = GetU16(pb + 8);
    header.nOriginY = GetU16(pb + 10);
    header.nWidth = GetU16(pb + 12);
    header.nHeight = GetU16(pb + 14);
    header.nBitDepth = pb[16];
    header.fImageDesc = pb[17];
    return header;
}

/// The bytes and the slack behind them, which is zero; null when there is no memory.
std::unique_ptr<BYTE[]> AllocPixels(DWORD cb) noexcept
{
    std::unique_ptr<BYTE[]> pPixels(new (std::nothrow) BYTE[size_t{cb} + cbSlack]);
    if (pPixels)
        std::memset(pPixels.get() + cb, 0, cbSlack);
    return pPixels;
}
} // namespace

void CTga::Clear() noexcept
{
    m_header = TGAHeader{};
    m_eMode = eTGAMode_None;
    m_cbColMapEntry = 0;
    m_pColMap.reset();
    m_cbDepth = 0;
    m_cbImage = 0;
    m_pImage.reset();
    DropReadAhead();
}

void CTga::DropReadAhead() noexcept
{
    m_pAhead.reset();
    m_cbAhead = 0;
    m_nAhead = 0;
}

HRESULT CTga::LoadFile(const wchar_t* pszTgaFile) noexcept
{
    DSASSERT(pszTgaFile != NULL);
    if (pszTgaFile == NULL)
        return E_INVALIDARG;

    Clear();
    CFileHandle file(CreateFileW(pszTgaFile, GENERIC_READ, FILE_SHARE_READ, NULL, OPEN_EXISTING, 0, NULL));
    if (!file.IsOpen())
    {
        // A last error of zero stays zero here; the object is empty in any case.
        const HRESULT hr = HRESULT_FROM_WIN32(GetLastError());
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::LoadFile( '%s' ): CreateFile()=0x%X\n",
              pszTgaFile, hr);
        return hr;
    }

    const HRESULT hr = ReadFile(file.Get());
    DropReadAhead();
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::LoadFile( '%s' ): ReadFile()=0x%X\n", pszTgaFile,
              hr);
        Clear();
    }
    return hr;
}

HRESULT CTga::ReadFile(HANDLE hFile) noexcept
{
    DSASSERT(hFile != INVALID_HANDLE_VALUE);
    if (hFile == INVALID_HANDLE_VALUE)
        return E_FAIL;

    DropReadAhead();
    SetLastError(ERROR_SUCCESS);
    const DWORD cbFile = GetFileSize(hFile, NULL);
    if (cbFile == INVALID_FILE_SIZE && GetLastError() != ERROR_SUCCESS)
    {
        const HRESULT hr = DSTLLastError();
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::ReadFile(): GetFileSize()=0x%X\n", hr);
        return hr;
    }

    HRESULT hr = ReadHeader(hFile);
    if (FAILED(hr))
        return hr;
    hr = CheckHeader();
    if (FAILED(hr))
        return hr;
    DWORD cb = cbHeader;

    if (m_header.nIdLength != 0)
    {
        hr = SetPosition(hFile, m_header.nIdLength, FILE_CURRENT);
        if (FAILED(hr))
        {
            trace(atlTraceGeneral, eTL_Error,
                  L"###Err### CTga::ReadFile(): Skip Image ID: SetPosition()=0x%X\n", hr);
            return hr;
        }
        cb += m_header.nIdLength;
    }

    DWORD cbRead = 0;
    if (m_header.nColMapType != 0)
    {
        hr = ReadColMap(hFile, &cbRead);
        if (FAILED(hr))
            return hr;
        cb += cbRead;
    }

    hr = ReadImage(hFile, &cbRead);
    if (FAILED(hr))
        return hr;
    cb += cbRead;

    hr = ReadFooter(hFile, cbFile - cb);
    if (FAILED(hr))
        return hr;

    switch (m_header.nImageType & nTypeMask)
    {
    case eTGAMode_ColMap:
        m_eMode = eTGAMode_ColMap;
        break;
    case eTGAMode_TrueColor:
        m_eMode = eTGAMode_TrueColor;
        break;
    default:
        m_eMode = eTGAMode_BW;
        break;
    }
    return S_OK;
}

HRESULT CTga::ReadHeader(HANDLE hFile) noexcept
{
    BYTE header[cbHeader] = {};
    const HRESULT hr = Read(hFile, sizeof(header), header);
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::ReadFile(): read header failed, hr=0x%X\n", hr);
        return hr;
    }
    m_header = ParseHeader(header);
    return S_OK;
}

HRESULT CTga::CheckHeader() const noexcept
{
    const UINT nType = m_header.nImageType;
    const bool bPlain = nType >= 1 && nType <= nTypeLastPlain;
    const bool bRLE = nType >= nTypeFirstRLE && nType <= nTypeLastRLE;
    if (!bPlain && !bRLE)
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::ReadFile(): Unknown image type: %u\n", nType);
        return E_FAIL;
    }
    const bool bNeedsMap = (nType & nTypeMask) == eTGAMode_ColMap;
    if (bNeedsMap && m_header.nColMapType == 0)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CTga::ReadFile(): Invalid image type %u: color map not defined\n", nType);
        return E_FAIL;
    }
    // The format allows a map here; this reader deliberately does not.
    if (!bNeedsMap && m_header.nColMapType != 0)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CTga::ReadFile(): Invalid image type %u: color map was defined\n", nType);
        return E_FAIL;
    }
    if (m_header.nWidth == 0 || m_header.nHeight == 0)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CTga::ReadFile(): Invalid parameters of image: width=%u, height=%u\n",
              UINT{m_header.nWidth}, UINT{m_header.nHeight});
        return E_FAIL;
    }
    // Odd depths such as 17 pass: conversion deals with them.
    if (m_header.nBitDepth == 0 || m_header.nBitDepth > nMaxBitDepth)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CTga::ReadFile(): Invalid depth of image: nBitDepth=%u\n",
              UINT{m_header.nBitDepth});
        return E_FAIL;
    }
    if ((m_header.fImageDesc & fDescRightToLeft) != 0)
        trace(atlTraceGeneral, eTL_Warning,
              L"WARNING. CTga::ReadFile(): Left/right bit is set, fImageDesc=0x%X: ignore it\n",
              UINT{m_header.fImageDesc});
    if ((m_header.fImageDesc & fDescInterleave) != 0)
        trace(atlTraceGeneral, eTL_Warning,
              L"WARNING. CTga::ReadFile(): Interleave flags are set, fImageDesc=0x%X\n",
              UINT{m_header.fImageDesc});
    return S_OK;
}

HRESULT CTga::ReadColMap(HANDLE hFile, DWORD* pcbRead) noexcept
{
    if (m_header.nColMapDepth == 0 || m_header.nColMapEntries == 0)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CTga::ReadFile(): Invalid parameters of Color Map Data: depth=%u, nEntries=%u\n",
              UINT{m_header.nColMapDepth}, UINT{m_header.nColMapEntries});
        return E_FAIL;
    }
    m_cbColMapEntry = (m_header.nColMapDepth + 7u) / 8;
    DSASSERT_TEXT(m_cbColMapEntry <= cbMaxPixel, "CTga::ReadFile(): unsupported depth of Color Map Data");
    if (m_cbColMapEntry > cbMaxPixel)
        return E_FAIL;

    const DWORD cbColMap = m_header.nColMapEntries * m_cbColMapEntry;
    m_pColMap = AllocPixels(cbColMap);
    if (!m_pColMap)
        return E_OUTOFMEMORY;
    const HRESULT hr = Read(hFile, cbColMap, m_pColMap.get());
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CTga::ReadFile(): read Color Map Data failed, hr=0x%X\n", hr);
        return hr;
    }
    *pcbRead = cbColMap;
    return S_OK;
}

HRESULT CTga::ReadImage(HANDLE hFile, DWORD* pcbRead) noexcept
{
    m_cbDepth = (m_header.nBitDepth + 7u) / 8;
    m_pImage.reset();
    const ULONGLONG cbImage = ULONGLONG{m_header.nWidth} * m_cbDepth * m_header.nHeight;
    if (cbImage > MAXDWORD) // sizes are counted in 32 bits
        return E_OUTOFMEMORY;
    m_pImage = AllocPixels(static_cast<DWORD>(cbImage));
    if (!m_pImage)
        return E_OUTOFMEMORY;

    if (m_header.nImageType <= nTypeLastPlain)
    {
        const HRESULT hr = Read(hFile, static_cast<DWORD>(cbImage), m_pImage.get());
        if (FAILED(hr))
        {
            trace(atlTraceGeneral, eTL_Error,
                  L"###Err### CTga::ReadFile(): read Uncompressed Image Data failed, hr=0x%X\n", hr);
            return hr;
        }
        *pcbRead = static_cast<DWORD>(cbImage);
    }
    else
    {
        const HRESULT hr = ReadRLEImage(hFile, pcbRead);
        if (FAILED(hr))
        {
            trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::ReadFile(): ReadRLEImage()=0x%X\n", hr);
            return hr;
        }
        m_header.nImageType &= nTypeMask;
    }
    m_cbImage = static_cast<DWORD>(cbImage);
    return S_OK;
}

HRESULT CTga::ReadFooter(HANDLE hFile, DWORD cbRest) noexcept
{
    if (cbRest < cbFooter)
    {
        if (cbRest != 0)
            trace(atlTraceGeneral, eTL_Warning,
                  L"WARNING. CTga::ReadFile(): Unknown %u bytes after image data\n", cbRest);
        return S_OK;
    }

    HRESULT hr = SetPosition(hFile, -static_cast<LONG>(cbFooter), FILE_END);
    if (FAILED(hr))
    {
        // The words of the image ID on purpose: both places have reported alike from the start.
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::ReadFile(): Skip Image ID: SetPosition()=0x%X\n",
              hr);
        return hr;
    }
    BYTE bData[cbFooter] = {};
    hr = Read(hFile, sizeof(bData), bData);
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CTga::ReadFile(): read TGA FILE FOOTER failed, hr=0x%X\n", hr);
        return hr;
    }
    DWORD nExtensionArea = 0;
    DWORD nDeveloperDirectory = 0;
    if (std::memcmp(bData + cbSignatureOffset, rgSignature, sizeof(rgSignature)) == 0)
    {
        nExtensionArea = GetU32(bData);
        nDeveloperDirectory = GetU32(bData + 4);
    }
    // One test for a footer without areas and for no footer at all.
    if (nExtensionArea == 0 && nDeveloperDirectory == 0 && cbRest > cbFooter)
        trace(atlTraceGeneral, eTL_Warning,
              L"WARNING. CTga::ReadFile(): Unknown %u bytes between image data and TGA FILE FOOTER\n",
              cbRest - cbFooter);
    return S_OK;
}

HRESULT CTga::ReadRLEImage(HANDLE hFile, DWORD* pcbRead) noexcept
{
    if (pcbRead != NULL)
        *pcbRead = 0;
    DSASSERT(hFile != INVALID_HANDLE_VALUE);
    if (hFile == INVALID_HANDLE_VALUE)
        return E_FAIL;
    DSASSERT(9 <= m_header.nImageType && m_header.nImageType <= 11);
    if (!(9 <= m_header.nImageType && m_header.nImageType <= 11))
        return E_FAIL;
    DSASSERT(0 < m_cbDepth && m_cbDepth <= 4);
    if (!(0 < m_cbDepth && m_cbDepth <= 4))
        return E_FAIL;
    DSASSERT(m_pImage != NULL);
    if (m_pImage == NULL)
        return E_FAIL;

    DWORD cb = 0;
    BYTE* pbOut = m_pImage.get();
    // The whole image is the limit: a packet may run across the end of a row.
    for (DWORD nRest = DWORD{m_header.nWidth} * m_header.nHeight; nRest != 0;)
    {
        BYTE byPacket = 0;
        HRESULT hr = Read(hFile, sizeof(byPacket), &byPacket);
        if (FAILED(hr))
        {
            trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::ReadRLEImage(): Read( count )=0x%X\n", hr);
            return hr;
        }
        cb += sizeof(byPacket);

        const DWORD nCount = (byPacket & ~fPacketRun) + 1u;
        if (nCount > nRest)
        {
            trace(atlTraceGeneral, eTL_Error,
                  L"###Err### CTga::ReadRLEImage(): Invalid image: nCount=%u > nRest=%u\n", nCount, nRest);
            return E_FAIL;
        }
        if ((byPacket & fPacketRun) != 0)
        {
            BYTE bColors[cbMaxPixel] = {};
            hr = Read(hFile, m_cbDepth, bColors);
            if (FAILED(hr))
            {
                trace(atlTraceGeneral, eTL_Error,
                      L"###Err### CTga::ReadRLEImage(): Read( compressed )=0x%X\n", hr);
                return hr;
            }
            cb += m_cbDepth;
            for (DWORD i = 0; i < nCount; ++i, pbOut += m_cbDepth)
                std::memcpy(pbOut, bColors, m_cbDepth);
        }
        else
        {
            const DWORD cbColors = nCount * m_cbDepth;
            hr = Read(hFile, cbColors, pbOut);
            if (FAILED(hr))
            {
                trace(atlTraceGeneral, eTL_Error,
                      L"###Err### CTga::ReadRLEImage(): Read( uncompressed )=0x%X\n", hr);
                return hr;
            }
            cb += cbColors;
            pbOut += cbColors;
        }
        nRest -= nCount;
    }
    if (pcbRead != NULL)
        *pcbRead = cb;
    return S_OK;
}

HRESULT CTga::Read(HANDLE hFile, DWORD cb, void* pbBuf) noexcept
{
    DSASSERT(hFile != INVALID_HANDLE_VALUE);
    if (hFile == INVALID_HANDLE_VALUE)
        return E_FAIL;
    DSASSERT(cb > 0);
    if (cb == 0)
        return E_INVALIDARG;
    DSASSERT(pbBuf != NULL);
    if (pbBuf == NULL)
        return E_POINTER;

    DWORD cbRead = 0;
    if (!ReadSome(hFile, cb, static_cast<BYTE*>(pbBuf), &cbRead))
    {
        const HRESULT hr = DSTLLastError();
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::Read(): ReadFile()=0x%X\n", hr);
        return hr;
    }
    if (cbRead < cb)
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::Read(): cb=%u, cbRead=%u\n", cb, cbRead);
        return E_FAIL;
    }
    return S_OK;
}

bool CTga::ReadSome(HANDLE hFile, DWORD cb, BYTE* pbBuf, DWORD* pcbRead) noexcept
{
    const DWORD cbDone = std::min(cb, m_cbAhead - m_nAhead);
    if (cbDone != 0)
    {
        std::memcpy(pbBuf, m_pAhead.get() + m_nAhead, cbDone);
        m_nAhead += cbDone;
    }
    *pcbRead = cbDone;
    if (cbDone == cb)
        return true;

    if (cb - cbDone < cbReadAhead)
    {
        if (!m_pAhead)
            m_pAhead.reset(new (std::nothrow) BYTE[cbReadAhead]);
        m_cbAhead = 0;
        m_nAhead = 0;
        DWORD cbAhead = 0;
        if (m_pAhead && ::ReadFile(hFile, m_pAhead.get(), cbReadAhead, &cbAhead, NULL))
        {
            m_cbAhead = cbAhead;
            m_nAhead = std::min(cb - cbDone, cbAhead);
            std::memcpy(pbBuf + cbDone, m_pAhead.get(), m_nAhead);
            *pcbRead = cbDone + m_nAhead;
            return true;
        }
        // What lies ahead cannot be read: what is wanted perhaps can.
    }
    DWORD cbDirect = 0;
    const bool bRead = ReadPieces(hFile, pbBuf + cbDone, cb - cbDone, &cbDirect);
    *pcbRead = cbDone + cbDirect;
    return bRead;
}

HRESULT CTga::SetPosition(HANDLE hFile, LONG nDistance, DWORD dwMoveMethod) noexcept
{
    DSASSERT(hFile != INVALID_HANDLE_VALUE);
    if (hFile == INVALID_HANDLE_VALUE)
        return E_FAIL;
    if (nDistance == 0)
        return S_FALSE;

    const DWORD cbAhead = m_cbAhead - m_nAhead;
    if (dwMoveMethod == FILE_CURRENT && nDistance > 0 && static_cast<DWORD>(nDistance) <= cbAhead)
    {
        m_nAhead += nDistance;
        return S_OK;
    }
    // The system stands behind what was read ahead: step back to where the caller believes to be.
    const bool bStepBack = dwMoveMethod == FILE_CURRENT && cbAhead != 0;
    m_cbAhead = 0;
    m_nAhead = 0;
    if ((bStepBack && SetFilePointer(hFile, -static_cast<LONG>(cbAhead), NULL, FILE_CURRENT) ==
                          INVALID_SET_FILE_POINTER) ||
        SetFilePointer(hFile, nDistance, NULL, dwMoveMethod) == INVALID_SET_FILE_POINTER)
    {
        const HRESULT hr = DSTLLastError();
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::SetPosition(): :SetFilePointer()=0x%X\n", hr);
        return hr;
    }
    return S_OK;
}
