#pragma once
/// Registration of a filter with the filter mapper, and of a filter category of one's own. What the registry
/// script of the class writes comes first: the mapper gets the filter's name from there.
///
/// A filter class takes part with one function, which the object map calls:
///     static HRESULT WINAPI UpdateRegistry(BOOL bRegister) noexcept
///     {
///         return DSTLUpdateFilterRegistry(bRegister, GetObjectCLSID(), theRegistration);
///     }

#include "dstl/WinAPI/Platform.h"

#include <strmif.h>

/// Bits of a pin's type word.
enum ePinType : WORD
{
    PT_RENDERED = 1,
    PT_OUTPUT = 2,
    PT_ZERO = 4,
    PT_MANY = 8
};

/// A row of a filter's pin table: the mapper's record of a pin, with room for a name that is made.
class CPinInfo
{
public:
    /// \param pszName null: "Out %u" or "In %u" with nIndex; else copied, at most 128 characters
    /// \param pTypes has to live as long as the row
    CPinInfo(UINT nIndex, LPCWSTR pszName, WORD wPinType, UINT nTypes, const REGPINTYPES* pTypes,
             const CLSID* pclsConnectsToFilter = &GUID_NULL, LPCWSTR pszConnectsToPin = nullptr) noexcept;
    CPinInfo(const CPinInfo&) = delete;
    CPinInfo& operator=(const CPinInfo&) = delete;

    /// Its name lies in this row.
    const REGFILTERPINS& Record() const noexcept { return m_rgPin; }
    WORD PinType() const noexcept { return m_wPinType; }

private:
    static constexpr int cchPinName = 128;

    WCHAR m_szName[cchPinName];
    WORD m_wPinType;
    REGFILTERPINS m_rgPin;
};

/// A filter's pin table.
/// \return the number of pins. Index -1 asks for the number alone; any other index outside of the table nulls
/// *ppInfo.
using PFNGETPININFO = UINT (*)(int nIndex, const CPinInfo** ppInfo);

/// The most pins that a filter can be registered with.
inline constexpr UINT nMaxRegisteredPins = 16;

/// A filter category of one's own.
struct FilterCategory
{
    const CLSID* pclsid;
    LPCWSTR pszName;
    DWORD dwMerit;
};

/// All that registration of a filter needs besides its class identifier.
struct FilterRegistration
{
    UINT nScript; ///< REGISTRY resource of the module
    DWORD dwMerit;
    FilterCategory category; ///< besides the system's category of filters
    PFNGETPININFO pfnGetPinInfo;
};

/// Makes a filter category, asks for it, or cleans up behind the last filter in it.
/// \param pszName null asks: with bRegister TRUE S_OK or the error of opening its key; with FALSE 0 when it
/// exists and 1 when not
/// \return for removal S_FALSE when nothing was removed, because filters are left in the category, or by a
/// failure that was reported
HRESULT DSTLRegisterCategory(BOOL bRegister, REFCLSID clsidCategory, LPCWSTR pszName, DWORD dwMerit) noexcept;

/// Enters a filter in a category of the mapper under the name of its class key, or removes it. A filter that
/// was not there is no failure.
HRESULT DSTLRegisterFilter(BOOL bRegister, REFCLSID clsid, DWORD dwMerit, const CLSID* pCategory,
                           PFNGETPININFO pfnGetPinInfo) noexcept;

/// The whole registration of a filter class: script, category, both entries with the mapper.
HRESULT DSTLUpdateFilterRegistry(BOOL bRegister, REFCLSID clsid,
                                 const FilterRegistration& registration) noexcept;
