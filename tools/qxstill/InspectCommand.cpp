#include "Commands.h"
#include "FilterGraph.h"
#include "Connection.h"
#include "Failure.h"
#include "HResultText.h"
#include "PictureNames.h"
#include "QXStillSource.h"
#include "VideoFormat.h"
#include "dstl/dshowx/DSTypes.h"
#include <cstdio>

namespace
{
struct NamedInterface
{
    const char* name;
    const IID& iid;
};

const NamedInterface g_filterInterfaces[] = {
    {"IPersist", IID_IPersist},
    {"IMediaFilter", IID_IMediaFilter},
    {"IBaseFilter", IID_IBaseFilter},
    {"IFileSourceFilter", IID_IFileSourceFilter},
    {"IQXStillSource", __uuidof(IQXStillSource)},
    {"IAMFilterMiscFlags", IID_IAMFilterMiscFlags},
    {"IMediaSeeking", IID_IMediaSeeking},
    {"IMediaPosition", IID_IMediaPosition},
    {"ISpecifyPropertyPages", IID_ISpecifyPropertyPages},
    {"IDispatch", IID_IDispatch},
};

const NamedInterface g_pinInterfaces[] = {
    {"IPin", IID_IPin},
    {"IAMStreamConfig", IID_IAMStreamConfig},
    {"IMediaSeeking", IID_IMediaSeeking},
    {"IQualityControl", IID_IQualityControl},
    {"ISpecifyPropertyPages", IID_ISpecifyPropertyPages},
    {"IKsPropertySet", IID_IKsPropertySet},
    {"IMemInputPin", IID_IMemInputPin},
};

template <class T>
CComPtr<T> Ask(IUnknown* object)
{
    CComPtr<T> result;
    object->QueryInterface(__uuidof(T), reinterpret_cast<void**>(&result));
    return result;
}

template <size_t count>
void PrintInterfaces(IUnknown* object, const NamedInterface (&interfaces)[count])
{
    std::string has;
    std::string lacks;
    for (const NamedInterface& named : interfaces)
    {
        CComPtr<IUnknown> found;
        std::string& list =
            SUCCEEDED(object->QueryInterface(named.iid, reinterpret_cast<void**>(&found))) ? has : lacks;
        list += (list.empty() ? "" : ", ") + std::string(named.name);
    }
    std::printf("  interfaces  %s\n", has.c_str());
    std::printf("  without     %s\n", lacks.c_str());
}

std::string GuidText(const GUID& guid)
{
    wchar_t text[64] = {};
    StringFromGUID2(guid, text, 64);
    return ToUtf8(text);
}

std::string Name(const wchar_t* const* names, long value)
{
    for (long i = 0; names[i]; ++i)
    {
        if (i == value)
            return ToUtf8(names[i]);
    }
    return std::to_string(value);
}

void PrintProperties(IBaseFilter* source)
{
    const CComPtr<IFileSourceFilter> file = Ask<IFileSourceFilter>(source);
    COwnedTask<OLECHAR> name;
    if (file && SUCCEEDED(file->GetCurFile(name.Out(), nullptr)))
        std::printf("  picture     \"%s\"\n", ToUtf8(name.Get()).c_str());
    const CComPtr<IQXStillSource> control = Ask<IQXStillSource>(source);
    if (!control)
        return;
    CComBSTR format;
    int width = 0;
    int height = 0;
    QG_VID_PROPS properties = {};
    Check(control->GetOutputFormat(&format, &width, &height), "the filter does not report its format");
    Check(control->GetOutputProps(&properties), "the filter does not report its properties");
    std::printf(
        "  asked for   format \"%s\", %d x %d, %g frames/s, aspect %s, shape %d:%d, fields %s (0: left to "
        "the picture)\n",
        ToUtf8(format ? static_cast<const wchar_t*>(format) : L"").c_str(), width, height, properties.dblRate,
        Name(arrKeepAspectNames, properties.eKeepAspect).c_str(), properties.nAspectX, properties.nAspectY,
        Name(arrInterlaceNames, properties.eInterlace).c_str());
}

void PrintTypes(IPin* pin)
{
    CComPtr<IEnumMediaTypes> types;
    Check(pin->EnumMediaTypes(&types), "the pin does not report its media types");
    for (int count = 0;; ++count)
    {
        COwnedMediaType type;
        if (types->Next(1, type.Out(), nullptr) != S_OK)
        {
            if (count == 0)
                std::printf(
                    "  offers      nothing: the format and the size that were asked for do not fit\n");
            return;
        }
        VideoFormat format;
        const bool isRead = ReadVideoFormat(*type.Get(), format);
        std::printf("  offers      %s\n",
                    isRead ? Describe(format).c_str() : "a type that this program does not read");
    }
}

// Every fourth index: the four of a format are the same.
void PrintCapabilities(IPin* pin)
{
    const CComPtr<IAMStreamConfig> config = Ask<IAMStreamConfig>(pin);
    int count = 0;
    int size = 0;
    if (!config || FAILED(config->GetNumberOfCapabilities(&count, &size)) ||
        size != sizeof(VIDEO_STREAM_CONFIG_CAPS))
        return;
    std::printf("  can do      %d entries:", count);
    std::string last;
    for (int i = 0; i < count; ++i)
    {
        COwnedMediaType next;
        VIDEO_STREAM_CONFIG_CAPS caps = {};
        if (config->GetStreamCaps(i, next.Out(), reinterpret_cast<BYTE*>(&caps)) != S_OK)
            continue;
        const std::string name = SubtypeName(next.Get()->subtype);
        if (name != last)
            std::printf(" %s", name.c_str());
        last = name;
    }
    std::printf("\n");
}

void PrintSeeking(IPin* pin)
{
    const CComPtr<IMediaSeeking> seeking = Ask<IMediaSeeking>(pin);
    if (!seeking)
        return;
    DWORD capabilities = 0;
    LONGLONG current = 0;
    LONGLONG stop = 0;
    LONGLONG duration = 0;
    Check(seeking->GetCapabilities(&capabilities), "the pin does not report what it can seek");
    Check(seeking->GetPositions(&current, &stop), "the pin does not report its position");
    Check(seeking->GetDuration(&duration), "the pin does not report its length");
    std::printf("  seeking     capabilities 0x%lX, at %.3f s, to %.3f s, %.3f s long\n", capabilities,
                static_cast<double>(current) / 1e7, static_cast<double>(stop) / 1e7,
                static_cast<double>(duration) / 1e7);
}

void PrintPages(IPin* pin)
{
    const CComPtr<ISpecifyPropertyPages> pages = Ask<ISpecifyPropertyPages>(pin);
    CAUUID list = {};
    if (!pages || FAILED(pages->GetPages(&list)))
        return;
    const COwnedTask<GUID> identifiers(list.pElems);
    for (ULONG i = 0; i < list.cElems; ++i)
        std::printf("  page        %s\n", GuidText(list.pElems[i]).c_str());
}

void PrintPin(IPin* pin)
{
    PIN_INFO info = {};
    Check(pin->QueryPinInfo(&info), "a pin does not describe itself");
    CComPtr<IBaseFilter>().Attach(info.pFilter); // only released
    COwnedTask<WCHAR> id;
    Check(pin->QueryId(id.Out()), "a pin does not report its identifier");
    std::printf("pin \"%s\", %s, identifier \"%s\"\n", ToUtf8(info.achName).c_str(),
                info.dir == PINDIR_OUTPUT ? "output" : "input", ToUtf8(id.Get()).c_str());
    PrintInterfaces(pin, g_pinInterfaces);
    PrintTypes(pin);
    PrintCapabilities(pin);
    PrintSeeking(pin);
    PrintPages(pin);
}

void Inspect(const SourceOptions& options)
{
    const CComPtr<IBaseFilter> source = CreateSource();
    SetUpSource(source, options);
    CLSID clsid = {};
    Check(source->GetClassID(&clsid), "the filter does not report its class");
    std::printf("filter %s\n", GuidText(clsid).c_str());
    PrintInterfaces(source, g_filterInterfaces);
    PrintProperties(source);
    PrintUnshownEntries(options.picture, SIZE_MAX);

    CComPtr<IEnumPins> pins;
    Check(source->EnumPins(&pins), "the filter does not report its pins");
    for (;;)
    {
        CComPtr<IPin> pin;
        if (pins->Next(1, &pin, nullptr) != S_OK)
            return;
        PrintPin(pin);
    }
}
} // namespace

void RunInspect(const SourceOptions& options)
{
    const ComApartment com(COINIT_MULTITHREADED);
    Inspect(options);
}
