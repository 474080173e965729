#include "support/picture/GifFile.h"

#include <string>

namespace
{
using Bytes = std::vector<uint8_t>;

void PutWord(Bytes& bytes, unsigned n)
{
    bytes.push_back(static_cast<uint8_t>(n));
    bytes.push_back(static_cast<uint8_t>(n >> 8));
}

void PutText(Bytes& bytes, const std::string& s)
{
    for (const char c : s)
        bytes.push_back(static_cast<uint8_t>(c));
}

/// LZW with codes of nine bits that are all plain: the table is cleared before they would need a tenth.
void PutIndices(Bytes& file, const Bytes& indices)
{
    constexpr unsigned nBitsOfIndex = 8;
    constexpr unsigned nBitsOfCode = 9;
    constexpr unsigned nClear = 256;
    constexpr unsigned nEnd = 257;
    constexpr size_t nMaxRun = 250;
    Bytes data;
    unsigned nBits = 0;
    unsigned nUsed = 0;
    const auto put = [&](unsigned nCode)
    {
        nBits |= nCode << nUsed;
        for (nUsed += nBitsOfCode; nUsed >= 8; nUsed -= 8, nBits >>= 8)
            data.push_back(static_cast<uint8_t>(nBits));
    };
    for (size_t i = 0; i < indices.size(); ++i)
    {
        if (i % nMaxRun == 0)
            put(nClear);
        put(indices[i]);
    }
    put(nEnd);
    if (nUsed > 0)
        data.push_back(static_cast<uint8_t>(nBits));

    file.push_back(nBitsOfIndex);
    constexpr size_t cbMaxBlock = 255;
    for (size_t nAt = 0; nAt < data.size(); nAt += cbMaxBlock)
    {
        const size_t cb = data.size() - nAt < cbMaxBlock ? data.size() - nAt : cbMaxBlock;
        file.push_back(static_cast<uint8_t>(cb));
        for (size_t i = nAt; i < nAt + cb; ++i)
            file.push_back(data[i]);
    }
    file.push_back(0);
}

void PutFrame(Bytes& file, const GifFrame& frame, bool bControl)
{
    if (bControl)
    {
        PutText(file, "!\xF9\x04");
        file.push_back(static_cast<uint8_t>(frame.nDisposal << 2 | (frame.nTransparent >= 0)));
        PutWord(file, frame.nDelay);
        file.push_back(static_cast<uint8_t>(frame.nTransparent >= 0 ? frame.nTransparent : 0));
        file.push_back(0);
    }
    file.push_back(',');
    for (const unsigned n : {frame.nLeft, frame.nTop, frame.nWidth, frame.nHeight})
        PutWord(file, n);
    file.push_back(0); // no palette of its own, rows in order
    PutIndices(file, frame.indices);
}
} // namespace

std::vector<uint8_t> GifFile::Encode() const
{
    Bytes file;
    PutText(file, "GIF89a");
    PutWord(file, nWidth);
    PutWord(file, nHeight);
    file.push_back(0xF7); // a palette of 256 entries
    file.push_back(0);    // the background is its first
    file.push_back(0);
    Bytes entries = palette;
    entries.resize(3 * 256);
    for (const uint8_t by : entries)
        file.push_back(by);
    if (bAnimated)
    {
        PutText(file, "!\xFF\x0BNETSCAPE2.0\x03\x01");
        PutWord(file, 0); // for ever
        file.push_back(0);
    }
    for (const GifFrame& frame : frames)
        PutFrame(file, frame, bAnimated || frame.nTransparent >= 0);
    file.push_back(';');
    return file;
}
