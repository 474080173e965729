#pragma once
/// The filter under its registered name, and what the commands can ask of it.

#include "OptionValues.h"
#include <atlbase.h>
#include <dshow.h>
#include <optional>
#include <string>

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
