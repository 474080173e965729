#include "AllocatorText.h"
#include "Failure.h"
#include "HResultText.h"
#include <atlbase.h>
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

} // namespace

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
