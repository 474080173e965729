// Frames a second of two builds of the filter, in turn in one process: one with trace calls, one in which
// they are nothing. No log DLL is loaded. See README.md.
#include "Failure.h"
#include "FilterGraph.h"
#include "FrameEnd.h"
#include "QXStillSource.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace
{
constexpr long g_warmUp = 200; // frames of each run that are not measured
constexpr long g_piece =
    50; // frames of a piece: short enough to be left alone now and then on a busy machine
constexpr size_t g_pieces = 60; // of each run
constexpr int g_sessions =
    8; // each with filters and graphs of its own, the one build and the other first in turn
constexpr int g_rounds = 16; // of each session
constexpr DWORD g_limit = 60000;

double Quantile(std::vector<double> values, double part)
{
    std::sort(values.begin(), values.end());
    return values[static_cast<size_t>(part * static_cast<double>(values.size() - 1) + 0.5)];
}

/// Measures the times of pieces of a run, then wants no more frames.
class FrameTimer final : public FrameReceiver
{
public:
    void SetFormat(const VideoFormat&) override {}
    HRESULT OnFrame(IMediaSample*) override
    {
        if (m_ticks.size() > g_pieces)
            return S_FALSE;
        ++m_count;
        if (m_count < g_warmUp || (m_count - g_warmUp) % g_piece != 0)
            return S_OK;
        LARGE_INTEGER now = {};
        QueryPerformanceCounter(&now);
        m_ticks.push_back(now.QuadPart);
        if (m_ticks.size() <= g_pieces)
            return S_OK;
        SetEvent(m_done.Get());
        return S_FALSE;
    }
    void Restart()
    {
        m_count = 0;
        m_ticks.clear();
        m_ticks.reserve(g_pieces + 1);
    }
    /// Seconds that each piece took.
    std::vector<double> Times() const
    {
        if (WaitForSingleObject(m_done.Get(), g_limit) != WAIT_OBJECT_0)
            throw Failure("the frames do not come");
        LARGE_INTEGER frequency = {};
        QueryPerformanceFrequency(&frequency);
        std::vector<double> times;
        for (size_t i = 1; i < m_ticks.size(); ++i)
            times.push_back(static_cast<double>(m_ticks[i] - m_ticks[i - 1]) /
                            static_cast<double>(frequency.QuadPart));
        return times;
    }

private:
    long m_count = 0;
    std::vector<LONGLONG> m_ticks;
    const COwnedHandle m_done{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
};

/// No log DLL is found while this lives: an empty key stands in the place of HKEY_CURRENT_USER.
class NoLog
{
public:
    NoLog()
    {
        RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\QxTraceBench", 0, nullptr, REG_OPTION_VOLATILE,
                        KEY_ALL_ACCESS, nullptr, m_key.Out(), nullptr);
        if (RegOverridePredefKey(HKEY_CURRENT_USER, m_key.Get()) != ERROR_SUCCESS)
            throw Failure("the registry cannot be kept away");
    }
    ~NoLog()
    {
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        m_key.Close();
        RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\QxTraceBench");
    }

private:
    COwnedKey m_key;
};

/// A build of the filter, in a graph with a sink.
class Contestant
{
public:
    Contestant(const char* dll, bool platformSink)
    {
        const NoLog noLog;
        m_module.Attach(LoadLibraryW(FromUtf8(dll).c_str()));
        const HMODULE module = m_module.Get();
        if (!module)
            throw Failure(std::string("cannot load ") + dll, DSTLLastError());
        const auto get = reinterpret_cast<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>(
            reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
        CComPtr<IClassFactory> factory;
        Check(get(CLSID_CoQXStillSource, IID_IClassFactory, reinterpret_cast<void**>(&factory)),
              "no class factory");
        Check(factory->CreateInstance(nullptr, IID_IBaseFilter, reinterpret_cast<void**>(&m_source)),
              "no filter");
        CComPtr<IQXStillSource> control;
        Check(m_source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&control)),
              "no control");
        Check(control->SetOutputFormat(CComBSTR(L"RGB32"), 320, 240), "no such format");
        m_graph.Add(m_source, L"Source");
        if (platformSink)
        {
            Check(CreatePlatformSink(m_timer, m_platform), "no platform sink");
            m_graph.Add(m_platform.grabber, L"Grabber");
            m_graph.Add(m_platform.renderer, L"Renderer");
            Check(m_graph.Connect(m_source, m_platform.grabber), "no connection");
            Check(m_graph.Connect(m_platform.grabber, m_platform.renderer), "no connection");
            return;
        }
        Check(CreateFrameSink(m_timer, m_own), "no sink");
        m_graph.Add(m_own, L"Sink");
        Check(m_graph.Connect(m_source, m_own), "no connection");
    }

    /// The times of the pieces of one run are added to `times`.
    void Measure(std::vector<double>& times)
    {
        m_timer.Restart();
        m_graph.Run();
        const std::vector<double> run = m_timer.Times();
        m_graph.Stop();
        times.insert(times.end(), run.begin(), run.end());
    }

private:
    COwnedModule m_module; // goes last
    FrameTimer m_timer;
    PlatformSink m_platform;
    CComPtr<IBaseFilter> m_own;
    CComPtr<IBaseFilter> m_source;
    FilterGraph m_graph;
};

void Compare(const char* with, const char* without, bool platformSink)
{
    const char* const builds[] = {with, without};
    std::vector<double> times[2];
    for (int session = 0; session < g_sessions; ++session)
    {
        // What is loaded and made first gets other places in memory, which shows.
        const int first = session % 2;
        Contestant one(builds[first], platformSink);
        Contestant other(builds[1 - first], platformSink);
        for (int round = 0; round < g_rounds; ++round)
        {
            if (round % 2 != 0)
                one.Measure(times[first]);
            other.Measure(times[1 - first]);
            if (round % 2 == 0)
                one.Measure(times[first]);
        }
    }
    // The fast pieces are those that nothing else on the machine disturbed.
    std::printf("%-34s",
                platformSink ? "sample grabber, own allocator" : "own sink, the platform's allocator");
    for (const double part : {0.02, 0.1, 0.25, 0.5})
    {
        const double rates[] = {g_piece / Quantile(times[0], part), g_piece / Quantile(times[1], part)};
        std::printf(" | %6.0f %6.0f %.3f", rates[0], rates[1], rates[0] / rates[1]);
    }
    std::printf("\n");
    std::fflush(stdout);
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: qxtracebench DLL_WITH_TRACE DLL_WITHOUT\n");
        return 2;
    }
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    try
    {
        std::printf("%-34s | %-20s | %-20s | %-20s | %-20s\n", "frames a second: trace, none, ratio",
                    "fastest 2 %", "10 %", "25 %", "50 %");
        Compare(argv[1], argv[2], true);
        Compare(argv[1], argv[2], false);
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "qxtracebench: %s\n", error.what());
        return 1;
    }
    return 0;
}
