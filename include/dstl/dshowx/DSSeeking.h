#pragma once
/// The generic part of seeking on an output pin: capabilities, time formats and the stored rate.

#include "dstl/WinAPI/Platform.h"

#include <strmif.h>
#include <uuids.h>

#include "dstl/WinAPI/Containers.h"

/// What does not depend on the pin's class.
class CMediaSeekingFields
{
public:
    /// Offers reference time as the only format, and makes it the current one.
    /// \return S_OK or E_OUTOFMEMORY, which leaves no format
    HRESULT InitTimeFormats() noexcept
    {
        if (!m_arrTimeFormats.Add(TIME_FORMAT_MEDIA_TIME))
            return E_OUTOFMEMORY;
        m_nTimeFormat = 0;
        return S_OK;
    }

protected:
    CSimpleArray2<GUID> m_arrTimeFormats; ///< the formats that the pin knows, filled at its FinalConstruct
    LONG m_nTimeFormat = -1;              ///< index of the current one; -1 before FinalConstruct
    DWORD m_dwCapabilities = AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanSeekForwards |
                             AM_SEEKING_CanSeekBackwards | AM_SEEKING_CanGetCurrentPos |
                             AM_SEEKING_CanGetStopPos;
    double m_dblRate = 1.0; ///< stored and handed out, without effect on the stream
};

/// \tparam T the pin
template <class T>
class IMediaSeekingImpl : public CMediaSeekingFields
{
};
