#include "GrabCommand.h"
#include "Failure.h"
#include "FilterGraph.h"
#include "FrameCollector.h"
#include "FrameSink.h"
#include "HResultText.h"
#include "MediaType.h"
#include "PlatformSink.h"
#include "QXStillSource.h"
#include <cstdio>
#include <filesystem>

namespace
{
constexpr wchar_t g_progId[] = L"QXStillSource.CoQXStillSource";

CComPtr<IBaseFilter> CreateSource()
{
    CLSID clsid = {};
    HRESULT hr = CLSIDFromProgID(g_progId, &clsid);
    CComPtr<IBaseFilter> source;
    if (SUCCEEDED(hr))
        hr = source.CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER);
    if (hr == CO_E_CLASSSTRING || hr == REGDB_E_CLASSNOTREG)
        throw Failure("the filter " + ToUtf8(g_progId) +
                          " is not registered; \"regsvr32 QXStillSource.dll\" registers it",
                      hr);
    if (FAILED(hr))
        throw Failure("the filter " + ToUtf8(g_progId) + " cannot be created", hr);
    return source;
}

void SelectPicture(IBaseFilter* source, const GrabOptions& options)
{
    CComPtr<IQXStillSource> control;
    Check(source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&control)),
          "the filter has no IQXStillSource");
    if (!options.format.empty() || !options.size.empty())
    {
        int width = 0;
        int height = 0;
        if (!options.size.empty() && std::sscanf(options.size.c_str(), "%dx%d", &width, &height) != 2)
            throw Failure("\"" + options.size + "\" is no size: WIDTHxHEIGHT is expected");
        Check(control->SetOutputFormat(CComBSTR(FromUtf8(options.format).c_str()), width, height),
              "the filter refuses the format");
    }
    if (options.rate > 0)
        Check(control->SetFrameRate(options.rate), "the filter refuses the frame rate");
    const HRESULT hr = control->SetPicture(CComBSTR(FromUtf8(options.picture).c_str()));
    if (FAILED(hr))
        throw Failure("the filter cannot show \"" + options.picture + "\"", hr);
}

// The file name of the module whose code an object runs.
std::wstring ModuleOf(IUnknown* object)
{
    // An object begins with the address of its table of operations, which lies in the module that made it.
    const void* table = *reinterpret_cast<const void* const*>(object);
    HMODULE module = nullptr;
    wchar_t path[MAX_PATH] = {};
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<const wchar_t*>(table), &module) ||
        GetModuleFileNameW(module, path, MAX_PATH) == 0)
        return {};
    return std::filesystem::path(path).filename().wstring();
}

// The pin does not tell whose allocator it uses, but the input pin behind it knows the object, and the module
// that made the object tells: the filter's own module, or another.
std::string DescribeAllocator(IBaseFilter* source, IPin* input)
{
    CComPtr<IMemInputPin> memInput;
    CComPtr<IMemAllocator> allocator;
    HRESULT hr = input->QueryInterface(IID_IMemInputPin, reinterpret_cast<void**>(&memInput));
    if (SUCCEEDED(hr))
        hr = memInput->GetAllocator(&allocator);
    if (FAILED(hr))
        return "the input pin does not tell: " + HResultText(hr);

    const std::wstring module = ModuleOf(allocator);
    const bool isInternal = module == ModuleOf(source);
    std::string text =
        std::string(isInternal ? "internal" : "downstream") + " (made by " + ToUtf8(module) + ")";
    ALLOCATOR_PROPERTIES properties = {};
    if (SUCCEEDED(allocator->GetProperties(&properties)))
    {
        char numbers[128] = {};
        std::snprintf(numbers, sizeof(numbers), ", %ld buffers of %ld bytes, alignment %ld, prefix %ld",
                      properties.cBuffers, properties.cbBuffer, properties.cbAlign, properties.cbPrefix);
        text += numbers;
    }
    return text;
}

// Puts a sink behind the source. Gives the sink's first filter and says in `name` which one it is.
CComPtr<IBaseFilter> ConnectSink(FilterGraph& graph, IBaseFilter* source, FrameCollector& collector,
                                 const std::string& wish, std::string& name)
{
    HRESULT hr = S_OK;
    if (wish != "own")
    {
        PlatformSink platform;
        hr = CreatePlatformSink(collector, platform);
        if (SUCCEEDED(hr))
        {
            graph.Add(platform.grabber, L"Sample Grabber");
            graph.Add(platform.renderer, L"Null Renderer");
            hr = graph.Connect(source, platform.grabber);
            if (SUCCEEDED(hr))
                hr = graph.Connect(platform.grabber, platform.renderer);
            if (SUCCEEDED(hr))
            {
                name = "the platform's sample grabber and null renderer";
                return platform.grabber;
            }
            graph.Remove(platform.renderer);
            graph.Remove(platform.grabber);
        }
        if (wish == "platform")
            throw Failure("the filter does not connect to the platform's sample grabber", hr);
    }

    CComPtr<IBaseFilter> own;
    Check(CreateFrameSink(collector, own), "no sink can be made");
    graph.Add(own, L"Frames");
    const HRESULT hrOwn = graph.Connect(source, own);
    if (FAILED(hrOwn))
        throw Failure("the filter does not connect", hrOwn);
    const char* reason = HResultName(hr);
    char number[16] = {};
    std::snprintf(number, sizeof(number), "0x%08lX", static_cast<unsigned long>(hr));
    name = "of this program";
    if (FAILED(hr))
        name += std::string(" (the platform's sample grabber does not connect: ") +
                (reason ? reason : number) + ")";
    return own;
}

// Waits for the frames. Throws if the graph reports an abort, or none came for too long.
// @return false if the stream ended before there were as many as asked for.
bool WaitForFrames(FilterGraph& graph, FrameCollector& collector, const GrabOptions& options)
{
    const HANDLE handles[] = {collector.DoneEvent(), graph.EventHandle()};
    for (long before = 0;;)
    {
        const DWORD wait =
            WaitForMultipleObjects(2, handles, FALSE, static_cast<DWORD>(options.timeout * 1000));
        if (wait == WAIT_OBJECT_0)
            return true;
        long code = 0;
        HRESULT result = S_OK;
        while (wait == WAIT_OBJECT_0 + 1 && graph.NextEvent(code, result))
        {
            if (code == EC_COMPLETE)
                return false;
            if (code == EC_ERRORABORT)
                throw Failure("the graph aborts", result);
        }
        const long count = collector.Count();
        if (wait == WAIT_TIMEOUT && count == before)
        {
            char text[128] = {};
            std::snprintf(text, sizeof(text),
                          "only %ld of %ld frames came, and no further one within %g seconds", count,
                          options.frames, options.timeout);
            throw Failure(text);
        }
        before = count;
    }
}

double Milliseconds(LONGLONG from, LONGLONG to)
{
    LARGE_INTEGER frequency = {};
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(to - from) * 1000.0 / static_cast<double>(frequency.QuadPart);
}

std::wstring MakeFolder(const std::string& name)
{
    const std::filesystem::path folder(FromUtf8(name));
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (!std::filesystem::is_directory(folder, error))
        throw Failure("cannot make the folder \"" + name + "\"", DSTLLastError());
    return folder.wstring();
}

void ShowAndCollect(const GrabOptions& options)
{
    const CComPtr<IBaseFilter> source = CreateSource();
    SelectPicture(source, options);

    FrameCollector collector(MakeFolder(options.out), options.frames);
    FilterGraph graph;
    graph.Add(source, L"QXStillSource");
    std::string sinkName;
    const CComPtr<IBaseFilter> sink = ConnectSink(graph, source, collector, options.sink, sinkName);
    const CComPtr<IPin> input = FindPin(sink, PINDIR_INPUT);

    MediaType type;
    Check(input->ConnectionMediaType(type.Receive()), "the connection has no media type");
    VideoFormat format;
    if (!ReadVideoFormat(type.Get(), format))
        throw Failure("the agreed media type is no video type that this program reads");
    std::printf("picture     %s\n", options.picture.c_str());
    std::printf("media type  %s\n", Describe(format).c_str());
    std::printf("allocator   %s\n", DescribeAllocator(source, input).c_str());
    std::printf("sink        %s\n", sinkName.c_str());
    std::fflush(stdout);
    if (!CanWriteFrames(format))
        throw Failure("frames in " + SubtypeName(format.subtype) +
                      " cannot be written as pictures; RGB24, RGB32 and ARGB32 can, and --format asks "
                      "for them");
    collector.SetFormat(format);

    LARGE_INTEGER start = {};
    QueryPerformanceCounter(&start);
    graph.Run();
    const bool isFull = WaitForFrames(graph, collector, options);
    graph.Stop();
    Check(collector.Result(), "a frame cannot be written");

    const long count = collector.Count();
    std::printf("frames      %ld in %s%s\n", count, options.out.c_str(), isFull ? "" : " (the stream ended)");
    if (count > 0)
        std::printf("time        %.1f ms to the first frame, %.1f ms to the last, files written\n",
                    Milliseconds(start.QuadPart, collector.FirstTick()),
                    Milliseconds(start.QuadPart, collector.LastTick()));
}
} // namespace

void RunGrab(const GrabOptions& options)
{
    Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "COM does not start");
    struct ComEnd
    {
        ~ComEnd() { CoUninitialize(); }
    } const comEnd;
    ShowAndCollect(options);
}
