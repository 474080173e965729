#pragma once
/// A file as the end of a graph that delivers bytes, as a multiplexer does.

#include "FrameSink.h"
#include "OutputFile.h"
#include <functional>
#include <mutex>
#include <string>

/// Writes all bytes at the file's own position.
using WriteBytes = std::function<HRESULT(HANDLE file, const void* bytes, ULONG count)>;
HRESULT WriteToFile(HANDLE file, const void* bytes, ULONG count);

/// Takes a stream of bytes. A sample's start time is the offset of its bytes in the file; headers and indexes
/// that are known only at the end come through the stream that the pin offers. Has to outlive the graph.
///
/// The first failure of the file stays in Result. From then on nothing is written: a sample is refused, so
/// that its stream ends, but the stream takes what comes, as a multiplexer whose index is refused does not
/// stop.
class StreamFile final : public SampleReceiver, public IStream
{
public:
    /// Makes the file, over one that is there. Throws Failure.
    explicit StreamFile(const std::wstring& path);
    /// Writes to an open, empty file.
    explicit StreamFile(SharedFile file, WriteBytes write = WriteToFile);
    ~StreamFile() = default;
    StreamFile(const StreamFile&) = delete;
    StreamFile& operator=(const StreamFile&) = delete;

    /// S_OK, or the first failure of the file.
    HRESULT Result() const;
    /// Set once there is a failure. Owned by the object.
    HANDLE FailedEvent() const { return m_failed.Get(); }
    /// Bytes from the start of the file to the end of the last of them.
    ULONGLONG Size() const;

    bool Accepts(const AM_MEDIA_TYPE& type) const override;
    HRESULT OnFrame(IMediaSample* sample) override;
    IStream* Stream() override { return this; }

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override;
    // Not counted: the file belongs to whoever made it.
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP Read(void* bytes, ULONG count, ULONG* read) override;
    STDMETHODIMP Write(const void* bytes, ULONG count, ULONG* written) override;
    STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
    STDMETHODIMP SetSize(ULARGE_INTEGER size) override;
    STDMETHODIMP CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP Commit(DWORD) override { return S_OK; }
    STDMETHODIMP Revert() override { return E_NOTIMPL; }
    STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Stat(STATSTG* stat, DWORD flags) override;
    STDMETHODIMP Clone(IStream**) override { return E_NOTIMPL; }

private:
    // Both under m_lock, with m_result as their result.
    HRESULT WriteAt(ULONGLONG position, const void* bytes, ULONG count);
    HRESULT Note(HRESULT hr);

    const SharedFile m_file;
    const WriteBytes m_write;
    const COwnedHandle m_failed;
    mutable std::mutex m_lock; // guards the file's own position and the members below
    ULONGLONG m_position = 0;  // of the stream
    HRESULT m_result = S_OK;
};
