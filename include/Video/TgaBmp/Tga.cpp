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

/// Pixels are fetched four bytes at a time, so zero bytes stand behind every buffer of pixels.
constexpr DWORD cbSlack = 4;

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
    m_ahead.Drop();
}

HRESULT CTga::LoadFile(const wchar_t* pszTgaFile) noexcept
{
    return Load(pszTgaFile, NULL);
}

HRESULT CTga::LoadFile(const wchar_t* pszTgaFile, DWORD fccType, CTaskBytes* pBmp, eBitmap* peBitmap) noexcept
{
    Wish wish = {fccType, pBmp, eBitmap_ToConvert};
    const HRESULT hr = Load(pszTgaFile, &wish);
    *peBitmap = wish.eMade;
    return hr;
}

HRESULT CTga::Load(const wchar_t* pszTgaFile, Wish* pWish) noexcept
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

    const HRESULT hr = Parse(file.Get(), pWish);
    m_ahead.Drop();
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
    return Parse(hFile, NULL);
}

HRESULT CTga::Parse(HANDLE hFile, Wish* pWish) noexcept
{
    DSASSERT(hFile != INVALID_HANDLE_VALUE);
    if (hFile == INVALID_HANDLE_VALUE)
        return E_FAIL;

    m_ahead.Drop();
    SetLastError(ERROR_SUCCESS);
    DWORD cbFileHigh = 0; // counts nowhere but in the question whether the image can be there at all
    const DWORD cbFile = GetFileSize(hFile, &cbFileHigh);
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

    hr = ReadImage(hFile, cb, ULONGLONG{cbFileHigh} << 32 | cbFile, pWish, &cbRead);
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

/// \param cbBefore bytes of the file that stand before the image
HRESULT CTga::ReadImage(HANDLE hFile, DWORD cbBefore, ULONGLONG cbFile, Wish* pWish, DWORD* pcbRead) noexcept
{
    m_cbDepth = (m_header.nBitDepth + 7u) / 8;
    m_pImage.reset();
    // Sizes are counted in 32 bits, in which one size comes out as nothing, and nothing cannot be read.
    if (!IsPacked() && ImageSize() == 0)
        return ReportImage(Read(hFile, 0, NULL));

    const bool bFits = ULONGLONG{Columns()} * Rows() * m_cbDepth <= MAXDWORD;
    HRESULT hr = S_OK;
    if (!CanHold(cbFile > cbBefore ? cbFile - cbBefore : 0))
    {
        // The file promises more than it holds: find out what it lacks, and take no memory for the promise.
        hr = PassOver(hFile, pcbRead);
        if (SUCCEEDED(hr) && bFits) // then it holds more than its size tells
            hr = SetPosition(hFile, static_cast<LONG>(cbBefore), FILE_BEGIN);
        if (FAILED(hr))
            return hr;
    }
    if (!bFits)
        return E_OUTOFMEMORY; // a buffer of the counted size would be too small
    hr = TakePixels(hFile, pWish, pcbRead);
    if (SUCCEEDED(hr))
        m_header.nImageType &= nTypeMask;
    return hr;
}

/// Passes on how the reading of the image went.
HRESULT CTga::ReportImage(HRESULT hr) const noexcept
{
    if (FAILED(hr))
        trace(atlTraceGeneral, eTL_Error,
              IsPacked() ? L"###Err### CTga::ReadFile(): ReadRLEImage()=0x%X\n"
                         : L"###Err### CTga::ReadFile(): read Uncompressed Image Data failed, hr=0x%X\n",
              hr);
    return hr;
}

/// Reads the image to where it is wanted.
HRESULT CTga::TakePixels(HANDLE hFile, Wish* pWish, DWORD* pcbRead) noexcept
{
    if (pWish != NULL)
    {
        // Colour maps and odd depths have assertions to report while they are converted: afterwards, that is.
        const bool bTrueColour = (m_header.nImageType & nTypeMask) == eTGAMode_TrueColor;
        const TgaRowForms* pForms = bTrueColour ? FindTgaRowForms(m_header.nBitDepth) : NULL;
        const bool bFits = TgaBitmapSize(Columns(), Rows(), pWish->fccType) <= MAXDWORD;
        if (!bFits || (pForms != NULL && !AllocTgaBitmap(Columns(), Rows(), pWish->fccType, pWish->pBmp)))
        {
            // Nothing will come of it, but what is wrong with the file itself is said before that.
            pWish->eMade = eBitmap_NoMemory;
            return PassOver(hFile, pcbRead);
        }
        if (pForms != NULL)
        {
            pWish->eMade = eBitmap_Made;
            return ReadConverted(hFile, pForms->Find(pWish->fccType), *pWish, pcbRead);
        }
    }

    const DWORD cbImage = ImageSize();
    m_pImage = AllocPixels(cbImage);
    if (!m_pImage)
        return E_OUTOFMEMORY;
    const HRESULT hr =
        ReportImage(IsPacked() ? ReadRLEImage(hFile, pcbRead) : ReadWhole(hFile, m_pImage.get(), pcbRead));
    if (SUCCEEDED(hr))
        m_cbImage = cbImage;
    return hr;
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
    const bool bRead = m_ahead.Read(hFile, pbBuf, cb, &cbRead);
    return ReportRead(bRead, cb, cbRead);
}

/// \param bRead false: the call failed; the last error tells why
HRESULT CTga::ReportRead(bool bRead, DWORD cb, DWORD cbRead) const noexcept
{
    if (!bRead)
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

HRESULT CTga::SetPosition(HANDLE hFile, LONG nDistance, DWORD dwMoveMethod) noexcept
{
    DSASSERT(hFile != INVALID_HANDLE_VALUE);
    if (hFile == INVALID_HANDLE_VALUE)
        return E_FAIL;
    if (nDistance == 0)
        return S_FALSE;

    if (!m_ahead.Seek(hFile, nDistance, dwMoveMethod))
    {
        const HRESULT hr = DSTLLastError();
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::SetPosition(): :SetFilePointer()=0x%X\n", hr);
        return hr;
    }
    return S_OK;
}
