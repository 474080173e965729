#pragma once
/// A folder for the files of one test.

#include <filesystem>
#include <string>

#ifdef _WIN32
#include <process.h>
#else
#include <unistd.h>
#endif

/// Makes a folder that did not exist before. A program that was killed leaves its folder behind, and the
/// system uses the numbers of processes again.
/// \param name its beginning
inline std::filesystem::path MakeNewFolder(const std::filesystem::path& name)
{
#ifdef _WIN32
    const int nProcess = _getpid();
#else
    const int nProcess = getpid();
#endif
    const std::filesystem::path folder = std::filesystem::temp_directory_path();
    for (int n = 1;; n++)
    {
        std::filesystem::path path = folder / name;
        path += std::to_string(nProcess) + "-" + std::to_string(n);
        if (std::filesystem::create_directory(path))
            return path;
    }
}
