#pragma once
/// The commands of the program: what the command line asks of each, and the function that does it. Each throws
/// Failure. Texts are UTF-8.

#include "OutputFile.h"
#include "SourceFilter.h"
#include "StreamFile.h"
#include <vector>

/// "qxstill show": a picture in the window of a renderer.
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
void RunShow(const ShowOptions& options);

/// One of the platform's renderers.
struct VideoRenderer
{
    const char* name;  ///< on the command line
    const char* title; ///< in words
    const CLSID& clsid;
};
/// All that are known, in the order in which a user would try them.
const std::vector<VideoRenderer>& VideoRenderers();
/// Makes the renderer, which draws into a window of its own.
CComPtr<IBaseFilter> CreateVideoRenderer(const VideoRenderer& renderer);

/// "qxstill grab": shows a picture through the filter in a graph and writes the frames that come out.
struct GrabOptions
{
    SourceOptions source;
    std::string out;           ///< the folder for the frames; made if missing
    long frames = 1;           ///< how many
    std::string sink = "auto"; ///< "auto", "platform" or "own"
    double timeout = 20;       ///< seconds without a frame after which to give up
};
void RunGrab(const GrabOptions& options);

/// "qxstill record": writes frames to an AVI file through the platform's AVI mux.
struct RecordOptions
{
    SourceOptions source;
    std::string out;     ///< the AVI file
    bool force = false;  ///< an existing file is written over, unless it is one of the pictures
    long frames = 100;   ///< how many; at least 2
    double timeout = 20; ///< seconds without progress after which to give up
};
/// A failure leaves no file, but an interruption leaves one with the frames up to it.
void RunRecord(const RecordOptions& options);
/// The same with a filter that is given, in an apartment that there is.
/// @param interrupted an event that ends the recording early
/// @param write writes the file's bytes
void Record(IBaseFilter* source, const RecordOptions& options, HANDLE interrupted,
            const WriteBytes& write = WriteToFile);

/// "qxstill inspect": the filter and its pin as a host sees them: interfaces, properties, pins, media types and
/// capabilities. An empty picture leaves the filter as it is made.
void RunInspect(const SourceOptions& options);

/// "qxstill time": how fast the filter delivers frames.
struct TimeOptions
{
    SourceOptions source;
    long frames = 1000;
    std::string sink = "auto"; ///< "auto", "platform" or "own"
    double timeout = 20;       ///< seconds without a frame after which to give up
};
void RunTime(const TimeOptions& options);

/// "qxstill chart": draws the test chart into a file.
struct ChartOptions
{
    std::string out;  ///< the TGA file to write
    int width = 640;  ///< pixels, 1 to 65535
    int height = 360; ///< pixels, 1 to 65535
    int bits = 24;    ///< a pixel: 24, or 32 with a ramp of transparency
    bool runLength = false;
    bool topOrigin = false;
};
void RunChart(const ChartOptions& options);

/// "qxstill log": switches the filter's log on and off, and shows it.
struct LogTailOptions
{
    size_t lines = 20;   ///< how many of the last lines
    bool follow = false; ///< go on until the program is interrupted
};
void RunLogOn();
void RunLogOff();
void RunLogWhere();
void RunLogTail(const LogTailOptions& options);
