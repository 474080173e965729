#pragma once
/// The platform's renderers by the names that the command line knows.

#include <atlbase.h>
#include <dshow.h>
#include <string>
#include <vector>

struct VideoRenderer
{
    const char* name;  ///< on the command line
    const char* title; ///< in words
    const CLSID& clsid;
};

/// All that are known, in the order in which a user would try them.
const std::vector<VideoRenderer>& VideoRenderers();

/// Makes the renderer of that name, which draws into a window of its own. Throws Failure.
CComPtr<IBaseFilter> CreateVideoRenderer(const VideoRenderer& renderer);
