#include "MediaType.h"
#include <cstring>

void MediaType::Clear()
{
    CoTaskMemFree(m_type.pbFormat);
    if (m_type.pUnk)
        m_type.pUnk->Release();
    m_type = {};
}

HRESULT MediaType::Copy(const AM_MEDIA_TYPE& source, AM_MEDIA_TYPE& target)
{
    target = {};
    BYTE* format = nullptr;
    if (source.cbFormat != 0 && source.pbFormat)
    {
        format = static_cast<BYTE*>(CoTaskMemAlloc(source.cbFormat));
        if (!format)
            return E_OUTOFMEMORY;
        std::memcpy(format, source.pbFormat, source.cbFormat);
    }
    target = source;
    target.pbFormat = format;
    target.cbFormat = format ? source.cbFormat : 0;
    if (target.pUnk)
        target.pUnk->AddRef();
    return S_OK;
}

void MediaType::Delete(AM_MEDIA_TYPE* type)
{
    if (!type)
        return;
    CoTaskMemFree(type->pbFormat);
    if (type->pUnk)
        type->pUnk->Release();
    CoTaskMemFree(type);
}

HRESULT MediaType::Assign(const AM_MEDIA_TYPE& source)
{
    Clear();
    return Copy(source, m_type);
}
