#include "FrameEnd.h"
#include "Failure.h"
#include "HResultText.h"
#include "dstl/WinAPI/Wrappers.h"
#include <qedit.h>
#include <cstdio>

namespace
{
// No header of the compiler declares these two.
const CLSID g_sampleGrabber = {0xC1F400A0, 0x3F08, 0x11D3, {0x9F, 0x0B, 0x00, 0x60, 0x08, 0x03, 0x9E, 0x37}};
const CLSID g_nullRenderer = {0xC1F400A4, 0x3F08, 0x11D3, {0x9F, 0x0B, 0x00, 0x60, 0x08, 0x03, 0x9E, 0x37}};

constexpr LONG g_callSampleCB = 0; // which of its two operations the grabber is to call

class GrabberCallback : public ISampleGrabberCB, public CComObjectRootEx<CComMultiThreadModel>
{
public:
    BEGIN_COM_MAP(GrabberCallback)
    COM_INTERFACE_ENTRY(ISampleGrabberCB)
    END_COM_MAP()

    STDMETHODIMP SampleCB(double, IMediaSample* sample) override { return m_receiver->OnFrame(sample); }
    STDMETHODIMP BufferCB(double, BYTE*, long) override { return E_NOTIMPL; }

    FrameReceiver* m_receiver = nullptr;
};
} // namespace

HRESULT CreatePlatformSink(FrameReceiver& receiver, PlatformSink& sink)
{
    HRESULT hr = sink.grabber.CoCreateInstance(g_sampleGrabber, nullptr, CLSCTX_INPROC_SERVER);
    if (FAILED(hr))
        return hr;
    hr = sink.renderer.CoCreateInstance(g_nullRenderer, nullptr, CLSCTX_INPROC_SERVER);
    if (FAILED(hr))
        return hr;
    CComPtr<ISampleGrabber> grabber;
    hr = sink.grabber->QueryInterface(__uuidof(ISampleGrabber), reinterpret_cast<void**>(&grabber));
    if (FAILED(hr))
        return hr;

    CComPtr<CComObject<GrabberCallback>> callback;
    hr = DSTLCreateObject(&callback);
    if (FAILED(hr))
        return hr;
    callback->m_receiver = &receiver;
    sink.callback = callback->GetUnknown();
    return grabber->SetCallback(callback, g_callSampleCB);
}

CComPtr<IBaseFilter> ConnectFrameEnd(FilterGraph& graph, IBaseFilter* source, FrameReceiver& receiver,
                                     const std::string& wish, std::string& name)
{
    HRESULT hr = S_OK;
    if (wish != "own")
    {
        PlatformSink platform;
        hr = CreatePlatformSink(receiver, platform);
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
    Check(CreateFrameSink(receiver, own), "no sink can be made");
    graph.Add(own, L"Frames");
    const HRESULT hrOwn = graph.Connect(source, own);
    if (FAILED(hrOwn))
        throw Failure("the filter does not connect", hrOwn);
    name = "of this program";
    if (FAILED(hr))
        name += " (the platform's sample grabber does not connect: " + HResultCode(hr) + ")";
    return own;
}

bool WaitForFrames(FilterGraph& graph, FrameCollector& collector, double timeout)
{
    const HANDLE handles[] = {collector.DoneEvent(), graph.EventHandle()};
    for (long before = 0;;)
    {
        const DWORD wait = WaitForMultipleObjects(2, handles, FALSE, static_cast<DWORD>(timeout * 1000));
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
                          collector.Wanted(), timeout);
            throw Failure(text);
        }
        before = count;
    }
}
