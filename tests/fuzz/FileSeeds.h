#pragma once
/// Seeds of the readers' fuzz targets.

#include "FileInput.h"
#include "Seeds.h"
#include "picture/TempFiles.h"

/// Writes a file as an input: its options in front, see FileInput. \param file the seed's path
inline void WriteFileSeed(const std::string& file, const Bytes& bytes, uint8_t fOptions, uint32_t nPlace)
{
    Bytes input = {fOptions, static_cast<BYTE>(nPlace), static_cast<BYTE>(nPlace >> 8),
                   static_cast<BYTE>(nPlace >> 16)};
    Append(input, bytes);
    WriteSeed(file, input);
}
