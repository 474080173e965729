#pragma once
/// An AM_MEDIA_TYPE that owns what it points to.

#include "dstl/WinAPI/Platform.h"
#include <dshow.h>

class MediaType
{
public:
    MediaType() = default;
    ~MediaType() { Clear(); }
    MediaType(const MediaType&) = delete;
    MediaType& operator=(const MediaType&) = delete;

    /// Frees what is held and makes an empty record.
    void Clear();
    /// Makes `target` a copy in task memory, whatever it held. E_OUTOFMEMORY leaves it empty.
    static HRESULT Copy(const AM_MEDIA_TYPE& source, AM_MEDIA_TYPE& target);
    /// Frees a record in task memory with all that it holds, as enumerators hand them out. Null is allowed.
    static void Delete(AM_MEDIA_TYPE* type);
    /// Takes a copy of `source`.
    HRESULT Assign(const AM_MEDIA_TYPE& source);

    const AM_MEDIA_TYPE& Get() const { return m_type; }
    /// For calls that fill a record: what was held is freed first.
    AM_MEDIA_TYPE* Receive()
    {
        Clear();
        return &m_type;
    }

private:
    AM_MEDIA_TYPE m_type = {};
};
