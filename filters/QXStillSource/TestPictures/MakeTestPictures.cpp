// Draws the test pictures and writes them as BMP files. Runs while the module is built, on the machine that
// builds it.
// Usage: maketestpictures FOLDER
#include "TestPictures.h"

#include <cstdio>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;

constexpr unsigned cbFileHeader = 14;
constexpr unsigned cbInfoHeader = 40;

/// Little-endian, whatever the machine.
void Put(Bytes& bytes, unsigned long n, int cb)
{
    for (; cb > 0; --cb, n >>= 8)
        bytes.push_back(static_cast<unsigned char>(n));
}

Bytes DrawRow(const TestPicture& picture, std::span<const Bar> bars)
{
    Bytes row;
    for (const Bar& bar : bars)
    {
        for (int x = bar.nFirst; x <= bar.nLast; ++x)
        {
            row.insert(row.end(), {bar.colour.nBlue, bar.colour.nGreen, bar.colour.nRed});
            if (picture.nBits == 32)
                row.push_back(0);
        }
    }
    row.resize((row.size() + 3) / 4 * 4); // rows begin at multiples of four bytes
    return row;
}

Bytes DrawFile(const TestPicture& picture)
{
    Bytes pixels;
    for (auto band = picture.bands.rbegin(); band != picture.bands.rend();
         ++band) // the bottom row comes first
    {
        const Bytes row = DrawRow(picture, band->bars);
        for (int y = band->nFirst; y <= band->nLast; ++y)
            pixels.insert(pixels.end(), row.begin(), row.end());
    }

    const unsigned long cbHeaders = cbFileHeader + cbInfoHeader;
    Bytes file;
    // BITMAPFILEHEADER
    Put(file, 0x4D42, 2); // "BM"
    Put(file, cbHeaders + static_cast<unsigned long>(pixels.size()) + picture.cbBehindPixels, 4);
    Put(file, 0, 2);
    Put(file, 0, 2);
    Put(file, cbHeaders, 4);
    // BITMAPINFOHEADER
    Put(file, cbInfoHeader, 4);
    Put(file, static_cast<unsigned long>(picture.nWidth), 4);
    Put(file, static_cast<unsigned long>(picture.nHeight), 4);
    Put(file, 1, 2); // planes
    Put(file, static_cast<unsigned long>(picture.nBits), 2);
    Put(file, 0, 4); // not compressed
    Put(file, picture.cbSizeImage, 4);
    Put(file, static_cast<unsigned long>(picture.nPelsPerMeter), 4);
    Put(file, static_cast<unsigned long>(picture.nPelsPerMeter), 4);
    Put(file, 0, 4); // no palette
    Put(file, 0, 4);

    file.insert(file.end(), pixels.begin(), pixels.end());
    file.resize(file.size() + picture.cbBehindPixels);
    return file;
}

bool WriteFile(const std::string& sName, const Bytes& bytes)
{
    std::FILE* const pFile = std::fopen(sName.c_str(), "wb");
    if (pFile == nullptr)
        return false;
    const bool bWritten = std::fwrite(bytes.data(), 1, bytes.size(), pFile) == bytes.size();
    return std::fclose(pFile) == 0 && bWritten;
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 2)
    {
        std::fputs("usage: maketestpictures FOLDER\n", stderr);
        return 2;
    }
    for (const TestPicture& picture : arrTestPictures)
    {
        const std::string sName = std::string(argv[1]) + "/" + picture.pszFile;
        if (!WriteFile(sName, DrawFile(picture)))
        {
            std::perror(sName.c_str());
            return 1;
        }
    }
    return 0;
}
