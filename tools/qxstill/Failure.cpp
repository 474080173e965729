#include "Failure.h"
#include "HResultText.h"

std::string ToUtf8(std::wstring_view text)
{
    const int size = static_cast<int>(text.size());
    std::string result(
        static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr)),
        '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), size, result.data(), static_cast<int>(result.size()),
                        nullptr, nullptr);
    return result;
}

std::wstring FromUtf8(std::string_view text)
{
    const int size = static_cast<int>(text.size());
    std::wstring result(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0)),
                        L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), size, result.data(), static_cast<int>(result.size()));
    return result;
}

Failure::Failure(const std::string& what, HRESULT hr) : std::runtime_error(what + ": " + HResultText(hr)) {}

void Check(HRESULT hr, const char* what)
{
    if (FAILED(hr))
        throw Failure(what, hr);
}
