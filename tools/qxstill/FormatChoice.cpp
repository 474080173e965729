#include "FormatChoice.h"
#include "FilterGraph.h"
#include "MediaType.h"
#include <cstdio>

namespace
{
bool ReadOffer(IBaseFilter* source, VideoFormat& format)
{
    CComPtr<IEnumMediaTypes> types;
    const CComPtr<IPin> output = FindPin(source, PINDIR_OUTPUT);
    if (!output || FAILED(output->EnumMediaTypes(&types)))
        return false;
    AM_MEDIA_TYPE* type = nullptr;
    if (types->Next(1, &type, nullptr) != S_OK)
        return false;
    const bool isRead = ReadVideoFormat(*type, format);
    MediaType::Delete(type);
    return isRead;
}

std::string SizeText(const FrameSize& size)
{
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}
} // namespace

bool ChooseFormat(IBaseFilter* source, const SourceOptions& options, const std::vector<std::string>& others,
                  const std::string& taker, const std::function<bool(const VideoFormat&)>& accepts)
{
    VideoFormat format;
    const bool hasOwn = ReadOffer(source, format);
    if (!hasOwn && !options.format.empty())
        throw Failure("the filter has no frames in format \"" + options.format + "\" and size " +
                      SizeText(options.size) +
                      " (0: the picture's); YUV needs an even width, I420 and YV12 an even height too, and "
                      "\"qxstill inspect\" lists the formats");
    if (hasOwn && accepts(format))
        return true;
    if (!options.format.empty())
        return false;
    const std::string reason = hasOwn ? taker + " does not take " + SubtypeName(format.subtype)
                                      : "the picture's own has no frames of " + SizeText(options.size);
    for (const std::string& other : others)
    {
        SetFormat(source, other, options.size);
        if (!ReadOffer(source, format) || !accepts(format))
            continue;
        std::printf("format      %s, as %s\n", other.c_str(), reason.c_str());
        return true;
    }
    SetFormat(source, options.format, options.size);
    return false;
}
