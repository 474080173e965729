#pragma once
/// An AVI file taken to pieces, as far as the tests of what a multiplexer wrote need it.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

/// One chunk of the movie: a frame.
struct AviChunk
{
    std::string id;      ///< four characters
    uint32_t offset = 0; ///< of the chunk's header, from the start of the file
    Bytes bytes;
};

/// One entry of the index.
struct AviIndexEntry
{
    std::string id;
    uint32_t flags = 0;
    uint32_t offset = 0; ///< from the start of the file, or from the word "movi"
    uint32_t size = 0;   ///< of the chunk's bytes
};

struct AviFile
{
    // avih
    uint32_t microsecondsPerFrame = 0;
    uint32_t totalFrames = 0;
    uint32_t streams = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    // strh
    std::string streamType;
    uint32_t scale = 0;
    uint32_t rate = 0;
    uint32_t length = 0;
    /// strf: a BITMAPINFOHEADER and what follows it
    Bytes format;
    uint32_t moviOffset = 0; ///< of the word "movi"
    std::vector<AviChunk> frames;
    std::vector<AviIndexEntry> index;
};

/// Reads a file of one list per kind. Every size is checked against what holds it.
/// @return what is wrong with the file; empty if nothing is
std::string ReadAvi(const Bytes& file, AviFile& avi);
