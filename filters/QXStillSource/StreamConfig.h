#pragma once
/// IAMStreamConfig of the output pin.

#include "dstl/WinAPI/Platform.h"

#include <strmif.h>

/// Reads and sets the format of the stream. No lock: SetFormat works on a stopped filter only.
/// \tparam T the pin
template <class T>
class IAMStreamConfigWrapper : public IAMStreamConfig
{
public:
    STDMETHOD(SetFormat)(AM_MEDIA_TYPE* pmt) noexcept override;
    STDMETHOD(GetFormat)(AM_MEDIA_TYPE** ppmt) noexcept override;
    STDMETHOD(GetNumberOfCapabilities)(int* piCount, int* piSize) noexcept override;
    /// \param iIndex four indices a format, with the same answer each
    /// \param pSCC a VIDEO_STREAM_CONFIG_CAPS
    STDMETHOD(GetStreamCaps)(int iIndex, AM_MEDIA_TYPE** ppmt, BYTE* pSCC) noexcept override;

private:
    T& Pin() noexcept { return *static_cast<T*>(this); }
};
