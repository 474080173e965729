// The TGA reader with any file, also one that breaks off or cannot be read to its end. Whatever the file, the
// bitmap that is made while reading is the one that comes of reading first and converting then, with the same
// result and the same traces; no byte of it depends on what memory held; no file stays open.
#include "FileInput.h"
#include "support/TestMemory.h"
#include "NativeLog.h"

#include "Video/TgaBmp/Tga.h"
#include "Video/TgaBmp/TgaBmp.h"
#include "Video/TgaBmp/TgaRows.h"
#include "dstl/WinAPI/TaskBytes.h"

#include <string>
#include <vector>

namespace
{
using Bytes = std::vector<BYTE>;

constexpr DWORD rgTypes[] = {FOURCC_ARGB32, FOURCC_RGB32, FOURCC_RGB24, FOURCC_ARGB32};
constexpr uint8_t nTypeMask = 3;
constexpr uint8_t fAlphaPlane = 4;
constexpr uint8_t fForceAlpha = 8;

struct Outcome
{
    HRESULT hr = E_FAIL;
    Bytes header;
    Bytes bitmap;
    Bytes alpha;
    std::vector<std::u16string> log;

    bool operator==(const Outcome&) const = default;
};

Outcome* g_pOutcome = nullptr;

void Log(const wchar_t* psz)
{
    std::u16string text;
    for (; *psz != 0; ++psz)
        text.push_back(static_cast<char16_t>(*psz));
    // The function above the reader has lines of its own.
    if (text.find(u"TgaBmpConv()") == std::u16string::npos)
        g_pOutcome->log.push_back(text);
}

Bytes Copy(const BYTE* pb, size_t cb)
{
    return pb != nullptr ? Bytes(pb, pb + cb) : Bytes();
}

Outcome Convert(const FileInput& input, uint8_t byFill)
{
    Outcome outcome;
    g_pOutcome = &outcome;
    g_memory.byFill = byFill;
    SetLastError(ERROR_SUCCESS);
    BITMAPINFOHEADER bmi;
    CTaskBytes pBmp;
    CTaskBytes pAlpha;
    const bool bAlpha = (input.fOptions & fAlphaPlane) != 0;
    outcome.hr = TgaBmpConv(L"a.tga", rgTypes[input.fOptions & nTypeMask], &bmi, pBmp.Out(),
                            bAlpha ? pAlpha.Out() : nullptr, (input.fOptions & fForceAlpha) != 0);
    Require(SUCCEEDED(outcome.hr) == static_cast<bool>(pBmp));
    Require(memory::g_calls.nOpens == memory::g_calls.nCloses);
    outcome.header = Copy(reinterpret_cast<const BYTE*>(&bmi), sizeof(bmi));
    outcome.bitmap = Copy(pBmp.Get(), bmi.biSizeImage);
    outcome.alpha =
        Copy(pAlpha.Get(), AlignTgaRow(static_cast<DWORD>(bmi.biWidth)) * static_cast<DWORD>(bmi.biHeight));
    return outcome;
}

/// One step after the other.
Outcome ReadThenConvert(const FileInput& input)
{
    Outcome outcome;
    g_pOutcome = &outcome;
    SetLastError(ERROR_SUCCESS);
    const DWORD fccType = rgTypes[input.fOptions & nTypeMask];
    CTga tga;
    outcome.hr = tga.LoadFile(L"a.tga");
    BITMAPINFOHEADER bmi{};
    Bytes bitmap;
    if (SUCCEEDED(outcome.hr))
    {
        Require(MakeTgaBmpHeader(tga.Columns(), tga.Rows(), fccType, &bmi));
        bitmap.resize(bmi.biSizeImage);
        outcome.hr = tga.ConvertToBmp(fccType, bitmap.data(), nullptr);
    }
    if (SUCCEEDED(outcome.hr))
        outcome.bitmap = bitmap;
    else
        bmi = BITMAPINFOHEADER();
    outcome.header = Copy(reinterpret_cast<const BYTE*>(&bmi), sizeof(bmi));
    return outcome;
}

/// Colour maps and odd depths assert for each pixel, which takes seconds for large pictures.
bool TakesTooLong()
{
    constexpr size_t cbHeader = 18;
    constexpr int nManyPixels = 12;
    const Bytes& file = memory::g_file.bytes;
    if (file.size() < cbHeader)
        return false;
    const int nWidth = file[12] | file[13] << 8;
    const int nHeight = file[14] | file[15] << 8;
    const bool bSilent = file[1] == 0 && FindTgaRowForms(file[16]) != nullptr;
    return !bSilent && static_cast<int64_t>(nWidth) * nHeight > nManyPixels;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pb, size_t cb)
{
    g_pfnNativeLog = Log;
    FileInput input;
    if (!input.Open(pb, cb) || TakesTooLong())
        return 0;
    const Outcome outcome = Convert(input, 0x00);
    Require(outcome == Convert(input, 0xFF));
    if ((input.fOptions & fAlphaPlane) == 0)
        Require(outcome == ReadThenConvert(input));
    return 0;
}
