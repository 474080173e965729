#pragma once
/// The filter under its registered name, and what the commands can ask of it.

#include "OptionValues.h"
#include "VideoFormat.h"
#include <atlbase.h>
#include <dshow.h>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// What a command line asks of the filter. Texts are UTF-8; what is empty or 0 is left to the filter.
struct SourceOptions
{
    std::string picture; ///< what to show: a file, or any other name that the filter knows
    std::string format;  ///< pixel format
    FrameSize size;
    double rate = 0; ///< frames a second
    std::optional<eQGKeepAspect> aspect;
    AspectRatio pictureShape; ///< the frame's aspect ratio on the screen
    std::optional<eQGInterlace> fields;
};

/// A new filter by its registered name. Throws Failure, which says how to register it where it is not.
CComPtr<IBaseFilter> CreateSource();

/// Sets what is asked for, the picture last. Throws Failure, which says why a picture is not shown.
void SetUpSource(IBaseFilter* source, const SourceOptions& options);

/// Asks for a pixel format, an empty name being the picture's own, and a size. Throws Failure.
void SetFormat(IBaseFilter* source, const std::string& name, const FrameSize& size);

/// Has the unconnected source offer a format that is accepted. With --format it is that one and no other.
/// Otherwise the picture's own comes first and then the others in their order; a line says which of these and
/// why. Throws Failure where there are no frames in what was asked for, as for an odd width in UYVY.
/// @param taker who accepts, in words: "the Video Renderer"
/// @param accepts is asked while the source offers the format
/// @return false if none was accepted; the source then offers what it did before
bool ChooseFormat(IBaseFilter* source, const SourceOptions& options, const std::vector<std::string>& others,
                  const std::string& taker, const std::function<bool(const VideoFormat&)>& accepts);
