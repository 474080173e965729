#pragma once
/// The calls of the platform that the log file makes, in the test's hands: the program is linked so that they
/// pass through FileCalls.cpp.

#include <windows.h>

struct FileCalls
{
    ULONGLONG ullTick = 1000;   ///< what GetTickCount64 says
    int nFlushed = 0;           ///< calls of FlushFileBuffers
    int nWritesToFail = 0;      ///< so many calls of WriteFile fail from now on: the disk is full
    int nMovesToFail = 0;       ///< so many calls of MoveFileExW fail from now on: somebody holds the name
    bool bWaitsEnd = false;     ///< every wait ends with its time
    DWORD msLastWait = 0;       ///< the time of the last wait
    bool bNoNamedMutex = false; ///< mutexes with names cannot be made
};

extern FileCalls g_calls;
