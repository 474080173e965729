#pragma once
/// A sink of our own: the end of the graph where the platform's pair of sample grabber and null renderer is
/// not to be had, or does not connect. Unlike that pair it offers an allocator.

#include "VideoFormat.h"
#include <atlbase.h>
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

/// Makes a renderer filter with one input pin. It takes every type that `receiver` accepts, offers the
/// platform's memory allocator, and hands each sample to `receiver`, which has to outlive the filter. Once
/// the receiver wants no more, Receive answers S_FALSE, which ends the stream.
HRESULT CreateFrameSink(SampleReceiver& receiver, CComPtr<IBaseFilter>& filter);
