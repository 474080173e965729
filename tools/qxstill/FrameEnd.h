#pragma once
/// The end of a graph that counts or keeps frames instead of showing them.

#include "FilterGraph.h"
#include "FrameCollector.h"
#include <string>

/// Puts a sink behind the source and connects it. Throws Failure.
/// @param receiver takes each frame, and has to outlive the graph
/// @param wish "platform": the sample grabber and the null renderer; "own": this program's sink; "auto": the
/// first, and the second where the first does not connect
/// @param name out: which one it is, in words
/// @return the first filter behind the source
CComPtr<IBaseFilter> ConnectFrameEnd(FilterGraph& graph, IBaseFilter* source, FrameReceiver& receiver,
                                     const std::string& wish, std::string& name);

/// The platform's own end of a graph: its sample grabber, and its null renderer behind it.
struct PlatformSink
{
    CComPtr<IBaseFilter> grabber;
    CComPtr<IBaseFilter> renderer;
    CComPtr<IUnknown> callback;
};

/// Makes the two filters and sets `receiver`, which has to outlive them, to take each sample. Fails with the
/// platform's result where one of the two is not to be had.
HRESULT CreatePlatformSink(FrameReceiver& receiver, PlatformSink& sink);

/// Waits until the collector of a running graph has its frames. Throws Failure if the graph aborts, or no
/// frame came for `timeout` seconds.
/// @return false if the stream ended before there were as many as wanted
bool WaitForFrames(FilterGraph& graph, FrameCollector& collector, double timeout);
