#pragma once
/// "qxstill log": switches the filter's log on and off, and shows it.

#include <cstddef>

struct LogTailOptions
{
    size_t lines = 20;   ///< how many of the last lines
    bool follow = false; ///< go on until the program is interrupted
};

/// Each throws Failure.
void RunLogOn();
void RunLogOff();
void RunLogWhere();
void RunLogTail(const LogTailOptions& options);
