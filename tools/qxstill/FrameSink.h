#pragma once
/// A sink of our own: the end of the graph where the platform's pair of sample grabber and null renderer is
/// not to be had, or does not connect. Unlike that pair it offers an allocator.

#include "FrameReceiver.h"
#include <atlbase.h>
#include <dshow.h>

/// Makes a renderer filter with one input pin. It takes every video type that VideoFormat can read, offers
/// the platform's memory allocator, and hands each sample to `receiver`, which has to outlive the filter.
/// Once the receiver wants no more, Receive answers S_FALSE, which ends the stream.
HRESULT CreateFrameSink(FrameReceiver& receiver, CComPtr<IBaseFilter>& filter);
