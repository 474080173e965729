#include "dstl/dshowx/DSTrace.h"

#include "dstl/WinAPI/Functions.h"
#include "dstl/dshowx/LogLoader.h"

#undef trace // of a build without trace calls
#undef IsTraced

#include <dshow.h>

#include <atomic>
#include <cstdarg>
#include <cwchar>
#include <utility>

namespace
{

/// What wsprintfW can write at most, terminator included.
constexpr size_t cchFormat = 1024;

/// What can be made read-only.
constexpr size_t cbPage = 4096;

/// What the text of an assertion depends on. The two texts are told apart by their addresses.
struct AssertionKey
{
    const char* pszFile;
    int nLine;
    const char* pszExpression;
    DWORD dwError;             ///< the last error
    PFNERRORTEXT pfnErrorText; ///< where its text comes from

    bool operator==(const AssertionKey&) const noexcept = default;
};

/// \param pszOut room for cchFormat characters
void FormatAssertion(const AssertionKey& key, wchar_t* pszOut) noexcept
{
    wchar_t szError[cchFormat];
    FormatHr(szError, L"", L"GetLastError()", static_cast<HRESULT>(key.dwError));
    wsprintfW(pszOut, L"###Err###\n%hs(%i): ASSERT( \"%hs\" )\n%s\n", key.pszFile, key.nLine,
              key.pszExpression, szError);
    pszOut[cchFormat - 1] = 0;
}

/// Whether a text is one of the program's own constants, which stay as they are.
bool IsConstant(const void* pv) noexcept
{
    MEMORY_BASIC_INFORMATION info = {};
    return VirtualQuery(pv, &info, sizeof(info)) != 0 && info.Type == MEM_IMAGE &&
           info.Protect == PAGE_READONLY;
}

/// Texts of assertions that have failed. A place that fails for each pixel of a picture has its text built
/// once, in memory that is read-only from then on, so that a log can know it again by its address.
class CAssertionTexts
{
public:
    constexpr CAssertionTexts() noexcept = default;
    CAssertionTexts(const CAssertionTexts&) = delete;
    CAssertionTexts& operator=(const CAssertionTexts&) = delete;

    /// \return null when the text has not been kept
    const wchar_t* Find(const AssertionKey& key) const noexcept
    {
        for (size_t n = 0; n < nProbes; n++)
        {
            const size_t nSlot = Slot(key, n);
            if (m_states[nSlot].load(std::memory_order_acquire) == eText_Ready && m_texts[nSlot].key == key)
                return m_texts[nSlot].sz;
        }
        return nullptr;
    }

    /// Builds a text and keeps it.
    /// \return null when it cannot be kept
    const wchar_t* Keep(const AssertionKey& key) noexcept
    {
        if (!IsConstant(key.pszFile) || !IsConstant(key.pszExpression))
            return nullptr;
        for (size_t n = 0; n < nProbes; n++)
        {
            const size_t nSlot = Slot(key, n);
            int nState = eText_None;
            if (!m_states[nSlot].compare_exchange_strong(nState, eText_InWork))
                continue;
            Text& text = m_texts[nSlot];
            text.key = key;
            FormatAssertion(key, text.sz);
            DWORD dwEarlier = 0;
            VirtualProtect(&text, sizeof(text), PAGE_READONLY, &dwEarlier);
            m_states[nSlot].store(eText_Ready, std::memory_order_release);
            return text.sz;
        }
        return nullptr;
    }

private:
    enum : int
    {
        eText_None,
        eText_InWork,
        eText_Ready
    };
    struct alignas(cbPage) Text
    {
        AssertionKey key;
        wchar_t sz[cchFormat];
    };

    static constexpr size_t nSlots = 64;
    static constexpr size_t nProbes = 8;

    static size_t Slot(const AssertionKey& key, size_t nProbe) noexcept
    {
        const size_t nPlace =
            reinterpret_cast<UINT_PTR>(key.pszExpression) / 4 + static_cast<UINT>(key.nLine);
        return (nPlace + key.dwError + nProbe) % nSlots;
    }

    std::atomic<int> m_states[nSlots] = {};
    Text m_texts[nSlots] = {};
};

constinit CAssertionTexts g_AssertionTexts;

/// Built before and destroyed after the other objects of the module, which may trace. Zero until then:
/// silent.
__attribute__((init_priority(101))) CLogLoader g_LogLoader;

/// The log object, null without one.
ILogObject* Log() noexcept
{
    ILogObject* plog = nullptr;
    g_LogLoader.GetLogObject(&plog);
    return plog;
}

/// Hands a text to the log, if there is one. The caller's last error survives, so that a trace changes
/// nothing.
void WriteLog(const wchar_t* pszMessage) noexcept
{
    ILogObject* const plog = Log();
    if (plog == nullptr)
        return;
    const DWORD dwError = GetLastError();
    plog->Write(pszMessage);
    SetLastError(dwError);
}

/// Writes the text of an assertion that has not been kept.
[[gnu::noinline]] void WriteNewAssertion(ILogObject* plog, const AssertionKey& key) noexcept
{
    if (const wchar_t* const pszKept = g_AssertionTexts.Keep(key))
    {
        plog->Write(pszKept);
        return;
    }
    wchar_t szLine[cchFormat];
    FormatAssertion(key, szLine);
    plog->Write(szLine);
}

int NoDebugReport(int, const char*, int, const char*, const char*)
{
    return 0;
}

/// Reads the path of the log DLL; the buffer has one character more than the value may fill.
constexpr DWORD cchPath = cchQXLogPath + 1;
bool ReadLogPath(wchar_t (&szPath)[cchPath + 1]) noexcept
{
    HKEY hKey = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, szQXLogKey, 0, KEY_READ, &hKey) != ERROR_SUCCESS)
        return false;
    const COwnedKey key(hKey);
    DWORD cbValue = cchPath * sizeof(wchar_t);
    return RegQueryValueExW(key.Get(), nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(szPath),
                            &cbValue) == ERROR_SUCCESS;
}

} // namespace

constinit PFNDEBUGREPORT g_pfnDebugReport = NoDebugReport;
constinit PFNERRORTEXT g_pfnErrorText = AMGetErrorTextW;

CLogLoader::CLogLoader() noexcept
{
    wchar_t szPath[cchPath + 1] = {};
    if (!ReadLogPath(szPath))
        return;
    DSTLTurnBars(szPath, true);

    COwnedModule module(LoadLibraryW(szPath));
    if (!module)
        return;
    // By way of void*, as the types of the two functions have nothing in common.
    m_pfnGetLog = reinterpret_cast<PFNGETLOGOBJECT>(
        reinterpret_cast<void*>(GetProcAddress(module.Get(), szQXLogExport)));
    if (m_pfnGetLog == nullptr)
        return;
    m_hModule = std::move(module);
    // After a failure m_plog stays as the export left it, deliberately without being attached.
    if (m_pfnGetLog(&m_plog) == 0 && m_plog != nullptr)
        m_plog->Attach(&m_plog, 0, 0);
}

CLogLoader::~CLogLoader()
{
    if (!m_hModule)
        return;
    if (m_plog != nullptr)
        m_plog->Detach(&m_plog);
    DSASSERT(NULL == m_plog);
    m_plog = nullptr;
}

HRESULT CLogLoader::GetLogObject(ILogObject** pplog) const noexcept
{
    if (pplog == nullptr)
        return E_POINTER;
    if (m_plog == nullptr)
        return E_FAIL;
    *pplog = m_plog;
    return S_OK;
}

void trace(DWORD_PTR dwCategory, UINT nLevel, const wchar_t* pszFormat, ...) noexcept
{
    if (static_cast<DWORD>(dwCategory) == 0)
        return;
    if (nLevel > eTL_Max || pszFormat == nullptr)
        return;
    if (Log() == nullptr)
        return; // nobody would read what formatting costs

    wchar_t szLine[cchTraceLine] = {};
    szLine[0] = static_cast<wchar_t>(nLevel + 1);
    va_list args;
    va_start(args, pszFormat);
    _vsnwprintf(szLine + 1, cchTraceLine - 1, pszFormat, args);
    va_end(args);
    szLine[cchTraceLine - 1] = 0;
    WriteLog(szLine);
}

void LogWriteText(const wchar_t* pszText) noexcept
{
    if (pszText != nullptr)
        WriteLog(pszText);
}

bool IsTraced(UINT nLevel) noexcept
{
    return nLevel <= eTL_Max && Log() != nullptr;
}

int assertion(bool bCondition, const char* pszFile, int nLine, const char* pszExpression) noexcept
{
    if (bCondition)
        return 1;
    ILogObject* const plog = Log();
    if (plog == nullptr && g_pfnDebugReport == NoDebugReport)
        return 5; // nobody is there to hear of it

    const DWORD dwError = GetLastError(); // before anything else can change it
    if (plog != nullptr)
    {
        const AssertionKey key = {pszFile, nLine, pszExpression, dwError, g_pfnErrorText};
        if (const wchar_t* const pszKept = g_AssertionTexts.Find(key))
            plog->Write(pszKept);
        else
            WriteNewAssertion(plog, key);
    }

    int nResult = 5;
    const PFNDEBUGREPORT pfnReport = g_pfnDebugReport;
    if (pfnReport != nullptr && pfnReport(nReportTypeAssert, pszFile, nLine, nullptr, pszExpression) == 1)
    {
        __debugbreak();
        nResult = 4;
    }
    if (plog != nullptr)
        plog->Write(L"\nexit ASSERT");
    SetLastError(dwError);
    return nResult;
}

wchar_t* FormatHr(wchar_t* pszOut, const wchar_t* pszMessage, const wchar_t* pszName, HRESULT hr) noexcept
{
    if (pszOut == nullptr || pszName == nullptr)
        return nullptr;

    wsprintfW(pszOut, L"%s=0x%08X (%i)\n%s\n", pszName, static_cast<UINT>(hr), static_cast<int>(hr),
              pszMessage != nullptr ? pszMessage : L"no message");
    pszOut[cchFormat - 1] = 0;

    wchar_t* pszText = pszOut + wcslen(pszOut);
    const DWORD cchText = static_cast<DWORD>(pszOut + cchFormat - pszText);
    DWORD cchWritten = g_pfnErrorText(hr, pszText, cchText);
    if (cchWritten == 0)
    {
        cchWritten = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                    static_cast<DWORD>(hr), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                                    pszText, cchText, nullptr);
    }
    if (cchWritten == 0)
        *pszText = 0; // a source without room may have written the beginning of its text
    pszOut[cchFormat - 1] = 0;

    for (size_t n = wcslen(pszOut); n > 0 && pszOut[n - 1] < 33; n--)
        pszOut[n - 1] = 0;
    return pszOut;
}
