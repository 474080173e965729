#include "HResultText.h"
#include "dstl/WinAPI/Owner.h"
#include "Failure.h"
#include <dshow.h>
#include <errors.h>
#include <algorithm>
#include <cstdio>
#include <iterator>

namespace
{
struct NamedResult
{
    HRESULT hr;
    const char* name;
};

#define QX_RESULT(name)                                                                                      \
    {                                                                                                        \
        static_cast<HRESULT>(name), #name                                                                    \
    }
#define QX_WIN32(name)                                                                                       \
    {                                                                                                        \
        static_cast<HRESULT>(HRESULT_FROM_WIN32(name)), #name                                                \
    }

// Where two constants share a number, the first row gives the name.
const NamedResult g_results[] = {
    QX_RESULT(S_OK),
    QX_RESULT(S_FALSE),
    QX_RESULT(E_NOTIMPL),
    QX_RESULT(E_NOINTERFACE),
    QX_RESULT(E_POINTER),
    QX_RESULT(E_ABORT),
    QX_RESULT(E_FAIL),
    QX_RESULT(E_UNEXPECTED),
    QX_RESULT(E_INVALIDARG),
    QX_RESULT(E_OUTOFMEMORY),
    QX_RESULT(E_ACCESSDENIED),
    QX_RESULT(E_HANDLE),
    QX_RESULT(E_PENDING),
    QX_RESULT(CO_E_NOTINITIALIZED),
    QX_RESULT(CO_E_CLASSSTRING),
    QX_RESULT(CO_E_DLLNOTFOUND),
    QX_RESULT(CO_E_ERRORINDLL),
    QX_RESULT(CLASS_E_NOAGGREGATION),
    QX_RESULT(CLASS_E_CLASSNOTAVAILABLE),
    QX_RESULT(REGDB_E_CLASSNOTREG),
    QX_RESULT(REGDB_E_IIDNOTREG),
    QX_RESULT(REGDB_E_READREGDB),
    QX_RESULT(RPC_E_CHANGED_MODE),
    QX_RESULT(DISP_E_TYPEMISMATCH),
    QX_RESULT(DISP_E_EXCEPTION),
    QX_RESULT(TYPE_E_CANTLOADLIBRARY),
    QX_RESULT(TYPE_E_LIBNOTREGISTERED),
    QX_RESULT(STG_E_FILENOTFOUND),
    QX_WIN32(ERROR_FILE_NOT_FOUND),
    QX_WIN32(ERROR_PATH_NOT_FOUND),
    QX_WIN32(ERROR_SHARING_VIOLATION),
    QX_WIN32(ERROR_HANDLE_EOF),
    QX_WIN32(ERROR_DISK_FULL),
    QX_WIN32(ERROR_FILE_EXISTS),
    QX_WIN32(ERROR_ALREADY_EXISTS),
    QX_WIN32(ERROR_INVALID_NAME),
    QX_WIN32(ERROR_MOD_NOT_FOUND),
    QX_WIN32(ERROR_PROC_NOT_FOUND),
    QX_WIN32(ERROR_BAD_EXE_FORMAT),
    QX_WIN32(ERROR_NEGATIVE_SEEK),
    QX_WIN32(ERROR_FILE_INVALID),
    QX_WIN32(ERROR_TIMEOUT),
    QX_WIN32(ERROR_CANCELLED),
    QX_RESULT(VFW_S_NO_MORE_ITEMS),
    QX_RESULT(VFW_S_DUPLICATE_NAME),
    QX_RESULT(VFW_S_STATE_INTERMEDIATE),
    QX_RESULT(VFW_S_PARTIAL_RENDER),
    QX_RESULT(VFW_S_SOME_DATA_IGNORED),
    QX_RESULT(VFW_S_CONNECTIONS_DEFERRED),
    QX_RESULT(VFW_S_RESOURCE_NOT_NEEDED),
    QX_RESULT(VFW_S_MEDIA_TYPE_IGNORED),
    QX_RESULT(VFW_S_VIDEO_NOT_RENDERED),
    QX_RESULT(VFW_S_AUDIO_NOT_RENDERED),
    QX_RESULT(VFW_S_RPZA),
    QX_RESULT(VFW_S_ESTIMATED),
    QX_RESULT(VFW_S_RESERVED),
    QX_RESULT(VFW_S_STREAM_OFF),
    QX_RESULT(VFW_S_CANT_CUE),
    QX_RESULT(VFW_S_NO_STOP_TIME),
    QX_RESULT(VFW_S_NOPREVIEWPIN),
    QX_RESULT(VFW_S_DVD_NON_ONE_SEQUENTIAL),
    QX_RESULT(VFW_S_DVD_CHANNEL_CONTENTS_NOT_AVAILABLE),
    QX_RESULT(VFW_S_DVD_NOT_ACCURATE),
    QX_RESULT(VFW_E_INVALIDMEDIATYPE),
    QX_RESULT(VFW_E_INVALIDSUBTYPE),
    QX_RESULT(VFW_E_NEED_OWNER),
    QX_RESULT(VFW_E_ENUM_OUT_OF_SYNC),
    QX_RESULT(VFW_E_ALREADY_CONNECTED),
    QX_RESULT(VFW_E_FILTER_ACTIVE),
    QX_RESULT(VFW_E_NO_TYPES),
    QX_RESULT(VFW_E_NO_ACCEPTABLE_TYPES),
    QX_RESULT(VFW_E_INVALID_DIRECTION),
    QX_RESULT(VFW_E_NOT_CONNECTED),
    QX_RESULT(VFW_E_NO_ALLOCATOR),
    QX_RESULT(VFW_E_RUNTIME_ERROR),
    QX_RESULT(VFW_E_BUFFER_NOTSET),
    QX_RESULT(VFW_E_BUFFER_OVERFLOW),
    QX_RESULT(VFW_E_BADALIGN),
    QX_RESULT(VFW_E_ALREADY_COMMITTED),
    QX_RESULT(VFW_E_BUFFERS_OUTSTANDING),
    QX_RESULT(VFW_E_NOT_COMMITTED),
    QX_RESULT(VFW_E_SIZENOTSET),
    QX_RESULT(VFW_E_NO_CLOCK),
    QX_RESULT(VFW_E_NO_SINK),
    QX_RESULT(VFW_E_NO_INTERFACE),
    QX_RESULT(VFW_E_NOT_FOUND),
    QX_RESULT(VFW_E_CANNOT_CONNECT),
    QX_RESULT(VFW_E_CANNOT_RENDER),
    QX_RESULT(VFW_E_CHANGING_FORMAT),
    QX_RESULT(VFW_E_NO_COLOR_KEY_SET),
    QX_RESULT(VFW_E_NOT_OVERLAY_CONNECTION),
    QX_RESULT(VFW_E_NOT_SAMPLE_CONNECTION),
    QX_RESULT(VFW_E_PALETTE_SET),
    QX_RESULT(VFW_E_COLOR_KEY_SET),
    QX_RESULT(VFW_E_NO_COLOR_KEY_FOUND),
    QX_RESULT(VFW_E_NO_PALETTE_AVAILABLE),
    QX_RESULT(VFW_E_NO_DISPLAY_PALETTE),
    QX_RESULT(VFW_E_TOO_MANY_COLORS),
    QX_RESULT(VFW_E_STATE_CHANGED),
    QX_RESULT(VFW_E_NOT_STOPPED),
    QX_RESULT(VFW_E_NOT_PAUSED),
    QX_RESULT(VFW_E_NOT_RUNNING),
    QX_RESULT(VFW_E_WRONG_STATE),
    QX_RESULT(VFW_E_START_TIME_AFTER_END),
    QX_RESULT(VFW_E_INVALID_RECT),
    QX_RESULT(VFW_E_TYPE_NOT_ACCEPTED),
    QX_RESULT(VFW_E_SAMPLE_REJECTED),
    QX_RESULT(VFW_E_SAMPLE_REJECTED_EOS),
    QX_RESULT(VFW_E_DUPLICATE_NAME),
    QX_RESULT(VFW_E_TIMEOUT),
    QX_RESULT(VFW_E_INVALID_FILE_FORMAT),
    QX_RESULT(VFW_E_ENUM_OUT_OF_RANGE),
    QX_RESULT(VFW_E_CIRCULAR_GRAPH),
    QX_RESULT(VFW_E_NOT_ALLOWED_TO_SAVE),
    QX_RESULT(VFW_E_TIME_ALREADY_PASSED),
    QX_RESULT(VFW_E_ALREADY_CANCELLED),
    QX_RESULT(VFW_E_CORRUPT_GRAPH_FILE),
    QX_RESULT(VFW_E_ADVISE_ALREADY_SET),
    QX_RESULT(VFW_E_NO_MODEX_AVAILABLE),
    QX_RESULT(VFW_E_NO_ADVISE_SET),
    QX_RESULT(VFW_E_NO_FULLSCREEN),
    QX_RESULT(VFW_E_IN_FULLSCREEN_MODE),
    QX_RESULT(VFW_E_UNKNOWN_FILE_TYPE),
    QX_RESULT(VFW_E_CANNOT_LOAD_SOURCE_FILTER),
    QX_RESULT(VFW_E_FILE_TOO_SHORT),
    QX_RESULT(VFW_E_INVALID_FILE_VERSION),
    QX_RESULT(VFW_E_INVALID_CLSID),
    QX_RESULT(VFW_E_INVALID_MEDIA_TYPE),
    QX_RESULT(VFW_E_SAMPLE_TIME_NOT_SET),
    QX_RESULT(VFW_E_MEDIA_TIME_NOT_SET),
    QX_RESULT(VFW_E_NO_TIME_FORMAT_SET),
    QX_RESULT(VFW_E_MONO_AUDIO_HW),
    QX_RESULT(VFW_E_NO_DECOMPRESSOR),
    QX_RESULT(VFW_E_NO_AUDIO_HARDWARE),
    QX_RESULT(VFW_E_RPZA),
    QX_RESULT(VFW_E_PROCESSOR_NOT_SUITABLE),
    QX_RESULT(VFW_E_UNSUPPORTED_AUDIO),
    QX_RESULT(VFW_E_UNSUPPORTED_VIDEO),
    QX_RESULT(VFW_E_MPEG_NOT_CONSTRAINED),
    QX_RESULT(VFW_E_NOT_IN_GRAPH),
    QX_RESULT(VFW_E_NO_TIME_FORMAT),
    QX_RESULT(VFW_E_READ_ONLY),
    QX_RESULT(VFW_E_BUFFER_UNDERFLOW),
    QX_RESULT(VFW_E_UNSUPPORTED_STREAM),
    QX_RESULT(VFW_E_NO_TRANSPORT),
    QX_RESULT(VFW_E_BAD_VIDEOCD),
    QX_RESULT(VFW_E_OUT_OF_VIDEO_MEMORY),
    QX_RESULT(VFW_E_VP_NEGOTIATION_FAILED),
    QX_RESULT(VFW_E_DDRAW_CAPS_NOT_SUITABLE),
    QX_RESULT(VFW_E_NO_VP_HARDWARE),
    QX_RESULT(VFW_E_NO_CAPTURE_HARDWARE),
    QX_RESULT(VFW_E_DVD_OPERATION_INHIBITED),
    QX_RESULT(VFW_E_DVD_INVALIDDOMAIN),
    QX_RESULT(VFW_E_DVD_NO_BUTTON),
    QX_RESULT(VFW_E_DVD_GRAPHNOTREADY),
    QX_RESULT(VFW_E_DVD_RENDERFAIL),
    QX_RESULT(VFW_E_DVD_DECNOTENOUGH),
    QX_RESULT(VFW_E_DDRAW_VERSION_NOT_SUITABLE),
    QX_RESULT(VFW_E_COPYPROT_FAILED),
    QX_RESULT(VFW_E_TIME_EXPIRED),
    QX_RESULT(VFW_E_DVD_WRONG_SPEED),
    QX_RESULT(VFW_E_DVD_MENU_DOES_NOT_EXIST),
    QX_RESULT(VFW_E_DVD_CMD_CANCELLED),
    QX_RESULT(VFW_E_DVD_STATE_WRONG_VERSION),
    QX_RESULT(VFW_E_DVD_STATE_CORRUPT),
    QX_RESULT(VFW_E_DVD_STATE_WRONG_DISC),
    QX_RESULT(VFW_E_DVD_INCOMPATIBLE_REGION),
    QX_RESULT(VFW_E_DVD_NO_ATTRIBUTES),
    QX_RESULT(VFW_E_DVD_NO_GOUP_PGC),
    QX_RESULT(VFW_E_DVD_LOW_PARENTAL_LEVEL),
    QX_RESULT(VFW_E_DVD_NOT_IN_KARAOKE_MODE),
    QX_RESULT(VFW_E_FRAME_STEP_UNSUPPORTED),
    QX_RESULT(VFW_E_DVD_STREAM_DISABLED),
    QX_RESULT(VFW_E_DVD_TITLE_UNKNOWN),
    QX_RESULT(VFW_E_DVD_INVALID_DISC),
    QX_RESULT(VFW_E_DVD_NO_RESUME_INFORMATION),
    QX_RESULT(VFW_E_PIN_ALREADY_BLOCKED_ON_THIS_THREAD),
    QX_RESULT(VFW_E_PIN_ALREADY_BLOCKED),
    QX_RESULT(VFW_E_CERTIFICATION_FAILURE),
    QX_RESULT(VFW_E_VMR_NOT_IN_MIXER_MODE),
    QX_RESULT(VFW_E_VMR_NO_AP_SUPPLIED),
    QX_RESULT(VFW_E_VMR_NO_DEINTERLACE_HW),
    QX_RESULT(VFW_E_VMR_NO_PROCAMP_HW),
    QX_RESULT(VFW_E_DVD_VMR9_INCOMPATIBLEDEC),
    QX_RESULT(VFW_E_NO_COPP_HW),
    QX_RESULT(VFW_E_DVD_NONBLOCKING),
    QX_RESULT(VFW_E_DVD_TOO_MANY_RENDERERS_IN_FILTER_GRAPH),
    QX_RESULT(VFW_E_DVD_NON_EVR_RENDERER_IN_FILTER_GRAPH),
    QX_RESULT(VFW_E_DVD_RESOLUTION_ERROR),
    QX_RESULT(VFW_E_CODECAPI_LINEAR_RANGE),
    QX_RESULT(VFW_E_CODECAPI_ENUMERATED),
    QX_RESULT(VFW_E_CODECAPI_NO_DEFAULT),
    QX_RESULT(VFW_E_CODECAPI_NO_CURRENT_VALUE),
    QX_RESULT(VFW_E_DVD_CHAPTER_DOES_NOT_EXIST),
    QX_RESULT(VFW_E_BAD_KEY),
};

// One line without line ends or spaces at its end.
std::wstring Tidy(std::wstring text)
{
    for (wchar_t& c : text)
    {
        if (c < L' ')
            c = L' ';
    }
    while (!text.empty() && text.back() == L' ')
        text.pop_back();
    return text;
}

// The text of the media library. For a code that it does not know it may make one up that only repeats the
// number, which is no text.
std::wstring MediaText(HRESULT hr)
{
    wchar_t text[MAX_ERROR_TEXT_LEN] = {};
    if (AMGetErrorTextW(hr, text, MAX_ERROR_TEXT_LEN) == 0)
        return {};
    wchar_t number[16] = {};
    _snwprintf(number, 15, L"%08x", static_cast<unsigned>(hr));
    std::wstring lower(text);
    CharLowerBuffW(lower.data(), static_cast<DWORD>(lower.size()));
    return lower.find(number) == std::wstring::npos ? Tidy(text) : std::wstring();
}

std::wstring SystemText(HRESULT hr)
{
    COwnedLocal<wchar_t> text;
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
        static_cast<DWORD>(hr), 0, reinterpret_cast<wchar_t*>(text.Out()), 0, nullptr);
    return length != 0 ? Tidy(std::wstring(text.Get(), length)) : std::wstring();
}

// Codes of the interface facility mean different things to different libraries: there the media library comes
// first, everywhere else the system.
std::wstring PlatformText(HRESULT hr)
{
    const bool mediaFirst = HRESULT_FACILITY(hr) == FACILITY_ITF;
    const std::wstring text = mediaFirst ? MediaText(hr) : SystemText(hr);
    if (!text.empty())
        return text;
    return mediaFirst ? SystemText(hr) : MediaText(hr);
}

struct WordedResult
{
    HRESULT hr;
    const char* words;
};

const WordedResult g_fileResults[] = {
    {HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), "file not found"},
    {HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND), "folder not found"},
    {HRESULT_FROM_WIN32(ERROR_INVALID_NAME), "no file has such a name"},
    {HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED), "access denied"},
    {HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION), "another program has the file open"},
};

// The platform's texts for these name no cause ("Invalid parameter.", "Call failed.").
bool SaysNothing(HRESULT hr)
{
    static const HRESULT vague[] = {E_FAIL, E_INVALIDARG, E_POINTER, E_HANDLE, E_UNEXPECTED};
    return std::find(std::begin(vague), std::end(vague), hr) != std::end(vague);
}

std::string Number(HRESULT hr)
{
    char number[16] = {};
    std::snprintf(number, sizeof(number), "0x%08lX", static_cast<unsigned long>(hr));
    return number;
}
} // namespace

const char* HResultName(HRESULT hr)
{
    for (const NamedResult& result : g_results)
    {
        if (result.hr == hr)
            return result.name;
    }
    return nullptr;
}

std::string HResultCode(HRESULT hr)
{
    const char* name = HResultName(hr);
    return name ? std::string(name) + " (" + Number(hr) + ")" : Number(hr);
}

std::string HResultReason(HRESULT hr)
{
    for (const WordedResult& result : g_fileResults)
    {
        if (result.hr == hr)
            return std::string(result.words) + " (" + Number(hr) + ")";
    }
    return HResultText(hr);
}

std::string HResultText(HRESULT hr)
{
    const std::wstring words = SaysNothing(hr) ? std::wstring() : PlatformText(hr);
    return HResultCode(hr) + (words.empty() ? "" : ": " + ToUtf8(words));
}
