#include "Commands.h"
#include "Clock.h"
#include "Connection.h"
#include "Failure.h"
#include "FilterGraph.h"
#include "QXStillSource.h"
#include <algorithm>
#include <cstdio>

namespace
{
// What renderers take, the most frequent one first.
const std::vector<std::string> g_rendererFormats = {"RGB32", "RGB24", "YUY2", "UYVY", "YV12"};

const VideoRenderer& FindRenderer(const std::string& name)
{
    const std::vector<VideoRenderer>& renderers = VideoRenderers();
    const auto found = std::find_if(renderers.begin(), renderers.end(),
                                    [&](const VideoRenderer& renderer) { return name == renderer.name; });
    if (found == renderers.end())
        throw Failure("there is no renderer \"" + name + "\"");
    return *found;
}

void PlaceWindow(IVideoWindow* window, const VideoFormat& format, const ShowOptions& options)
{
    constexpr long g_framed = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;
    constexpr long g_bare = WS_POPUP | WS_CLIPCHILDREN;
    const long style = options.borderless ? g_bare : g_framed;
    Check(window->put_WindowStyle(style), "the renderer rejects the window's style");
    Check(window->put_Caption(CComBSTR(L"qxstill")), "the renderer rejects the window's title");
    const int width = options.window.width > 0 ? options.window.width : format.width;
    const int height = options.window.height > 0 ? options.window.height : format.height;
    RECT area = {0, 0, width, height};
    AdjustWindowRectEx(&area, static_cast<DWORD>(style), FALSE, 0);
    Check(window->put_Width(area.right - area.left), "the renderer rejects the window's width");
    Check(window->put_Height(area.bottom - area.top), "the renderer rejects the window's height");
    if (options.position)
    {
        Check(window->put_Left(options.position->x), "the renderer rejects the window's position");
        Check(window->put_Top(options.position->y), "the renderer rejects the window's position");
    }
}

// What the window needs of its thread: that messages are taken.
void DispatchMessages()
{
    MSG message = {};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
    {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

// Lets the graph run. Throws Failure if it aborts.
// @param seconds how long; 0: until the window is closed
// @return false when the window was closed or the stream has ended
bool Watch(FilterGraph& graph, double seconds)
{
    const HANDLE handle = graph.EventHandle();
    const LONGLONG start = Tick();
    for (;;)
    {
        const double left = seconds * 1000 - Milliseconds(start, Tick());
        if (seconds > 0 && left <= 0)
            return true;
        const DWORD limit = seconds > 0 ? static_cast<DWORD>(left) + 1 : INFINITE;
        const DWORD wait = MsgWaitForMultipleObjects(1, &handle, FALSE, limit, QS_ALLINPUT);
        DispatchMessages();
        long code = 0;
        HRESULT result = S_OK;
        while (wait == WAIT_OBJECT_0 && graph.NextEvent(code, result))
        {
            if (code == EC_ERRORABORT)
                throw Failure("the graph aborts", result);
            if (code == EC_USERABORT || code == EC_WINDOW_DESTROYED)
                return false;
        }
    }
}

// Another frame rate on a connection that stands: the filter has the stopped graph connect its pin anew.
void ChangeRate(FilterGraph& graph, IBaseFilter* source, double rate)
{
    graph.Stop();
    CComPtr<IQXStillSource> control;
    Check(source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&control)),
          "the filter has no IQXStillSource");
    Check(control->SetFrameRate(rate), "the stopped filter rejects the new frame rate");
}

// How many frames there will be.
size_t FramesOf(const ShowOptions& options, const VideoFormat& format)
{
    if (options.seconds <= 0 || format.frameTime <= 0)
        return SIZE_MAX;
    return static_cast<size_t>(options.seconds * 1e7 / static_cast<double>(format.frameTime)) + 1;
}

void Show(const ShowOptions& options)
{
    const VideoRenderer& kind = FindRenderer(options.renderer);
    const CComPtr<IBaseFilter> source = CreateSource();
    SetUpSource(source, options.source);
    const CComPtr<IBaseFilter> renderer = CreateVideoRenderer(kind);

    FilterGraph graph;
    graph.UseDefaultClock();
    graph.Add(source, L"QXStillSource");
    graph.Add(renderer, L"Renderer");
    HRESULT hr = E_FAIL;
    const auto connects = [&](const VideoFormat&) { return SUCCEEDED(hr = graph.Connect(source, renderer)); };
    if (!ChooseFormat(source, options.source, g_rendererFormats, kind.title, connects))
        throw Failure(std::string(kind.title) + " does not take the filter's frames" +
                          (options.source.format.empty() ? "" : "; leave out --format to have one chosen"),
                      hr);
    const VideoFormat format = PrintConnection(source, renderer, options.source.picture, kind.title);
    PrintUnshownEntries(options.source.picture, FramesOf(options, format));
    PlaceWindow(graph.Query<IVideoWindow>(IID_IVideoWindow, "the renderer has no window"), format, options);

    graph.Run();
    const bool goesOn = Watch(graph, options.then > 0 ? options.seconds / 2 : options.seconds);
    if (goesOn && options.then > 0)
    {
        ChangeRate(graph, source, options.then);
        PrintConnection(source, renderer, options.source.picture, kind.title);
        graph.Run();
        Watch(graph, options.seconds / 2);
    }
    graph.Stop();
}
} // namespace

const std::vector<VideoRenderer>& VideoRenderers()
{
    static const std::vector<VideoRenderer> renderers = {
        {"video", "the Video Renderer", CLSID_VideoRenderer},
        {"vmr7", "the Video Mixing Renderer 7", CLSID_VideoMixingRenderer},
        {"vmr9", "the Video Mixing Renderer 9", CLSID_VideoMixingRenderer9},
    };
    return renderers;
}

CComPtr<IBaseFilter> CreateVideoRenderer(const VideoRenderer& renderer)
{
    CComPtr<IBaseFilter> filter;
    const HRESULT hr = filter.CoCreateInstance(renderer.clsid, nullptr, CLSCTX_INPROC_SERVER);
    if (FAILED(hr))
        throw Failure(std::string(renderer.title) + " cannot be created", hr);
    return filter;
}

void RunShow(const ShowOptions& options)
{
    // As most programs with a window: its thread takes messages, and COM's calls among them.
    const ComApartment com(COINIT_APARTMENTTHREADED);
    Show(options);
}
