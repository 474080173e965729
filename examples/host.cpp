// A minimal host: shows a picture in a window for a while, or sends its frames to the null renderer.
// Usage: host PICTURE [null]
#include <windows.h>
#include <dshow.h>
#include <cstdio>
#include "QXStillSource.h"

// A counted interface pointer; any other smart pointer does as well.
template <class T>
struct Ptr
{
    T* p = nullptr;
    Ptr() = default;
    Ptr(const Ptr&) = delete;
    Ptr& operator=(const Ptr&) = delete;
    ~Ptr()
    {
        if (p)
            p->Release();
    }
    T* operator->() const { return p; }
    void** Any() { return reinterpret_cast<void**>(&p); }
};

// No header declares the class of the null renderer.
const CLSID CLSID_Null = {0xC1F400A4, 0x3F08, 0x11D3, {0x9F, 0x0B, 0x00, 0x60, 0x08, 0x03, 0x9E, 0x37}};

HRESULT Connect(IGraphBuilder* graph, IBaseFilter* source, bool isHidden)
{
    Ptr<IPin> output;
    HRESULT hr = source->FindPin(L"Video Out", &output.p);
    if (FAILED(hr) || !isHidden)
        return FAILED(hr) ? hr : graph->Render(output.p); // the graph finds a renderer
    Ptr<IBaseFilter> sink;
    hr = CoCreateInstance(CLSID_Null, nullptr, CLSCTX_INPROC_SERVER, IID_IBaseFilter, sink.Any());
    if (SUCCEEDED(hr))
        hr = graph->AddFilter(sink.p, L"Null");
    Ptr<IEnumPins> pins;
    if (SUCCEEDED(hr))
        hr = sink->EnumPins(&pins.p);
    Ptr<IPin> input;
    if (SUCCEEDED(hr))
        hr = pins->Next(1, &input.p, nullptr);
    return SUCCEEDED(hr) ? graph->ConnectDirect(output.p, input.p, nullptr) : hr;
}

// Lets the graph run for five seconds, or to the end of a list. A window needs its messages.
const char* Wait(IMediaEvent* events)
{
    const ULONGLONG end = GetTickCount64() + 5000;
    while (GetTickCount64() < end)
    {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageW(&message);
        long code = 0;
        LONG_PTR first = 0, second = 0;
        while (events->GetEvent(&code, &first, &second, 20) == S_OK)
        {
            events->FreeEventParams(code, first, second);
            if (code == EC_COMPLETE || code == EC_USERABORT || code == EC_ERRORABORT)
                return code == EC_COMPLETE ? "the stream has ended" : "the graph was aborted";
        }
    }
    return "shown for five seconds";
}

HRESULT Show(const wchar_t* picture, bool isHidden, const char*& step)
{
    Ptr<IGraphBuilder> graph;
    step = "no filter graph";
    HRESULT hr =
        CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC_SERVER, IID_IGraphBuilder, graph.Any());
    if (FAILED(hr))
        return hr;

    step = "the filter cannot be created (regsvr32 QXStillSource.dll registers it)";
    Ptr<IBaseFilter> source;
    hr = CoCreateInstance(__uuidof(CoQXStillSource), nullptr, CLSCTX_INPROC_SERVER, IID_IBaseFilter,
                          source.Any());
    if (FAILED(hr) || FAILED(hr = graph->AddFilter(source.p, L"Still")))
        return hr;

    // Format, size and rate first, the picture next, the connection last: what is set before the pin is
    // connected takes effect at once. A fixed format and size let pictures of any size follow later.
    step = "the picture cannot be shown";
    Ptr<IQXStillSource> still;
    hr = source->QueryInterface(__uuidof(IQXStillSource), still.Any());
    BSTR format = SysAllocString(L"RGB32"), name = SysAllocString(picture);
    if (SUCCEEDED(hr))
        hr = still->SetOutputFormat(format, 640, 360);
    if (SUCCEEDED(hr))
        hr = still->SetFrameRate(25);
    if (SUCCEEDED(hr))
        hr = still->SetPicture(name);
    SysFreeString(format);
    SysFreeString(name);
    if (FAILED(hr))
        return hr;

    step = "the filter does not connect";
    if (FAILED(hr = Connect(graph.p, source.p, isHidden)))
        return hr;

    step = "the graph does not run";
    Ptr<IMediaControl> control;
    Ptr<IMediaEvent> events;
    if (FAILED(hr = graph->QueryInterface(IID_IMediaControl, control.Any())) ||
        FAILED(hr = graph->QueryInterface(IID_IMediaEvent, events.Any())) || FAILED(hr = control->Run()))
        return hr;
    std::printf("%s\n", Wait(events.p));
    return control->Stop(); // returns when the filter's thread has ended its step
}

int main()
{
    int count = 0;
    wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (!arguments || count < 2)
    {
        std::printf("usage: host PICTURE [null]\n");
        return 2;
    }
    HRESULT hr = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const char* step = "COM does not start";
    if (SUCCEEDED(hr))
    {
        hr = Show(arguments[1], count > 2, step);
        CoUninitialize();
    }
    LocalFree(arguments);
    if (FAILED(hr))
        std::printf("%s: 0x%08lX\n", step, static_cast<unsigned long>(hr));
    return FAILED(hr) ? 1 : 0;
}
