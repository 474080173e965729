#pragma once
/// A whole filter graph as text: its filters, what their pins are connected to, and with which media types.

#include "dstl/WinAPI/Containers.h"

#include <strmif.h>

/// Asks the public interfaces of the graph alone. Trouble with one object is written into the text, and the
/// walk goes on: a half-broken graph is what it is for. The operations with a text answer false when the text
/// could not be appended, which ends the walk; null in the place of an object is asserted and gives no text.
class CFilterChainParser
{
public:
    /// \param ppszChain receives the text, which the caller frees with CoTaskMemFree; null after a failure
    /// \return S_OK; E_POINTER; E_OUTOFMEMORY
    HRESULT GetFiltersChain(IFilterGraph* pGraph, LPWSTR* ppszChain) noexcept;

    /// A filter with its files and pins.
    bool GetFilterData(CTextAccumulator& text, IBaseFilter* pFilter) noexcept;
    /// The file that a filter reads, and the one that it writes.
    bool GetFileName(CTextAccumulator& text, IBaseFilter* pFilter) noexcept;
    /// A pin with its direction, its peer and the type of the connection.
    bool GetPinData(CTextAccumulator& text, IPin* pPin) noexcept;
    /// The type of a pin's connection, and the end of the line.
    bool GetPinMediaType(CTextAccumulator& text, IPin* pPin) noexcept;

private:
    bool GetFilters(CTextAccumulator& text, IFilterGraph* pGraph) noexcept;
    bool GetPins(CTextAccumulator& text, IBaseFilter* pFilter) noexcept;
};
