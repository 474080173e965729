#include "FrameEnd.h"
#include "Failure.h"
#include "FrameSink.h"
#include "HResultText.h"
#include "PlatformSink.h"

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
