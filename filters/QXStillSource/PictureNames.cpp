#include "PictureNames.h"

#include <climits>

#include "Common/Common.h"

const wchar_t* const arrKeepAspectNames[] = {L"default", L"none", L"letter-box", L"crop", nullptr};

const wchar_t* const arrInterlaceNames[] = {L"auto", L"top", L"bottom", L"progressive", nullptr};

const wchar_t* const pszHttpPrefix = L"http://";

namespace
{

/// A resource for frames up to a height, signed.
struct ResourceByHeight
{
    LONG nPictureId;
    LONG nMaxHeight;
    UINT nResource;
};

/// The pictures of "videoq" may be added to the module under these numbers.
constexpr ResourceByHeight arrResources[] = {
    {ePI_VideoQuality, 480, 115},    {ePI_VideoQuality, 486, 116},     {ePI_VideoQuality, 576, 117},
    {ePI_VideoQuality, 720, 118},    {ePI_VideoQuality, INT_MAX, 119}, {ePI_Bars, 719, ePI_BarsSD},
    {ePI_Bars, INT_MAX, ePI_BarsHD},
};

} // namespace

bool FindFourccName(const wchar_t* pszName, PFNCOMPARENAMES pfnCompare, DWORD* pfcc) noexcept
{
    for (BYTE nRank = 1; IsKnown(FormatOfNameRank(nRank)); nRank++)
    {
        const PixelFormat& format = FormatOfNameRank(nRank);
        if (pfnCompare(pszName, format.pszName) == 0)
        {
            *pfcc = format.fccType;
            return true;
        }
    }
    return false;
}

DWORD FourccFromBytes(const char* psz, size_t cch) noexcept
{
    constexpr size_t cchFourcc = 4;
    DWORD fcc = 0;
    for (size_t i = 0; i < cch && i < cchFourcc; i++)
        fcc |= static_cast<DWORD>(static_cast<unsigned char>(psz[i])) << (8 * i);
    return fcc;
}

UINT FindResourceNumber(LONG nPictureId, LONG nHeight) noexcept
{
    for (const ResourceByHeight& row : arrResources)
    {
        if (row.nPictureId == nPictureId && nHeight <= row.nMaxHeight)
            return row.nResource;
    }
    return static_cast<UINT>(nPictureId);
}
