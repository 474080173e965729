#include "dstl/dshowx/dumps/FormatDump.h"

#include "dstl/WinAPI/SehCopy.h"
#include "dstl/dshowx/dumps/DumpGate.h"
#include "dstl/dshowx/dumps/FourccText.h"
#include "dstl/dshowx/dumps/MemoryDump.h"
#include "dstl/dshowx/dumps/TitledPrefix.h"

#include <algorithm>

void Debug_BitmapInfoHeader(DWORD_PTR dwCategory, UINT nLevel, const BITMAPINFOHEADER* pHeader,
                            const wchar_t* pszPrefix) noexcept
{
    if (!IsDumped(dwCategory, nLevel))
        return;
    pszPrefix = OrEmpty(pszPrefix);
    if (pHeader == nullptr)
    {
        trace(dwCategory, nLevel, L"###Err### %sDebug_BitmapInfoHeader(): Empty header pointer\n", pszPrefix);
        return;
    }
    BITMAPINFOHEADER header;
    if (!SEH_CopyMemory(&header, pHeader, sizeof(header)))
        return;

    wchar_t szCompression[cchFourccName];
    trace(dwCategory, nLevel, L"%ssize=%i, w=%i, h=%i, planes=%i, bits=%i, compress=%s, sizeImg=%i\n",
          TitledPrefix(pszPrefix, L"BITMAPINFOHEADER:").sz, static_cast<int>(header.biSize),
          static_cast<int>(header.biWidth), static_cast<int>(header.biHeight), header.biPlanes,
          header.biBitCount, Fourcc2Name(header.biCompression, szCompression),
          static_cast<int>(header.biSizeImage));

    // A part is told where one of its fields is set; a line without parts is left out.
    const bool bPels = header.biXPelsPerMeter != 0 || header.biYPelsPerMeter != 0;
    const bool bColours = header.biClrUsed != 0 || header.biClrImportant != 0;
    wchar_t szMore[128] = {};
    int nMore = 0;
    if (bPels)
        nMore = wsprintfW(szMore, L"XPels=%i, YPels=%i", static_cast<int>(header.biXPelsPerMeter),
                          static_cast<int>(header.biYPelsPerMeter));
    if (bColours)
        wsprintfW(szMore + nMore, bPels ? L", ClrUsed=%u, ClrImp=%u" : L"ClrUsed=%u, ClrImp=%u",
                  static_cast<unsigned>(header.biClrUsed), static_cast<unsigned>(header.biClrImportant));
    if (bPels || bColours)
        trace(dwCategory, nLevel, L"%s%s\n", pszPrefix, szMore);
}

void Debug_WaveFormatEx(DWORD_PTR dwCategory, UINT nLevel, const WAVEFORMATEX* pWave,
                        const wchar_t* pszPrefix, size_t cbBlock) noexcept
{
    constexpr size_t cbMost = 1024; // of the extra bytes

    if (!IsDumped(dwCategory, nLevel))
        return;
    pszPrefix = OrEmpty(pszPrefix);
    if (pWave == nullptr)
    {
        trace(dwCategory, nLevel, L"###Err### Debug_WaveFormatEx() : Empty WAVEFORMATEX pointer\n");
        return;
    }
    WAVEFORMATEX wave = {}; // plain PCM may end before cbSize
    if (!SEH_CopyMemory(&wave, pWave, std::min(cbBlock, sizeof(wave))))
        return;
    trace(dwCategory, nLevel,
          L"%sWAVEFORMATEX: Tag=0x%X, chan=%i, nPerSec=%i, nAvg=%i, align=%i, bits=%i  size=%i\n", pszPrefix,
          wave.wFormatTag, wave.nChannels, static_cast<int>(wave.nSamplesPerSec),
          static_cast<int>(wave.nAvgBytesPerSec), wave.nBlockAlign, wave.wBitsPerSample, wave.cbSize);

    const size_t cbRoom = cbBlock > sizeof(wave) ? cbBlock - sizeof(wave) : 0;
    const size_t cbExtra = std::min<size_t>(wave.cbSize, cbRoom);
    if (cbExtra == 0)
        return;
    Debug_Memory(dwCategory, nLevel, reinterpret_cast<const BYTE*>(pWave) + sizeof(wave),
                 std::min(cbExtra, cbMost),
                 TitledPrefix(pszPrefix, cbExtra > cbMost ? L"WAVEFORMATEX first 1024 extra bytes:"
                                                          : L"WAVEFORMATEX extra bytes:")
                     .sz);
}

void Debug_DvInfo(DWORD_PTR dwCategory, UINT nLevel, const DvInfo* pInfo, const wchar_t* pszPrefix) noexcept
{
    if (!IsDumped(dwCategory, nLevel))
        return;
    pszPrefix = OrEmpty(pszPrefix);
    if (pInfo == nullptr)
    {
        trace(dwCategory, nLevel, L"###Err### %sDebug_DvInfo(): Empty DVINFO pointer\n", pszPrefix);
        return;
    }
    DvInfo info;
    if (!SEH_CopyMemory(&info, pInfo, sizeof(info)))
        return;
    trace(dwCategory, nLevel,
          L"%s\n\tdwDVAAuxSrc =%08X, dwDVAAuxCtl =%08X (1st 5/6 DIF seq)\n"
          L"\tdwDVAAuxSrc1=%08X, dwDVAAuxCtl1=%08X (2nd 5/6 DIF seq)\n"
          L"\tdwDVVAuxSrc =%08X, dwDVVAuxCtl =%08X (Video)\n"
          L"\tdwDVReserved[0]=%08X, dwDVReserved[1]=%08X\n",
          TitledPrefix(pszPrefix, L"DVINFO:").sz, info.dwDVAAuxSrc, info.dwDVAAuxCtl, info.dwDVAAuxSrc1,
          info.dwDVAAuxCtl1, info.dwDVVAuxSrc, info.dwDVVAuxCtl, info.dwDVReserved[0], info.dwDVReserved[1]);
}
