#include "PictureCheck.h"
#include "Failure.h"
#include "HResultText.h"
#include "VideoFormat.h"
#include "Video/TgaBmp/TgaBmp.h"
#include "dstl/Old/FileList.h"
#include "dstl/Old/GDIPlusFrames.h"
#include "dstl/WinAPI/TaskBytes.h"
#include "imgconverter/ConversionMatrix.h"
#include "imgconverter/ImgConverter.h"
#include <algorithm>
#include <cstdio>
#include <utility>

namespace
{
std::string Quoted(const std::wstring& name)
{
    std::string text = "\"";
    text += ToUtf8(name);
    text += '"';
    return text;
}

HRESULT ReadTga(const wchar_t* name)
{
    BITMAPINFOHEADER header = {};
    CTaskBytes pixels;
    return TgaBmpConv(name, FOURCC_ARGB32, &header, pixels.Out(), nullptr, false);
}

HRESULT ReadBmp(const wchar_t* name)
{
    BITMAPINFOHEADER header = {};
    CTaskBytes pixels;
    const HRESULT hr = CPicturePersist::LoadFromFile(name, &header, pixels.Out());
    const bool isTrueColour = header.biBitCount == 24 || header.biBitCount == 32;
    return SUCCEEDED(hr) && !isTrueColour ? E_FAIL : hr;
}

HRESULT ReadByGdiPlus(const wchar_t* name)
{
    CSimpleArray2<PictureFrame> frames;
    return LoadFramesByGdiPlus(name, nullptr, false, frames, true);
}

struct Reader
{
    const wchar_t* extension; // of the names that it is tried on; null: of all
    const char* title;
    HRESULT (*read)(const wchar_t* name);
};

// In the order in which the filter tries them.
constexpr Reader g_readers[] = {
    {L".tga", "the TGA reader", ReadTga},
    {L".bmp", "the BMP reader", ReadBmp},
    {nullptr, "GDI+", ReadByGdiPlus},
};

std::wstring Extension(const std::wstring& name)
{
    return CPicturePersist::FileExtension(name.c_str());
}

// Why a file is not read by any reader; empty if one reads it.
std::string TryReaders(const std::wstring& name)
{
    std::string reason;
    for (const Reader& reader : g_readers)
    {
        if (reader.extension && lstrcmpiW(Extension(name).c_str(), reader.extension) != 0)
            continue;
        const HRESULT hr = reader.read(name.c_str());
        if (SUCCEEDED(hr))
            return {};
        if (!reason.empty())
            reason += ", ";
        reason += std::string(reader.title) + " fails with " + HResultCode(hr);
    }
    return reason + "; the file is damaged, or of a kind that is not read";
}

// Why a file is not even opened, or empty.
std::string TryToOpen(const std::wstring& name)
{
    const COwnedHandle file(CreateFileW(name.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return HResultReason(DSTLLastError());
    LARGE_INTEGER size = {};
    GetFileSizeEx(file.Get(), &size);
    return size.QuadPart == 0 ? "the file is empty" : "";
}

bool IsFolder(const std::wstring& name)
{
    const DWORD attributes = GetFileAttributesW(name.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Colours are painted in the format of the frame. All names without a file are colours, but those of test
// pictures.
bool IsColour(const std::wstring& picture)
{
    const auto begins = [&](const wchar_t* word, size_t length)
    { return lstrcmpiW(picture.substr(0, length).c_str(), word) == 0; };
    return !picture.empty() && picture.find_first_of(L"|*?") == std::wstring::npos && !begins(L"bars", 4) &&
           !begins(L"videoq", 6) && GetFileAttributesW(picture.c_str()) == INVALID_FILE_ATTRIBUTES;
}

std::string ExplainEmptyList(const std::wstring& picture, HRESULT hr)
{
    char code[16] = {};
    std::snprintf(code, sizeof(code), " (0x%08lX)", static_cast<unsigned long>(hr));
    if (IsFolder(picture))
        return "cannot show the folder " + Quoted(picture) + ": it has no files" + code;
    if (picture.find_first_of(L"*?") != std::wstring::npos)
        return "cannot show " + Quoted(picture) + ": no file matches the pattern" + code;
    if (picture.find(L'|') != std::wstring::npos)
        return "cannot show " + Quoted(picture) + ": its last name has no folder" + code +
               "; begin the list with that name, or give the name with its folder";
    return "cannot open " + Quoted(picture) + ": file not found" + code;
}

// What makes a list play whose first entry does not load.
std::string CureOfList(const std::wstring& picture, const std::vector<std::wstring>& entries,
                       PictureCheck& check)
{
    const auto good = std::find_if(entries.begin() + 1, entries.end(),
                                   [&](const std::wstring& entry) { return check.Try(entry).empty(); });
    if (good == entries.end())
        return "none of its " + std::to_string(entries.size()) + " entries can be shown";
    if (!IsFolder(picture))
        return "leave it out, or begin with " + Quoted(*good);
    const std::wstring extension = Extension(*good);
    if (extension.empty() || lstrcmpiW(extension.c_str(), Extension(entries[0]).c_str()) == 0)
        return "take it out of the folder";
    return "name the pictures only, for example " +
           Quoted(good->substr(0, good->find_last_of(L"\\/") + 1) + L"*" + extension);
}
} // namespace

PictureCheck::PictureCheck(std::function<CComPtr<IBaseFilter>()> makeFilter)
    : m_makeFilter(std::move(makeFilter))
{
    GdiPlusStart(&m_gdiPlus);
}

PictureCheck::~PictureCheck()
{
    GdiPlusStop(m_gdiPlus);
}

bool PictureCheck::IsKnownName(const std::wstring& name)
{
    if (!m_filter)
        m_filter = m_makeFilter();
    CComPtr<IQXStillSource> control;
    return SUCCEEDED(
               m_filter->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&control))) &&
           SUCCEEDED(control->SetPicture(CComBSTR(name.c_str())));
}

std::string PictureCheck::Try(const std::wstring& name)
{
    if (GetFileAttributesW(name.c_str()) == INVALID_FILE_ATTRIBUTES)
    {
        const HRESULT hr = DSTLLastError();
        return IsKnownName(name) ? std::string() : HResultReason(hr);
    }
    if (IsFolder(name))
        return "it is a folder";
    const std::string reason = TryToOpen(name);
    return reason.empty() ? TryReaders(name) : reason;
}

std::vector<std::wstring> ExpandPictureName(const std::wstring& picture)
{
    CFileNames names;
    ScanFileList(picture.c_str(), names);
    std::vector<std::wstring> entries;
    for (int i = 0; i < names.GetSize(); ++i)
        entries.emplace_back(names[i]);
    return entries;
}

std::string ExplainSetPicture(const std::wstring& picture, HRESULT hr, PictureCheck& check)
{
    const std::vector<std::wstring> entries = ExpandPictureName(picture);
    if (entries.empty())
        return ExplainEmptyList(picture, hr);
    std::string reason = check.Try(entries[0]);
    if (reason.empty()) // the readers take it, and the filter does not
        reason = HResultReason(hr);
    if (entries.size() == 1)
        return "cannot show " + Quoted(entries[0]) + ": " + reason;
    return "cannot show " + Quoted(picture) + ": its first entry " + Quoted(entries[0]) +
           " has to be a picture: " + reason + "; " + CureOfList(picture, entries, check);
}

std::vector<std::string> FindUnshownEntries(const std::wstring& picture, size_t count, PictureCheck& check)
{
    const std::vector<std::wstring> entries = ExpandPictureName(picture);
    std::vector<std::string> lines;
    for (size_t i = 0; entries.size() > 1 && i < std::min(count, entries.size()); ++i)
    {
        const std::string reason = check.Try(entries[i]);
        if (!reason.empty())
            lines.push_back(ToUtf8(entries[i]) + ": " + reason);
    }
    return lines;
}

std::string ConversionWarning(const std::wstring& picture, const GUID& subtype)
{
    const DWORD fcc = subtype.Data1;
    const eConversionKind kind =
        FindConversion(FOURCC_RGB32, fcc).eKind; // pictures are RGB, of 24 or 32 bits
    const bool converts = kind != eCK_Nothing && kind != eCK_Refused;
    const PicProps anySize = {fcc, 2, 2, 2};
    if (converts || (IsColour(picture) && Img_CheckProps(&anySize, true)))
        return {};
    return "no picture converts to " + SubtypeName(subtype) +
           ": the frames are zero bytes; ask for another --format, for example RGB32";
}
