#pragma once
/// The end of a graph that records.

#include "FilterGraph.h"
#include "StreamFile.h"

/// Puts the platform's AVI multiplexer behind the source and the file behind that. The file is whole once the
/// stream has ended and the graph has been stopped. Throws Failure where the multiplexer is missing.
/// @param mux out: the multiplexer @return what the source's pin answers to the connection
HRESULT ConnectAviMux(FilterGraph& graph, IBaseFilter* source, StreamFile& file, CComPtr<IBaseFilter>& mux);
