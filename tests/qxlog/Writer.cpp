// A process that writes to the log: qxlogwriter NUMBER MESSAGES
// With 0 messages it repeats one a thousand times, writes an error, and crashes.
#include "dstl/dshowx/QXLog.h"

#include <cstdio>
#include <cstdlib>
#include <cwchar>

int main(int nArguments, char** ppszArguments)
{
    if (nArguments != 3)
        return 2;
    const HMODULE hModule = LoadLibraryW(L"qxlog64.dll"); // from the program's folder
    if (hModule == nullptr)
        return 3;
    ILogObject* plog = nullptr;
    const auto pfnGet =
        reinterpret_cast<PFNGETLOGOBJECT>(reinterpret_cast<void*>(GetProcAddress(hModule, szQXLogExport)));
    if (pfnGet == nullptr || pfnGet(&plog) != 0)
        return 4;
    plog->Attach(&plog, 0, 0);
    const int nMessages = atoi(ppszArguments[2]);
    for (int n = 0; n < nMessages; n++)
    {
        wchar_t szLine[100];
        _snwprintf(szLine, 100, L"\x0009writer %hs message %d\n", ppszArguments[1], n);
        plog->Write(szLine);
    }
    if (nMessages == 0)
    {
        for (int n = 0; n < 1000; n++)
            plog->Write(L"\x0009the same\n");
        plog->Write(L"\x0003###Err### the last line\n");
        *static_cast<volatile int*>(nullptr) = 0;
    }
    plog->Detach(&plog);
    FreeLibrary(hModule);
    return plog == nullptr ? 0 : 5;
}
