// qxstill: a host for the still-picture source filter on the command line.

#include "dstl/WinAPI/Platform.h"
#include "Commands.h"
#include <CLI/CLI.hpp>
#include <shellapi.h>
#include <fcntl.h>
#include <io.h>
#include <cstdio>

namespace
{
constexpr int g_exitFailed = 1;
constexpr int g_exitUsage = 2;

// The arguments in UTF-8, last one first, as the parser wants them; without the program's name.
std::vector<std::string> Arguments()
{
    int count = 0;
    const COwnedLocal<wchar_t*> wide(CommandLineToArgvW(GetCommandLineW(), &count));
    std::vector<std::string> arguments;
    for (int i = count - 1; wide && i > 0; --i)
        arguments.push_back(ToUtf8(wide.Get()[i]));
    return arguments;
}

// An option whose text is read by a function of OptionValues.h.
template <class T, class Value>
CLI::Option* AddParsed(CLI::App* command, const char* name, T& target, Value (*parse)(const std::string&),
                       const char* help)
{
    return command
        ->add_option_function<std::string>(
            name, [&target, parse](const std::string& text) { target = parse(text); }, help)
        ->take_last();
}

// What all commands that use the filter have in common.
void AddSource(CLI::App* command, SourceOptions& options)
{
    command->footer("The filter has to be registered: regsvr32 QXStillSource.dll");
    command->add_option("--picture", options.picture,
                        "Picture file, or any other name that the filter knows (default: bars)");
    command->add_option(
        "--format", options.format,
        "Pixel format to ask for, as RGB32 or UYVY (default: the picture's, or another that the "
        "sink takes)");
    AddParsed(command, "--size", options.size, ParseFrameSize,
              "Frame size to ask for, as 720x576 (default: the picture's)");
    AddParsed(command, "--rate", options.rate, ParseFrameRate, "Frames a second to ask for (default: 25)");
    AddParsed(command, "--aspect", options.aspect, ParseKeepAspect,
              "Picture and frame of different shapes: none (stretched), letter-box, crop, or default: "
              "letter-box where both width and height differ (default: crop)");
    AddParsed(command, "--shape", options.pictureShape, ParseAspectRatio,
              "Aspect ratio of the frame on the screen, as 16:9 (default: the pixels are square)");
    AddParsed(command, "--fields", options.fields, ParseFieldOrder,
              "Order of fields to announce: auto, top, bottom or progressive (default: auto)");
}

// The end of a graph that takes frames.
void AddFrameEnd(CLI::App* command, std::string& sink, double& timeout)
{
    command
        ->add_option("--sink", sink,
                     "End of the graph: the platform's sample grabber and null renderer, the sink of this "
                     "program, or auto: the first, and the second where the first does not connect")
        ->check(CLI::IsMember({"auto", "platform", "own"}))
        ->capture_default_str();
    command->add_option("--timeout", timeout, "Seconds without a frame after which to give up")
        ->check(CLI::Range(0.1, 86400.0))
        ->capture_default_str();
}

void AddGrab(CLI::App& app, GrabOptions& options)
{
    CLI::App* grab = app.add_subcommand(
        "grab",
        "Show a picture through the filter in a filter graph; write the frames that come out as BMP files.");
    AddSource(grab, options.source);
    grab->get_option("--picture")->required();
    grab->add_option("--out", options.out, "Folder for the frames; made if missing")->required();
    grab->add_option("--frames", options.frames, "How many frames")
        ->check(CLI::Range(1L, 1000000L))
        ->capture_default_str();
    AddFrameEnd(grab, options.sink, options.timeout);
    grab->final_callback([&options] { RunGrab(options); });
}

void AddRecord(CLI::App& app, RecordOptions& options)
{
    CLI::App* record = app.add_subcommand(
        "record", "Write frames to an AVI file, uncompressed, through the platform's AVI mux.\n"
                  "Ctrl+C ends it: the file then has the frames up to there, and the exit code is 1.");
    AddSource(record, options.source);
    record->add_option("--out", options.out, "File to write; it appears when it is whole")->required();
    record->add_flag("--force", options.force,
                     "Write over an existing file, but never over a picture to record");
    record->add_option("--frames", options.frames, "How many frames")
        ->check(CLI::Range(2L, 1000000L))
        ->capture_default_str();
    record->add_option("--timeout", options.timeout, "Seconds without progress after which to give up")
        ->check(CLI::Range(0.1, 86400.0))
        ->capture_default_str();
    record->final_callback([&options] { RunRecord(options); });
}

void AddShow(CLI::App& app, ShowOptions& options)
{
    CLI::App* show =
        app.add_subcommand("show", "Show a picture in the window of one of the platform's renderers.");
    AddSource(show, options.source);
    std::vector<std::string> renderers;
    for (const VideoRenderer& renderer : VideoRenderers())
        renderers.push_back(renderer.name);
    show->add_option("--renderer", options.renderer, "The renderer")
        ->check(CLI::IsMember(renderers))
        ->capture_default_str();
    show->add_option("--seconds", options.seconds, "How long; 0: until the window is closed")
        ->check(CLI::Range(0.0, 1e6))
        ->capture_default_str();
    AddParsed(show, "--window", options.window, ParseWindowSize,
              "Size of the picture's area, as 720x576 (default: the frame's)");
    AddParsed(show, "--position", options.position, ParsePosition,
              "The window's upper left corner, as 100,50");
    show->add_flag("--borderless", options.borderless, "A window without frame and title");
    AddParsed(show, "--then-rate", options.then, ParseFrameRate,
              "Halfway, stop, change to that many frames a second without disconnecting, then resume");
    show->final_callback([&options] { RunShow(options); });
}

void AddInspect(CLI::App& app, SourceOptions& options)
{
    CLI::App* inspect = app.add_subcommand("inspect", "Print interfaces, properties, pins, media types and "
                                                      "capabilities of the filter as a host sees them.");
    AddSource(inspect, options);
    inspect->final_callback([&options] { RunInspect(options); });
}

void AddTime(CLI::App& app, TimeOptions& options)
{
    CLI::App* time =
        app.add_subcommand("time", "Count the frames that come through a graph without a clock in a second.");
    AddSource(time, options.source);
    time->add_option("--frames", options.frames, "How many frames")
        ->check(CLI::Range(2L, 100000000L))
        ->capture_default_str();
    AddFrameEnd(time, options.sink, options.timeout);
    time->final_callback([&options] { RunTime(options); });
}

void AddChart(CLI::App& app, ChartOptions& options)
{
    CLI::App* chart = app.add_subcommand("chart", "Draw a test chart into a TGA file.");
    chart->add_option("--out", options.out, "File to write")->required();
    chart->add_option("--width", options.width, "Pixels")->check(CLI::Range(1, 65535))->capture_default_str();
    chart->add_option("--height", options.height, "Pixels")
        ->check(CLI::Range(1, 65535))
        ->capture_default_str();
    chart->add_option("--bits", options.bits, "Bits a pixel: 24, or 32 with a ramp of transparency")
        ->check(CLI::IsMember({24, 32}))
        ->capture_default_str();
    chart->add_flag("--rle", options.runLength, "Run-length encoded");
    chart->add_flag("--top", options.topOrigin, "Rows stored from the top");
    chart->final_callback([&options] { RunChart(options); });
}

void AddLog(CLI::App& app, LogTailOptions& options)
{
    CLI::App* log = app.add_subcommand("log", "Switch the filter's log on and off, and show it.");
    log->require_subcommand(1);
    log->footer(
        "QXLOG_FILE names another file than qxlog64.log in the folder for temporary files; QXLOG_SIZE\n"
        "tells from how many KiB on a new one is begun. The environment of the filter's host counts.");
    log->add_subcommand("on", "Write a log from now on")->final_callback(RunLogOn);
    log->add_subcommand("off", "Write none")->final_callback(RunLogOff);
    log->add_subcommand("where", "Tell which log DLL writes where, and whether it can")
        ->final_callback(RunLogWhere);
    CLI::App* tail = log->add_subcommand("tail", "Show the last lines of the log");
    tail->add_option("-n,--lines", options.lines, "How many lines")
        ->check(CLI::Range(size_t{0}, size_t{1000000}))
        ->capture_default_str();
    tail->add_flag("-f,--follow", options.follow, "Go on with what is written, until interrupted (Ctrl+C)");
    tail->final_callback([&options] { RunLogTail(options); });
}

// A message of the parser on one line.
std::string OneLine(std::string text)
{
    for (char& c : text)
    {
        if (c == '\n' || c == '\r')
            c = ' ';
    }
    return text;
}
} // namespace

int main()
{
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);

    CLI::App app("A host for the still-picture source filter QXStillSource.", "qxstill");
    app.require_subcommand(1);
    app.footer("Exit code: 0 success, 1 failure or Ctrl+C while recording, 2 wrong command line.");
    ShowOptions show;
    GrabOptions grab;
    RecordOptions record;
    SourceOptions inspect;
    TimeOptions time;
    ChartOptions chart;
    AddShow(app, show);
    AddGrab(app, grab);
    AddRecord(app, record);
    AddInspect(app, inspect);
    AddTime(app, time);
    AddChart(app, chart);
    LogTailOptions logTail;
    AddLog(app, logTail);
    try
    {
        app.parse(Arguments());
        return 0;
    }
    catch (const CLI::ParseError& error)
    {
        if (error.get_exit_code() == 0)
            return app.exit(error); // help was asked for
        std::fprintf(stderr, "qxstill: %s (qxstill --help tells the usage)\n", OneLine(error.what()).c_str());
        return g_exitUsage;
    }
    catch (const UsageError& error)
    {
        std::fprintf(stderr, "qxstill: %s\n", error.what());
        return g_exitUsage;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "qxstill: %s\n", error.what());
        return g_exitFailed;
    }
}
