#include "dstl/dshowx/dumps/SampleDump.h"

#include "dstl/WinAPI/Atl.h"
#include "dstl/dshowx/DSTypes.h"
#include "dstl/dshowx/dumps/DumpGate.h"
#include "dstl/dshowx/dumps/GuidNames.h"
#include "dstl/dshowx/dumps/MediaTypeDump.h"
#include "dstl/dshowx/dumps/TextCopy.h"
#include "dstl/dshowx/dumps/TimeText.h"

#include <cstddef>
#include <iterator>

#include <vfwmsgs.h>

namespace
{
/// Room for one part of a sample's line.
constexpr size_t cchPart = 128;

/// IMediaSample2, whose identifier not every header ties to the interface.
constexpr GUID guidMediaSample2 = {
    0x36B73884, 0xC2C8, 0x11CF, {0x8B, 0x46, 0x00, 0x80, 0x5F, 0x6C, 0xEF, 0x60}};

unsigned Hr(HRESULT hr) noexcept
{
    return static_cast<unsigned>(hr);
}

void TimesText(IMediaSample& sample, wchar_t* psz) noexcept
{
    REFERENCE_TIME tStart = 0;
    REFERENCE_TIME tEnd = 0;
    const HRESULT hr = sample.GetTime(&tStart, &tEnd);
    CTimeText start;
    CTimeText end;
    if (FAILED(hr))
        wsprintfW(psz, L"tS/tE=? (0x%X)", Hr(hr));
    else if (hr == VFW_S_NO_STOP_TIME)
        wsprintfW(psz, L"tS=%s  tE=? (0x%X)", RefTimeText(tStart, start.sz), Hr(hr));
    else
        wsprintfW(psz, L"tS=%s  tE=%s", RefTimeText(tStart, start.sz), RefTimeText(tEnd, end.sz));
}

void MediaTimesText(IMediaSample& sample, wchar_t* psz) noexcept
{
    LONGLONG llStart = 0;
    LONGLONG llEnd = 0;
    const HRESULT hr = sample.GetMediaTime(&llStart, &llEnd);
    CTimeText start;
    CTimeText end;
    if (FAILED(hr))
        wsprintfW(psz, L"mS/mE=? (0x%X)", Hr(hr));
    else
        wsprintfW(psz, L"mS=%s  mE=%s", MediaTimeText(llStart, start.sz), MediaTimeText(llEnd, end.sz));
}

/// Type-specific flags and stream of a sample that knows them, else an empty text.
void PropertiesText(IMediaSample& sample, wchar_t* psz) noexcept
{
    *psz = 0;
    CComPtr<IMediaSample2> spSample2;
    if (FAILED(sample.QueryInterface(guidMediaSample2, reinterpret_cast<void**>(&spSample2))) || !spSample2)
        return;
    constexpr DWORD cbData = offsetof(AM_SAMPLE2_PROPERTIES, dwStreamId) + sizeof(DWORD);
    AM_SAMPLE2_PROPERTIES rgProps = {};
    rgProps.cbData = cbData;
    const HRESULT hr = spSample2->GetProperties(cbData, reinterpret_cast<BYTE*>(&rgProps));
    if (SUCCEEDED(hr) && rgProps.cbData >= cbData)
        wsprintfW(psz, L" TF=0x%X sId=0x%X", static_cast<unsigned>(rgProps.dwTypeSpecificFlags),
                  static_cast<unsigned>(rgProps.dwStreamId));
}

void BufferText(IMediaSample& sample, wchar_t* psz) noexcept
{
    const int nActual = static_cast<int>(sample.GetActualDataLength());
    const int nSize = static_cast<int>(sample.GetSize());
    BYTE* pbBuffer = nullptr;
    const HRESULT hr = sample.GetPointer(&pbBuffer);
    if (FAILED(hr))
        wsprintfW(psz, L" al=%i s=%i p=? (0x%X)", nActual, nSize, Hr(hr));
    else
        wsprintfW(psz, L" al=%i s=%i p=0x%p", nActual, nSize, pbBuffer);
}

unsigned Flag(HRESULT hr) noexcept
{
    return hr == S_OK ? 1 : 0;
}
} // namespace

void Debug_Sample(DWORD_PTR dwCategory, UINT nLevel, IMediaSample* pSample, const wchar_t* pszPrefix) noexcept
{
    if (!IsDumped(dwCategory, nLevel))
        return;
    pszPrefix = OrEmpty(pszPrefix);
    if (pSample == nullptr)
    {
        trace(dwCategory, nLevel, L"###Err### %sEmpty sample pointer\n", pszPrefix);
        return;
    }

    wchar_t szTimes[cchPart];
    wchar_t szMediaTimes[cchPart];
    wchar_t szProperties[cchPart];
    wchar_t szBuffer[cchPart];
    TimesText(*pSample, szTimes);
    MediaTimesText(*pSample, szMediaTimes);
    const unsigned nSync = Flag(pSample->IsSyncPoint());
    const unsigned nPreroll = Flag(pSample->IsPreroll());
    const unsigned nDiscontinuity = Flag(pSample->IsDiscontinuity());
    PropertiesText(*pSample, szProperties);
    BufferText(*pSample, szBuffer);
    trace(dwCategory, nLevel, L"%s%s  %s flags={%u%u%u}%s%s\n", pszPrefix, szTimes, szMediaTimes, nSync,
          nPreroll, nDiscontinuity, szProperties, szBuffer);

    COwnedMediaType mt;
    if (pSample->GetMediaType(mt.Out()) != S_OK || !mt)
        return;
    trace(dwCategory, nLevel, L"%sMedia type attached to sample:\n", pszPrefix);
    Debug_MediaType(dwCategory, nLevel, mt.Get(), pszPrefix);
}

void Debug_Allocator(DWORD_PTR dwCategory, UINT nLevel, IMemAllocator* pAllocator,
                     const wchar_t* pszPrefix) noexcept
{
    if (!IsDumped(dwCategory, nLevel))
        return;
    pszPrefix = OrEmpty(pszPrefix);
    if (pAllocator == nullptr)
    {
        trace(dwCategory, nLevel, L"###Err### %sDebug_Allocator(): Empty allocator pointer\n", pszPrefix);
        return;
    }
    ALLOCATOR_PROPERTIES rgProps = {};
    const HRESULT hr = pAllocator->GetProperties(&rgProps);
    if (FAILED(hr))
    {
        trace(dwCategory, nLevel, L"###Err### %sDebug_Allocator(): pAllocator->GetProperties()=0x%X\n",
              pszPrefix, Hr(hr));
        return;
    }
    trace(dwCategory, nLevel, L"%sIMemAllocator=0x%p, props = { %i, %i, %i, %i }\n", pszPrefix,
          static_cast<void*>(pAllocator), static_cast<int>(rgProps.cBuffers),
          static_cast<int>(rgProps.cbBuffer), static_cast<int>(rgProps.cbAlign),
          static_cast<int>(rgProps.cbPrefix));
}

void Debug_FilterFromPin(DWORD_PTR dwCategory, UINT nLevel, IPin* pPin, const wchar_t* pszPrefix) noexcept
{
    if (!IsDumped(dwCategory, nLevel))
        return;
    pszPrefix = OrEmpty(pszPrefix);
    if (pPin == nullptr)
    {
        trace(dwCategory, nLevel, L"###Err### %sDebug_FilterFromPin(): Empty pin pointer\n", pszPrefix);
        return;
    }
    PIN_INFO pin = {};
    HRESULT hr = pPin->QueryPinInfo(&pin);
    CComPtr<IBaseFilter> spFilter;
    spFilter.Attach(pin.pFilter);
    if (FAILED(hr))
    {
        trace(dwCategory, nLevel, L"###Err### %sDebug_FilterFromPin(): pPin->QueryPinInfo()=0x%X\n",
              pszPrefix, Hr(hr));
        return;
    }
    pin.achName[std::size(pin.achName) - 1] = 0;
    if (!spFilter)
    {
        trace(dwCategory, nLevel, L"%spin [%s] without a filter\n", pszPrefix, pin.achName);
        return;
    }
    FILTER_INFO filter = {};
    hr = spFilter->QueryFilterInfo(&filter);
    CComPtr<IFilterGraph> spGraph;
    spGraph.Attach(filter.pGraph); // only released
    if (FAILED(hr))
    {
        trace(dwCategory, nLevel,
              L"###Err### %sDebug_FilterFromPin(): rgInfo.pFilter->QueryFilterInfo()=0x%X\n", pszPrefix,
              Hr(hr));
        return;
    }
    filter.achName[std::size(filter.achName) - 1] = 0;
    CLSID clsid = {};
    spFilter->GetClassID(&clsid); // without one the name is that of GUID_NULL
    trace(dwCategory, nLevel, L"%sfilter [%s] (%s), pin [%s]\n", pszPrefix, filter.achName,
          Guid2Name(clsid, CGuidName().sz, cchGuidName), pin.achName);
}
