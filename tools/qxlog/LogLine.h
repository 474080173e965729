#pragma once
/// The text of a message as it stands in the file.

#include "dstl/dshowx/QXLog.h"

/// Who writes a message, and when.
struct LogStamp
{
    SYSTEMTIME time; ///< local time
    DWORD dwProcess;
    DWORD dwThread;
};

/// The stamp of this moment on this thread.
LogStamp LogStampNow() noexcept;

/// Takes the bytes of a message in order.
class ILogBytes
{
public:
    virtual void Put(const char* pch, size_t cch) noexcept = 0;

protected:
    ~ILogBytes() = default;
};

/// Writes a message as UTF-8, with "\r\n" at the end of each line:
///
///     2026-03-09 21:04:05.678 4660:22136 8 text of the first line
///     2026-03-09 21:04:05.678 4660:22136 8+ text of each further line of the same message
///
/// Time, process and thread in decimal, level ('-' for text without one), text. Line breaks at the beginning
/// and the end of a message are left out. What is no UTF-16 becomes U+FFFD, a control character other than
/// the tab becomes \x and two digits.
void PutMessage(ILogBytes& bytes, const LogStamp& stamp, const wchar_t* pszMessage) noexcept;

/// Whether a message has to be on the disk before its writer goes on: levels 1 and 2, and text with
/// "###Err###".
bool IsErrorMessage(const wchar_t* pszMessage) noexcept;
