#include "Video/TgaBmp/Tga.h"

#include "Video/TgaBmp/TgaParser.h"
#include "Video/TgaBmp/TgaPixels.h"
#include "dstl/WinAPI/File.h"
#include "dstl/dshowx/DSTrace.h"

void CTga::Clear() noexcept
{
    m_header = TGAHeader{};
    m_eMode = eTGAMode_None;
    m_cbColMapEntry = 0;
    m_pColMap.reset();
    m_cbDepth = 0;
    m_cbImage = 0;
    m_pImage.reset();
    m_input.Drop();
}

HRESULT CTga::LoadFile(const wchar_t* pszTgaFile) noexcept
{
    return Load(pszTgaFile, nullptr);
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
    if (pszTgaFile == nullptr)
        return E_INVALIDARG;

    Clear();
    COwnedHandle file(
        CreateFileW(pszTgaFile, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file)
    {
        // A last error of zero stays zero here; the object is empty in any case.
        const HRESULT hr = HRESULT_FROM_WIN32(GetLastError());
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::LoadFile( '%s' ): CreateFile()=0x%X\n",
              pszTgaFile, hr);
        return hr;
    }

    const HRESULT hr = Parse(file.Get(), pWish);
    m_input.Drop();
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
    return Parse(hFile, nullptr);
}

HRESULT CTga::Parse(HANDLE hFile, Wish* pWish) noexcept
{
    DSASSERT(hFile != INVALID_HANDLE_VALUE);
    if (hFile == INVALID_HANDLE_VALUE)
        return E_FAIL;

    m_input.Drop();
    CTgaParser parser(m_input, hFile);
    ULONGLONG cbFile = 0;
    HRESULT hr = parser.ReadSize(&cbFile);
    if (FAILED(hr))
        return hr;
    hr = parser.ReadHeader(&m_header);
    if (FAILED(hr))
        return hr;
    if (m_header.nIdLength != 0)
    {
        hr = parser.SkipId(m_header);
        if (FAILED(hr))
            return hr;
    }
    if (m_header.nColMapType != 0)
    {
        hr = parser.ReadColMap(m_header, &m_cbColMapEntry, &m_pColMap);
        if (FAILED(hr))
            return hr;
    }
    DWORD cbImage = 0;
    hr = ReadImage(hFile, parser.BytesTaken(), cbFile, pWish, &cbImage);
    if (FAILED(hr))
        return hr;
    hr = parser.ReadFooter(static_cast<DWORD>(cbFile) - parser.BytesTaken() - cbImage);
    if (FAILED(hr))
        return hr;
    m_eMode = static_cast<eTGAMode>(m_header.Kind());
    return S_OK;
}

/// \param cbBefore bytes of the file that stand before the image
HRESULT CTga::ReadImage(HANDLE hFile, DWORD cbBefore, ULONGLONG cbFile, Wish* pWish, DWORD* pcbRead) noexcept
{
    m_cbDepth = m_header.PixelBytes();
    m_pImage.reset();
    CTgaPixelReader reader(m_input, hFile, m_header);
    // Sizes are counted in 32 bits, in which one size comes out as nothing, and nothing cannot be read.
    if (!m_header.IsPacked() && reader.ImageSize() == 0)
        return reader.Report(Read(hFile, 0, nullptr));

    const bool bFits = ULONGLONG{Columns()} * Rows() * m_cbDepth <= MAXDWORD;
    HRESULT hr = S_OK;
    if (!reader.CanHold(cbFile > cbBefore ? cbFile - cbBefore : 0))
    {
        // The file promises more than it holds: find out what it lacks, and take no memory for the promise.
        hr = reader.PassOver(pcbRead);
        if (SUCCEEDED(hr) && bFits) // then it holds more than its size tells
            hr = SetPosition(hFile, static_cast<LONG>(cbBefore), FILE_BEGIN);
        if (FAILED(hr))
            return hr;
    }
    if (!bFits)
        return E_OUTOFMEMORY; // a buffer of the counted size would be too small
    hr = TakePixels(hFile, pWish, pcbRead);
    if (SUCCEEDED(hr))
        m_header.nImageType = m_header.Kind();
    return hr;
}

/// Reads the image to where it is wanted.
HRESULT CTga::TakePixels(HANDLE hFile, Wish* pWish, DWORD* pcbRead) noexcept
{
    CTgaPixelReader reader(m_input, hFile, m_header);
    if (pWish != nullptr)
    {
        // Colour maps and odd depths have assertions to report while they are converted: afterwards, that is.
        const bool bTrueColour = m_header.Kind() == eTGAMode_TrueColor;
        const TgaRowForms* pForms = bTrueColour ? FindTgaRowForms(m_header.nBitDepth) : nullptr;
        const bool bFits = TgaBitmapSize(Columns(), Rows(), pWish->fccType) <= MAXDWORD;
        if (!bFits || (pForms != nullptr && !AllocTgaBitmap(Columns(), Rows(), pWish->fccType, pWish->pBmp)))
        {
            // Nothing will come of it, but what is wrong with the file itself is said before that.
            pWish->eMade = eBitmap_NoMemory;
            return reader.PassOver(pcbRead);
        }
        if (pForms != nullptr)
        {
            pWish->eMade = eBitmap_Made;
            return reader.ReadConverted(*pForms, pWish->fccType, pWish->pBmp->Get(), pcbRead);
        }
    }

    const DWORD cbImage = reader.ImageSize();
    m_pImage = AllocTgaPixels(cbImage);
    if (!m_pImage)
        return E_OUTOFMEMORY;
    const HRESULT hr = reader.Report(m_header.IsPacked() ? ReadRLEImage(hFile, pcbRead)
                                                         : reader.ReadWhole(m_pImage.get(), pcbRead));
    if (SUCCEEDED(hr))
        m_cbImage = cbImage;
    return hr;
}

HRESULT CTga::ReadRLEImage(HANDLE hFile, DWORD* pcbRead) noexcept
{
    if (pcbRead != nullptr)
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
    if (m_pImage == nullptr)
        return E_FAIL;

    DWORD cbRead = 0;
    const HRESULT hr = CTgaPixelReader(m_input, hFile, m_header).ReadWhole(m_pImage.get(), &cbRead);
    if (SUCCEEDED(hr) && pcbRead != nullptr)
        *pcbRead = cbRead;
    return hr;
}

HRESULT CTga::Read(HANDLE hFile, DWORD cb, void* pbBuf) noexcept
{
    return m_input.ReadExactly(hFile, cb, pbBuf);
}

HRESULT CTga::SetPosition(HANDLE hFile, LONG nDistance, DWORD dwMoveMethod) noexcept
{
    return m_input.SetPosition(hFile, nDistance, dwMoveMethod);
}

HRESULT CTga::ConvertToBmp(DWORD fccType, BYTE* pBmp, BYTE* pAlpha) const noexcept
{
    const TgaStored stored = Stored();
    return CTgaConverter(stored, fccType, pBmp, pAlpha).Convert();
}

HRESULT CTga::Convert_ColMap(DWORD fccType, BYTE* pBmp, BYTE* pAlpha) const noexcept
{
    const TgaStored stored = Stored();
    return CTgaConverter(stored, fccType, pBmp, pAlpha).ConvertColMap();
}

HRESULT CTga::Convert_TrueColor(DWORD fccType, BYTE* pBmp, BYTE* pAlpha) const noexcept
{
    const TgaStored stored = Stored();
    return CTgaConverter(stored, fccType, pBmp, pAlpha).ConvertTrueColor();
}

HRESULT CTga::Convert_BW(DWORD fccType, BYTE* pBmp, BYTE* pAlpha) const noexcept
{
    const TgaStored stored = Stored();
    return CTgaConverter(stored, fccType, pBmp, pAlpha).ConvertBW();
}
