#pragma once

#include "dstl/WinAPI/Platform.h"
#include <dshow.h>

/// Who stands behind the input pin of a sink of this program.
class SampleReceiver
{
public:
    /// Whether the pin is to take a media type.
    virtual bool Accepts(const AM_MEDIA_TYPE& type) const = 0;
    /// The pin was connected with a type that was accepted.
    virtual void OnConnected(const AM_MEDIA_TYPE& /*type*/) {}
    /// One sample, on the streaming thread. S_FALSE: no more are wanted.
    virtual HRESULT OnFrame(IMediaSample* sample) = 0;
    /// The stream that the pin is to offer as one of its interfaces, not counted; null for none.
    virtual IStream* Stream() { return nullptr; }

protected:
    ~SampleReceiver() = default;
};
