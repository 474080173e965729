#pragma once
/// Files that the program writes.

#include "dstl/WinAPI/Owner.h"
#include <memory>
#include <string>

/// Writes a file in one go, over one that is there. A disk that is full gives ERROR_DISK_FULL as an HRESULT;
/// after that and any other failure to write there is no file.
HRESULT WriteWholeFile(const std::wstring& path, const void* bytes, size_t size);

/// An open file, closed by its last owner.
using SharedFile = std::shared_ptr<const COwnedHandle>;

/// A file that appears under its name only when it is whole: collects the bytes of a file under the name "NAME.part", and gives it its own name at the end. Without
/// that the system deletes it, also where the program is killed.
class UnfinishedFile
{
public:
    /// Throws Failure where the file cannot be made.
    explicit UnfinishedFile(std::wstring path);
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

    const SharedFile& File() const { return m_file; }

    /// Gives the file its name. Throws Failure; the file is deleted then.
    /// @param overwrite an existing file of that name is replaced; otherwise it is a failure
    void Finish(bool overwrite);

private:
    // Whether the file goes when its last owner closes it.
    HRESULT SetTemporary(bool isTemporary) const;

    const std::wstring m_path;
    const std::wstring m_temporaryPath;
    const SharedFile m_file;
};
