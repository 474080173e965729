#include "dstl/dshowx/dumps/GuidNames.h"

#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/dumps/FourccText.h"
#include "dstl/dshowx/dumps/TextCopy.h"

#include <cstdlib>
#include <cstring>

namespace
{
/// What follows the 32-bit value in an identifier that is made of a FOURCC or a sound tag.
constexpr GUID guidFourccTail = {0, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};

constexpr DWORD dwTagEnd = 0xFFFF; ///< tags lie below; this value itself is no tag
constexpr DWORD dwTagMp3 = 0x55;

bool IsFourccFamily(const GUID& guid) noexcept
{
    constexpr size_t cbValue = sizeof(DWORD);
    return memcmp(reinterpret_cast<const BYTE*>(&guid) + cbValue,
                  reinterpret_cast<const BYTE*>(&guidFourccTail) + cbValue, sizeof(GUID) - cbValue) == 0;
}

int CompareRows(const void* pv1, const void* pv2) noexcept
{
    return memcmp(static_cast<const GuidName*>(pv1)->pGuid, static_cast<const GuidName*>(pv2)->pGuid,
                  sizeof(GUID));
}

bool SortTable() noexcept
{
    for (GuidNameNode* pNode = &g_GuidNames; pNode != nullptr; pNode = pNode->pNext)
    {
        DSASSERT(pNode->pGuidName != NULL && pNode->cElems > 0);
        if (pNode->pGuidName != nullptr && pNode->cElems > 0)
            qsort(pNode->pGuidName, pNode->cElems, sizeof(GuidName), CompareRows);
    }
    return true;
}
} // namespace

const wchar_t* GuidTableName(const GUID& guid) noexcept
{
    static const bool bSorted = SortTable(); // whoever comes first sorts; the others wait for it
    if (!bSorted)
        return L"";
    const GuidName rgWanted = {&guid, nullptr};
    for (const GuidNameNode* pNode = &g_GuidNames; pNode != nullptr; pNode = pNode->pNext)
    {
        if (pNode->pGuidName == nullptr)
            continue;
        const void* const pvRow =
            bsearch(&rgWanted, pNode->pGuidName, pNode->cElems, sizeof(GuidName), CompareRows);
        if (pvRow != nullptr)
            return static_cast<const GuidName*>(pvRow)->pszName;
    }
    return L"";
}

wchar_t* Guid2Name(const GUID& guid, wchar_t* pszName, size_t nMaxSym) noexcept
{
    DSASSERT(pszName != NULL);
    DSASSERT(nMaxSym > 0);
    if (pszName == nullptr || nMaxSym == 0)
        return nullptr;

    const wchar_t* const pszTableName = GuidTableName(guid);
    if (*pszTableName != 0)
    {
        CopyTextTo(pszName, nMaxSym, pszTableName);
        return pszName;
    }

    wchar_t szText[cchGuidText] = {};
    if (IsFourccFamily(guid) && guid.Data1 < dwTagEnd)
    {
        wsprintfW(szText, guid.Data1 == dwTagMp3 ? L"TAG_0x%X(MP3)" : L"TAG_0x%X",
                  static_cast<unsigned>(guid.Data1));
    }
    else if (wchar_t szCode[cchFourccStr];
             IsFourccFamily(guid) && *Fourcc2Str(static_cast<DWORD>(guid.Data1), szCode) != 0)
    {
        wsprintfW(szText, L"FCC_%s", szCode);
    }
    else
    {
        GuidText(guid, szText);
    }
    CopyTextTo(pszName, nMaxSym, szText);
    return pszName;
}

wchar_t* GuidText(const GUID& guid, wchar_t* pszName) noexcept
{
    DSASSERT(pszName != NULL);
    if (pszName == nullptr)
        return nullptr;

    const BYTE* const arr = guid.Data4;
    wsprintfW(pszName, L"{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", guid.Data1, guid.Data2,
              guid.Data3, arr[0], arr[1], arr[2], arr[3], arr[4], arr[5], arr[6], arr[7]);
    return pszName;
}
