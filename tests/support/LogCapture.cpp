#include "support/LogCapture.h"

#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/QXLog.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#ifdef QX_NATIVE
#include "NativeLog.h"
#else
#include "support/TestLog.h"
#include "support/WorkerThreads.h"
#endif

/// All living captures. Never destroyed, as threads may still write while the process ends.
struct LogCaptureList
{
    std::mutex lock;
    std::vector<LogCapture*> captures;

    static LogCaptureList& Get()
    {
        static LogCaptureList& list = *new LogCaptureList;
        return list;
    }

    static void OnMessage(const wchar_t* pszMessage)
    {
        static_assert(nLevelRaw == -1, "as QXLogLevel has it");
        const LogLine line{QXLogLevel(pszMessage), Utf8(QXLogText(pszMessage))};
#ifndef QX_NATIVE
        if (IsWorkerStart(line))
            AddCurrentWorker();
#endif
        LogCaptureList& list = Get();
        const std::lock_guard<std::mutex> guard(list.lock);
        for (LogCapture* pCapture : list.captures)
            pCapture->Add(line);
    }
};

namespace
{

void SetSink(void (*pfnSink)(const wchar_t*))
{
#ifdef QX_NATIVE
    g_pfnNativeLog = pfnSink;
#else
    const HMODULE hModule = GetModuleHandleW(L"qxtestlog.dll");
    const auto pfnSetSink = hModule != nullptr ? reinterpret_cast<PFNTESTLOGSETSINK>(reinterpret_cast<void*>(
                                                     GetProcAddress(hModule, "QxTestLog_SetSink")))
                                               : nullptr;
    if (pfnSetSink == nullptr)
    {
        fprintf(stderr,
                "The test log DLL is not loaded: HKCU\\Software\\_DSTLLOG64 has to name qxtestlog.dll, "
                "with '|' for each backslash (CTest's fixture wine_prefix does so).\n");
        exit(3);
    }
    pfnSetSink(pfnSink);
#endif
}

std::mutex& ReportLock()
{
    static std::mutex& lock = *new std::mutex;
    return lock;
}

AssertCapture* g_pAssertCapture = nullptr;

} // namespace

std::string Utf8(const wchar_t* psz)
{
    std::string s;
    while (psz != nullptr && *psz != 0)
    {
        unsigned ch = static_cast<unsigned short>(*psz++);
        if (ch >= 0xD800 && ch < 0xDC00 && *psz >= 0xDC00 && *psz < 0xE000)
            ch = 0x10000 + ((ch - 0xD800) << 10) + (static_cast<unsigned short>(*psz++) - 0xDC00);
        if (ch < 0x80)
            s += static_cast<char>(ch);
        else if (ch < 0x800)
            s += {static_cast<char>(0xC0 | ch >> 6), static_cast<char>(0x80 | (ch & 0x3F))};
        else if (ch < 0x10000)
            s += {static_cast<char>(0xE0 | ch >> 12), static_cast<char>(0x80 | (ch >> 6 & 0x3F)),
                  static_cast<char>(0x80 | (ch & 0x3F))};
        else
            s += {static_cast<char>(0xF0 | ch >> 18), static_cast<char>(0x80 | (ch >> 12 & 0x3F)),
                  static_cast<char>(0x80 | (ch >> 6 & 0x3F)), static_cast<char>(0x80 | (ch & 0x3F))};
    }
    return s;
}

LogCapture::LogCapture()
{
    LogCaptureList& list = LogCaptureList::Get();
    {
        const std::lock_guard<std::mutex> guard(list.lock);
        list.captures.push_back(this);
    }
    SetSink(&LogCaptureList::OnMessage);
}

LogCapture::~LogCapture()
{
    LogCaptureList& list = LogCaptureList::Get();
    const std::lock_guard<std::mutex> guard(list.lock);
    std::erase(list.captures, this);
}

void LogCapture::Add(const LogLine& line)
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_lines.push_back(line);
    }
    m_changed.notify_all();
}

std::vector<LogLine> LogCapture::Lines() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_lines;
}

std::vector<std::string> LogCapture::Texts(int nLevel) const
{
    std::vector<std::string> texts;
    for (const LogLine& line : Lines())
    {
        if (line.nLevel == nLevel)
            texts.push_back(line.sText);
    }
    return texts;
}

void LogCapture::Clear()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_lines.clear();
}

int LogCapture::Count(int nLevel, const std::string& sText) const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return static_cast<int>(std::count(m_lines.begin(), m_lines.end(), LogLine{nLevel, sText}));
}

bool LogCapture::WaitFor(int nLevel, const std::string& sText, int nMilliseconds) const
{
    const LogLine line{nLevel, sText};
    std::unique_lock<std::mutex> guard(m_lock);
    return m_changed.wait_for(guard, std::chrono::milliseconds(nMilliseconds),
                              [&] { return std::count(m_lines.begin(), m_lines.end(), line) != 0; });
}

bool IsWorkerStart(const LogLine& line)
{
    return line.sText.starts_with("CSimpleThread::StartThread(): thread 0x") &&
           line.sText.ends_with(" started\n");
}

bool LogCapture::WaitForWorkerStart(int nMilliseconds) const
{
    std::unique_lock<std::mutex> guard(m_lock);
    return m_changed.wait_for(guard, std::chrono::milliseconds(nMilliseconds),
                              [&] { return std::any_of(m_lines.begin(), m_lines.end(), &IsWorkerStart); });
}

AssertCapture::AssertCapture(int nAnswer) : m_nAnswer(nAnswer)
{
    const std::lock_guard<std::mutex> guard(ReportLock());
    m_pOuter = g_pAssertCapture;
    m_pfnOuter = g_pfnDebugReport;
    g_pAssertCapture = this;
    g_pfnDebugReport = &OnReport;
}

AssertCapture::~AssertCapture()
{
    const std::lock_guard<std::mutex> guard(ReportLock());
    g_pAssertCapture = m_pOuter;
    g_pfnDebugReport = m_pfnOuter;
}

int AssertCapture::OnReport(int nType, const char* pszFile, int nLine, const char*, const char* pszMessage)
{
    const std::lock_guard<std::mutex> guard(ReportLock());
    if (g_pAssertCapture == nullptr)
        return 0;
    g_pAssertCapture->m_reports.push_back(
        {nType, pszFile != nullptr ? pszFile : "", nLine, pszMessage != nullptr ? pszMessage : ""});
    return g_pAssertCapture->m_nAnswer;
}

std::vector<AssertCapture::Report> AssertCapture::Reports() const
{
    const std::lock_guard<std::mutex> guard(ReportLock());
    return m_reports;
}

std::vector<std::string> AssertCapture::Texts() const
{
    std::vector<std::string> texts;
    for (const Report& report : Reports())
        texts.push_back(report.sText);
    return texts;
}

int AssertCapture::Count(const std::string& sText) const
{
    const std::vector<std::string> texts = Texts();
    return static_cast<int>(std::count(texts.begin(), texts.end(), sText));
}

void AssertCapture::Clear()
{
    const std::lock_guard<std::mutex> guard(ReportLock());
    m_reports.clear();
}
