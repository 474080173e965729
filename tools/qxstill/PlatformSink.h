#pragma once
/// The platform's end of a graph: its sample grabber, and its null renderer behind it.

#include "FrameReceiver.h"
#include <atlbase.h>
#include <dshow.h>

struct PlatformSink
{
    CComPtr<IBaseFilter> grabber;
    CComPtr<IBaseFilter> renderer;
    CComPtr<IUnknown> callback;
};

/// Makes the two filters and sets `receiver`, which has to outlive them, to take each sample. Fails with the
/// platform's result where one of the two is not to be had.
HRESULT CreatePlatformSink(FrameReceiver& receiver, PlatformSink& sink);
