#include "dstl/Old/dsnew.h"

#include "dstl/dshowx/DSTrace.h"

#include <cstring>

void MTInit(AM_MEDIA_TYPE* pmt, const GUID& guidMajor, const GUID& guidSub) noexcept
{
    DSASSERT(pmt != NULL);
    if (!pmt)
        return;

    // Copies first: the identifiers may be those of the record itself.
    AM_MEDIA_TYPE mtFresh = {};
    mtFresh.majortype = guidMajor;
    mtFresh.subtype = guidSub;
    mtFresh.bFixedSizeSamples = TRUE;
    mtFresh.lSampleSize = 1;
    *pmt = mtFresh;
}

BYTE* MTAllocFormat(ULONG cb, const BYTE* pb) noexcept
{
    DSASSERT(cb > 0);
    if (cb == 0)
        return nullptr;

    BYTE* pbFormat = static_cast<BYTE*>(CoTaskMemAlloc(cb));
    if (!pbFormat)
    {
        DSASSERT_TEXT(false, "MTAllocFormat() : CoTaskMemAlloc() == NULL");
        return nullptr;
    }
    if (pb)
        memcpy(pbFormat, pb, cb);
    else
        memset(pbFormat, 0, cb);
    return pbFormat;
}

HRESULT MTDupFormat(const AM_MEDIA_TYPE* pmt, BYTE** ppbFormat) noexcept
{
    DSASSERT(pmt != NULL);
    if (!pmt)
        return E_INVALIDARG;
    DSASSERT(ppbFormat != NULL);
    if (!ppbFormat)
        return E_POINTER;
    *ppbFormat = nullptr;

    if (!pmt->pbFormat)
    {
        DSASSERT(pmt->cbFormat == 0);
        return pmt->cbFormat == 0 ? S_OK : E_UNEXPECTED;
    }

    DSASSERT(pmt->cbFormat != 0);
    if (pmt->cbFormat == 0)
        return E_UNEXPECTED;
    *ppbFormat = MTAllocFormat(pmt->cbFormat, pmt->pbFormat);
    return *ppbFormat ? S_OK : E_OUTOFMEMORY;
}

HRESULT MTCopy(AM_MEDIA_TYPE* pDst, const AM_MEDIA_TYPE* pmt) noexcept
{
    DSASSERT(pDst != NULL);
    if (!pDst)
        return E_INVALIDARG;

    BYTE* pbFormat = nullptr;
    const HRESULT hr = MTDupFormat(pmt, &pbFormat);
    if (FAILED(hr))
        return hr;

    *pDst = *pmt;
    pDst->pbFormat = pbFormat;
    if (pDst->pUnk)
        pDst->pUnk->AddRef();
    return S_OK;
}

AM_MEDIA_TYPE* MTDup(const AM_MEDIA_TYPE* pmt) noexcept
{
    if (!pmt)
        return nullptr;

    AM_MEDIA_TYPE* pmtNew = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
    if (!pmtNew)
    {
        DSASSERT_TEXT(false, "MTDup() : CoTaskMemAlloc() == NULL");
        return nullptr;
    }
    if (FAILED(MTCopy(pmtNew, pmt)))
    {
        CoTaskMemFree(pmtNew);
        return nullptr;
    }
    return pmtNew;
}

void MTFree(AM_MEDIA_TYPE* pmt) noexcept
{
    if (!pmt)
        return;

    CoTaskMemFree(pmt->pbFormat);
    pmt->pbFormat = nullptr;
    pmt->cbFormat = 0;
    if (pmt->pUnk)
    {
        pmt->pUnk->Release();
        pmt->pUnk = nullptr;
    }
}

void MTDelete(AM_MEDIA_TYPE* pmt) noexcept
{
    MTFree(pmt);
    CoTaskMemFree(pmt);
}
