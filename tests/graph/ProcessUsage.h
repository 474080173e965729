#pragma once
/// What the process holds, counted by hand: the platform under test answers some of its own counters with zero.

#include <cstddef>

struct Usage
{
    size_t handles = 0;
    size_t heapBytes = 0;    ///< in blocks that are in use, over all heaps
    size_t privateBytes = 0; ///< committed pages that are no image and no mapping
    size_t threads = 0;
    size_t gdiObjects = 0; ///< bitmaps, device contexts and the like
};

Usage CurrentUsage();

/// What Wine's graph keeps of each run, also of an empty one: not the filter's doing.
size_t HeapBytesKeptByAnEmptyRun();

/// Prints both.
void Tell(const Usage& before, const Usage& after);
