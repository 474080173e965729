#pragma once

#include "SampleReceiver.h"
#include "VideoFormat.h"

/// Who takes the video frames that arrive at a sink.
class FrameReceiver : public SampleReceiver
{
public:
    /// The format of the frames that follow; at the connection.
    virtual void SetFormat(const VideoFormat& format) = 0;

    bool Accepts(const AM_MEDIA_TYPE& type) const final
    {
        VideoFormat format;
        return ReadVideoFormat(type, format);
    }
    void OnConnected(const AM_MEDIA_TYPE& type) final
    {
        VideoFormat format;
        if (ReadVideoFormat(type, format))
            SetFormat(format);
    }

protected:
    ~FrameReceiver() = default;
};
