#pragma once
/// Makes BMP files, sound and broken ones.

#include "TempFiles.h"

#include <cstring>

struct BmpBuilder
{
    BITMAPFILEHEADER file{};
    BITMAPINFOHEADER info{};
    Bytes gap;    ///< between the headers and the pixels
    Bytes pixels; ///< as stored

    /// \param nHeight negative: top-down
    BmpBuilder(WORD nBits, LONG nWidth, LONG nHeight)
    {
        info.biSize = 40;
        info.biWidth = nWidth;
        info.biHeight = nHeight;
        info.biPlanes = 1;
        info.biBitCount = nBits;
        info.biSizeImage =
            static_cast<DWORD>((nWidth * nBits / 8 + 3) / 4 * 4 * (nHeight < 0 ? -nHeight : nHeight));
        pixels = Pattern(info.biSizeImage, 3);
        file.bfType = 0x4D42;
        file.bfOffBits = 54;
        file.bfSize = 54 + info.biSizeImage;
    }

    Bytes File() const
    {
        Bytes bytes(54);
        std::memcpy(bytes.data(), &file, 14);
        std::memcpy(bytes.data() + 14, &info, 40);
        Append(bytes, gap);
        Append(bytes, pixels);
        return bytes;
    }
};
