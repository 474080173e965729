#include "Registration.h"

#include <uuids.h>

#include "QXStillSource.h"
#include "resource.h"

UINT GetPinInfo(int nIndex, const CPinInfo** ppInfo) noexcept
{
    static const REGPINTYPES types[] = {{&MEDIATYPE_Video, &GUID_NULL}};
    static const CPinInfo pin(0, L"Out", PT_OUTPUT, 1, types);

    if (nIndex != -1 && ppInfo != nullptr)
        *ppInfo = nIndex == 0 ? &pin : nullptr;
    return 1;
}

HRESULT QXUpdateFilterRegistry(BOOL bRegister) noexcept
{
    // The filter is for hosts that ask for it: no graph picks it up by itself.
    const FilterRegistration registration = {IDR_QXSTILLSOURCE,
                                             MERIT_DO_NOT_USE,
                                             {&CLSID_QXFilters, L"Qorvex Filters", MERIT_UNLIKELY},
                                             &GetPinInfo};
    return DSTLUpdateFilterRegistry(bRegister, CLSID_CoQXStillSource, registration);
}
