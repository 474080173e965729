#pragma once
/// Performance counters: how many processor cycles a named piece of code takes. Each run ends with one line
/// in the log. Without a log a run costs two readings of the cycle counter and a few divisions.

#include "dstl/WinAPI/Platform.h"

/// Cycles of the processor since some moment: the time stamp counter, or the performance counter where there
/// is none.
LONGLONG ProcTicks() noexcept;

/// Where the counters take cycles from: ProcTicks, or what a test puts in its place.
using PFNPROCTICKS = LONGLONG (*)() noexcept;
extern PFNPROCTICKS g_pfnProcTicks;

/// One counter, usually a function-local static beside a CPerfScope. It only grows: nothing sets it back.
/// Without a lock: the figures of one that two threads share are mixed, which is accepted for a diagnostic.
class CPerf
{
public:
    /// Finds out the processor's frequency when it is not known yet, which can take 50 ms.
    /// \param pszName optional; not copied
    explicit CPerf(const wchar_t* pszName) noexcept;

    /// Begins a run.
    void Start() noexcept;
    /// Ends a run.
    void Stop() noexcept;

    /// Writes what was measured so far: average and sum in milliseconds, number of runs, and the share of the
    /// time between the first start and the latest stop. Nothing before the first Stop.
    /// \param pszName optional: in the place of the counter's own name
    void Report(const wchar_t* pszName) const noexcept;

    /// The processor's frequency, from the registry or measured.
    /// \param pdwFreq receives MHz, cut to a whole number; 0 on failure
    /// \param bMeasure true: the registry is not asked; measuring takes 10 to 50 ms
    static bool GetProcFreq(DWORD* pdwFreq, BOOL bMeasure) noexcept;

    const wchar_t* m_pszName; ///< never null
    LONGLONG m_llSum;         ///< cycles of all runs
    LONGLONG m_llStart;       ///< cycles at the start of the current run
    LONGLONG m_llFirst;       ///< cycles at the first start ever
    LONGLONG m_llLast;        ///< cycles at the latest stop
    DWORD m_nCalls;           ///< runs finished

    static DWORD s_dwFreq; ///< MHz, of the whole process; 0 until known
};

/// A run that lasts as long as the scope, and its report. With a null pointer it does nothing.
class CPerfScope
{
public:
    /// \param pszName optional: as of CPerf::Report
    explicit CPerfScope(CPerf* pPerf, const wchar_t* pszName = nullptr) noexcept
        : m_pPerf(pPerf), m_pszName(pszName)
    {
        if (m_pPerf != nullptr)
            m_pPerf->Start();
    }
    ~CPerfScope()
    {
        if (m_pPerf == nullptr)
            return;
        m_pPerf->Stop();
        m_pPerf->Report(m_pszName);
    }
    CPerfScope(const CPerfScope&) = delete;
    CPerfScope& operator=(const CPerfScope&) = delete;

private:
    CPerf* const m_pPerf;
    const wchar_t* const m_pszName;
};

/// One run as long as all its pieces together, and its report: for work that is done piece by piece between
/// other work. With a null pointer it does nothing.
class CPerfPieces
{
public:
    explicit CPerfPieces(CPerf* pPerf) noexcept : m_pPerf(pPerf)
    {
        if (m_pPerf != nullptr)
            m_pPerf->Start();
    }
    ~CPerfPieces()
    {
        if (m_pPerf == nullptr)
            return;
        m_pPerf->m_llStart = g_pfnProcTicks() - m_llSum;
        m_pPerf->Stop();
        m_pPerf->Report(nullptr);
    }
    CPerfPieces(const CPerfPieces&) = delete;
    CPerfPieces& operator=(const CPerfPieces&) = delete;

    void Begin() noexcept
    {
        if (m_pPerf != nullptr)
            m_llBegin = g_pfnProcTicks();
    }
    void End() noexcept
    {
        if (m_pPerf != nullptr)
            m_llSum += g_pfnProcTicks() - m_llBegin;
    }

private:
    CPerf* const m_pPerf;
    LONGLONG m_llBegin = 0;
    LONGLONG m_llSum = 0;
};
