#include "Video/TgaBmp/TgaParser.h"

#include "dstl/dshowx/DSTrace.h"

#include <cstring>
#include <new>

namespace
{
constexpr DWORD cbHeader = 18;
constexpr DWORD cbFooter = 26;
constexpr DWORD cbSignatureOffset = 8;
constexpr char rgSignature[18] = "TRUEVISION-XFILE."; // the terminator is part of it

constexpr BYTE nTypeFirstRLE = 9;
constexpr BYTE nTypeLastRLE = 11;
constexpr BYTE nTypeLastPlain = 3;
constexpr BYTE nMaxBitDepth = 32;
constexpr DWORD cbMaxPixel = 4;

constexpr BYTE fDescRightToLeft = 0x10;
constexpr BYTE fDescInterleave = 0xC0;

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

HRESULT CheckHeader(const TGAHeader& header) noexcept
{
    const UINT nType = header.nImageType;
    const bool bPlain = nType >= 1 && nType <= nTypeLastPlain;
    const bool bRLE = nType >= nTypeFirstRLE && nType <= nTypeLastRLE;
    if (!bPlain && !bRLE)
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::ReadFile(): Unknown image type: %u\n", nType);
        return E_FAIL;
    }
    const bool bNeedsMap = header.Kind() == eTGAMode_ColMap;
    if (bNeedsMap && header.nColMapType == 0)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CTga::ReadFile(): Invalid image type %u: color map not defined\n", nType);
        return E_FAIL;
    }
    // The format allows a map here; this reader deliberately does not.
    if (!bNeedsMap && header.nColMapType != 0)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CTga::ReadFile(): Invalid image type %u: color map was defined\n", nType);
        return E_FAIL;
    }
    if (header.nWidth == 0 || header.nHeight == 0)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CTga::ReadFile(): Invalid parameters of image: width=%u, height=%u\n",
              UINT{header.nWidth}, UINT{header.nHeight});
        return E_FAIL;
    }
    // Odd depths such as 17 pass: conversion deals with them.
    if (header.nBitDepth == 0 || header.nBitDepth > nMaxBitDepth)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CTga::ReadFile(): Invalid depth of image: nBitDepth=%u\n", UINT{header.nBitDepth});
        return E_FAIL;
    }
    if ((header.fImageDesc & fDescRightToLeft) != 0)
        trace(atlTraceGeneral, eTL_Warning,
              L"WARNING. CTga::ReadFile(): Left/right bit is set, fImageDesc=0x%X: ignore it\n",
              UINT{header.fImageDesc});
    if ((header.fImageDesc & fDescInterleave) != 0)
        trace(atlTraceGeneral, eTL_Warning,
              L"WARNING. CTga::ReadFile(): Interleave flags are set, fImageDesc=0x%X\n",
              UINT{header.fImageDesc});
    return S_OK;
}
} // namespace

std::unique_ptr<BYTE[]> AllocTgaPixels(DWORD cb) noexcept
{
    constexpr DWORD cbSlack = 4;
    std::unique_ptr<BYTE[]> pPixels(new (std::nothrow) BYTE[size_t{cb} + cbSlack]);
    if (pPixels)
        std::memset(pPixels.get() + cb, 0, cbSlack);
    return pPixels;
}

HRESULT CTgaParser::ReadSize(ULONGLONG* pcbFile) noexcept
{
    SetLastError(ERROR_SUCCESS);
    DWORD cbHigh = 0;
    const DWORD cbLow = GetFileSize(m_hFile, &cbHigh);
    if (cbLow == INVALID_FILE_SIZE && GetLastError() != ERROR_SUCCESS)
    {
        const HRESULT hr = DSTLLastError();
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::ReadFile(): GetFileSize()=0x%X\n", hr);
        return hr;
    }
    *pcbFile = ULONGLONG{cbHigh} << 32 | cbLow;
    return S_OK;
}

HRESULT CTgaParser::ReadHeader(TGAHeader* pHeader) noexcept
{
    BYTE header[cbHeader] = {};
    const HRESULT hr = m_input.ReadExactly(m_hFile, sizeof(header), header);
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::ReadFile(): read header failed, hr=0x%X\n", hr);
        return hr;
    }
    m_cbTaken += cbHeader;
    *pHeader = ParseHeader(header);
    return CheckHeader(*pHeader);
}

HRESULT CTgaParser::SkipId(const TGAHeader& header) noexcept
{
    const HRESULT hr = m_input.SetPosition(m_hFile, header.nIdLength, FILE_CURRENT);
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::ReadFile(): Skip Image ID: SetPosition()=0x%X\n",
              hr);
        return hr;
    }
    m_cbTaken += header.nIdLength;
    return S_OK;
}

HRESULT CTgaParser::ReadColMap(const TGAHeader& header, DWORD* pcbEntry,
                               std::unique_ptr<BYTE[]>* ppColMap) noexcept
{
    if (header.nColMapDepth == 0 || header.nColMapEntries == 0)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CTga::ReadFile(): Invalid parameters of Color Map Data: depth=%u, nEntries=%u\n",
              UINT{header.nColMapDepth}, UINT{header.nColMapEntries});
        return E_FAIL;
    }
    *pcbEntry = (header.nColMapDepth + 7u) / 8;
    DSASSERT_TEXT(*pcbEntry <= cbMaxPixel, "CTga::ReadFile(): unsupported depth of Color Map Data");
    if (*pcbEntry > cbMaxPixel)
        return E_FAIL;

    const DWORD cbColMap = header.nColMapEntries * *pcbEntry;
    *ppColMap = AllocTgaPixels(cbColMap);
    if (!*ppColMap)
        return E_OUTOFMEMORY;
    const HRESULT hr = m_input.ReadExactly(m_hFile, cbColMap, ppColMap->get());
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CTga::ReadFile(): read Color Map Data failed, hr=0x%X\n", hr);
        return hr;
    }
    m_cbTaken += cbColMap;
    return S_OK;
}

HRESULT CTgaParser::ReadFooter(DWORD cbRest) noexcept
{
    if (cbRest < cbFooter)
    {
        if (cbRest != 0)
            trace(atlTraceGeneral, eTL_Warning,
                  L"WARNING. CTga::ReadFile(): Unknown %u bytes after image data\n", cbRest);
        return S_OK;
    }

    HRESULT hr = m_input.SetPosition(m_hFile, -static_cast<LONG>(cbFooter), FILE_END);
    if (FAILED(hr))
    {
        // The words of the image ID on purpose: both places have reported alike from the start.
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::ReadFile(): Skip Image ID: SetPosition()=0x%X\n",
              hr);
        return hr;
    }
    BYTE bData[cbFooter] = {};
    hr = m_input.ReadExactly(m_hFile, sizeof(bData), bData);
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
