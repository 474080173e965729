#include "VideoRenderers.h"
#include "Failure.h"

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
