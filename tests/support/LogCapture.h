#pragma once
/// Captures of trace lines and assertions, for tests. Trace lines of every module of the process arrive in
/// the same capture; reports of assertions only those of the test program itself (the assertions of another
/// module are seen as lines of level nLevelRaw).

#include <condition_variable>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

/// The level of a text that is no trace line: the log's text of an assertion.
inline constexpr int nLevelRaw = -1;

struct LogLine
{
    int nLevel;        ///< level of a trace line, or nLevelRaw
    std::string sText; ///< UTF-8, without the character that holds the level

    bool operator==(const LogLine&) const = default;

    /// As failed expectations show it.
    friend std::ostream& operator<<(std::ostream& out, const LogLine& line)
    {
        return out << line.nLevel << " \"" << line.sText << '"';
    }
};

/// Whether this is the first line of a worker thread, which writes it itself.
bool IsWorkerStart(const LogLine& line);

/// Collects what is written to the log between its construction and its end, on any thread. Captures may nest
/// and overlap: each gets every line.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<LogLine> Lines() const;
    /// The texts of one level, in order.
    std::vector<std::string> Texts(int nLevel) const;
    void Clear();
    /// Whole texts are compared.
    bool Has(int nLevel, const std::string& sText) const { return Count(nLevel, sText) != 0; }
    int Count(int nLevel, const std::string& sText) const;
    /// Waits until a line has been written, perhaps earlier. \return false when the time is over
    bool WaitFor(int nLevel, const std::string& sText, int nMilliseconds = 30000) const;

    /// Waits until a worker thread has written its first line, which may be long after its creation.
    bool WaitForWorkerStart(int nMilliseconds = 30000) const;

private:
    friend struct LogCaptureList;
    void Add(const LogLine& line);

    mutable std::mutex m_lock;
    mutable std::condition_variable m_changed;
    std::vector<LogLine> m_lines;
};

/// Takes the place of the debug report and collects the expressions of failed assertions, on any thread.
/// Captures may nest, ending in reverse order; only the innermost one collects.
class AssertCapture
{
public:
    /// \param nAnswer what the report answers; 1 makes the assertion execute a break instruction
    explicit AssertCapture(int nAnswer = 0);
    ~AssertCapture();
    AssertCapture(const AssertCapture&) = delete;
    AssertCapture& operator=(const AssertCapture&) = delete;

    struct Report
    {
        int nType;
        std::string sFile;
        int nLine;
        std::string sText;
    };

    std::vector<Report> Reports() const;
    std::vector<std::string> Texts() const;
    int Count(const std::string& sText) const;
    void Clear();

private:
    static int OnReport(int nType, const char* pszFile, int nLine, const char* pszModule,
                        const char* pszMessage);

    const int m_nAnswer;
    AssertCapture* m_pOuter;
    int (*m_pfnOuter)(int, const char*, int, const char*, const char*);
    std::vector<Report> m_reports;
};

/// Wide text (16 bits a character) as UTF-8; null gives an empty text.
std::string Utf8(const wchar_t* psz);
