#pragma once
/// The end of a graph that counts or keeps frames instead of showing them.

#include "FilterGraph.h"
#include "FrameReceiver.h"
#include <string>

/// Puts a sink behind the source and connects it. Throws Failure.
/// @param receiver takes each frame, and has to outlive the graph
/// @param wish "platform": the sample grabber and the null renderer; "own": this program's sink; "auto": the
/// first, and the second where the first does not connect
/// @param name out: which one it is, in words
/// @return the first filter behind the source
CComPtr<IBaseFilter> ConnectFrameEnd(FilterGraph& graph, IBaseFilter* source, FrameReceiver& receiver,
                                     const std::string& wish, std::string& name);
