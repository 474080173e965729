#include "FrameCollector.h"
#include "Clock.h"
#include "FrameWriter.h"
#include "dstl/dshowx/DSTypes.h"
#include <cwchar>
#include <utility>

FrameCollector::FrameCollector(std::wstring folder, long wanted)
    : m_folder(std::move(folder)), m_wanted(wanted), m_done(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
}

HRESULT FrameCollector::OnFrame(IMediaSample* sample)
{
    if (m_count >= m_wanted || FAILED(m_result))
        return S_FALSE;
    if (sample == nullptr)
        return E_POINTER;

    const HRESULT hr = m_folder.empty() ? S_OK : Write(sample, m_count + 1);
    if (FAILED(hr))
    {
        m_result = hr;
        SetEvent(m_done.Get());
        return hr;
    }
    const LONGLONG now = Tick();
    if (m_count == 0)
        m_firstTick = now;
    m_lastTick = now;
    if (++m_count == m_wanted)
        SetEvent(m_done.Get());
    return S_OK;
}

HRESULT FrameCollector::Write(IMediaSample* sample, long number)
{
    // A frame that brings a type of its own begins a new format.
    COwnedMediaType type;
    if (sample->GetMediaType(type.Out()) == S_OK && type && !ReadVideoFormat(*type.Get(), m_format))
        return VFW_E_INVALIDMEDIATYPE;
    BYTE* bits = nullptr;
    const HRESULT hr = sample->GetPointer(&bits);
    if (FAILED(hr))
        return hr;
    wchar_t name[32] = {};
    _snwprintf(name, 31, L"\\frame-%04ld.bmp", number);
    return WriteFrameAsBmp(m_folder + name, m_format, bits,
                           static_cast<size_t>(sample->GetActualDataLength()));
}
