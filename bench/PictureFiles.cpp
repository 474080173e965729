#include "PictureFiles.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <unistd.h>
#include <vector>

namespace
{
using Bytes = std::vector<uint8_t>;

/// Gone with the process.
struct Folder
{
    Folder() : path(std::filesystem::temp_directory_path() / ("qxbench" + std::to_string(getpid())))
    {
        std::filesystem::create_directories(path);
    }
    ~Folder()
    {
        std::error_code error;
        std::filesystem::remove_all(path, error);
    }
    std::filesystem::path path;
};

uint32_t Scatter(uint32_t n)
{
    n ^= n >> 16;
    n *= 0x7FEB352Du;
    n ^= n >> 15;
    n *= 0x846CA68Bu;
    return n ^ n >> 16;
}

/// B, G, R, A from the lowest byte.
uint32_t PhotoPixel(int x, int y, int nWidth, int nHeight)
{
    const uint32_t nNoise = Scatter(static_cast<uint32_t>(y * nWidth + x));
    const auto channel = [&](int nBase, int nShift)
    { return static_cast<uint32_t>(nBase + static_cast<int>(nNoise >> nShift & 15)); };
    const int nAcross = 230 * x / nWidth;
    const int nDown = 230 * y / nHeight;
    return channel(nAcross, 0) | channel(nDown, 4) << 8 | channel((nAcross + nDown) / 2, 8) << 16 |
           channel(230 - nDown, 12) << 24;
}

/// Tiles: most of one colour with lines in them, some with gradients.
uint32_t GraphicPixel(int x, int y)
{
    constexpr int nTileWidth = 120;
    constexpr int nTileHeight = 90;
    constexpr int nLines = 17; // from one line to the next
    const uint32_t nTile = Scatter(static_cast<uint32_t>((y / nTileHeight) * 1000 + x / nTileWidth) + 1);
    const uint32_t nColour = nTile | 0xFF000000u;
    if (nTile % 8 == 0)
        return nColour + static_cast<uint32_t>(x % nTileWidth) * 0x010001u;
    if (nTile % 8 < 3 && (x + y) % nLines == 0)
        return 0xFF202020u;
    return nColour;
}

Bytes Pixels(Content content, int nBits, int nWidth, int nHeight)
{
    const int cbPixel = nBits / 8;
    Bytes bytes(static_cast<size_t>(nWidth) * nHeight * cbPixel);
    uint8_t* pb = bytes.data();
    for (int y = 0; y < nHeight; y++)
    {
        for (int x = 0; x < nWidth; x++, pb += cbPixel)
        {
            const uint32_t nPixel =
                content == Content::Photo ? PhotoPixel(x, y, nWidth, nHeight) : GraphicPixel(x, y);
            std::memcpy(pb, &nPixel, cbPixel);
        }
    }
    return bytes;
}

void PackRow(const uint8_t* pbRow, int nWidth, int cbPixel, Bytes& packed)
{
    constexpr int nLongest = 128; // pixels of a packet
    const auto same = [&](int a, int b)
    { return std::memcmp(pbRow + a * cbPixel, pbRow + b * cbPixel, cbPixel) == 0; };
    for (int x = 0; x < nWidth;)
    {
        int n = 1;
        while (x + n < nWidth && n < nLongest && same(x, x + n))
            n++;
        const bool bRun = n > 1;
        if (!bRun)
        {
            while (x + n < nWidth && n < nLongest && !(x + n + 1 < nWidth && same(x + n, x + n + 1)))
                n++;
        }
        packed.push_back(static_cast<uint8_t>((bRun ? 0x80 : 0) | (n - 1)));
        packed.insert(packed.end(), pbRow + x * cbPixel, pbRow + (x + (bRun ? 1 : n)) * cbPixel);
        x += n;
    }
}

Bytes Pack(const Bytes& pixels, int nBits, int nWidth, int nHeight)
{
    Bytes packed;
    for (int y = 0; y < nHeight; y++)
        PackRow(pixels.data() + static_cast<size_t>(y) * nWidth * (nBits / 8), nWidth, nBits / 8, packed);
    return packed;
}

Bytes TgaHeader(bool bPacked, bool bTop, int nBits, int nWidth, int nHeight)
{
    Bytes header(18);
    header[2] = bPacked ? 10 : 2; // image type: true colour
    header[12] = static_cast<uint8_t>(nWidth);
    header[13] = static_cast<uint8_t>(nWidth >> 8);
    header[14] = static_cast<uint8_t>(nHeight);
    header[15] = static_cast<uint8_t>(nHeight >> 8);
    header[16] = static_cast<uint8_t>(nBits);
    header[17] = static_cast<uint8_t>((bTop ? 0x20 : 0) | (nBits == 32 ? 8 : 0));
    return header;
}

Bytes BmpHeader(int nBits, int nWidth, int nHeight, size_t cbPixels)
{
    constexpr uint32_t cbHeaders = 54;
    Bytes header(cbHeaders);
    const auto put = [&](size_t nAt, uint32_t n) { std::memcpy(header.data() + nAt, &n, sizeof(n)); };
    header[0] = 'B';
    header[1] = 'M';
    put(2, cbHeaders + static_cast<uint32_t>(cbPixels));
    put(10, cbHeaders);
    put(14, cbHeaders - 14);
    put(18, static_cast<uint32_t>(nWidth));
    put(22, static_cast<uint32_t>(nHeight));
    put(26, 1 | static_cast<uint32_t>(nBits) << 16);
    put(34, static_cast<uint32_t>(cbPixels));
    return header;
}

} // namespace

std::string PictureFile(FileKind kind, Content content, int nBits, int nWidth, int nHeight)
{
    static const Folder folder;
    const bool bBmp = kind == FileKind::Bmp;
    const std::string sPath =
        folder.path / (std::to_string(static_cast<int>(kind)) + std::to_string(static_cast<int>(content)) +
                       "-" + std::to_string(nBits) + "-" + std::to_string(nWidth) + (bBmp ? ".bmp" : ".tga"));
    if (std::filesystem::exists(sPath))
        return sPath;

    Bytes body = Pixels(content, nBits, nWidth, nHeight); // rows of the sizes in use need no padding
    if (kind == FileKind::TgaPacked)
        body = Pack(body, nBits, nWidth, nHeight);
    const Bytes header =
        bBmp ? BmpHeader(nBits, nWidth, nHeight, body.size())
             : TgaHeader(kind == FileKind::TgaPacked, kind == FileKind::TgaTop, nBits, nWidth, nHeight);
    std::ofstream file(sPath, std::ios::binary);
    file.write(reinterpret_cast<const char*>(header.data()), static_cast<std::streamsize>(header.size()));
    file.write(reinterpret_cast<const char*>(body.data()), static_cast<std::streamsize>(body.size()));
    if (!file.flush())
    {
        std::perror(sPath.c_str());
        std::exit(1);
    }
    return sPath;
}
