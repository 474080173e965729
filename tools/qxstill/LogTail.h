#pragma once
/// Reads the end of a file that others write to.

#include "dstl/WinAPI/Owner.h"
#include <functional>
#include <string>
#include <string_view>

/// Takes the next bytes of the file.
using LogOutput = std::function<void(std::string_view)>;

/// The end of a file that may grow, be renamed or be begun afresh meanwhile.
class LogTail
{
public:
    /// Opens the file; its writers are not held up. Throws Failure.
    explicit LogTail(const std::wstring& path);

    /// Gives the last `lines` lines. A last line without an end counts.
    void PutLast(size_t lines, const LogOutput& output);
    /// Gives what has come since; goes over to a new file of the same name when the old one is read.
    void PutNew(const LogOutput& output);
    /// PutNew again and again, until `stop` is signalled.
    void Follow(HANDLE stop, const LogOutput& output);

private:
    bool Reopen();
    std::string ReadAt(ULONGLONG offset, size_t size) const;

    const std::wstring m_path;
    COwnedHandle m_file;
    ULONGLONG m_next = 0; ///< the first byte that was not given yet
};
