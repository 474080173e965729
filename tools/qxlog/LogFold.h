#pragma once
/// Messages that repeat are counted instead of written, so that a fault that strikes for each pixel of a
/// picture leaves the log readable.

#include <windows.h>

#include <atomic>

/// Takes what the fold has counted.
class ILogRepeats
{
public:
    /// \param pszMessage a message to write: the first one with "repeated n times: " before its text
    virtual void PutRepeats(const wchar_t* pszMessage) noexcept = 0;

protected:
    ~ILogRepeats() = default;
};

/// Knows the last few messages. A run begins with a message that is not among them, or that comes again after
/// more than a second. After that each message passes twice more, and is counted from then on. Counts are
/// written when the next run begins, each second while this one goes on, and at the end. Each thread has
/// messages of its own.
///
/// Take, PutAll and Clear are called under the lock of the file; Count on any thread, without a lock.
class CLogFold
{
public:
    static constexpr int nMore = 2; ///< copies that pass once a run has begun
    static constexpr ULONGLONG msRun =
        1000;                            ///< longest pause between two equal messages, and between two counts
    static constexpr size_t nTexts = 16; ///< texts of a run
    static constexpr size_t cchText = 1024; ///< longer messages always pass

    constexpr CLogFold() noexcept = default;
    CLogFold(const CLogFold&) = delete;
    CLogFold& operator=(const CLogFold&) = delete;

    /// Counts a message that is known by its address: one in read-only memory, which stays as it is. Does
    /// nothing else with it.
    /// \return false: Take has to look at it
    bool Count(const wchar_t* pszMessage) noexcept;
    /// Decides about a message. Counts that come before it are put out.
    /// \return true: it has been counted; false: it is to be written
    bool Take(const wchar_t* pszMessage, ILogRepeats& repeats) noexcept;
    /// Puts out what has been counted and not put out yet.
    void PutAll(ILogRepeats& repeats) noexcept;
    bool HasCounted() const noexcept;
    /// No message is known by its address any more: the memory of a client goes.
    void ForgetAddresses() noexcept;
    /// Forgets everything, counts included.
    void Clear() noexcept;

private:
    /// One message of one thread. Only that thread counts, so that counting needs no locked operation. A
    /// thread that loses its place to another one while it counts may spoil a count, and nothing else.
    struct Text
    {
        bool IsOf(const wchar_t* pszMessage, DWORD dwOwner) const noexcept;
        void Begin(const wchar_t* pszMessage, DWORD dwOwner) noexcept;
        ULONGLONG Pending() const noexcept
        {
            const ULONGLONG n = nCounted.load(std::memory_order_relaxed);
            return n > nPut ? n - nPut : 0;
        }
        void AddOne(ULONGLONG ullNow) noexcept
        {
            nCounted.store(nCounted.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
            ullLast.store(ullNow, std::memory_order_relaxed);
        }

        std::atomic<DWORD> dwThread{0};
        std::atomic<ULONGLONG> nCounted{0};
        std::atomic<ULONGLONG> ullLast{0}; ///< tick count of the last one
        ULONGLONG nPut = 0;                ///< of nCounted
        int nPassed = 0;                   ///< copies of this run
        size_t cch = 0;
        wchar_t sz[cchText] = {};
    };

    void EndRun(ILogRepeats& repeats) noexcept;

    /// The addresses of texts, while they may be counted without a lock.
    std::atomic<const wchar_t*> m_known[nTexts] = {};
    Text m_texts[nTexts];
    size_t m_nNext = 0;                   ///< the text to be replaced
    std::atomic<ULONGLONG> m_ullPutAt{0}; ///< tick count from which on counts are put out
};

// In line, as a picture can have a hundred million messages for it.
inline bool CLogFold::Count(const wchar_t* pszMessage) noexcept
{
    for (size_t n = 0; n < nTexts; n++)
    {
        if (m_known[n].load(std::memory_order_relaxed) != pszMessage)
            continue;
        Text& text = m_texts[n];
        if (text.dwThread.load(std::memory_order_relaxed) != GetCurrentThreadId())
            continue;
        const ULONGLONG ullNow = GetTickCount64();
        if (ullNow >= m_ullPutAt.load(std::memory_order_relaxed) ||
            ullNow - text.ullLast.load(std::memory_order_relaxed) > msRun)
            return false;
        text.AddOne(ullNow);
        return true;
    }
    return false;
}
