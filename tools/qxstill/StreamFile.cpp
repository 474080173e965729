#include "StreamFile.h"
#include "Failure.h"
#include <utility>

namespace
{
LARGE_INTEGER Large(ULONGLONG value)
{
    LARGE_INTEGER large = {};
    large.QuadPart = static_cast<LONGLONG>(value);
    return large;
}

SharedFile OpenFile(const std::wstring& path)
{
    COwnedHandle file(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                  CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        throw Failure("cannot write \"" + ToUtf8(path) + "\"", DSTLLastError());
    return std::make_shared<const COwnedHandle>(std::move(file));
}
} // namespace

HRESULT WriteToFile(HANDLE file, const void* bytes, ULONG count)
{
    DWORD done = 0;
    if (!WriteFile(file, bytes, count, &done, nullptr))
        return DSTLLastError();
    return done == count ? S_OK : HRESULT_FROM_WIN32(ERROR_DISK_FULL);
}

StreamFile::StreamFile(const std::wstring& path) : StreamFile(OpenFile(path)) {}

StreamFile::StreamFile(SharedFile file, WriteBytes write)
    : m_file(std::move(file)), m_write(std::move(write)),
      m_failed(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
}

HRESULT StreamFile::Result() const
{
    const std::lock_guard<std::mutex> lock(m_lock);
    return m_result;
}

ULONGLONG StreamFile::Size() const
{
    LARGE_INTEGER size = {};
    GetFileSizeEx(m_file->Get(), &size);
    return static_cast<ULONGLONG>(size.QuadPart);
}

bool StreamFile::Accepts(const AM_MEDIA_TYPE& type) const
{
    return IsEqualGUID(type.majortype, MEDIATYPE_Stream) != FALSE;
}

HRESULT StreamFile::OnFrame(IMediaSample* sample)
{
    REFERENCE_TIME start = 0;
    REFERENCE_TIME end = 0;
    BYTE* bytes = nullptr;
    HRESULT hr = sample->GetTime(&start, &end);
    if (SUCCEEDED(hr))
        hr = sample->GetPointer(&bytes);
    // A sample says where its bytes belong by its times, and the difference of the two is their number.
    if (SUCCEEDED(hr) && (start < 0 || end < start || end - start > sample->GetSize()))
        hr = E_INVALIDARG;
    const std::lock_guard<std::mutex> lock(m_lock);
    if (FAILED(hr))
        return Note(hr);
    return WriteAt(static_cast<ULONGLONG>(start), bytes, static_cast<ULONG>(end - start));
}

STDMETHODIMP StreamFile::QueryInterface(REFIID riid, void** object)
{
    if (object == nullptr)
        return E_POINTER;
    const bool known = IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_ISequentialStream) ||
                       IsEqualIID(riid, IID_IStream);
    *object = known ? static_cast<IStream*>(this) : nullptr;
    return known ? S_OK : E_NOINTERFACE;
}

STDMETHODIMP StreamFile::Read(void* bytes, ULONG count, ULONG* read)
{
    const std::lock_guard<std::mutex> lock(m_lock);
    DWORD done = 0;
    if (!SetFilePointerEx(m_file->Get(), Large(m_position), nullptr, FILE_BEGIN) ||
        !ReadFile(m_file->Get(), bytes, count, &done, nullptr))
        return DSTLLastError();
    m_position += done;
    if (read != nullptr)
        *read = done;
    return done == count ? S_OK : S_FALSE;
}

HRESULT StreamFile::Note(HRESULT hr)
{
    if (SUCCEEDED(m_result) && FAILED(hr))
    {
        m_result = hr;
        SetEvent(m_failed.Get());
    }
    return m_result;
}

HRESULT StreamFile::WriteAt(ULONGLONG position, const void* bytes, ULONG count)
{
    if (FAILED(m_result))
        return m_result;
    if (!SetFilePointerEx(m_file->Get(), Large(position), nullptr, FILE_BEGIN))
        return Note(DSTLLastError());
    return Note(m_write(m_file->Get(), bytes, count));
}

STDMETHODIMP StreamFile::Write(const void* bytes, ULONG count, ULONG* written)
{
    const std::lock_guard<std::mutex> lock(m_lock);
    WriteAt(m_position, bytes, count);
    m_position += count;
    if (written != nullptr)
        *written = count;
    return S_OK;
}

STDMETHODIMP StreamFile::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position)
{
    const std::lock_guard<std::mutex> lock(m_lock);
    LONGLONG from = 0;
    if (origin == STREAM_SEEK_CUR)
        from = static_cast<LONGLONG>(m_position);
    else if (origin == STREAM_SEEK_END)
        from = static_cast<LONGLONG>(Size());
    else if (origin != STREAM_SEEK_SET)
        return STG_E_INVALIDFUNCTION;
    if (from + move.QuadPart < 0)
        return STG_E_INVALIDFUNCTION;
    m_position = static_cast<ULONGLONG>(from + move.QuadPart);
    if (position != nullptr)
        position->QuadPart = m_position;
    return S_OK;
}

STDMETHODIMP StreamFile::SetSize(ULARGE_INTEGER size)
{
    const std::lock_guard<std::mutex> lock(m_lock);
    if (SUCCEEDED(m_result) && (!SetFilePointerEx(m_file->Get(), Large(size.QuadPart), nullptr, FILE_BEGIN) ||
                                !SetEndOfFile(m_file->Get())))
        Note(DSTLLastError());
    return S_OK;
}

STDMETHODIMP StreamFile::Stat(STATSTG* stat, DWORD)
{
    if (stat == nullptr)
        return E_POINTER;
    *stat = {};
    stat->type = STGTY_STREAM;
    stat->cbSize.QuadPart = Size();
    return S_OK;
}
