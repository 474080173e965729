#pragma once
/// Writes the inputs that a fuzz target starts from.

#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

/// The program's only argument: a folder that exists. Ends the program when it is missing.
inline std::string SeedFolder(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        std::exit(2);
    }
    return std::string(argv[1]) + "/";
}

/// Writes one input, replacing a file of that name. Ends the program when it cannot be written.
inline void WriteSeed(const std::string& file, std::span<const unsigned char> bytes)
{
    std::FILE* const pFile = std::fopen(file.c_str(), "wb");
    const bool bWritten = pFile && std::fwrite(bytes.data(), 1, bytes.size(), pFile) == bytes.size();
    if (!pFile || std::fclose(pFile) != 0 || !bWritten)
    {
        std::perror(file.c_str());
        std::exit(1);
    }
}
