#include "Video/TgaBmp/TgaInput.h"

#include "dstl/dshowx/DSTrace.h"

HRESULT CTgaInput::ReadExactly(HANDLE hFile, DWORD cb, void* pbBuf) noexcept
{
    DSASSERT(hFile != INVALID_HANDLE_VALUE);
    if (hFile == INVALID_HANDLE_VALUE)
        return E_FAIL;
    DSASSERT(cb > 0);
    if (cb == 0)
        return E_INVALIDARG;
    DSASSERT(pbBuf != NULL);
    if (pbBuf == nullptr)
        return E_POINTER;

    DWORD cbRead = 0;
    const bool bRead = Read(hFile, pbBuf, cb, &cbRead);
    return Report(bRead, cb, cbRead);
}

HRESULT CTgaInput::Report(bool bRead, DWORD cb, DWORD cbRead) noexcept
{
    if (!bRead)
    {
        const HRESULT hr = DSTLLastError();
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::Read(): ReadFile()=0x%X\n", hr);
        return hr;
    }
    if (cbRead < cb)
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::Read(): cb=%u, cbRead=%u\n", cb, cbRead);
        return E_FAIL;
    }
    return S_OK;
}

HRESULT CTgaInput::SetPosition(HANDLE hFile, LONG nDistance, DWORD dwMoveMethod) noexcept
{
    DSASSERT(hFile != INVALID_HANDLE_VALUE);
    if (hFile == INVALID_HANDLE_VALUE)
        return E_FAIL;
    if (nDistance == 0)
        return S_FALSE;

    if (!Seek(hFile, nDistance, dwMoveMethod))
    {
        const HRESULT hr = DSTLLastError();
        trace(atlTraceGeneral, eTL_Error, L"###Err### CTga::SetPosition(): :SetFilePointer()=0x%X\n", hr);
        return hr;
    }
    return S_OK;
}
