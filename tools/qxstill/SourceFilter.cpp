#include "SourceFilter.h"
#include "Failure.h"
#include "QXStillSource.h"
#include <cstdio>

namespace
{
constexpr wchar_t g_progId[] = L"QXStillSource.CoQXStillSource";

// The number of a word in a list; throws Failure for another word.
template <class Enum, size_t count>
Enum FindWord(const char* const (&words)[count], const std::string& word, const char* what)
{
    std::string known;
    for (size_t i = 0; i < count; ++i)
    {
        if (word == words[i])
            return static_cast<Enum>(i);
        known += (i == 0 ? "" : ", ") + std::string(words[i]);
    }
    throw Failure("\"" + word + "\" is no " + what + "; known are " + known);
}

// In the order of eQGKeepAspect and eQGInterlace.
constexpr const char* g_aspects[] = {"default", "none", "letter-box", "crop"};
constexpr const char* g_fields[] = {"auto", "top", "bottom", "progressive"};

// Two numbers with a character between, and nothing behind them.
bool ReadPair(const std::string& text, const char* pattern, int& first, int& second)
{
    char rest = 0;
    return std::sscanf(text.c_str(), pattern, &first, &second, &rest) == 2;
}

bool FitsShort(int value)
{
    return value > 0 && value <= 32767;
}

void SetProperties(IQXStillSource* control, const SourceOptions& options)
{
    if (options.aspect.empty() && options.pictureShape.empty() && options.fields.empty())
        return;
    QG_VID_PROPS properties = {};
    Check(control->GetOutputProps(&properties), "the filter does not tell its properties");
    if (!options.aspect.empty())
        properties.eKeepAspect = FindWord<eQGKeepAspect>(g_aspects, options.aspect, "aspect mode");
    if (!options.fields.empty())
        properties.eInterlace = FindWord<eQGInterlace>(g_fields, options.fields, "order of fields");
    if (!options.pictureShape.empty())
    {
        int x = 0;
        int y = 0;
        if (!ReadPair(options.pictureShape, "%d:%d%c", x, y) || !FitsShort(x) || !FitsShort(y))
            throw Failure("\"" + options.pictureShape + "\" is no aspect ratio: X:Y is expected, as 16:9");
        properties.nAspectX = static_cast<short>(x);
        properties.nAspectY = static_cast<short>(y);
    }
    Check(control->SetOutputProps(&properties), "the filter refuses the properties");
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

void SetUpSource(IBaseFilter* source, const SourceOptions& options)
{
    CComPtr<IQXStillSource> control;
    Check(source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&control)),
          "the filter has no IQXStillSource");
    SetProperties(control, options);
    if (!options.format.empty() || !options.size.empty())
    {
        int width = 0;
        int height = 0;
        if (!options.size.empty() && !ReadPair(options.size, "%dx%d%c", width, height))
            throw Failure("\"" + options.size + "\" is no size: WIDTHxHEIGHT is expected");
        Check(control->SetOutputFormat(CComBSTR(FromUtf8(options.format).c_str()), width, height),
              "the filter refuses the format");
    }
    if (options.rate > 0)
        Check(control->SetFrameRate(options.rate), "the filter refuses the frame rate");
    if (options.picture.empty())
        return; // a new filter shows bars
    const HRESULT hr = control->SetPicture(CComBSTR(FromUtf8(options.picture).c_str()));
    if (FAILED(hr))
        throw Failure("the filter cannot show \"" + options.picture + "\"", hr);
}
