#pragma once
/// The end of a graph that records to an AVI file: the platform's multiplexer, how large its file gets, and how
/// many frames it has.

#include "FilterGraph.h"
#include "StreamFile.h"
#include "VideoFormat.h"
#include <cstdint>

/// Puts the platform's AVI multiplexer behind the source and the file behind that. The file is whole once the
/// stream has ended and the graph has been stopped. Throws Failure where the multiplexer is missing.
/// @param mux out: the multiplexer
/// @return what the source's pin answers to the connection
HRESULT ConnectAviMux(FilterGraph& graph, IBaseFilter* source, StreamFile& file, CComPtr<IBaseFilter>& mux);

/// Bytes that every player reads: offsets in the file are taken as signed 32-bit numbers.
constexpr uint64_t g_maxAviBytes = 0x7FFFFFFF;

/// Bytes of the file that the platform's AVI mux writes, index included.
/// @param frameBytes of each frame
/// @param frames how many
uint64_t AviFileBytes(uint64_t frameBytes, uint64_t frames);

/// Throws Failure, which says how many frames fit, if so many do not.
void CheckAviSize(const VideoFormat& format, long frames);

/// The number of frames in the header of a finished file; 0 where the header is missing or not the mux's.
uint32_t CountAviFrames(HANDLE file);
