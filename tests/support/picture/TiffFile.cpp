#include "support/picture/TiffFile.h"

namespace
{
using Bytes = std::vector<uint8_t>;

void Put(Bytes& bytes, uint32_t n, int cb)
{
    for (; cb > 0; --cb, n >>= 8)
        bytes.push_back(static_cast<uint8_t>(n));
}

enum eType : uint32_t
{
    eTypeShort = 3,
    eTypeLong = 4
};

void PutTag(Bytes& file, uint32_t nTag, eType type, uint32_t nCount, uint32_t nValue)
{
    Put(file, nTag, 2);
    Put(file, type, 2);
    Put(file, nCount, 4);
    Put(file, nValue, 4);
}
} // namespace

std::vector<uint8_t> EncodeTiff(const std::vector<TiffPage>& pages)
{
    Bytes file = {'I', 'I', 42, 0};
    for (const TiffPage& page : pages)
    {
        const uint32_t nSamples = page.bAlpha ? 4 : 3;
        // Behind the offset of the directory: the bits of each sample, the pixels, the directory.
        const uint32_t nBits = static_cast<uint32_t>(file.size()) + 4;
        const uint32_t nPixels = nBits + nSamples * 2;
        const uint32_t cbPixels = static_cast<uint32_t>(page.samples.size());
        Put(file, nPixels + cbPixels + cbPixels % 2, 4);
        for (uint32_t i = 0; i < nSamples; ++i)
            Put(file, 8, 2);
        for (const uint8_t by : page.samples)
            file.push_back(by);
        if (cbPixels % 2 != 0)
            file.push_back(0);

        const uint32_t nTags = page.bAlpha ? 11 : 10;
        Put(file, nTags, 2);
        PutTag(file, 256, eTypeLong, 1, page.nWidth);
        PutTag(file, 257, eTypeLong, 1, page.nHeight);
        PutTag(file, 258, eTypeShort, nSamples, nBits);
        PutTag(file, 259, eTypeShort, 1, 1); // no compression
        PutTag(file, 262, eTypeShort, 1, 2); // RGB
        PutTag(file, 273, eTypeLong, 1, nPixels);
        PutTag(file, 277, eTypeShort, 1, nSamples);
        PutTag(file, 278, eTypeLong, 1, page.nHeight);
        PutTag(file, 279, eTypeLong, 1, cbPixels);
        PutTag(file, 284, eTypeShort, 1, 1); // samples side by side
        if (page.bAlpha)
            PutTag(file, 338, eTypeShort, 1, 2); // straight alpha
    }
    Put(file, 0, 4); // no further directory
    return file;
}
