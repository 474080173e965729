#pragma once
/// Why a picture is not shown. The filter's result says that one of several readers has failed, or the first
/// of several names; this says which.

#include "SourceFilter.h"
#include <functional>
#include <string>
#include <vector>

/// Tries the filter's readers on single names.
class PictureCheck
{
public:
    /// @param makeFilter makes a filter that can be asked about names that are no files
    explicit PictureCheck(std::function<CComPtr<IBaseFilter>()> makeFilter = CreateSource);
    ~PictureCheck();
    PictureCheck(const PictureCheck&) = delete;
    PictureCheck& operator=(const PictureCheck&) = delete;

    /// @return why the name is not shown; empty if it is
    std::string Try(const std::wstring& name);

private:
    // Whether the filter shows something of that name though there is no such file.
    bool IsKnownName(const std::wstring& name);

    const std::function<CComPtr<IBaseFilter>()> m_makeFilter;
    ULONG_PTR m_gdiPlus = 0;
    CComPtr<IBaseFilter> m_filter; // shows nothing; made when one is asked about
};

/// The names that a picture's name stands for: the files of a folder, the entries of a list, or the name
/// itself.
std::vector<std::wstring> ExpandPictureName(const std::wstring& picture);

/// The sentence for a SetPicture that has failed: which name, which reader, why, and what to try.
std::string ExplainSetPicture(const std::wstring& picture, HRESULT hr, PictureCheck& check);

/// Which of the first `count` entries of a list are not shown and why, one line for each. A single name has
/// none.
std::vector<std::string> FindUnshownEntries(const std::wstring& picture, size_t count, PictureCheck& check);

/// What to say about a connection whose type no picture of that name converts to; empty where it does.
std::string ConversionWarning(const std::wstring& picture, const GUID& subtype);
