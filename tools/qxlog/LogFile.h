#pragma once
/// The file that several threads of several processes write to.

#include "LogFold.h"
#include "LogSettings.h"

#include "dstl/WinAPI/Owner.h"

#include <atomic>

/// Appends messages to the file of the settings, those that repeat as their count. Each message stands whole,
/// whoever else writes: a mutex that bears the file's name holds other writers off. When the file has reached
/// its limit it is renamed, and a new one begun. Whatever fails: the message is lost, the caller is not told
/// and not held up for long.
class CLogFile
{
public:
    constexpr CLogFile() noexcept = default;

    /// Reads the settings. Not while anybody writes.
    void Prepare() noexcept;
    bool IsPrepared() const noexcept { return m_bPrepared; }
    /// Any number of threads at once, at any time: counts a message that repeats and is known by its address.
    /// \return false: the message is to be written
    bool Count(const wchar_t* pszMessage) noexcept { return m_fold.Count(pszMessage); }
    /// Any number of threads at once, once prepared.
    void Write(const wchar_t* pszMessage) noexcept;
    /// Brings counts to the file, and the file to the disk.
    void Flush() noexcept;
    /// The memory of a client goes.
    void ForgetAddresses() noexcept { m_fold.ForgetAddresses(); }
    /// Not while anybody writes. Prepare begins again.
    void Close() noexcept;

private:
    class CLock;
    class CRepeats;
    bool Open() noexcept;
    bool OpenDue() noexcept;
    void FollowName() noexcept;
    void Rotate(ULONGLONG cbFile) noexcept;
    void PutOpening() noexcept;
    void Put(const wchar_t* pszMessage) noexcept;
    ULONGLONG Size() const noexcept;

    LogSettings m_settings = {};
    COwnedHandle m_hMutex; ///< guards the fields below, and the file among processes
    COwnedHandle m_hFile;
    CLogFold m_fold;
    ULONGLONG m_cbRotateAt = 0;        ///< size at which the next rotation is tried
    ULONGLONG m_ullOpenAt = 0;         ///< tick count before which no opening is tried
    ULONGLONG m_ullFollowAt = 0;       ///< tick count at which to look whether the file still has its name
    std::atomic<bool> m_bStuck{false}; ///< whoever holds the mutex does not give it back
    bool m_bPrepared = false;
};
