#include "ConvertReference.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

namespace
{

/// Division that rounds down, as an arithmetic shift does.
int64_t FloorDiv(int64_t n, int64_t nDivisor)
{
    const int64_t nQuotient = n / nDivisor;
    return n % nDivisor < 0 ? nQuotient - 1 : nQuotient;
}

int Clamp255(int64_t n)
{
    return static_cast<int>(std::clamp<int64_t>(n, 0, 255));
}

bool Is420(DWORD fcc)
{
    return fcc == FOURCC_I420 || fcc == FOURCC_YV12;
}

/// Bytes of a pixel of packed RGB, 0 for others.
int RgbBytes(DWORD fcc)
{
    switch (fcc)
    {
    case FOURCC_RGB24:
        return 3;
    case FOURCC_RGB32:
    case FOURCC_ARGB32:
        return 4;
    case FOURCC_RGB565:
    case FOURCC_RGB555:
        return 2;
    default:
        return 0;
    }
}

/// One side of a conversion: a block in a byte vector.
struct Side
{
    std::vector<BYTE>* pBytes;
    DWORD fcc;
    ptrdiff_t arrStart[3];
    ptrdiff_t arrStep[3];
    LONG nColumns; ///< columns that exist from the block's first one on

    BYTE& At(int nPlane, ptrdiff_t x, ptrdiff_t y) const
    {
        return pBytes->at(static_cast<size_t>(arrStart[nPlane] + y * arrStep[nPlane] + x));
    }
    /// A column that an RGB picture lacks repeats its neighbour.
    Pixel Rgb(LONG x, LONG y) const
    {
        const int cb = RgbBytes(fcc);
        const ptrdiff_t nAt = std::min(x, nColumns - 1) * cb;
        return {At(0, nAt, y), At(0, nAt + 1, y), At(0, nAt + 2, y)};
    }
    void SetByte(LONG x, LONG y, int nByte, int cb, int nValue) const
    {
        if (x < nColumns)
            At(0, x * ptrdiff_t{cb} + nByte, y) = static_cast<BYTE>(nValue);
    }
    /// Where a component stands within the four bytes of a pair: 0 Y0, 1 U, 2 Y1, 3 V.
    int Slot(int nComponent) const
    {
        switch (fcc)
        {
        case FOURCC_YUY2:
            return nComponent;
        case FOURCC_YVYU:
            return std::array{0, 3, 2, 1}[static_cast<size_t>(nComponent)];
        case FOURCC_UYVY:
        case FOURCC_HDYC:
            return std::array{1, 0, 3, 2}[static_cast<size_t>(nComponent)];
        default:
            throw std::logic_error("not packed YUV");
        }
    }
    BYTE& Y(LONG x, LONG y) const { return Is420(fcc) ? At(0, x, y) : At(0, x / 2 * 4 + Slot(x % 2 * 2), y); }
    BYTE& U(LONG x, LONG y) const { return Is420(fcc) ? At(1, x / 2, y / 2) : At(0, x / 2 * 4 + Slot(1), y); }
    BYTE& V(LONG x, LONG y) const { return Is420(fcc) ? At(2, x / 2, y / 2) : At(0, x / 2 * 4 + Slot(3), y); }
};

void Flip(const Side& side, LONG nWidth, LONG nHeight, int cb)
{
    for (LONG y = 0; y < nHeight / 2; y++)
    {
        for (ptrdiff_t i = 0; i < std::min(nWidth, side.nColumns) * ptrdiff_t{cb}; i++)
            std::swap(side.At(0, i, y), side.At(0, i, nHeight - 1 - y));
    }
}

void SetRgb(const Side& dst, LONG x, LONG y, const Pixel& px, bool bAlpha)
{
    const int cb = RgbBytes(dst.fcc);
    if (cb == 2)
    {
        const int nGreen = dst.fcc == FOURCC_RGB565 ? 4 : 8;
        const int n = px[2] / 8 * (dst.fcc == FOURCC_RGB565 ? 2048 : 1024) + px[1] / nGreen * 32 + px[0] / 8;
        dst.SetByte(x, y, 0, 2, n % 256);
        dst.SetByte(x, y, 1, 2, n / 256);
        return;
    }
    for (int i = 0; i < 3; i++)
        dst.SetByte(x, y, i, cb, px[static_cast<size_t>(i)]);
    if (bAlpha && cb == 4)
        dst.SetByte(x, y, 3, cb, 255);
}

void RgbToYuv(const Side& src, const Side& dst, LONG nWidth, LONG nHeight)
{
    const bool b420 = Is420(dst.fcc);
    const char chPath = b420 ? 'P' : dst.fcc == FOURCC_YUY2 || src.fcc == FOURCC_RGB24 ? 'Y' : 'U';
    const LONG nRows = b420 ? nHeight / 2 * 2 : nHeight;
    for (LONG y = 0; y < nRows; y++)
    {
        for (LONG x = 0; x < nWidth; x++)
        {
            dst.Y(x, y) = static_cast<BYTE>(ReferenceY(src.Rgb(x, y)));
            const LONG x0 = x / 2 * 2;
            std::vector<Pixel> pixels = {src.Rgb(x0, y), src.Rgb(x0 + 1, y)};
            if (b420)
            {
                const LONG y0 = y / 2 * 2;
                pixels = {src.Rgb(x0, y0), src.Rgb(x0 + 1, y0), src.Rgb(x0, y0 + 1), src.Rgb(x0 + 1, y0 + 1)};
            }
            const auto arrUV = ReferenceChroma(pixels, chPath);
            dst.U(x, y) = static_cast<BYTE>(arrUV[0]);
            dst.V(x, y) = static_cast<BYTE>(arrUV[1]);
        }
    }
}

void YuvToRgb(const Side& src, const Side& dst, LONG nWidth, LONG nHeight)
{
    const bool bUyvy = src.fcc == FOURCC_UYVY || src.fcc == FOURCC_HDYC;
    const char chSet = Is420(src.fcc) ? 'B' : bUyvy && RgbBytes(dst.fcc) == 4 ? 'C' : 'A';
    const LONG nRows = Is420(src.fcc) ? nHeight / 2 * 2 : nHeight;
    for (LONG y = 0; y < nRows; y++)
    {
        for (LONG x = 0; x < nWidth; x++)
            SetRgb(dst, x, y, ReferenceRgb(src.Y(x, y), src.U(x, y), src.V(x, y), chSet), true);
    }
}

void YuvToYuv(const Side& src, const Side& dst, LONG nWidth, LONG nHeight)
{
    const bool bCopy = Is420(src.fcc) && Is420(dst.fcc);
    const bool bHalve = !bCopy && (Is420(src.fcc) || Is420(dst.fcc));
    const LONG nRows = bHalve ? nHeight / 2 * 2 : nHeight;
    for (LONG y = 0; y < nRows; y++)
    {
        for (LONG x = 0; x < nWidth; x++)
        {
            dst.Y(x, y) = src.Y(x, y);
            if (bCopy && y >= nHeight / 2 * 2)
                continue;
            const LONG nChromaRow = Is420(dst.fcc) ? y / 2 * 2 : y; // odd rows give no chroma
            dst.U(x, y) = src.U(x, nChromaRow);
            dst.V(x, y) = src.V(x, nChromaRow);
        }
    }
}

void RgbToRgb(const Side& src, const Side& dst, LONG nWidth, LONG nHeight)
{
    for (LONG y = 0; y < nHeight; y++)
    {
        for (LONG x = 0; x < nWidth; x++)
        {
            SetRgb(dst, x, y, src.Rgb(x, y), false);
            if (RgbBytes(src.fcc) == 4 && RgbBytes(dst.fcc) == 4)
            {
                const bool bSet = src.fcc == FOURCC_RGB32 && dst.fcc == FOURCC_ARGB32;
                dst.SetByte(x, y, 3, 4, bSet ? 255 : src.At(0, x * 4 + 3, y));
            }
        }
    }
}

/// The path of a pair: '.' none, '1' to '6' refused, else what kind of work.
char PathOf(DWORD fccIn, DWORD fccOut)
{
    static constexpr DWORD arrRows[] = {FOURCC_RGB24, FOURCC_RGB32, FOURCC_ARGB32, FOURCC_YUY2, FOURCC_UYVY,
                                        FOURCC_HDYC,  FOURCC_YVYU,  FOURCC_I420,   FOURCC_YV12};
    static constexpr DWORD arrColumns[] = {FOURCC_YUY2,   FOURCC_UYVY,   FOURCC_HDYC,  FOURCC_YVYU,
                                           FOURCC_I420,   FOURCC_YV12,   FOURCC_RGB24, FOURCC_RGB32,
                                           FOURCC_ARGB32, FOURCC_RGB565, FOURCC_RGB555};
    // r RGB to RGB, t RGB to YUV, T the same in two stages, u YUV to RGB, U in two stages, y YUV to YUV.
    static constexpr const char* arrPaths[] = {"tTT1ttrrr..", "ttt2ttrrr..", "ttt2ttrrr..",
                                               "yyyyyyuuuuu", "yyy3yyUuu..", "yyy3yyUuu..",
                                               "444yyy566..", "yyyyyyuuuuu", "yyyyyyuuuuu"};
    const auto* pRow = std::find(std::begin(arrRows), std::end(arrRows), fccIn);
    const auto* pColumn = std::find(std::begin(arrColumns), std::end(arrColumns), fccOut);
    if (pRow == std::end(arrRows) || pColumn == std::end(arrColumns))
        return '.';
    return arrPaths[pRow - arrRows][pColumn - arrColumns];
}

const char* RefusalOf(char chPath)
{
    switch (chPath)
    {
    case '1':
    case '2':
        return "NOT SUPPORTED RGB32->YVYU x64";
    case '3':
        return "NOT SUPPORTED UYVY->YVYU x64";
    case '4':
        return "NOT SUPPORTED YVYU->YUY2 x64";
    case '5':
        return "NOT SUPPORTED YVYU->RGB24 x64";
    case '6':
        return "NOT SUPPORTED YVYU->RGB32 x64";
    default:
        return nullptr;
    }
}

/// The table of pairs that ask for a buffer.
bool AsksForBuffer(bool bMirrorToBuffer, DWORD fccIn, DWORD fccOut)
{
    if (fccIn == FOURCC_YV12)
        return fccOut == FOURCC_RGB32;
    const bool b16or24 = fccOut == FOURCC_RGB565 || fccOut == FOURCC_RGB555 || fccOut == FOURCC_RGB24;
    if (fccIn == FOURCC_UYVY || fccIn == FOURCC_HDYC)
        return b16or24 && bMirrorToBuffer;
    if (fccIn == FOURCC_YVYU)
        return (b16or24 || fccOut == FOURCC_RGB32 || fccOut == FOURCC_ARGB32) && bMirrorToBuffer;
    return false;
}

/// The status of the primitives for a size; 1 for a pair without sizes.
int StatusOf(char chPath, DWORD fccIn, DWORD fccOut, LONG nWidth, LONG nHeight)
{
    const bool bIn = Is420(fccIn);
    const bool bOut = Is420(fccOut);
    const bool bToRgb = chPath == 'u' || chPath == 'U';
    const bool bPlanarToRgb = bIn && bToRgb;
    if (chPath == 'r' || fccIn == fccOut || (bIn && bOut) ||
        ((fccIn == FOURCC_UYVY || fccIn == FOURCC_HDYC) && (fccOut == FOURCC_UYVY || fccOut == FOURCC_HDYC)))
        return 0;
    const LONG nMinWidth = bPlanarToRgb ? 1 : 2;
    const LONG nMinHeight = (bIn || bOut) && !bPlanarToRgb ? 2 : 1;
    if (nWidth < nMinWidth || nHeight < nMinHeight)
        return -6;
    const bool bWarns = bPlanarToRgb || (chPath == 't' && bOut);
    return bWarns && nHeight % 2 != 0 ? 35 : 0;
}

} // namespace

int ReferenceY(const Pixel& px)
{
    return static_cast<int>(
        (int64_t{6423} * px[0] + int64_t{33030} * px[1] + int64_t{16843} * px[2] + 1081344) / 65536);
}

std::array<int, 2> ReferenceChroma(const std::vector<Pixel>& pixels, char chPath)
{
    int64_t b = 0;
    int64_t g = 0;
    int64_t r = 0;
    for (const Pixel& px : pixels)
    {
        b += px[0];
        g += px[1];
        r += px[2];
    }
    const int64_t nDivisor = chPath == 'P' ? 262144 : 131072;
    const int64_t nCb = chPath == 'P' ? 0x2008000 : chPath == 'Y' ? 0x1004000 : 0x1010000;
    const int64_t nCr = chPath == 'P' ? 0x2008000 : chPath == 'Y' ? 0x1004000 : 0x100FFFE;
    const int64_t u = FloorDiv(28770 * b - 19071 * g - 9699 * r + nCb, nDivisor);
    const int64_t v = FloorDiv(-4653 * b - 24117 * g + 28770 * r + nCr, nDivisor);
    return {static_cast<int>(u & 0xFF), static_cast<int>(v & 0xFF)};
}

Pixel ReferenceRgb(int y, int u8, int v8, char chSet)
{
    if (chSet == 'A')
        return {Clamp255(FloorDiv(int64_t{76284} * y + int64_t{132186} * u8 - 18140365, 65536)),
                Clamp255(FloorDiv(int64_t{76284} * y - int64_t{53281} * v8 - int64_t{25690} * u8 + 8887730,
                                  65536)),
                Clamp255(FloorDiv(int64_t{76284} * y + int64_t{104595} * v8 - 14608761, 65536))};
    const int64_t u = u8 - 128;
    const int64_t v = v8 - 128;
    if (chSet == 'B')
        return {Clamp255(FloorDiv(int64_t{76284} * y + 132186 * u - 1187776, 65536)),
                Clamp255(FloorDiv(int64_t{76284} * y - 25690 * u - 53281 * v - 1187776, 65536)),
                Clamp255(FloorDiv(int64_t{76284} * y + 104595 * v - 1187776, 65536))};
    return {Clamp255(FloorDiv(int64_t{76282} * y + 132184 * u - 1187744, 65536)),
            Clamp255(FloorDiv(int64_t{76282} * y - 25689 * u - 53279 * v - 1187744, 65536)),
            Clamp255(FloorDiv(int64_t{76282} * y + 104593 * v - 1187744, 65536))};
}

ConvertResult ReferenceConvert(std::vector<BYTE> input, std::vector<BYTE> output, const PicProps& picInput,
                               const PicProps& picOutput, const RECT* prcInput, const RECT* prcOutput,
                               bool bMirrorToBuffer, bool bTemp)
{
    ConvertResult result;
    const auto done = [&](HRESULT hr)
    {
        result.hr = hr;
        result.input = input;
        result.output = output;
        return result;
    };

    DWORD arrShift[2][3] = {};
    DWORD arrStep[2][3] = {};
    DWORD arrOffset[2][3] = {};
    bool arrMirror[2] = {};
    const PicProps* arrPics[2] = {&picInput, &picOutput};
    for (int i = 0; i < 2; i++)
    {
        if (!GetPicPlanes(arrPics[i], arrShift[i], arrStep[i], &arrMirror[i], false))
            return done(E_INVALIDARG);
    }
    RECT arrRects[2];
    const HRESULT hr =
        NormalizeRects(&picInput, &picOutput, &arrRects[0], &arrRects[1], false, prcInput, prcOutput);
    if (hr != S_OK)
        return done(hr);
    const LONG nWidth = arrRects[0].right - arrRects[0].left;
    const LONG nHeight = arrRects[0].bottom - arrRects[0].top;
    std::vector<BYTE> temp;
    Side arrSides[2];
    std::vector<BYTE>* arrBytes[2] = {&input, &output};
    LONG nColumns = nWidth;
    for (int i = 0; i < 2; i++)
    {
        const PicProps& pic = *arrPics[i];
        const RECT& rc = arrRects[i];
        const LONG y = arrMirror[i] ? static_cast<LONG>(AbsHeight(pic.nHeight)) - rc.bottom : rc.top;
        if (!GetPicOffsets(&pic, rc.left, y, arrOffset[i], false))
            return done(E_FAIL);
        arrSides[i].pBytes = arrBytes[i];
        arrSides[i].fcc = pic.fccType;
        for (int n = 0; n < 3; n++)
        {
            arrSides[i].arrStart[n] = ptrdiff_t{arrShift[i][n]} + ptrdiff_t{arrOffset[i][n]};
            arrSides[i].arrStep[n] = ptrdiff_t{arrStep[i][n]};
        }
        arrSides[i].nColumns = pic.nWidth - rc.left;
        nColumns = std::min(nColumns, pic.nWidth - rc.left);
    }
    for (Side& side : arrSides)
        side.nColumns = std::min(side.nColumns, nColumns);

    Side& src = arrSides[0];
    const Side& dst = arrSides[1];
    const bool bMirrorIn = arrMirror[0] && !arrMirror[1];
    const bool bMirrorOut = arrMirror[1] && !arrMirror[0];
    const bool bBuffer = bTemp || (bMirrorIn && bMirrorToBuffer) ||
                         AsksForBuffer(bMirrorToBuffer, picInput.fccType, picOutput.fccType);
    if (bMirrorIn)
    {
        const int cb = RgbBytes(picInput.fccType);
        if (cb == 0)
            result.asserts.push_back(bMirrorToBuffer ? "INVALID MIRROW" : "INVALID MIRROW INPUT");
        else
        {
            if (bMirrorToBuffer)
            {
                temp = input;
                src.pBytes = &temp;
            }
            Flip(src, nWidth, nHeight, cb);
        }
    }

    const char chPath = PathOf(picInput.fccType, picOutput.fccType);
    if (const char* pszRefusal = RefusalOf(chPath))
    {
        result.asserts.push_back(pszRefusal);
        return done(E_NOTIMPL);
    }
    if (chPath != '.')
    {
        if ((chPath == 'T' || chPath == 'U') && !bBuffer)
            return done(static_cast<HRESULT>(0xFFFFFFF8));
        const int nStatus = StatusOf(chPath, picInput.fccType, picOutput.fccType, nWidth, nHeight);
        if (nStatus < 0)
            return done(static_cast<HRESULT>(0xFFFFFFFA));
        switch (chPath)
        {
        case 'r':
            RgbToRgb(src, dst, std::min(nWidth, nColumns), nHeight);
            break;
        case 't':
        case 'T':
            RgbToYuv(src, dst, nWidth, nHeight);
            break;
        case 'u':
        case 'U':
            YuvToRgb(src, dst, nWidth, nHeight);
            break;
        default:
            YuvToYuv(src, dst, nWidth, nHeight);
        }
        if (nStatus == 35)
            return done(static_cast<HRESULT>(0x80070023));
    }
    if (bMirrorOut)
    {
        const int cb = RgbBytes(picOutput.fccType);
        if (cb == 0)
            result.asserts.push_back("INVALID MIRROW OUTPUT");
        else
            Flip(dst, nWidth, nHeight, cb);
    }
    return done(S_OK);
}
