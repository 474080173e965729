#pragma once
/// Small helpers that filter, pins and enumerators share.

#include "dstl/WinAPI/Atl.h"

#include <strmif.h>

#include "dstl/dshowx/DSTypes.h"

/// Characters of a filter's or a pin's name, terminator included, as FILTER_INFO and PIN_INFO have them.
inline constexpr size_t cchDSName = 128;

/// Copies a name into a field of 128 characters, cut to fit and always terminated; null counts as empty.
void CopyDSName(wchar_t (&szDst)[cchDSName], LPCWSTR pszSrc) noexcept;

/// A pin's direction as a number, for peers that may answer anything: PINDIR_INPUT, PINDIR_OUTPUT, or another
/// value; -1 when the pin does not answer or there is none.
int QueryPinDirection(IPin* pPin) noexcept;

/// Writes ATL's line for an operation that is not there. \return E_NOTIMPL
HRESULT DSTLNotImpl(LPCWSTR pszOperation) noexcept;

/// Asks an object for an interface; *pp has to be null.
/// \return E_POINTER for a null pp, E_NOINTERFACE for a null p, else what the object answers
HRESULT DSTLQueryInterface(IUnknown* p, REFIID riid, void** pp) noexcept;

template <class TInterface>
HRESULT DSTLQuery(IUnknown* p, TInterface** pp) noexcept
{
    return DSTLQueryInterface(p, __uuidof(TInterface), reinterpret_cast<void**>(pp));
}
