#pragma once
/// Makes TGA files, sound and broken ones.

#include "TempFiles.h"

#include <algorithm>

struct TgaBuilder
{
    BYTE nColMapType = 0;
    BYTE nImageType = 2;
    WORD nColMapFirst = 0;
    WORD nColMapEntries = 0;
    BYTE nColMapDepth = 0;
    WORD nWidth = 3;
    WORD nHeight = 2;
    BYTE nBitDepth = 24;
    BYTE fImageDesc = 0;
    Bytes id;
    Bytes colMap;
    Bytes image; ///< stored bytes: pixels or packets
    Bytes tail;  ///< what follows the image

    size_t Depth() const { return (nBitDepth + 7u) / 8; }
    size_t ImageSize() const { return size_t{nWidth} * nHeight * Depth(); }

    Bytes Header() const
    {
        Bytes bytes = {static_cast<BYTE>(id.size()), nColMapType, nImageType};
        AppendU16(bytes, nColMapFirst);
        AppendU16(bytes, nColMapEntries);
        bytes.push_back(nColMapDepth);
        AppendU16(bytes, 11); // origin: never used
        AppendU16(bytes, 12);
        AppendU16(bytes, nWidth);
        AppendU16(bytes, nHeight);
        bytes.push_back(nBitDepth);
        bytes.push_back(fImageDesc);
        return bytes;
    }

    Bytes File() const
    {
        Bytes bytes = Header();
        Append(bytes, id);
        Append(bytes, colMap);
        Append(bytes, image);
        Append(bytes, tail);
        return bytes;
    }

    static TgaBuilder TrueColour(BYTE nDepth, WORD nWidth = 3, WORD nHeight = 2)
    {
        TgaBuilder tga;
        tga.nBitDepth = nDepth;
        tga.nWidth = nWidth;
        tga.nHeight = nHeight;
        tga.image = Pattern(tga.ImageSize());
        return tga;
    }

    /// Indices that run through the map again and again.
    static TgaBuilder ColMap(BYTE nMapDepth, WORD nEntries, BYTE nIndexDepth = 8, WORD nWidth = 3,
                             WORD nHeight = 2)
    {
        TgaBuilder tga;
        tga.nImageType = 1;
        tga.nColMapType = 1;
        tga.nColMapDepth = nMapDepth;
        tga.nColMapEntries = nEntries;
        tga.colMap = Pattern(size_t{nEntries} * ((nMapDepth + 7u) / 8), 7);
        tga.nBitDepth = nIndexDepth;
        tga.nWidth = nWidth;
        tga.nHeight = nHeight;
        for (size_t i = 0; i < size_t{nWidth} * nHeight; ++i)
        {
            const size_t nIndex = i % nEntries;
            tga.image.push_back(static_cast<BYTE>(nIndex));
            if (tga.Depth() == 2)
                tga.image.push_back(static_cast<BYTE>(nIndex >> 8));
        }
        return tga;
    }

    static TgaBuilder Grey(WORD nWidth = 3, WORD nHeight = 2)
    {
        TgaBuilder tga = TrueColour(8, nWidth, nHeight);
        tga.nImageType = 3;
        return tga;
    }

    /// The same picture in packets: literal and run packets of the given lengths in turn. A run repeats its
    /// first pixel, so the decoded picture is returned in pDecoded.
    TgaBuilder Packed(const std::vector<int>& lengths, Bytes* pDecoded = nullptr) const
    {
        TgaBuilder tga = *this;
        tga.nImageType = static_cast<BYTE>(nImageType + 8);
        tga.image.clear();
        Bytes decoded;
        const size_t cb = Depth();
        size_t nPixel = 0;
        const size_t nPixels = size_t{nWidth} * nHeight;
        for (size_t i = 0; nPixel < nPixels; ++i)
        {
            const size_t nCount = std::min<size_t>(lengths[i % lengths.size()], nPixels - nPixel);
            const auto first = image.begin() + static_cast<ptrdiff_t>(nPixel * cb);
            if (i % 2 == 0)
            {
                tga.image.push_back(static_cast<BYTE>(nCount - 1));
                tga.image.insert(tga.image.end(), first, first + static_cast<ptrdiff_t>(nCount * cb));
                decoded.insert(decoded.end(), first, first + static_cast<ptrdiff_t>(nCount * cb));
            }
            else
            {
                tga.image.push_back(static_cast<BYTE>(0x80 | (nCount - 1)));
                tga.image.insert(tga.image.end(), first, first + static_cast<ptrdiff_t>(cb));
                for (size_t n = 0; n < nCount; ++n)
                    decoded.insert(decoded.end(), first, first + static_cast<ptrdiff_t>(cb));
            }
            nPixel += nCount;
        }
        if (pDecoded != nullptr)
            *pDecoded = decoded;
        return tga;
    }

    static Bytes Footer(DWORD nExtensionArea, DWORD nDeveloperDirectory)
    {
        Bytes bytes;
        AppendU32(bytes, nExtensionArea);
        AppendU32(bytes, nDeveloperDirectory);
        const char szSignature[] = "TRUEVISION-XFILE.";
        bytes.insert(bytes.end(), szSignature, szSignature + sizeof(szSignature));
        return bytes;
    }
};
