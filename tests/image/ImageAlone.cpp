// A program that has the public header of the image library and the library, and nothing else. It uses no
// other include: what it needs has to come with that one. Its exit code is the number of the step that
// failed.
#include "imgconverter/ImgConverter.h"

namespace
{

constexpr int nOpaque = 255;
constexpr int nWholeFrame = -1;
constexpr DWORD dwRed = 0xFF0000FF; // a COLORREF with alpha
constexpr DWORD dwWhite = 0xFFFFFFFF;

/// The bytes of a picture and of what it should be are the same.
template <size_t n>
bool Same(const BYTE (&left)[n], const BYTE (&right)[n])
{
    for (size_t i = 0; i < n; i++)
    {
        if (left[i] != right[i])
            return false;
    }
    return true;
}

/// The queries: sizes, colours, rectangles.
int Queries()
{
    constexpr PicProps picRgb = {FOURCC_RGB32, 2, 2, 0};
    constexpr PicProps picYuv = {FOURCC_UYVY, 2, 2, 0};
    if (!Img_CheckProps(&picRgb, true) || GetPicSize(&picRgb) != 16 || GetPicSize(&picYuv) != 8)
        return 1;
    BYTE arrColour[4];
    DWORD dwValid = 0;
    if (!GetFillColor(FOURCC_UYVY, dwRed, arrColour, &dwValid) || dwValid != 4 ||
        !Same(arrColour, {90, 82, 240, 82}))
        return 2;
    constexpr RECT rcOdd = {1, 0, 2, 2};
    RECT rcSource = {}, rcTarget = {};
    if (Img_GetRects(&picRgb, &picYuv, &rcSource, &rcTarget, false, &rcOdd, &rcOdd) != S_OK ||
        rcSource.left != 0 || rcTarget.right != 2) // to whole pairs
        return 3;
    return 0;
}

/// Two pixels that are painted and become YUV of ITU-R BT.601.
int FillAndConvert()
{
    constexpr PicProps picRgb = {FOURCC_RGB32, 2, -1, 0};
    constexpr PicProps picYuv = {FOURCC_YUY2, 2, 1, 0};
    BYTE arrRgb[8] = {};
    BYTE arrYuv[4] = {};
    if (Img_Fill(arrRgb, &picRgb, dwWhite, nullptr, nOpaque, nWholeFrame) != S_OK)
        return 10;
    constexpr RECT rcFirst = {0, 0, 1, 1};
    if (Img_Fill(arrRgb, &picRgb, dwRed, &rcFirst, nOpaque, nWholeFrame) != S_OK ||
        !Same(arrRgb, {0, 0, 255, 255, 255, 255, 255, 255}))
        return 11;
    if (Img_Convert(arrRgb, arrYuv, &picRgb, &picYuv, nullptr, nullptr, true, nullptr) != S_OK ||
        !Same(arrYuv, {82, 109, 235, 184})) // the chroma between 90, 240 and 128, 128
        return 12;
    return 0;
}

/// Rows that are turned, and pixels that are repeated.
int CopyAndResize()
{
    constexpr PicProps picBottomUp = {FOURCC_RGB32, 1, 2, 0};
    constexpr PicProps picTopDown = {FOURCC_RGB32, 1, -2, 0};
    constexpr BYTE arrPixels[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    BYTE arrTurned[8] = {};
    if (Img_Copy(arrPixels, arrTurned, &picBottomUp, &picTopDown, nullptr, nullptr) != S_OK ||
        !Same(arrTurned, {5, 6, 7, 8, 1, 2, 3, 4}))
        return 20;
    constexpr PicProps picOther = {FOURCC_ARGB32, 1, -2, 0};
    if (Img_Copy(arrPixels, arrTurned, &picBottomUp, &picOther, nullptr, nullptr) != E_NOTIMPL)
        return 21;
    constexpr RECT rcOutside = {1, 0, 2, 1};
    if (Img_Copy(arrPixels, arrTurned, &picBottomUp, &picTopDown, &rcOutside, nullptr) != S_FALSE ||
        !Same(arrTurned, {5, 6, 7, 8, 1, 2, 3, 4}))
        return 22;
    constexpr PicProps picWide = {FOURCC_RGB32, 2, 2, 0};
    BYTE arrWide[16] = {};
    if (Img_ResizeFrame(arrPixels, arrWide, &picBottomUp, &picWide, nullptr, nullptr, eIR_Nearest, nullptr,
                        0) != S_OK ||
        !Same(arrWide, {1, 2, 3, 4, 1, 2, 3, 4, 5, 6, 7, 8, 5, 6, 7, 8}))
        return 23;
    return 0;
}

} // namespace

int main()
{
    int (*const arrSteps[])() = {Queries, FillAndConvert, CopyAndResize};
    for (const auto step : arrSteps)
    {
        if (const int nFailed = step())
            return nFailed;
    }
    return 0;
}
