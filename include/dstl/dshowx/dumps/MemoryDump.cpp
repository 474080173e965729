#include "dstl/dshowx/dumps/MemoryDump.h"

#include "dstl/WinAPI/SehCopy.h"
#include "dstl/dshowx/dumps/DumpGate.h"
#include "dstl/dshowx/dumps/TextCopy.h"

#include <algorithm>
#include <climits>

namespace
{
constexpr wchar_t HexDigit(unsigned n) noexcept
{
    return static_cast<wchar_t>(n < 10 ? L'0' + n : L'A' + (n - 10));
}

constexpr wchar_t Shown(BYTE by) noexcept
{
    return by >= 0x20 && by <= 0x7E ? static_cast<wchar_t>(by) : L'.';
}

/// Bytes as "47 4F 50" and as characters; a short row is filled up, so that the characters stand in columns.
struct Row
{
    static constexpr size_t cchByte = 3;
    wchar_t szHex[cbMemoryRow * cchByte + 1];
    wchar_t szText[cbMemoryRow + 1];

    Row(const BYTE* pb, size_t cb) noexcept
    {
        for (size_t i = 0; i < cbMemoryRow; ++i)
        {
            wchar_t* const pszByte = szHex + i * cchByte;
            pszByte[0] = i < cb ? HexDigit(pb[i] >> 4) : L' ';
            pszByte[1] = i < cb ? HexDigit(pb[i] & 0xF) : L' ';
            pszByte[2] = L' ';
        }
        szHex[cbMemoryRow * cchByte] = 0;
        for (size_t i = 0; i < cb; ++i)
            szText[i] = Shown(pb[i]);
        szText[cb] = 0;
    }
};
} // namespace

void Debug_Memory(DWORD_PTR dwCategory, UINT nLevel, const void* pv, size_t cb,
                  const wchar_t* pszPrefix) noexcept
{
    if (!IsDumped(dwCategory, nLevel))
        return;
    const int nBytes = static_cast<int>(std::min<size_t>(cb, INT_MAX));
    if (*OrEmpty(pszPrefix) != 0)
        trace(dwCategory, nLevel, L"%s Trace from address 0x%p (%i bytes)\n", pszPrefix, pv, nBytes);
    else
        trace(dwCategory, nLevel, L"Trace from address 0x%p (%i bytes)\n", pv, nBytes);

    for (size_t nOffset = 0; nOffset < cb; nOffset += cbMemoryRow)
    {
        const size_t cbRow = std::min(cbMemoryRow, cb - nOffset);
        BYTE rgBytes[cbMemoryRow];
        if (!SEH_CopyMemory(rgBytes, static_cast<const BYTE*>(pv) + nOffset, cbRow))
            return;
        const Row row(rgBytes, cbRow);
        trace(dwCategory, nLevel, L"  %04X: %s|%s|\n", static_cast<unsigned>(nOffset), row.szHex, row.szText);
    }
}
