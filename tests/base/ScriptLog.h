#pragma once
/// The log DLL of the loader's tests: does as the record tells it, and tells what was called.

#include "dstl/dshowx/QXLog.h"

struct ScriptLogState
{
    int nResult;       ///< what the export answers
    bool bNoObject;    ///< the export gives no object
    bool bKeepPointer; ///< Detach does not null the client's pointer, as it must
    int nGets;         ///< calls of the export
    int nAttached;     ///< calls of Attach
    int nDetached;     ///< calls of Detach
    int nWritten;      ///< calls of Write
    int nOther;        ///< calls of any other operation
    DWORD dwAttach1, dwAttach2;
    ILogObject** pplogAttach; ///< what Attach was given
    ILogObject** pplogDetach;
    wchar_t szLine[1024]; ///< the last message, whole
};

using PFNSCRIPTLOGGETSTATE = ScriptLogState*(WINAPI*)();
