#include "Connection.h"
#include "AllocatorText.h"
#include "Failure.h"
#include "FilterGraph.h"
#include "MediaType.h"
#include "PictureCheck.h"
#include <cstdio>

VideoFormat PrintConnection(IBaseFilter* source, IBaseFilter* sink, const std::string& picture,
                            const std::string& sinkName)
{
    const CComPtr<IPin> input = FindPin(sink, PINDIR_INPUT);
    if (!input)
        throw Failure("the sink has no input pin");
    MediaType type;
    Check(input->ConnectionMediaType(type.Receive()), "the connection has no media type");
    VideoFormat format;
    if (!ReadVideoFormat(type.Get(), format))
        throw Failure("the agreed media type is no video type that this program reads");
    std::printf("picture     %s\n", picture.empty() ? "bars" : picture.c_str());
    std::printf("media type  %s\n", Describe(format).c_str());
    std::printf("allocator   %s\n", DescribeAllocator(source, input).c_str());
    std::printf("sink        %s\n", sinkName.c_str());
    const std::string warning = ConversionWarning(FromUtf8(picture), format.subtype);
    if (!warning.empty())
        std::printf("warning     %s\n", warning.c_str());
    std::fflush(stdout);
    return format;
}

void PrintUnshownEntries(const std::string& picture, size_t frames)
{
    PictureCheck check;
    for (const std::string& line : FindUnshownEntries(FromUtf8(picture), frames, check))
        std::printf("not shown   %s\n", line.c_str());
    std::fflush(stdout);
}
