// The linker's option --wrap leads trace() and IsTraced() here.
#include "memory/TraceTap.h"

#include "dstl/dshowx/DSTrace.h"

#ifdef QX_NATIVE
#include "Format.h"
#endif

#include <atomic>
#include <cstdarg>
#include <cwchar>

namespace
{
std::mutex g_lock;
std::vector<LogLine>* g_pLines = nullptr;
std::atomic<bool> g_bTapped = false;

bool IsTapped()
{
    return g_bTapped;
}
} // namespace

extern "C"
{
#ifdef QX_NATIVE
#define REAL(name_native, name_windows) __real_##name_native
#define WRAP(name_native, name_windows) __wrap_##name_native
#else
#define REAL(name_native, name_windows) __real_##name_windows
#define WRAP(name_native, name_windows) __wrap_##name_windows
#endif
    void REAL(_Z5tracemjPKwz, _Z5traceyjPKwz)(DWORD_PTR, UINT, const wchar_t*, ...) noexcept;
    bool REAL(_Z8IsTracedj, _Z8IsTracedj)(UINT) noexcept;

    void WRAP(_Z5tracemjPKwz, _Z5traceyjPKwz)(DWORD_PTR dwCategory, UINT nLevel, const wchar_t* pszFormat,
                                              ...) noexcept
    {
        if (nLevel > eTL_Max && !IsTapped())
            return; // as the trace does
        wchar_t szText[cchTraceLine] = {};
        va_list args;
        va_start(args, pszFormat);
        _vsnwprintf(szText, cchTraceLine - 1, pszFormat, args);
        va_end(args);
        {
            const std::lock_guard lock(g_lock);
            if (g_pLines != nullptr)
                g_pLines->push_back({static_cast<int>(nLevel), Utf8(szText)});
        }
        REAL(_Z5tracemjPKwz, _Z5traceyjPKwz)(dwCategory, nLevel, L"%s", szText);
    }

    bool WRAP(_Z8IsTracedj, _Z8IsTracedj)(UINT nLevel) noexcept
    {
        return IsTapped() || REAL(_Z8IsTracedj, _Z8IsTracedj)(nLevel);
    }
}

TraceTap::TraceTap()
{
    const std::lock_guard lock(g_lock);
    g_pLines = new std::vector<LogLine>;
    g_bTapped = true;
}

TraceTap::~TraceTap()
{
    const std::lock_guard lock(g_lock);
    g_bTapped = false;
    delete g_pLines;
    g_pLines = nullptr;
}

std::vector<LogLine> TraceTap::Lines() const
{
    const std::lock_guard lock(g_lock);
    return *g_pLines;
}

std::vector<std::string> TraceTap::Texts() const
{
    std::vector<std::string> texts;
    for (const LogLine& line : Lines())
        texts.push_back(std::to_string(line.nLevel) + " " + line.sText);
    return texts;
}

void TraceTap::Clear()
{
    const std::lock_guard lock(g_lock);
    g_pLines->clear();
}

std::vector<std::string> TraceTap::Take()
{
    std::vector<std::string> texts = Texts();
    Clear();
    return texts;
}
