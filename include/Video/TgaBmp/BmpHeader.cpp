#include "Video/TgaBmp/BmpHeader.h"

#include "Common/Common.h"
#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/DSVideo.h"

#include <algorithm>

namespace
{
/// 0 where the header has no format code.
DWORD FormatCode(const BITMAPINFOHEADER& bmi) noexcept
{
    if (bmi.biCompression != BI_RGB && bmi.biCompression != BI_BITFIELDS)
        return bmi.biCompression;
    return PlainBitmapFormat(bmi.biBitCount).fccType; // palette pictures have none
}
} // namespace

bool TestAndCorrectBmpHeader(BITMAPINFOHEADER* pBmpHeader) noexcept
{
    DSASSERT(pBmpHeader != NULL);
    if (pBmpHeader == nullptr)
        return false;
    if (pBmpHeader->biSize != sizeof(BITMAPINFOHEADER))
        return false;

    const DWORD fccType = FormatCode(*pBmpHeader);
    if (FindFormat(fccType) < 0)
        return false;
    if (pBmpHeader->biPlanes != 1 || pBmpHeader->biWidth == 0 || pBmpHeader->biHeight == 0 ||
        pBmpHeader->biClrUsed != 0 || pBmpHeader->biClrImportant != 0)
        return false;
    if (CheckSize(fccType, pBmpHeader->biWidth, pBmpHeader->biHeight, 0) < 0)
        return false;

    DWORD cbImage = 0;
    if (pBmpHeader->biWidth < 0 ||
        FAILED(ImageSizeOf(fccType, pBmpHeader->biWidth, pBmpHeader->biHeight, &cbImage)))
        return false;
    if (pBmpHeader->biSizeImage != cbImage)
    {
        trace(atlTraceGeneral, eTL_Warning,
              L"WARNING. CPicturePersist::TestAndCorrectBmpHeader(): correcting bad image size: old=%u, "
              L"new=%u\n",
              pBmpHeader->biSizeImage, cbImage);
        pBmpHeader->biSizeImage = cbImage;
    }
    return true;
}

DWORD RecordedPictureSize(const BITMAPINFOHEADER& bmi) noexcept
{
    if (bmi.biWidth <= 0)
        return 0;
    const ULONGLONG nPixels = ULONGLONG{AbsHeight(bmi.biHeight)} * static_cast<DWORD>(bmi.biWidth);
    return nPixels <= MAXDWORD / 4 ? static_cast<DWORD>(nPixels * 4) : 0;
}

DWORD PictureBlockSize(const BITMAPINFOHEADER& bmi) noexcept
{
    const DWORD cbRecorded = RecordedPictureSize(bmi);
    return cbRecorded != 0 ? std::max(cbRecorded, bmi.biSizeImage) : 0;
}
