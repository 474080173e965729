// BSTR functions of oleaut32: a count of bytes, the characters, a terminator. Blocks have their exact size,
// so that AddressSanitizer sees the bounds.
#include "NativeText.h"

#include <oleauto.h>

#include <cstdlib>
#include <cstring>

namespace
{
constexpr size_t cbPrefix = sizeof(DWORD);

char* BlockOf(BSTR bs)
{
    return reinterpret_cast<char*>(bs) - cbPrefix;
}
} // namespace

BSTR WINAPI SysAllocStringByteLen(LPCSTR pText, UINT cb)
{
    if (cb > MAXDWORD - 64) // what the length and the terminator take would not fit
        return nullptr;
    char* const pBlock = static_cast<char*>(std::malloc(cbPrefix + cb + sizeof(WCHAR)));
    if (!pBlock)
        return nullptr;
    const DWORD dwPrefix = cb;
    std::memcpy(pBlock, &dwPrefix, cbPrefix);
    if (pText)
        std::memcpy(pBlock + cbPrefix, pText, cb);
    std::memset(pBlock + cbPrefix + cb, 0, sizeof(WCHAR));
    return reinterpret_cast<BSTR>(pBlock + cbPrefix);
}

BSTR WINAPI SysAllocStringLen(const OLECHAR* pText, UINT cch)
{
    if (cch > MAXDWORD / sizeof(WCHAR))
        return nullptr;
    return SysAllocStringByteLen(reinterpret_cast<LPCSTR>(pText), cch * static_cast<UINT>(sizeof(WCHAR)));
}

BSTR WINAPI SysAllocString(const OLECHAR* psz)
{
    return psz ? SysAllocStringLen(psz, static_cast<UINT>(native::Length(psz))) : nullptr;
}

void WINAPI SysFreeString(BSTR bs)
{
    if (bs)
        std::free(BlockOf(bs));
}

UINT WINAPI SysStringByteLen(BSTR bs)
{
    DWORD cb = 0;
    if (bs)
        std::memcpy(&cb, BlockOf(bs), cbPrefix);
    return cb;
}

UINT WINAPI SysStringLen(BSTR bs)
{
    return SysStringByteLen(bs) / static_cast<UINT>(sizeof(WCHAR));
}
