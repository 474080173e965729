#pragma once
/// Files and a folder in memory, in the place of the Win32 file calls of the native build: a program that
/// links this sees no other files. They lie, break off and fail as a test wants it, and what is done to them
/// is counted. One thread.

#include "dstl/WinAPI/Platform.h"

#include <cstdint>
#include <vector>

namespace memory
{
inline constexpr uint64_t nNever = UINT64_MAX;

/// The file that every name opens.
struct File
{
    std::vector<BYTE> bytes;
    uint64_t cbTold = nNever;   ///< size that the system tells; nNever: the true one
    uint64_t nBadFrom = nNever; ///< reads that touch this byte or a later one fail with ERROR_CRC
    bool bMissing = false;      ///< opening fails with ERROR_FILE_NOT_FOUND
    DWORD dwSeekError = 0;      ///< not 0: moving fails with it
};

struct Entry
{
    std::vector<WCHAR> name; ///< without a terminator
    DWORD dwAttributes;
};

/// The folder whose entries FindFirstFileW finds, in this order. Names are compared without regard to the
/// case of Latin letters, with either separator.
struct Folder
{
    std::vector<WCHAR> path; ///< without a separator at its end, without a terminator
    std::vector<Entry> entries;
};

/// What was done since Reset.
struct Calls
{
    int nOpens;
    int nCloses; ///< of files that were open
    int nReads;
    int nSeeks;
    uint64_t cbRead;   ///< bytes that the reads brought
    DWORD dwAccess;    ///< of the last open
    DWORD dwShare;     ///< of the last open
    int nOpenSearches; ///< searches that no FindClose has ended
};

extern File g_file;
extern Folder g_folder;
extern Calls g_calls;

/// No file, no folder, nothing counted.
void Reset();
} // namespace memory
