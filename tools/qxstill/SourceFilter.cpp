#include "SourceFilter.h"
#include "Failure.h"
#include "FilterGraph.h"
#include "PictureCheck.h"
#include "dstl/dshowx/DSTypes.h"
#include <cstdio>

namespace
{
constexpr wchar_t g_progId[] = L"QXStillSource.CoQXStillSource";

CComPtr<IQXStillSource> ControlOf(IBaseFilter* source)
{
    CComPtr<IQXStillSource> control;
    Check(source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&control)),
          "the filter has no IQXStillSource");
    return control;
}

void SetProperties(IQXStillSource* control, const SourceOptions& options)
{
    const AspectRatio& shape = options.pictureShape;
    if (!options.aspect && shape.x == 0 && !options.fields)
        return;
    QG_VID_PROPS properties = {};
    Check(control->GetOutputProps(&properties), "the filter does not report its properties");
    properties.eKeepAspect = options.aspect.value_or(properties.eKeepAspect);
    properties.eInterlace = options.fields.value_or(properties.eInterlace);
    if (shape.x != 0)
    {
        properties.nAspectX = shape.x;
        properties.nAspectY = shape.y;
    }
    Check(control->SetOutputProps(&properties), "the filter rejects the properties");
}

bool ReadOffer(IBaseFilter* source, VideoFormat& format)
{
    CComPtr<IEnumMediaTypes> types;
    const CComPtr<IPin> output = FindPin(source, PINDIR_OUTPUT);
    if (!output || FAILED(output->EnumMediaTypes(&types)))
        return false;
    COwnedMediaType type;
    return types->Next(1, type.Out(), nullptr) == S_OK && ReadVideoFormat(*type.Get(), format);
}

std::string SizeText(const FrameSize& size)
{
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}
} // namespace

CComPtr<IBaseFilter> CreateSource()
{
    CLSID clsid = {};
    HRESULT hr = CLSIDFromProgID(g_progId, &clsid);
    CComPtr<IBaseFilter> source;
    if (SUCCEEDED(hr))
        hr = source.CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER);
    if (hr == CO_E_CLASSSTRING || hr == REGDB_E_CLASSNOTREG)
        throw Failure("the filter " + ToUtf8(g_progId) +
                          " is not registered; \"regsvr32 QXStillSource.dll\" registers it",
                      hr);
    if (FAILED(hr))
        throw Failure("the filter " + ToUtf8(g_progId) + " cannot be created", hr);
    return source;
}

void SetFormat(IBaseFilter* source, const std::string& name, const FrameSize& size)
{
    Check(ControlOf(source)->SetOutputFormat(CComBSTR(FromUtf8(name).c_str()), size.width, size.height),
          "the filter rejects the format");
}

void SetUpSource(IBaseFilter* source, const SourceOptions& options)
{
    const CComPtr<IQXStillSource> control = ControlOf(source);
    SetProperties(control, options);
    SetFormat(source, options.format, options.size);
    if (options.rate > 0)
        Check(control->SetFrameRate(options.rate), "the filter rejects the frame rate");
    if (options.picture.empty())
        return; // a new filter shows bars
    const std::wstring picture = FromUtf8(options.picture);
    const HRESULT hr = control->SetPicture(CComBSTR(picture.c_str()));
    if (FAILED(hr))
    {
        PictureCheck check;
        throw Failure(ExplainSetPicture(picture, hr, check));
    }
}

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
