#pragma once
/// How large an AVI file gets, and how many frames it has.

#include "VideoFormat.h"
#include <cstdint>

/// Bytes that every player reads: offsets in the file are taken as signed 32-bit numbers.
constexpr uint64_t g_maxAviBytes = 0x7FFFFFFF;

/// Bytes of the file that the platform's AVI mux writes, index included.
/// @param frameBytes of each frame @param frames how many
uint64_t AviFileBytes(uint64_t frameBytes, uint64_t frames);

/// Throws Failure, which says how many frames fit, if so many do not.
void CheckAviSize(const VideoFormat& format, long frames);

/// The number of frames in the header of a finished file; 0 where the header is missing or not the mux's.
uint32_t CountAviFrames(HANDLE file);
