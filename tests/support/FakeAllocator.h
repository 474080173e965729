#pragma once
/// An allocator for tests: every call can be made to answer what a test wants, is logged, and the samples are
/// FakeSample objects. The test owns the object; reference counts are only kept.

#include "support/CallLog.h"
#include "support/FakeSample.h"

#include <strmif.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

class FakeAllocator : public IMemAllocator
{
public:
    /// \param pLog optional; receives "<name>.Commit" and so on
    explicit FakeAllocator(CallLog* pLog = nullptr, std::string sName = "alloc");
    virtual ~FakeAllocator();
    FakeAllocator(const FakeAllocator&) = delete;
    FakeAllocator& operator=(const FakeAllocator&) = delete;

    long Refs() const { return m_nRefs; }
    bool IsCommitted() const;
    /// Samples that are out.
    int Lent() const;
    /// The request of the last SetProperties, and what was granted.
    ALLOCATOR_PROPERTIES m_rgRequest{};
    ALLOCATOR_PROPERTIES m_rgActual{};

    // Scripts. A result that is set replaces the work of the call, S_OK excepted.
    std::optional<HRESULT> m_hrSetProperties, m_hrGetProperties, m_hrCommit, m_hrDecommit, m_hrGetBuffer;
    /// Changes what SetProperties grants; without it the request is granted.
    std::function<void(ALLOCATOR_PROPERTIES&)> m_grant;
    /// Makes the samples of the buffer size that was granted; without it they have that size.
    std::function<std::unique_ptr<FakeSample>(LONG cbBuffer)> m_make;
    /// Called for each sample before it is handed out, for instance to attach a media type.
    std::function<void(FakeSample&)> m_onLend;
    /// Called on entry of Commit and Decommit, without a lock.
    std::function<void()> m_onCommit, m_onDecommit;
    /// GetBuffer answers S_OK without a sample.
    bool m_bNullSample = false;

    // IUnknown
    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) override;
    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++m_nRefs); }
    STDMETHOD_(ULONG, Release)() override { return static_cast<ULONG>(--m_nRefs); }
    // IMemAllocator
    STDMETHOD(SetProperties)(ALLOCATOR_PROPERTIES* pRequest, ALLOCATOR_PROPERTIES* pActual) override;
    STDMETHOD(GetProperties)(ALLOCATOR_PROPERTIES* pProps) override;
    STDMETHOD(Commit)() override;
    STDMETHOD(Decommit)() override;
    /// Waits for a free sample until Decommit, unless AM_GBF_NOWAIT is given (VFW_E_TIMEOUT).
    STDMETHOD(GetBuffer)(IMediaSample** ppBuffer, REFERENCE_TIME*, REFERENCE_TIME*, DWORD dwFlags) override;
    STDMETHOD(ReleaseBuffer)(IMediaSample* pBuffer) override;

private:
    void Enter(const char* pszCall);

    CallLog* const m_pLog;
    const std::string m_sName;
    std::atomic<long> m_nRefs = 0;
    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<std::unique_ptr<FakeSample>> m_samples;
    std::vector<FakeSample*> m_free;
    bool m_bCommitted = false;
};
