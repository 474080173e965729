// The module: its object map, its entry point and its four exports.

#include "dstl/WinAPI/Atl.h"

#include "CoQXStillSource.h"
#include "QXStillSource.h"
#include "QXStillSourcePage.h"

CComModule _Module;

namespace
{

BEGIN_OBJECT_MAP(g_objectMap)
OBJECT_ENTRY(CLSID_CoQXStillSource, CCoQXStillSource)
OBJECT_ENTRY(CLSID_QXStillSourcePage, CQXStillSourcePage)
END_OBJECT_MAP()

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD dwReason, LPVOID)
{
    if (dwReason == DLL_PROCESS_ATTACH)
    {
        _Module.Init(g_objectMap, hInstance, &LIBID_QXStillSourceLib);
        DisableThreadLibraryCalls(hInstance);
    }
    else if (dwReason == DLL_PROCESS_DETACH)
    {
        _Module.Term();
    }
    return TRUE;
}

STDAPI DllCanUnloadNow()
{
    return _Module.GetLockCount() == 0 ? S_OK : S_FALSE;
}

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv)
{
    return _Module.GetClassObject(rclsid, riid, ppv);
}

STDAPI DllRegisterServer()
{
    return _Module.RegisterServer(TRUE);
}

STDAPI DllUnregisterServer()
{
    return _Module.UnregisterServer(TRUE);
}
