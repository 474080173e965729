#include "support/picture/PngFile.h"

#include <string>

namespace
{
using Bytes = std::vector<uint8_t>;

void PutBig(Bytes& bytes, uint32_t n)
{
    for (int nShift = 24; nShift >= 0; nShift -= 8)
        bytes.push_back(static_cast<uint8_t>(n >> nShift));
}

uint32_t Crc(const Bytes& bytes)
{
    uint32_t nCrc = 0xFFFFFFFF;
    for (const uint8_t by : bytes)
    {
        nCrc ^= by;
        for (int nBit = 0; nBit < 8; ++nBit)
            nCrc = (nCrc >> 1) ^ (nCrc & 1 ? 0xEDB88320 : 0);
    }
    return ~nCrc;
}

void PutChunk(Bytes& file, const std::string& sType, const Bytes& data)
{
    PutBig(file, static_cast<uint32_t>(data.size()));
    Bytes checked(sType.begin(), sType.end());
    for (const uint8_t by : data)
        checked.push_back(by);
    for (const uint8_t by : checked)
        file.push_back(by);
    PutBig(file, Crc(checked));
}

/// A zlib stream of stored blocks.
Bytes Store(const Bytes& data)
{
    constexpr size_t cbMaxBlock = 65535;
    Bytes stream = {0x78, 0x01};
    for (size_t nAt = 0; nAt == 0 || nAt < data.size(); nAt += cbMaxBlock)
    {
        const size_t cb = data.size() - nAt < cbMaxBlock ? data.size() - nAt : cbMaxBlock;
        stream.push_back(nAt + cb == data.size() ? 1 : 0);
        for (const size_t n : {cb, ~cb})
        {
            stream.push_back(static_cast<uint8_t>(n));
            stream.push_back(static_cast<uint8_t>(n >> 8));
        }
        for (size_t i = nAt; i < nAt + cb; ++i)
            stream.push_back(data[i]);
    }
    constexpr uint32_t nAdlerBase = 65521;
    uint32_t nLow = 1;
    uint32_t nHigh = 0;
    for (const uint8_t by : data)
    {
        nLow = (nLow + by) % nAdlerBase;
        nHigh = (nHigh + nLow) % nAdlerBase;
    }
    PutBig(stream, nHigh << 16 | nLow);
    return stream;
}

struct Pass
{
    uint32_t nX, nY, nStepX, nStepY;
};
constexpr Pass g_whole[] = {{0, 0, 1, 1}};
constexpr Pass g_adam7[] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                            {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};

void PutRow(const PngFile& png, const Pass& pass, uint32_t y, Bytes& rows)
{
    rows.push_back(0); // no filter
    uint32_t nBits = 0;
    uint32_t nUsed = 0;
    for (uint32_t x = pass.nX; x < png.nWidth; x += pass.nStepX)
    {
        for (int i = 0; i < png.Channels(); ++i)
        {
            const size_t nAt = (static_cast<size_t>(y) * png.nWidth + x) * png.Channels() + i;
            nBits = nBits << png.nDepth | png.samples.at(nAt);
            nUsed += png.nDepth;
            for (; nUsed >= 8; nUsed -= 8)
                rows.push_back(static_cast<uint8_t>(nBits >> (nUsed - 8)));
        }
    }
    if (nUsed > 0)
        rows.push_back(static_cast<uint8_t>(nBits << (8 - nUsed)));
}

void PutPass(const PngFile& png, const Pass& pass, Bytes& rows)
{
    if (pass.nX >= png.nWidth)
        return; // a pass without pixels has no rows either
    for (uint32_t y = pass.nY; y < png.nHeight; y += pass.nStepY)
        PutRow(png, pass, y, rows);
}
} // namespace

int PngFile::Channels() const
{
    switch (colour)
    {
    case ePNG_Rgb:
        return 3;
    case ePNG_GreyAlpha:
        return 2;
    case ePNG_Rgba:
        return 4;
    default:
        return 1;
    }
}

std::vector<uint8_t> PngFile::Encode() const
{
    Bytes file = {0x89, 'P', 'N', 'G', 13, 10, 26, 10};
    Bytes header;
    PutBig(header, nWidth);
    PutBig(header, nHeight);
    for (const int n : {int(nDepth), int(colour), 0, 0, int(bInterlaced)})
        header.push_back(static_cast<uint8_t>(n));
    PutChunk(file, "IHDR", header);
    if (!palette.empty())
        PutChunk(file, "PLTE", palette);
    if (!transparency.empty())
        PutChunk(file, "tRNS", transparency);
    Bytes rows;
    if (bInterlaced)
    {
        for (const Pass& pass : g_adam7)
            PutPass(*this, pass, rows);
    }
    else
    {
        PutPass(*this, g_whole[0], rows);
    }
    PutChunk(file, "IDAT", Store(rows));
    PutChunk(file, "IEND", {});
    return file;
}
