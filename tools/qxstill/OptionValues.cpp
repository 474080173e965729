#include "OptionValues.h"
#include "PictureNames.h"
#include <charconv>
#include <climits>
#include <cmath>

namespace
{
// Two whole numbers with a character between, and nothing around them.
bool ReadPair(const std::string& text, char separator, int& first, int& second)
{
    const char* const end = text.data() + text.size();
    const auto head = std::from_chars(text.data(), end, first);
    if (head.ec != std::errc() || head.ptr == end || *head.ptr != separator)
        return false;
    const auto tail = std::from_chars(head.ptr + 1, end, second);
    return tail.ec == std::errc() && tail.ptr == end;
}

[[noreturn]] void Refuse(const char* what, const std::string& text, const std::string& expected)
{
    throw UsageError("invalid " + std::string(what) + " \"" + text + "\": expected " + expected);
}

// The number of a word in a list that ends with a null pointer.
template <class Enum>
Enum FindWord(const wchar_t* const* words, const char* what, const std::string& text)
{
    std::string known;
    for (int i = 0; words[i]; ++i)
    {
        const std::string word = ToUtf8(words[i]);
        if (text == word)
            return static_cast<Enum>(i);
        known += (i == 0 ? "" : words[i + 1] ? ", " : " or ") + word;
    }
    Refuse(what, text, known);
}
} // namespace

FrameSize ParseFrameSize(const std::string& text)
{
    FrameSize size;
    if (!ReadPair(text, 'x', size.width, size.height) || size.width < 0 || size.height == INT_MIN)
        Refuse("size", text, "WIDTHxHEIGHT, for example 1280x720");
    return size;
}

FrameSize ParseWindowSize(const std::string& text)
{
    FrameSize size;
    if (!ReadPair(text, 'x', size.width, size.height) || size.width <= 0 || size.height <= 0)
        Refuse("window size", text, "WIDTHxHEIGHT, for example 1280x720");
    return size;
}

POINT ParsePosition(const std::string& text)
{
    int x = 0;
    int y = 0;
    if (!ReadPair(text, ',', x, y))
        Refuse("position", text, "X,Y, for example 100,50");
    return {x, y};
}

AspectRatio ParseAspectRatio(const std::string& text)
{
    const auto fits = [](int part) { return part > 0 && part <= SHRT_MAX; };
    int x = 0;
    int y = 0;
    if (!ReadPair(text, ':', x, y) || !fits(x) || !fits(y))
        Refuse("aspect ratio", text, "X:Y, for example 16:9");
    return {static_cast<short>(x), static_cast<short>(y)};
}

eQGKeepAspect ParseKeepAspect(const std::string& text)
{
    return FindWord<eQGKeepAspect>(arrKeepAspectNames, "aspect mode", text);
}

eQGInterlace ParseFieldOrder(const std::string& text)
{
    return FindWord<eQGInterlace>(arrInterlaceNames, "order of fields", text);
}

double ParseFrameRate(const std::string& text)
{
    constexpr double g_slowest = 0.001;
    constexpr double g_fastest = 1e7;
    double rate = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, rate);
    if (read.ec != std::errc() || read.ptr != end || !(rate >= g_slowest && rate <= g_fastest))
        Refuse("frame rate", text, "0.001 to 10000000 frames a second, for example 29.97");
    return rate;
}
