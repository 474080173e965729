#include "AviFile.h"
#include <cstring>

namespace
{

// A range of the file. Reading behind its end fails for good, and gives zeros.
class Reader
{
public:
    Reader(const Bytes& file, size_t begin, size_t end) : m_file(file), m_at(begin), m_end(end) {}

    size_t At() const { return m_at; }
    bool IsAtEnd() const { return m_at >= m_end; }
    bool Failed() const { return m_failed; }

    uint32_t Number()
    {
        uint8_t bytes[4] = {};
        Take(bytes, sizeof(bytes));
        return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<uint32_t>(bytes[3]) << 24;
    }
    std::string Id()
    {
        char text[5] = {};
        Take(text, 4);
        return text;
    }
    /// The range of the next `size` bytes, which are passed with the byte that pads them to an even number.
    Reader Part(uint32_t size)
    {
        m_failed = m_failed || size > m_end - m_at;
        const size_t begin = m_at;
        m_at = m_failed ? m_end : m_at + size + (size & 1);
        return {m_file, begin, m_failed ? begin : begin + size};
    }
    Bytes Rest() const { return Bytes(m_file.begin() + m_at, m_file.begin() + m_end); }

private:
    void Take(void* target, size_t size)
    {
        m_failed = m_failed || m_at > m_end || size > m_end - m_at;
        if (m_failed)
            return;
        std::memcpy(target, m_file.data() + m_at, size);
        m_at += size;
    }

    const Bytes& m_file;
    size_t m_at;
    size_t m_end;
    bool m_failed = false;
};

void ReadMainHeader(Reader part, AviFile& avi)
{
    avi.microsecondsPerFrame = part.Number();
    part.Number(); // bytes a second
    part.Number(); // granularity
    part.Number(); // flags
    avi.totalFrames = part.Number();
    part.Number(); // initial frames
    avi.streams = part.Number();
    part.Number(); // buffer size
    avi.width = part.Number();
    avi.height = part.Number();
}

void ReadStreamHeader(Reader part, AviFile& avi)
{
    avi.streamType = part.Id();
    for (int i = 0; i < 4; ++i)
        part.Number(); // handler, flags, priority and language, initial frames
    avi.scale = part.Number();
    avi.rate = part.Number();
    part.Number(); // start
    avi.length = part.Number();
}

// Filling, and indexes of parts of a longer file, stand among the frames of the only stream.
bool IsFrame(const std::string& id)
{
    return id.substr(0, 2) == "00";
}

void ReadMovie(Reader part, AviFile& avi)
{
    while (!part.IsAtEnd())
    {
        AviChunk chunk;
        chunk.offset = static_cast<uint32_t>(part.At());
        chunk.id = part.Id();
        chunk.bytes = part.Part(part.Number()).Rest();
        if (IsFrame(chunk.id))
            avi.frames.push_back(std::move(chunk));
    }
}

void ReadIndex(Reader part, AviFile& avi)
{
    while (!part.IsAtEnd())
    {
        AviIndexEntry entry;
        entry.id = part.Id();
        entry.flags = part.Number();
        entry.offset = part.Number();
        entry.size = part.Number();
        if (IsFrame(entry.id))
            avi.index.push_back(entry);
    }
}

bool ReadChunks(Reader& part, AviFile& avi)
{
    while (!part.IsAtEnd() && !part.Failed())
    {
        const std::string id = part.Id();
        Reader body = part.Part(part.Number());
        if (id == "LIST" || id == "RIFF")
        {
            const size_t at = body.At();
            const std::string kind = body.Id();
            if (kind == "movi")
            {
                avi.moviOffset = static_cast<uint32_t>(at);
                ReadMovie(body, avi);
            }
            else if (!ReadChunks(body, avi))
                return false;
        }
        else if (id == "avih")
            ReadMainHeader(body, avi);
        else if (id == "strh")
            ReadStreamHeader(body, avi);
        else if (id == "strf")
            avi.format = body.Rest();
        else if (id == "idx1")
            ReadIndex(body, avi);
    }
    return !part.Failed();
}
} // namespace

std::string ReadAvi(const Bytes& file, AviFile& avi)
{
    if (file.size() < 12 || std::memcmp(file.data(), "RIFF", 4) != 0 ||
        std::memcmp(file.data() + 8, "AVI ", 4) != 0)
        return "this is no AVI file";
    Reader whole(file, 0, file.size());
    if (!ReadChunks(whole, avi))
        return "a chunk is longer than what holds it";
    return {};
}
