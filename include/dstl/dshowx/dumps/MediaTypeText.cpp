#include "dstl/dshowx/dumps/MediaTypeText.h"

#include "dstl/WinAPI/SehCopy.h"
#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/dumps/GuidNames.h"
#include "dstl/dshowx/dumps/TextCopy.h"
#include "dstl/dshowx/VideoBlock.h"

namespace
{
/// Reads the header of a bitmap in a format block. \return false when there is none, or none that is whole
bool ReadBitmapHeader(const AM_MEDIA_TYPE& mt, BITMAPINFOHEADER& header) noexcept
{
    const CVideoBlockReader block(mt);
    return block.HasHeader() && SEH_CopyMemory(&header, block.BmpHeader(), sizeof(header));
}
} // namespace

wchar_t* ParseMediaType(const AM_MEDIA_TYPE* pmt, wchar_t* pszMediaType, bool bLineEnd) noexcept
{
    DSASSERT_TEXT(pszMediaType != nullptr, "ParseMediaType()");
    if (pszMediaType == nullptr)
        return nullptr;
    if (pmt == nullptr)
    {
        CopyTextTo(pszMediaType, cchMediaTypeText, L"Empty media type\n");
        return pszMediaType;
    }

    wchar_t szMajor[cchGuidName];
    wchar_t szSub[cchGuidName];
    wchar_t szFormat[cchGuidName];
    Guid2Name(pmt->majortype, szMajor, cchGuidName);
    Guid2Name(pmt->subtype, szSub, cchGuidName);
    Guid2Name(pmt->formattype, szFormat, cchGuidName);

    BITMAPINFOHEADER header;
    if (ReadBitmapHeader(*pmt, header))
    {
        wchar_t szSize[cchGuidName];
        wsprintfW(szSize, L"%s %d*%d", szFormat, static_cast<int>(header.biWidth),
                  static_cast<int>(header.biHeight)); // the names of these formats are short
        CopyTextTo(szFormat, cchGuidName, szSize);
    }

    if (bLineEnd) // deliberately with an empty text before the line's end
        wsprintfW(pszMediaType, L"( %s / %s / %s )%s\r\n", szMajor, szSub, szFormat, L"");
    else
        wsprintfW(pszMediaType, L"( %s / %s / %s )", szMajor, szSub, szFormat);
    return pszMediaType;
}

wchar_t* NamePrefix(const wchar_t* pszName, wchar_t* pszPrefix, int nMaxLength) noexcept
{
    constexpr int nLeastLength = 6;
    constexpr int nPlainEnd = 3; // ": " and the terminator
    constexpr int nCutEnd = 5;   // "..: " and the terminator

    DSASSERT(pszPrefix != NULL);
    if (pszPrefix == nullptr)
        return nullptr;
    if (nMaxLength <= 0)
        return pszPrefix; // not even room for a terminator
    *pszPrefix = 0;
    if (nMaxLength < nLeastLength || pszName == nullptr || *pszName == 0)
        return pszPrefix;

    int nName = 0;
    while (nName <= nMaxLength - nPlainEnd && pszName[nName] != 0)
        nName++;
    const bool bCut = nName > nMaxLength - nPlainEnd;
    if (bCut)
        nName = nMaxLength - nCutEnd;
    const size_t nCopied = CopyTextTo(pszPrefix, static_cast<size_t>(nName) + 1, pszName);
    CopyTextTo(pszPrefix + nCopied, static_cast<size_t>(nMaxLength) - nCopied, bCut ? L"..: " : L": ");
    return pszPrefix;
}
