// The BMP reader with any file, also one that breaks off or cannot be read to its end. No byte of the result
// depends on what memory held; no file stays open.
#include "FileInput.h"
#include "support/TestMemory.h"

#include "Common/Common.h"
#include "Video/TgaBmp/BmpFile.h"
#include "Video/TgaBmp/BmpHeader.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace
{
struct Outcome
{
    HRESULT hr;
    std::vector<BYTE> bytes;

    bool operator==(const Outcome&) const = default;
};

Outcome Load(uint8_t byFill)
{
    g_memory.byFill = byFill;
    SetLastError(ERROR_SUCCESS);
    BITMAPINFOHEADER bmi;
    CTaskBytes pPicture;
    Outcome outcome = {LoadBmpFile(L"a.bmp", &bmi, pPicture.Out()), {}};
    Require(memory::g_calls.nOpens == memory::g_calls.nCloses);
    Require(SUCCEEDED(outcome.hr) == static_cast<bool>(pPicture));

    const BYTE* const pbHeader = reinterpret_cast<const BYTE*>(&bmi);
    outcome.bytes.assign(pbHeader, pbHeader + sizeof(bmi));
    if (!pPicture)
    {
        Require(std::count(outcome.bytes.begin(), outcome.bytes.end(), 0) == sizeof(bmi));
        return outcome;
    }
    // As much as the loader records.
    const size_t cbRecorded = size_t{AbsHeight(bmi.biHeight)} * static_cast<size_t>(bmi.biWidth) * 4;
    outcome.bytes.insert(outcome.bytes.end(), pPicture.Get(),
                         pPicture.Get() + std::max<size_t>(cbRecorded, bmi.biSizeImage));
    return outcome;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pb, size_t cb)
{
    FileInput input;
    if (!input.Open(pb, cb))
        return 0;
    const Outcome outcome = Load(0x00);
    Require(outcome == Load(0xFF));
    return 0;
}
