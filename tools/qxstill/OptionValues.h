#pragma once
/// Values of options that are neither a plain number nor a word of the parser's own lists.

#include "dstl/WinAPI/Platform.h"
#include "Failure.h"
#include "QXStillSource.h"
#include <string>

/// An option's value that cannot be meant. Ends the program as any other wrong command line does.
class UsageError : public Failure
{
public:
    using Failure::Failure;
};

/// Pixels. A side of 0 is left to the picture; a negative height asks for rows from the top.
struct FrameSize
{
    int width = 0;
    int height = 0;
};

/// "1280x720". Throws UsageError, as all of these do.
FrameSize ParseFrameSize(const std::string& text);

/// The same for an area on the screen: both sides are positive.
FrameSize ParseWindowSize(const std::string& text);

/// "100,50": the upper left corner of a window. Negative values lie left of and above the first screen.
POINT ParsePosition(const std::string& text);

/// "16:9", each part 1 to 32767.
struct AspectRatio
{
    short x = 0;
    short y = 0;
};
AspectRatio ParseAspectRatio(const std::string& text);

/// The words of arrKeepAspectNames and arrInterlaceNames.
eQGKeepAspect ParseKeepAspect(const std::string& text);
eQGInterlace ParseFieldOrder(const std::string& text);

/// Frames a second, from one in 1000 seconds to one in the shortest time that a media type can state, 100 ns.
double ParseFrameRate(const std::string& text);
