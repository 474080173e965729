#pragma once

#include "FilterGraph.h"
#include "FrameCollector.h"

/// Waits until the collector of a running graph has its frames. Throws Failure if the graph aborts, or no
/// frame came for `timeout` seconds.
/// @return false if the stream ended before there were as many as wanted
bool WaitForFrames(FilterGraph& graph, FrameCollector& collector, double timeout);
