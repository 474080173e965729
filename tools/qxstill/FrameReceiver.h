#pragma once

#include "VideoFormat.h"

/// Who takes the frames that arrive at a sink.
class FrameReceiver
{
public:
    /// The format of the frames that follow; at the connection.
    virtual void SetFormat(const VideoFormat& format) = 0;
    /// One frame, on the streaming thread. S_FALSE: no more are wanted.
    virtual HRESULT OnFrame(IMediaSample* sample) = 0;

protected:
    ~FrameReceiver() = default;
};
