#pragma once
/// The filter under its registered name, and what the commands can ask of it.

#include "dstl/WinAPI/Platform.h"
#include <atlbase.h>
#include <dshow.h>
#include <string>

/// What a command line asks of the filter. All texts are UTF-8; what is empty or 0 is left to the filter.
struct SourceOptions
{
    std::string picture;      ///< what to show: a file, or any other name that the filter knows
    std::string format;       ///< pixel format
    std::string size;         ///< "WIDTHxHEIGHT"; a negative height asks for rows from the top
    double rate = 0;          ///< frames a second
    std::string aspect;       ///< "default", "none", "letter-box" or "crop"
    std::string pictureShape; ///< the frame's aspect ratio on the screen, "16:9"
    std::string fields;       ///< order of fields: "auto", "top", "bottom" or "progressive"
};

/// A new filter by its registered name. Throws Failure, which says how to register it where it is not.
CComPtr<IBaseFilter> CreateSource();

/// Sets what is asked for, the picture last. Throws Failure.
void SetUpSource(IBaseFilter* source, const SourceOptions& options);
