#pragma once
/// Picture files for the benchmarks of the readers, in a folder that goes with the process.

#include <string>

enum class Content
{
    Photo,   ///< gradients under noise: hardly two pixels alike
    Graphic, ///< flat areas, lines and some gradients: what run-length encoding is for
};

enum class FileKind
{
    Bmp,
    Tga,
    TgaTop,    ///< top row first
    TgaPacked, ///< run-length encoded, no packet across a row end
};

/// Writes the file unless it is there.
/// \param nBits 24 or 32
/// \return its path
std::string PictureFile(FileKind kind, Content content, int nBits, int nWidth, int nHeight);
