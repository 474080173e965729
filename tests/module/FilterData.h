#pragma once
/// The mapper's packing of a filter's record, which no header declares.

#include "dstl/WinAPI/Platform.h"

#include <strmif.h>

struct IAMFilterData : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE ParseFilterData(BYTE* pbData, ULONG nBytes, BYTE** ppbRegFilter2) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateFilterData(REGFILTER2* prf2, BYTE** ppbData, ULONG* pnBytes) = 0;
};

inline constexpr IID IID_IAMFilterData = {
    0x97F7C4D4, 0x547B, 0x4A5F, {0x83, 0x32, 0x53, 0x64, 0x30, 0xAD, 0x2E, 0x4D}};
