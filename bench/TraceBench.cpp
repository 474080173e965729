// Frames a second of two builds of the filter, in turn in one process: one with trace calls, one in which
// they are nothing. No log DLL is loaded. See README.md.
#include "Failure.h"
#include "FilterGraph.h"
#include "FrameReceiver.h"
#include "FrameSink.h"
#include "PlatformSink.h"
#include "QXStillSource.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace
{
constexpr long g_warmUp = 300; // frames of each run that are not measured
constexpr long g_frames = 3000;
constexpr int g_rounds = 61;
constexpr DWORD g_limit = 60000;

/// Measures the time from one frame to another, then wants no more.
class FrameTimer final : public FrameReceiver
{
public:
    ~FrameTimer() { CloseHandle(m_done); }
    void SetFormat(const VideoFormat&) override {}
    HRESULT OnFrame(IMediaSample*) override
    {
        ++m_count;
        if (m_count == g_warmUp)
            QueryPerformanceCounter(&m_start);
        if (m_count == g_warmUp + g_frames)
        {
            QueryPerformanceCounter(&m_end);
            SetEvent(m_done);
        }
        return m_count < g_warmUp + g_frames ? S_OK : S_FALSE;
    }
    void Restart() { m_count = 0; }
    double FramesPerSecond() const
    {
        if (WaitForSingleObject(m_done, g_limit) != WAIT_OBJECT_0)
            throw Failure("the frames do not come");
        LARGE_INTEGER frequency = {};
        QueryPerformanceFrequency(&frequency);
        return static_cast<double>(g_frames) * static_cast<double>(frequency.QuadPart) /
               static_cast<double>(m_end.QuadPart - m_start.QuadPart);
    }

private:
    long m_count = 0;
    LARGE_INTEGER m_start = {};
    LARGE_INTEGER m_end = {};
    const HANDLE m_done = CreateEventW(nullptr, FALSE, FALSE, nullptr);
};

/// No log DLL is found while this lives: an empty key stands in the place of HKEY_CURRENT_USER.
class NoLog
{
public:
    NoLog()
    {
        RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\QxTraceBench", 0, nullptr, REG_OPTION_VOLATILE,
                        KEY_ALL_ACCESS, nullptr, &m_key, nullptr);
        if (RegOverridePredefKey(HKEY_CURRENT_USER, m_key) != ERROR_SUCCESS)
            throw Failure("the registry cannot be kept away");
    }
    ~NoLog()
    {
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegCloseKey(m_key);
        RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\QxTraceBench");
    }

private:
    HKEY m_key = nullptr;
};

/// A build of the filter, in a graph with a sink.
class Contestant
{
public:
    Contestant(const char* dll, bool platformSink)
    {
        const NoLog noLog;
        const HMODULE module = LoadLibraryW(FromUtf8(dll).c_str()); // until the program ends
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

    double Measure()
    {
        m_timer.Restart();
        m_graph.Run();
        const double rate = m_timer.FramesPerSecond();
        m_graph.Stop();
        return rate;
    }

private:
    FrameTimer m_timer;
    PlatformSink m_platform;
    CComPtr<IBaseFilter> m_own;
    CComPtr<IBaseFilter> m_source;
    FilterGraph m_graph;
};

double Quantile(std::vector<double> values, double part)
{
    std::sort(values.begin(), values.end());
    return values[static_cast<size_t>(part * static_cast<double>(values.size() - 1) + 0.5)];
}

void Compare(const char* with, const char* without, bool platformSink)
{
    Contestant contestants[] = {{with, platformSink}, {without, platformSink}};
    std::vector<double> rates[2];
    std::vector<double> ratios;
    for (int round = 0; round < g_rounds; ++round)
    {
        double rate[2] = {};
        // Each begins as often as the other.
        for (const int i : {round % 2, 1 - round % 2})
        {
            rate[i] = contestants[i].Measure();
            rates[i].push_back(rate[i]);
        }
        ratios.push_back(rate[0] / rate[1]);
    }
    std::printf("%-34s | %8.0f | %8.0f | %.4f | %.4f to %.4f\n",
                platformSink ? "sample grabber, own allocator" : "own sink, the platform's allocator",
                Quantile(rates[0], 0.5), Quantile(rates[1], 0.5), Quantile(ratios, 0.5),
                Quantile(ratios, 0.25), Quantile(ratios, 0.75));
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
        std::printf("%-34s | %8s | %8s | %6s | quartiles\n", "frames a second at 320 by 240", "trace", "none",
                    "ratio");
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
