#include "dstl/dshowx/dumps/FilterChainParser.h"

#include "dstl/WinAPI/Atl.h"
#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/DSTypes.h"
#include "dstl/dshowx/dumps/GuidNames.h"
#include "dstl/dshowx/dumps/MediaTypeText.h"

#include <cstdarg>
#include <cstdlib>
#include <cwchar>
#include <iterator>

#include <objbase.h>
#include <vfwmsgs.h>

namespace
{
/// Characters of the text to begin with.
constexpr size_t cchFirst = 4096;

/// Filters of a graph, and pins of a filter, beyond which an enumerator is taken for an endless one.
constexpr int nMostObjects = 1000;

/// Makes and appends a text of any length.
bool AppendFormat(CTextAccumulator& text, const wchar_t* pszFormat, ...) noexcept
{
    va_list args;
    va_start(args, pszFormat);
    va_list argsCount;
    va_copy(argsCount, args);
    const int nLength = _vscwprintf(pszFormat, argsCount);
    va_end(argsCount);
    const size_t cchText = nLength < 0 ? 0 : static_cast<size_t>(nLength) + 1;
    auto* const psz = static_cast<wchar_t*>(malloc(cchText * sizeof(wchar_t)));
    const bool bMade =
        cchText != 0 && psz != nullptr && _vsnwprintf(psz, cchText, pszFormat, args) == nLength;
    va_end(args);
    const bool bAppended = bMade && text.Append(psz);
    free(psz);
    return bAppended;
}

bool AppendResult(CTextAccumulator& text, const wchar_t* pszFormat, HRESULT hr) noexcept
{
    return AppendFormat(text, pszFormat, static_cast<unsigned>(hr));
}

/// The name in a record of the platform, ended where the peer did not.
template <size_t N>
const wchar_t* NameOf(wchar_t (&achName)[N]) noexcept
{
    achName[N - 1] = 0;
    return achName;
}

/// The file of one of the two interfaces, if the filter has it.
/// \tparam TFile IFileSourceFilter, IFileSinkFilter
template <class TFile>
bool AppendFile(CTextAccumulator& text, IBaseFilter* pFilter, REFIID iid, const wchar_t* pszName,
                const wchar_t* pszFailure) noexcept
{
    CComPtr<TFile> spFile;
    if (FAILED(pFilter->QueryInterface(iid, reinterpret_cast<void**>(&spFile))) || !spFile)
        return true;
    COwnedTask<OLECHAR> name;
    CMType mt;
    const HRESULT hr = spFile->GetCurFile(name.Out(), &mt);
    if (FAILED(hr))
        return AppendResult(text, pszFailure, hr);
    return !name || *name.Get() == 0 || AppendFormat(text, pszName, name.Get());
}

constexpr GUID guidFileSource = {
    0x56A868A6, 0x0AD4, 0x11CE, {0xB0, 0x3A, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70}};
constexpr GUID guidFileSink = {0xA2104830, 0x7C70, 0x11CF, {0x8B, 0xCE, 0x00, 0xAA, 0x00, 0xA3, 0xF1, 0xA6}};
} // namespace

HRESULT CFilterChainParser::GetFiltersChain(IFilterGraph* pGraph, LPWSTR* ppszChain) noexcept
{
    DSASSERT(pGraph != NULL);
    DSASSERT(ppszChain != NULL);
    if (ppszChain == nullptr)
        return E_POINTER;
    *ppszChain = nullptr;
    if (pGraph == nullptr)
        return E_POINTER;

    CTextAccumulator text(cchFirst);
    if (!text.Append(L"\r\n[Filter Graph]------------------------------------------------------\r\n") ||
        !GetFilters(text, pGraph) ||
        !text.Append(L"\r\n--------------------------------------------------------------------\r\n\r\n"))
        return E_OUTOFMEMORY;

    const size_t cbText = (text.GetLength() + 1) * sizeof(wchar_t);
    *ppszChain = static_cast<LPWSTR>(CoTaskMemAlloc(cbText));
    if (*ppszChain == nullptr)
        return E_OUTOFMEMORY;
    memcpy(*ppszChain, text.GetText(), cbText);
    return S_OK;
}

bool CFilterChainParser::GetFilters(CTextAccumulator& text, IFilterGraph* pGraph) noexcept
{
    CComPtr<IEnumFilters> spEnum;
    HRESULT hr = pGraph->EnumFilters(&spEnum);
    if (FAILED(hr) || !spEnum)
        return AppendResult(
            text, L"###Err### CFilterChainParser::GetFiltersChain(): pGraph->EnumFilters()=0x%X\r\n", hr);
    spEnum->Reset();
    for (int i = 0;; ++i)
    {
        CComPtr<IBaseFilter> spFilter;
        ULONG cFetched = 0;
        hr = spEnum->Next(1, &spFilter, &cFetched);
        if (hr == S_FALSE)
            return true;
        if (hr != S_OK)
            return AppendResult(
                text, L"###Err### CFilterChainParser::GetFiltersChain(): spEnum->Next()=0x%X\r\n", hr);
        if (i == nMostObjects)
            return AppendFormat(
                text,
                L"###Err### CFilterChainParser::GetFiltersChain(): more than %i filters, the rest "
                L"is left out\r\n",
                nMostObjects);
        DSASSERT(cFetched == 1);
        if (!GetFilterData(text, spFilter))
            return false;
    }
}

bool CFilterChainParser::GetFilterData(CTextAccumulator& text, IBaseFilter* pFilter) noexcept
{
    DSASSERT(pFilter != NULL);
    if (pFilter == nullptr)
        return true;

    FILTER_INFO rgInfo = {};
    HRESULT hr = pFilter->QueryFilterInfo(&rgInfo);
    if (FAILED(hr))
        return AppendResult(
            text, L"###Err### CFilterChainParser::GetFilterData(): pFilter->QueryFilterInfo()=0x%X\r\n\r\n",
            hr);
    CComPtr<IFilterGraph> spGraph;
    spGraph.Attach(rgInfo.pGraph); // only released

    CLSID clsid = {};
    hr = pFilter->GetClassID(&clsid);
    if (FAILED(hr))
        return AppendResult(
            text, L"###Err### CFilterChainParser::GetFilterData(): pFilter->GetClassID()=0x%X\r\n\r\n", hr);
    return AppendFormat(text, L"\r\nFilter %s (%s)\r\n", Guid2Name(clsid, CGuidName().sz, cchGuidName),
                        NameOf(rgInfo.achName)) &&
           GetFileName(text, pFilter) && GetPins(text, pFilter);
}

bool CFilterChainParser::GetFileName(CTextAccumulator& text, IBaseFilter* pFilter) noexcept
{
    DSASSERT(pFilter != NULL);
    if (pFilter == nullptr)
        return true;
    return AppendFile<IFileSourceFilter>(text, pFilter, guidFileSource, L"\tINPUT FILE: \"%s\"\r\n",
                                         L"###Err### CFilterChainParser::GetFileName(): "
                                         L"spFileSourceFilter->GetCurFile()=0x%X\r\n\r\n") &&
           AppendFile<IFileSinkFilter>(
               text, pFilter, guidFileSink, L"\tOUTPUT FILE: \"%s\"\r\n",
               L"###Err### CFilterChainParser::GetFileName(): spFileSinkFilter->GetCurFile()=0x%X\r\n\r\n");
}

bool CFilterChainParser::GetPins(CTextAccumulator& text, IBaseFilter* pFilter) noexcept
{
    CComPtr<IEnumPins> spEnum;
    HRESULT hr = pFilter->EnumPins(&spEnum);
    if (FAILED(hr) || !spEnum)
        return AppendResult(
            text, L"###Err### CFilterChainParser::GetFilterData(): pFilter->EnumPins()=0x%X\r\n\r\n", hr);
    spEnum->Reset();
    for (int i = 0;; ++i)
    {
        CComPtr<IPin> spPin;
        ULONG cFetched = 0;
        hr = spEnum->Next(1, &spPin, &cFetched);
        if (hr == S_FALSE)
            return true;
        if (hr != S_OK)
            return AppendResult(
                text, L"###Err### CFilterChainParser::GetFilterData(): spEnum->Next()=0x%X\r\n\r\n", hr);
        if (i == nMostObjects)
            return AppendFormat(
                text,
                L"###Err### CFilterChainParser::GetFilterData(): more than %i pins, the rest is "
                L"left out\r\n\r\n",
                nMostObjects);
        DSASSERT(cFetched == 1);
        if (!GetPinData(text, spPin))
            return false;
    }
}

bool CFilterChainParser::GetPinData(CTextAccumulator& text, IPin* pPin) noexcept
{
    DSASSERT(pPin != NULL);
    if (pPin == nullptr)
        return true;

    PIN_INFO rgOwnInfo = {};
    HRESULT hr = pPin->QueryPinInfo(&rgOwnInfo);
    if (FAILED(hr))
        return AppendResult(
            text, L"###Err### CFilterChainParser::GetPinData(): pPin->QueryPinInfo()=0x%X\r\n\r\n", hr);
    DSASSERT_TEXT(rgOwnInfo.pFilter != nullptr, "rgInfo.pFilter != NULL");
    CComPtr<IBaseFilter> spFilter;
    spFilter.Attach(rgOwnInfo.pFilter); // only released
    const int nDirection = rgOwnInfo.dir;
    const wchar_t* const pszDirection = nDirection == PINDIR_INPUT    ? L"INPUT"
                                        : nDirection == PINDIR_OUTPUT ? L"OUTPUT"
                                                                      : L"UNKNOWN";
    if (!AppendFormat(text, L"\t%s: [%s]", pszDirection, NameOf(rgOwnInfo.achName)))
        return false;

    CComPtr<IPin> spPinConnected;
    hr = pPin->ConnectedTo(&spPinConnected);
    if (hr == VFW_E_NOT_CONNECTED || (SUCCEEDED(hr) && !spPinConnected))
        return text.Append(L"    NOT CONNECTED\r\n");
    if (FAILED(hr))
        return AppendResult(
            text, L"\r\n###Err### CFilterChainParser::GetPinData(): pPin->ConnectedTo()=0x%X\r\n", hr);

    PIN_INFO rgInfo = {};
    hr = spPinConnected->QueryPinInfo(&rgInfo);
    if (FAILED(hr))
        return AppendResult(
            text, L"\r\n###Err### CFilterChainParser::GetPinData(): spPinConnected->QueryPinInfo()=0x%X\r\n",
            hr);
    DSASSERT(rgInfo.pFilter != NULL);
    CComPtr<IBaseFilter> spConnectedFilter;
    spConnectedFilter.Attach(rgInfo.pFilter);

    FILTER_INFO rgFilterInfo = {};
    if (spConnectedFilter)
    {
        hr = spConnectedFilter->QueryFilterInfo(&rgFilterInfo);
        if (FAILED(hr))
            return AppendResult(text,
                                L"\r\n###Err### CFilterChainParser::GetPinData(): "
                                L"spConnectedFilter->QueryFilterInfo()=0x%X\r\n",
                                hr);
        DSASSERT(rgFilterInfo.pGraph != NULL);
        CComPtr<IFilterGraph> spGraph;
        spGraph.Attach(rgFilterInfo.pGraph); // only released
    }
    return AppendFormat(text, L" -> [%s] ", NameOf(rgFilterInfo.achName)) &&
           AppendFormat(text, L"[%s] ", NameOf(rgInfo.achName)) && GetPinMediaType(text, pPin);
}

bool CFilterChainParser::GetPinMediaType(CTextAccumulator& text, IPin* pPin) noexcept
{
    DSASSERT(pPin != NULL);
    if (pPin == nullptr)
        return true;
    CMType mt;
    const HRESULT hr = pPin->ConnectionMediaType(&mt);
    if (FAILED(hr))
    {
        MTInit(&mt); // what a failed call has left in it is not ours
        return AppendResult(
            text,
            L"\r\n###Err### CFilterChainParser::GetPinMediaType(): pPin->ConnectionMediaType()=0x%X\r\n", hr);
    }
    wchar_t szType[cchMediaTypeText];
    return text.Append(ParseMediaType(&mt, szType, true));
}
