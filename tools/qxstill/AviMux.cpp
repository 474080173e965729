#include "AviMux.h"
#include "Failure.h"
#include <cstring>

namespace
{
// What the mux writes, byte by byte, as long as there is one stream.
constexpr uint64_t g_headers = 0x7F0C;  // up to the index of the first part
constexpr uint64_t g_partFrames = 4000; // each part has an index of that many frames in front, full or not
constexpr uint64_t g_partIndex = 8 + 24 + 8 * g_partFrames;
constexpr uint64_t g_chunkHeader = 8;
constexpr uint64_t g_indexEntry = 16;                         // of the index of the whole file
constexpr uint64_t g_tail = g_chunkHeader + g_indexEntry + 8; // the index's header, its first entry, zeros

// The header of the first stream, and the number of frames in it.
constexpr size_t g_streamHeader = 0x64;
constexpr size_t g_streamLength = g_streamHeader + g_chunkHeader + 32;

// As many frames as fit.
uint64_t MaxFrames(uint64_t frameBytes)
{
    uint64_t fit = 0;
    uint64_t tooMany = g_maxAviBytes;
    while (tooMany - fit > 1)
    {
        const uint64_t middle = fit + (tooMany - fit) / 2;
        (AviFileBytes(frameBytes, middle) <= g_maxAviBytes ? fit : tooMany) = middle;
    }
    return fit;
}

std::string Megabytes(uint64_t bytes)
{
    return std::to_string(bytes / 1000000) + " MB";
}
} // namespace

HRESULT ConnectAviMux(FilterGraph& graph, IBaseFilter* source, StreamFile& file, CComPtr<IBaseFilter>& mux)
{
    Check(mux.CoCreateInstance(CLSID_AviDest, nullptr, CLSCTX_INPROC_SERVER), "the platform has no AVI mux");
    CComPtr<IConfigInterleaving> interleaving;
    Check(mux->QueryInterface(IID_IConfigInterleaving, reinterpret_cast<void**>(&interleaving)),
          "the AVI mux has no IConfigInterleaving");
    Check(interleaving->put_Mode(INTERLEAVE_FULL), "the AVI mux refuses to interleave");

    CComPtr<IBaseFilter> sink;
    Check(CreateFrameSink(file, sink), "no sink can be made");
    graph.Add(mux, L"AVI Mux");
    graph.Add(sink, L"File");
    // In this order: what the mux has to write to must be there before it takes a stream.
    Check(graph.Connect(mux, sink), "the AVI mux does not connect to the file");
    return graph.Connect(source, mux);
}

uint64_t AviFileBytes(uint64_t frameBytes, uint64_t frames)
{
    const uint64_t parts = (frames + g_partFrames - 1) / g_partFrames;
    const uint64_t padded = frameBytes + (frameBytes & 1);
    return g_headers + parts * g_partIndex + frames * (g_chunkHeader + padded + g_indexEntry) + g_tail;
}

void CheckAviSize(const VideoFormat& format, long frames)
{
    const uint64_t frameBytes = static_cast<uint32_t>(format.imageSize);
    const uint64_t bytes = AviFileBytes(frameBytes, static_cast<uint64_t>(frames));
    if (bytes > g_maxAviBytes)
        throw Failure(std::to_string(frames) + " frames of " + std::to_string(frameBytes) +
                      " bytes do not fit an AVI file: it would have " + Megabytes(bytes) + ", of " +
                      Megabytes(g_maxAviBytes) + " at most; --frames " +
                      std::to_string(MaxFrames(frameBytes)) + " fits, or ask for a smaller --size");
}

uint32_t CountAviFrames(HANDLE file)
{
    BYTE header[g_streamLength + 4] = {};
    DWORD read = 0;
    const LARGE_INTEGER start = {};
    if (!SetFilePointerEx(file, start, nullptr, FILE_BEGIN) ||
        !ReadFile(file, header, sizeof(header), &read, nullptr) || read != sizeof(header))
        return 0;
    if (std::memcmp(header, "RIFF", 4) != 0 || std::memcmp(header + 8, "AVI ", 4) != 0 ||
        std::memcmp(header + g_streamHeader, "strh", 4) != 0)
        return 0;
    uint32_t frames = 0;
    std::memcpy(&frames, header + g_streamLength, sizeof(frames));
    return frames;
}
