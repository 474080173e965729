#pragma once
/// A sink of our own: the end of the graph where the platform's pair of sample grabber and null renderer is
/// not to be had, or does not connect. Unlike that pair it offers an allocator.

#include "SampleReceiver.h"
#include <atlbase.h>
#include <dshow.h>

/// Makes a renderer filter with one input pin. It takes every type that `receiver` accepts, offers the
/// platform's memory allocator, and hands each sample to `receiver`, which has to outlive the filter. Once
/// the receiver wants no more, Receive answers S_FALSE, which ends the stream.
HRESULT CreateFrameSink(SampleReceiver& receiver, CComPtr<IBaseFilter>& filter);
