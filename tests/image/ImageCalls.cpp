#include "image/ImageCalls.h"

#include "asm/Cpu.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <vector>

namespace
{

constexpr size_t cbLargest = size_t{64} << 20;

/// The formats as the public header lays them out; counted here on their own.
struct FormatSize
{
    DWORD fccType;
    unsigned nBits;
    bool bPlanar;
};

constexpr FormatSize arrFormats[] = {
    {FOURCC_RGB8, 8, false},   {FOURCC_RGB565, 16, false}, {FOURCC_RGB555, 16, false},
    {FOURCC_RGB24, 24, false}, {FOURCC_RGB32, 32, false},  {FOURCC_ARGB32, 32, false},
    {FOURCC_YUY2, 16, false},  {FOURCC_UYVY, 16, false},   {FOURCC_HDYC, 16, false},
    {FOURCC_YVYU, 16, false},  {FOURCC_I420, 12, true},    {FOURCC_YV12, 12, true},
};
constexpr DWORD arrRefused[] = {FOURCC_v210, FOURCC_r210, FOURCC_NV12, FOURCC_Y444,
                                FOURCC_YVU9, 0,           0xE436EB79};

/// Bytes of a frame; 0 for a format that is refused and for rows of a negative length.
unsigned long long ExpectedFrameBytes(const PicProps& pic)
{
    for (const FormatSize& format : arrFormats)
    {
        if (format.fccType != pic.fccType)
            continue;
        const LONG nRow = pic.nRowWidth != 0 ? pic.nRowWidth : pic.nWidth;
        if (nRow < 0)
            return 0;
        const unsigned long long nRows = static_cast<unsigned long long>(
            pic.nHeight < 0 ? -static_cast<long long>(pic.nHeight) : pic.nHeight);
        const unsigned long long nPixels = static_cast<unsigned long long>(nRow) * nRows;
        if (format.bPlanar)
            return nPixels + nPixels / 2;
        return (static_cast<unsigned long long>(nRow) * format.nBits / 8 + 3) / 4 * 4 * nRows;
    }
    return 0;
}

/// Bytes that both ends of every buffer are filled from, so that changes are seen without a copy. The middle
/// of a larger buffer keeps what it held: filling it would cost more than the call.
constexpr size_t cbPool = 0x8000;

const BYTE* Pool()
{
    static const std::vector<BYTE> pool = []
    {
        std::vector<BYTE> bytes(cbPool);
        unsigned n = 1;
        for (BYTE& byte : bytes)
        {
            n = n * 1664525u + 1013904223u;
            byte = static_cast<BYTE>(n >> 24);
        }
        return bytes;
    }();
    return pool.data();
}

/// What an entry point may answer.
enum eResult : DWORD
{
    eR_Ok = 1,
    eR_False = 2,
    eR_Invalid = 4,
    eR_NotImpl = 8,
    eR_Fail = 0x10,
    eR_Memory = 0x20,
    eR_Unexpected = 0x40,
    eR_Pointer = 0x80,
    eR_Size = 0x100, ///< 0xFFFFFFFA
    eR_NoTemp = 0x200,
    eR_Odd = 0x400,
    eR_Status = eR_Size | eR_NoTemp | eR_Odd,
    eR_Picture = eR_Ok | eR_False | eR_Invalid | eR_Fail,
    eR_Pair = eR_Picture | eR_NotImpl,
    eR_Convert = eR_Pair | eR_Memory | eR_Status,
    eR_Resize = eR_Ok | eR_False | eR_Invalid | eR_Memory,
    eR_Measure = eR_Ok | eR_Invalid | eR_Pointer | eR_Memory | eR_NotImpl | eR_Fail | eR_Status
};

constexpr struct
{
    DWORD dwResult;
    HRESULT hr;
} arrResults[] = {
    {eR_Ok, S_OK},
    {eR_False, S_FALSE},
    {eR_Invalid, E_INVALIDARG},
    {eR_NotImpl, E_NOTIMPL},
    {eR_Fail, E_FAIL},
    {eR_Memory, E_OUTOFMEMORY},
    {eR_Unexpected, E_UNEXPECTED},
    {eR_Pointer, E_POINTER},
    {eR_Size, static_cast<HRESULT>(0xFFFFFFFA)},
    {eR_NoTemp, static_cast<HRESULT>(0xFFFFFFF8)},
    {eR_Odd, static_cast<HRESULT>(0x80070023)},
};

DWORD ResultBit(HRESULT hr)
{
    for (const auto& result : arrResults)
    {
        if (result.hr == hr)
            return result.dwResult;
    }
    return 0;
}

std::string Text(const PicProps& pic)
{
    char sz[96];
    std::snprintf(sz, sizeof(sz), "{0x%08X, %d, %d, %d}", static_cast<unsigned>(pic.fccType),
                  static_cast<int>(pic.nWidth), static_cast<int>(pic.nHeight),
                  static_cast<int>(pic.nRowWidth));
    return sz;
}

std::string Text(const RECT* prc)
{
    if (!prc)
        return "null";
    char sz[96];
    std::snprintf(sz, sizeof(sz), "{%d, %d, %d, %d}", static_cast<int>(prc->left), static_cast<int>(prc->top),
                  static_cast<int>(prc->right), static_cast<int>(prc->bottom));
    return sz;
}

} // namespace

const ImageCalls::Entry ImageCalls::arrEntries[nEntries] = {
    {"Img_CheckProps", &ImageCalls::CheckProps, eR_Ok},
    {"Img_GetRects", &ImageCalls::GetRects, eR_Ok | eR_False | eR_Invalid},
    {"Img_GetBufferSize", &ImageCalls::BufferSize, eR_Ok},
    {"Img_GetBufferSizeEx", &ImageCalls::BufferSizeEx, eR_Ok},
    {"Img_Copy", &ImageCalls::Copy, eR_Pair},
    {"Img_Convert", &ImageCalls::Convert, eR_Convert},
    {"Img_ConvertResize", &ImageCalls::ConvertResize, eR_Convert},
    {"Img_ResizeFrame", &ImageCalls::ResizeFrame, eR_Resize},
    {"Img_ResizeFields", &ImageCalls::ResizeFields, eR_Resize},
    {"Img_Fill", &ImageCalls::Fill, eR_Picture | eR_Unexpected},
    {"Img_DrawFrame", &ImageCalls::DrawFrame, eR_Picture | eR_Unexpected},
    {"Img_InitConverter", &ImageCalls::InitConverter, eR_Ok},
    {"GetFillColor", &ImageCalls::FillColor, eR_Ok},
    {"RGBToYUV", &ImageCalls::Yuv, eR_Ok},
    {"Img_MixAlpha", &ImageCalls::MixAlpha, eR_Pair},
    {"Img_MixPicture", &ImageCalls::MixPicture, eR_Pair},
    {"Img_Blend", &ImageCalls::Blend, eR_Pair},
    {"Img_GetChromaKey", &ImageCalls::ChromaKey, eR_Measure},
    {"Img_CalcKey", &ImageCalls::CalcKey, eR_Measure | eR_False | eR_Unexpected},
    {"Img_GetImageGraph", &ImageCalls::ImageGraph, eR_Measure},
};

const char* ImageCalls::NameOf(size_t nEntry)
{
    return arrEntries[nEntry].pszName;
}

unsigned long long ImageCalls::Count() const
{
    unsigned long long nSum = 0;
    for (const unsigned long long n : m_arrCount)
        nSum += n;
    return nSum;
}

std::string ImageCalls::Describe() const
{
    if (!m_pEntry)
        return "no call";
    char szResult[32];
    std::snprintf(szResult, sizeof(szResult), " = 0x%08X", static_cast<unsigned>(m_hr));
    return std::string(m_pEntry->pszName) + " " + Text(m_input.pic) + " " + Text(m_prcInput) + " to " +
           Text(m_output.pic) + " " + Text(m_prcOutput) + m_sSettings + szResult;
}

const char* ImageCalls::Make()
{
    const size_t nEntry = m_numbers.Below(nEntries);
    m_pEntry = &arrEntries[nEntry];
    m_input = m_output = Frame();
    m_prcInput = m_prcOutput = nullptr;
    std::fill(std::begin(m_arrBytes), std::end(m_arrBytes), nullptr);
    m_bMade = m_bInputMayChange = m_bMayBeHuge = false;
    m_bNullInput = m_numbers.OneOf(100);
    m_bNullOutput = m_numbers.OneOf(100);
    m_bNullPicture = m_numbers.OneOf(100);
    m_sSettings.clear();

    constexpr eCPU arrLimits[] = {eCPU_AVX2, eCPU_SSE41, eCPU_AVX2, eCPU_Scalar};
    const CCpuLimit limit(m_numbers.Of(arrLimits));
    m_hr = (this->*m_pEntry->pfnCall)();
    if (!m_bMade)
        return nullptr;
    m_arrCount[nEntry]++;
    const DWORD dwResult = ResultBit(m_hr);
    if ((m_pEntry->dwResults & dwResult) == 0)
        return "an unknown result";
    const bool bDone = dwResult == eR_Ok || (dwResult & eR_Status) != 0;
    // A call of two steps may have done the first, and says S_OK also where the second one had nothing to do.
    const bool bConvertResize = m_pEntry->pfnCall == &ImageCalls::ConvertResize;
    const bool bTwoSteps = bConvertResize || m_pEntry->pfnCall == &ImageCalls::ResizeFields;
    const bool bHuge = m_input.bRefused || m_output.bRefused;
    if (bHuge && bDone && !m_bMayBeHuge && !bConvertResize)
        return "a frame of 4 GiB or more was not refused";
    if (!m_memory.IsWhole())
        return "a byte beside a buffer was written";
    if (!m_bInputMayChange && !IsUnchanged(eSL_Input))
        return "the input was changed";
    if (!IsUnchanged(eSL_Alpha))
        return "the alpha was changed";
    if (((!bDone && !bTwoSteps) || bHuge) && !IsUnchanged(eSL_Output))
        return "the output of a refused call was written";
    return nullptr;
}

LONG ImageCalls::Size()
{
    constexpr LONG arrOdd[] = {INT_MIN, INT_MIN + 1, INT_MAX, INT_MAX - 1, 0x40000000, 0x10000000, 0x02000000,
                               0x10000, 0x8000,      0x4000,  -1,          -2,         -16,        0};
    // Large frames are rare, as they cost what thousands of small ones do.
    const LONG n = m_numbers.Between(0, 999);
    if (n < 12)
        return m_numbers.Of(arrOdd);
    if (n < 16)
        return m_numbers.Between(1, 2000);
    return m_numbers.Between(1, n < 200 ? 100 : 34);
}

LONG ImageCalls::Coordinate(LONG nSize)
{
    constexpr LONG arrEnds[] = {INT_MIN, INT_MIN + 1, INT_MAX, INT_MAX - 1, -1, 0, 1, 0x40000000};
    const unsigned n = m_numbers.Below(32);
    if (n == 0)
        return m_numbers.Of(arrEnds);
    return n == 1 ? nSize : m_numbers.Between(-12, 12 + std::clamp<LONG>(nSize, 0, 2000));
}

int ImageCalls::Setting()
{
    constexpr int arrEnds[] = {INT_MIN, INT_MAX, -1, 0, 1, 254, 255, 256, 32767, 32768, -32768, -32769};
    return m_numbers.OneOf(4) ? m_numbers.Of(arrEnds) : int{m_numbers.Between(-60, 300)};
}

DWORD ImageCalls::Format()
{
    return m_numbers.OneOf(40) ? m_numbers.Of(arrRefused) : m_numbers.Of(arrFormats).fccType;
}

PicProps ImageCalls::Picture(DWORD fccType)
{
    PicProps pic = {fccType, Size(), Size(), 0};
    // A long side comes with a short one, or a call would cost what thousands of others do.
    constexpr LONG nLong = 0x4000;
    constexpr LONG nEndless = 0x01000000; // beyond that no frame is made
    const auto isLong = [](LONG n) { return n >= nLong && n < nEndless; };
    if (isLong(pic.nWidth) && pic.nHeight > 4 && pic.nHeight < nEndless)
        pic.nHeight = pic.nHeight % 4 + 1;
    else if (isLong(pic.nHeight) && pic.nWidth > 4 && pic.nWidth < nEndless)
        pic.nWidth = pic.nWidth % 4 + 1;
    if (!m_numbers.OneOf(6)) // even widths, or YUV is hardly ever taken
        pic.nWidth &= ~LONG{1};
    if (m_numbers.OneOf(2) && pic.nHeight != INT_MIN)
        pic.nHeight = -pic.nHeight;
    switch (m_numbers.Below(8))
    {
    case 0:
    case 1:
        break; // as wide as the picture
    case 2:
        pic.nRowWidth = Size();
        break;
    default:
        pic.nRowWidth =
            pic.nWidth > 0 && pic.nWidth < 0x10000 ? pic.nWidth + 2 * m_numbers.Between(0, 5) : pic.nWidth;
        break;
    }
    return pic;
}

const RECT* ImageCalls::Rect(RECT& rc, const PicProps& pic)
{
    if (m_numbers.OneOf(3))
        return nullptr;
    const LONG nHeight = pic.nHeight == INT_MIN ? INT_MAX : pic.nHeight < 0 ? -pic.nHeight : pic.nHeight;
    rc = {Coordinate(pic.nWidth), Coordinate(nHeight), Coordinate(pic.nWidth), Coordinate(nHeight)};
    if (rc.left > rc.right && !m_numbers.OneOf(16)) // turned ones are refused at once
        std::swap(rc.left, rc.right);
    if (rc.top > rc.bottom && !m_numbers.OneOf(16))
        std::swap(rc.top, rc.bottom);
    return &rc;
}

BYTE* ImageCalls::Buffer(eSlot slot, size_t cb)
{
    BYTE* const pb = m_memory.Get(slot, cb);
    m_arrBytes[slot] = pb;
    m_arrSize[slot] = cb;
    const size_t cbEnd = std::min(cb, cbPool);
    std::memcpy(pb, Pool(), cbEnd);
    std::memcpy(pb + cb - cbEnd, Pool(), cbEnd);
    return pb;
}

/// Of a large buffer both ends are watched.
bool ImageCalls::IsUnchanged(eSlot slot) const
{
    const BYTE* const pb = m_arrBytes[slot];
    if (!pb)
        return true;
    const size_t cb = m_arrSize[slot];
    const size_t cbEnd = std::min(cb, cbPool);
    // Where the ends overlap, the second one was written over the first.
    const size_t cbHead = std::min(cbEnd, cb - cbEnd);
    return std::memcmp(pb, Pool(), cbHead) == 0 && std::memcmp(pb + cb - cbEnd, Pool(), cbEnd) == 0;
}

/// \return false for a frame that is left out
bool ImageCalls::Open(Frame& frame, eSlot slot, DWORD fccType)
{
    frame.pic = Picture(fccType);
    const unsigned long long cbFrame = ExpectedFrameBytes(frame.pic);
    frame.bRefused = cbFrame > UINT32_MAX;
    const auto cbCut = static_cast<size_t>(cbFrame & UINT32_MAX);
    if (frame.bRefused ? false : cbCut > cbLargest)
        return false;
    frame.cb = std::min(cbCut, cbLargest);
    frame.pb = Buffer(slot, frame.cb);
    return true;
}

bool ImageCalls::OpenPair(bool bSameFormat)
{
    const DWORD fccType = Format();
    const bool bOther = bSameFormat ? m_numbers.OneOf(50) : !m_numbers.OneOf(8);
    const bool bOpen =
        Open(m_input, eSL_Input, fccType) && Open(m_output, eSL_Output, bOther ? Format() : fccType);
    m_prcInput = RectIn();
    m_prcOutput = RectOut();
    return bOpen;
}

/// Work memory of the caller, or none.
/// \return false when it, or what the call would allocate in its place, is left out
bool ImageCalls::WorkMemory(BYTE*& pTemp, size_t cb, bool bAllocates)
{
    pTemp = nullptr;
    const bool bGiven = m_numbers.OneOf(2);
    // What is refused before any memory is needed.
    const bool bRefused = m_input.bRefused || m_output.bRefused;
    if (cb > cbLargest)
        return bRefused || (!bGiven && !bAllocates);
    if (bGiven)
        pTemp = Buffer(eSL_Temp, cb);
    m_sSettings += bGiven ? ", temp" : ", no temp";
    return true;
}

HRESULT ImageCalls::InitConverter()
{
    m_bMade = true;
    return Img_InitConverter(Setting()) >= 0 ? S_OK : E_FAIL;
}

HRESULT ImageCalls::CheckProps()
{
    const PicProps pic = Picture(Format());
    m_bMade = true;
    Img_CheckProps(m_bNullPicture ? nullptr : &pic, m_numbers.OneOf(2));
    return S_OK;
}

HRESULT ImageCalls::GetRects()
{
    m_input.pic = Picture(Format());
    m_output.pic = Picture(Format());
    m_prcInput = RectIn();
    m_prcOutput = RectOut();
    m_bMade = true;
    RECT rcSrc;
    RECT rcDst;
    const HRESULT hr = Img_GetRects(PicIn(), PicOut(), m_bNullInput ? nullptr : &rcSrc, &rcDst,
                                    m_numbers.OneOf(2), m_prcInput, m_prcOutput);
    if (hr != S_OK)
        return hr;
    // Inside both pictures, but for the rounding of the columns of an odd picture.
    const auto isInside = [](const RECT& rc, const PicProps& pic)
    {
        return rc.left >= 0 && rc.top >= 0 &&
               rc.right <= static_cast<long long>(pic.nWidth) + (pic.nWidth & 1) &&
               rc.bottom <= static_cast<long long>(AbsHeight(pic.nHeight));
    };
    return isInside(rcSrc, m_input.pic) && isInside(rcDst, m_output.pic) ? S_OK : E_UNEXPECTED;
}

HRESULT ImageCalls::BufferSize()
{
    m_input.pic = Picture(Format());
    m_output.pic = Picture(Format());
    m_bMade = true;
    Img_GetBufferSize(PicIn(), PicOut());
    return S_OK;
}

HRESULT ImageCalls::BufferSizeEx()
{
    m_input.pic = Picture(Format());
    m_output.pic = Picture(Format());
    m_bMade = true;
    Img_GetBufferSizeEx(PicIn(), PicOut());
    return S_OK;
}

HRESULT ImageCalls::Copy()
{
    if (!OpenPair(true))
        return S_OK;
    m_bMade = true;
    if (m_numbers.OneOf(16)) // from a frame to itself
    {
        m_input = m_output;
        return Img_Copy(Out(), Out(), PicOut(), PicOut(), m_prcInput, m_prcOutput);
    }
    return Img_Copy(In(), Out(), PicIn(), PicOut(), m_prcInput, m_prcOutput);
}

HRESULT ImageCalls::Convert()
{
    BYTE* pTemp;
    if (!OpenPair(false) || !WorkMemory(pTemp, Img_GetBufferSize(&m_input.pic, &m_output.pic), false))
        return S_OK;
    const bool bMirrorToBuffer = m_numbers.OneOf(2);
    m_bInputMayChange = !bMirrorToBuffer;
    m_bMade = true;
    return Img_Convert(In(), Out(), PicIn(), PicOut(), m_prcInput, m_prcOutput, bMirrorToBuffer, pTemp);
}

HRESULT ImageCalls::ConvertResize()
{
    BYTE* pTemp;
    if (!OpenPair(false) || !WorkMemory(pTemp, Img_GetBufferSizeEx(&m_input.pic, &m_output.pic), true))
        return S_OK;
    m_bMade = true;
    const bool bFields = m_numbers.OneOf(3);
    constexpr int arrModes[] = {1, 2, 4, 8, 0x20, 0x21, 0x22, 0x23, 0x40, 0, 3, 5, 0x7FFFFFFF, -1};
    const int nMode = m_numbers.Of(arrModes);
    const int nSharp = m_numbers.OneOf(2) ? 0 : Setting();
    m_sSettings +=
        ", mode " + std::to_string(nMode) + ", sharp " + std::to_string(nSharp) + (bFields ? ", fields" : "");
    return Img_ConvertResize(In(), Out(), PicIn(), PicOut(), m_prcInput, m_prcOutput, bFields, nMode, pTemp,
                             nSharp);
}

HRESULT ImageCalls::ResizeFrame()
{
    BYTE* pTemp;
    if (!OpenPair(true) || !WorkMemory(pTemp, Img_GetBufferSize(&m_input.pic, &m_output.pic), true))
        return S_OK;
    m_bMade = true;
    constexpr int arrModes[] = {1, 2, 4, 8, 0x20, 0x21, 0x22, 0x23, 0x40, 0, 3, 5, 0x7FFFFFFF, -1};
    const int nMode = m_numbers.Of(arrModes);
    const int nSharp = m_numbers.OneOf(2) ? 0 : Setting();
    m_sSettings += ", mode " + std::to_string(nMode) + ", sharp " + std::to_string(nSharp);
    return Img_ResizeFrame(In(), Out(), PicIn(), PicOut(), m_prcInput, m_prcOutput, nMode, pTemp, nSharp);
}

HRESULT ImageCalls::ResizeFields()
{
    BYTE* pTemp;
    if (!OpenPair(true) || !WorkMemory(pTemp, Img_GetBufferSize(&m_input.pic, &m_output.pic), true))
        return S_OK;
    m_bMade = true;
    constexpr int arrModes[] = {1, 2, 4, 8, 0x20, 0x21, 0x22, 0x23, 0x40, 0, 3, 5, 0x7FFFFFFF, -1};
    const int nMode = m_numbers.Of(arrModes);
    const int nSharp = m_numbers.OneOf(2) ? 0 : Setting();
    const int nField = int{m_numbers.Between(-1, 2)};
    m_bMayBeHuge = nField > 1; // no field, no work
    m_sSettings += ", mode " + std::to_string(nMode) + ", sharp " + std::to_string(nSharp) + ", field " +
                   std::to_string(nField);
    return Img_ResizeFields(In(), Out(), PicIn(), PicOut(), m_prcInput, m_prcOutput, nMode, pTemp, nSharp,
                            nField);
}

HRESULT ImageCalls::Fill()
{
    if (!Open(m_output, eSL_Output, Format()))
        return S_OK;
    m_prcOutput = RectOut();
    m_bMade = true;
    const int nField = m_numbers.OneOf(3) ? int{m_numbers.Between(0, 2)} : -1;
    const int nOpacity = m_numbers.OneOf(2) ? 255 : Setting();
    m_sSettings += ", opacity " + std::to_string(nOpacity) + ", field " + std::to_string(nField);
    return Img_Fill(Out(), m_bNullPicture ? nullptr : PicOut(), m_numbers.Dword(), m_prcOutput, nOpacity,
                    nField);
}

HRESULT ImageCalls::DrawFrame()
{
    if (!Open(m_output, eSL_Output, Format()))
        return S_OK;
    m_prcOutput = RectOut();
    m_bMade = true;
    const int nThickness = m_numbers.OneOf(4) ? Setting() : int{m_numbers.Between(0, 9)};
    m_bMayBeHuge = nThickness <= 0; // nothing is painted
    const int nOpacity = m_numbers.OneOf(2) ? 255 : Setting();
    m_sSettings += ", thickness " + std::to_string(nThickness) + ", opacity " + std::to_string(nOpacity);
    return Img_DrawFrame(Out(), m_bNullPicture ? nullptr : PicOut(), m_numbers.Dword(), nThickness,
                         m_prcOutput, nOpacity, m_numbers.Byte());
}

HRESULT ImageCalls::FillColor()
{
    m_bMade = true;
    BYTE* const pColor = Buffer(eSL_Output, 4);
    DWORD dwByteValid = 0;
    const bool bColor = GetFillColor(Format(), m_numbers.Dword(), m_bNullOutput ? nullptr : pColor,
                                     m_numbers.OneOf(2) ? nullptr : &dwByteValid);
    return dwByteValid <= 4 && (!bColor || !m_bNullOutput) ? S_OK : E_UNEXPECTED;
}

HRESULT ImageCalls::Yuv()
{
    m_bMade = true;
    return (RGBToYUV(m_numbers.Dword(), m_numbers.OneOf(2)) >> 24) == 0 ? S_OK : E_UNEXPECTED;
}

HRESULT ImageCalls::MixAlpha()
{
    if (!OpenPair(true))
        return S_OK;
    const BYTE* const pbAlpha = Buffer(eSL_Alpha, m_input.cb);
    const int nField = m_numbers.OneOf(3) ? int{m_numbers.Between(0, 2)} : -1;
    m_sSettings = ", field " + std::to_string(nField);
    m_bMade = true;
    return Img_MixAlpha(In(), m_numbers.OneOf(50) ? nullptr : pbAlpha, Out(), PicIn(), PicOut(), m_prcInput,
                        m_prcOutput, nField);
}

HRESULT ImageCalls::MixPicture()
{
    if (!OpenPair(true))
        return S_OK;
    // One byte a pixel, in rows of the input's length.
    const unsigned long long cbPlane =
        m_input.bRefused || PicRow(m_input.pic) < 0
            ? 0
            : static_cast<unsigned long long>(PicRow(m_input.pic)) * AbsHeight(m_input.pic.nHeight);
    if (cbPlane > cbLargest)
        return S_OK;
    const BYTE* const pbAlpha = Buffer(eSL_Alpha, static_cast<size_t>(cbPlane));
    const int nField = m_numbers.OneOf(3) ? int{m_numbers.Between(0, 2)} : -1;
    const int nOpacity = m_numbers.OneOf(3) ? -1 : Setting();
    const bool bMirrorAlpha = m_numbers.OneOf(2);
    m_bInputMayChange = m_input.pic.fccType == FOURCC_ARGB32 && nOpacity >= 0;
    m_sSettings = ", field " + std::to_string(nField) + ", opacity " + std::to_string(nOpacity) +
                  (bMirrorAlpha ? ", turned alpha" : "");
    m_bMade = true;
    return Img_MixPicture(In(), m_numbers.OneOf(20) ? nullptr : pbAlpha, Out(), nOpacity, PicIn(), PicOut(),
                          bMirrorAlpha, m_prcInput, m_prcOutput, nField);
}

HRESULT ImageCalls::Blend()
{
    if (!OpenPair(true))
        return S_OK;
    m_bMade = true;
    const int nSrcWeight = Setting();
    return Img_Blend(In(), Out(), nSrcWeight, Setting(), PicIn(), PicOut(), m_prcInput, m_prcOutput);
}

HRESULT ImageCalls::ChromaKey()
{
    if (!Open(m_input, eSL_Input, Format()))
        return S_OK;
    // A frame of 8 bits has four bytes a pixel of work.
    const unsigned long long nPixels =
        m_input.bRefused || m_input.pic.nRowWidth < 0
            ? 0
            : static_cast<unsigned long long>(m_input.pic.nRowWidth) * AbsHeight(m_input.pic.nHeight);
    constexpr size_t cbStatistics = 4176;
    BYTE* pTemp;
    if (!WorkMemory(pTemp, static_cast<size_t>(nPixels) * 8 + cbStatistics, true))
        return S_OK;
    auto* const pKey = reinterpret_cast<DWORD*>(Buffer(eSL_Key, 2 * sizeof(DWORD)));
    m_bMade = true;
    return Img_GetChromaKey(In(), PicIn(), int{m_numbers.Between(1, 4)}, m_bNullOutput ? nullptr : pKey,
                            pTemp);
}

HRESULT ImageCalls::CalcKey()
{
    if (!Open(m_input, eSL_Input, Format()))
        return S_OK;
    if (!m_input.bRefused && m_input.pic.nRowWidth > 0 &&
        static_cast<unsigned long long>(m_input.pic.nRowWidth) * AbsHeight(m_input.pic.nHeight) * 4 >
            cbLargest)
        return S_OK; // what the converted picture would take
    const unsigned nPoints = m_numbers.Below(4);
    const unsigned nRects = m_numbers.Below(3);
    auto* const pPoints = reinterpret_cast<POINT*>(Buffer(eSL_Points, nPoints * sizeof(POINT)));
    auto* const pRects = reinterpret_cast<RECT*>(Buffer(eSL_Rects, nRects * sizeof(RECT)));
    for (unsigned i = 0; i < nPoints; i++)
        pPoints[i] = {Coordinate(m_input.pic.nWidth), Coordinate(m_input.pic.nHeight)};
    for (unsigned i = 0; i < nRects; i++)
        pRects[i] = {Coordinate(m_input.pic.nWidth), Coordinate(m_input.pic.nHeight),
                     Coordinate(m_input.pic.nWidth), Coordinate(m_input.pic.nHeight)};
    auto* const pKey = reinterpret_cast<DWORD*>(Buffer(eSL_Key, 2 * sizeof(DWORD)));
    pKey[0] = m_numbers.Dword();
    pKey[1] = m_numbers.OneOf(2) ? 0 : m_numbers.Dword();
    const bool bNoPoints = m_numbers.OneOf(16);
    const bool bNoRects = m_numbers.OneOf(16);
    m_bMade = true;
    const HRESULT hr =
        Img_CalcKey(In(), PicIn(), m_numbers.OneOf(30) ? INT_MIN : static_cast<int>(nPoints),
                    bNoPoints ? nullptr : pPoints, static_cast<int>(nRects), bNoRects ? nullptr : pRects,
                    int{m_numbers.Between(1, 5)}, m_bNullOutput ? nullptr : pKey);
    if (hr != S_OK)
        return hr;
    for (unsigned i = 0; i < nPoints && !bNoPoints; i++)
    {
        if (pPoints[i].x == INT_MIN || pPoints[i].x == INT_MAX)
            return hr; // not moved, as its count was not positive
    }
    return (pKey[0] >> 24) == 0 && (pKey[1] >> 24) == 0 ? S_OK : E_POINTER;
}

HRESULT ImageCalls::ImageGraph()
{
    // Painting costs as much as thousands of other calls: once in a while will do.
    const bool bPaint = m_numbers.Byte() == 0x5A && m_numbers.Byte() == 0xA5;
    if (!Open(m_input, eSL_Input, Format()))
        return S_OK;
    if (!m_input.bRefused && m_input.pic.nRowWidth > 0 &&
        static_cast<unsigned long long>(m_input.pic.nRowWidth) * AbsHeight(m_input.pic.nHeight) * 4 >
            cbLargest)
        return S_OK; // what the converted picture would take
    constexpr size_t cbGraph = 768 * 768 * 4;
    BYTE* const pbGraph = bPaint ? Buffer(eSL_Output, cbGraph) : nullptr;
    PicProps picGraph;
    m_bMayBeHuge = !bPaint;
    m_bMade = true;
    return Img_GetImageGraph(In(), PicIn(), int{m_numbers.Between(0, 2)}, pbGraph,
                             m_bNullOutput ? nullptr : &picGraph);
}
