#include "Connection.h"
#include "Failure.h"
#include "FilterGraph.h"
#include "HResultText.h"
#include "PictureCheck.h"
#include "dstl/dshowx/DSTypes.h"
#include <cstdio>
#include <filesystem>

namespace
{
// The file name of the module whose code an object runs.
std::wstring ModuleOf(IUnknown* object)
{
    // An object begins with the address of its table of operations, which lies in the module that made it.
    const void* table = *reinterpret_cast<const void* const*>(object);
    HMODULE module = nullptr;
    wchar_t path[MAX_PATH] = {};
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<const wchar_t*>(table), &module) ||
        GetModuleFileNameW(module, path, MAX_PATH) == 0)
        return {};
    return std::filesystem::path(path).filename().wstring();
}

// "internal (made by QXStillSource.dll), 2 buffers of ...". A pin does not tell whose allocator it uses, but
// the input pin behind it knows the object, and the module that made the object tells: the filter's own
// module, or another.
// @param source the filter that sends
// @param input the connected pin that it sends to
std::string DescribeAllocator(IBaseFilter* source, IPin* input)
{
    CComPtr<IMemInputPin> memInput;
    CComPtr<IMemAllocator> allocator;
    HRESULT hr = input->QueryInterface(IID_IMemInputPin, reinterpret_cast<void**>(&memInput));
    if (SUCCEEDED(hr))
        hr = memInput->GetAllocator(&allocator);
    if (FAILED(hr))
        return "the input pin does not tell: " + HResultText(hr);

    const std::wstring module = ModuleOf(allocator);
    const bool isInternal = module == ModuleOf(source);
    std::string text =
        std::string(isInternal ? "internal" : "downstream") + " (made by " + ToUtf8(module) + ")";
    ALLOCATOR_PROPERTIES properties = {};
    if (SUCCEEDED(allocator->GetProperties(&properties)))
    {
        char numbers[128] = {};
        std::snprintf(numbers, sizeof(numbers), ", %ld buffers of %ld bytes, alignment %ld, prefix %ld",
                      properties.cBuffers, properties.cbBuffer, properties.cbAlign, properties.cbPrefix);
        text += numbers;
    }
    return text;
}
} // namespace

VideoFormat PrintConnection(IBaseFilter* source, IBaseFilter* sink, const std::string& picture,
                            const std::string& sinkName)
{
    const CComPtr<IPin> input = FindPin(sink, PINDIR_INPUT);
    if (!input)
        throw Failure("the sink has no input pin");
    CMType type;
    Check(input->ConnectionMediaType(&type), "the connection has no media type");
    VideoFormat format;
    if (!ReadVideoFormat(type, format))
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
