#pragma once
/// "qxstill show": a picture in the window of a renderer.

#include "SourceFilter.h"

struct ShowOptions
{
    SourceOptions source;
    std::string renderer = "video"; ///< a name of VideoRenderers
    double seconds = 5;             ///< how long; 0: until the window is closed
    FrameSize window;               ///< of the picture's area; 0: the frame's size
    std::optional<POINT> position;  ///< of the window's upper left corner; without it the platform's choice
    bool borderless = false;        ///< no frame and no title
    double then = 0; ///< the frame rate to change to halfway, while the graph is stopped; 0: none
};

/// Throws Failure.
void RunShow(const ShowOptions& options);
