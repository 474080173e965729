#pragma once
/// A media sample for tests: every call can be made to answer what a test wants, is counted, and the buffer
/// lies between guard bytes. The test owns the object (on the stack or in a member); reference counts are
/// only kept.

#include "dstl/dshowx/DSTypes.h"

#include <strmif.h>

#include <array>
#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

/// The calls of IMediaSample and IMediaSample2.
enum eSampleCall
{
    eSC_QuerySample2, ///< QueryInterface for IMediaSample2
    eSC_GetPointer,
    eSC_GetSize, ///< the scripted result is the size
    eSC_GetTime,
    eSC_SetTime,
    eSC_IsSyncPoint,
    eSC_SetSyncPoint,
    eSC_IsPreroll,
    eSC_SetPreroll,
    eSC_GetActualDataLength, ///< the scripted result is the length
    eSC_SetActualDataLength,
    eSC_GetMediaType,
    eSC_SetMediaType,
    eSC_IsDiscontinuity,
    eSC_SetDiscontinuity,
    eSC_GetMediaTime,
    eSC_SetMediaTime,
    eSC_GetProperties,
    eSC_SetProperties,
    eSC_Count
};

class FakeSample : public IMediaSample2
{
public:
    /// \param cbBuffer bytes of the sample's own buffer, filled with byFill
    /// \param bSample2 the sample offers IMediaSample2
    /// \param pbBuffer the test's own cbBuffer bytes in the place of that buffer, filled with byFill too
    explicit FakeSample(LONG cbBuffer = 64, bool bSample2 = true, BYTE* pbBuffer = nullptr);
    virtual ~FakeSample();
    FakeSample(const FakeSample&) = delete;
    FakeSample& operator=(const FakeSample&) = delete;

    static constexpr BYTE byFill = 0xCD;

    /// From now on the call does nothing but answer this. Getters leave their outputs as they are, except for
    /// a success of GetTime, GetMediaTime, GetPointer and GetMediaType, which still store the values held.
    void Script(eSampleCall eCall, HRESULT hr);
    /// The call does its work again.
    void Unscript(eSampleCall eCall);

    int Calls(eSampleCall eCall) const;
    /// The calls in order, GetSize and the like included.
    std::vector<eSampleCall> CallOrder() const;
    void ForgetCalls();

    long Refs() const { return m_nRefs; }
    /// The buffer, whatever GetPointer is made to answer.
    BYTE* Buffer() { return m_pbOwn != nullptr ? m_pbOwn : m_arrStore.data() + cbGuard; }
    LONG BufferSize() const { return m_cbBuffer; }
    /// False once a byte before or behind the buffer was written.
    bool GuardsIntact() const;

    /// Back to a fresh sample: no times, no flags, full length, no type. Scripts and counts stay.
    void Reset();

    /// Called when the last reference goes, for allocators that take the sample back.
    std::function<void(FakeSample*)> m_onLastRelease;

    // What the sample holds, free for tests to read and write.
    bool m_bTimeStart, m_bTimeEnd, m_bMediaTime;
    REFERENCE_TIME m_tS, m_tE;
    LONGLONG m_llMS, m_llME;
    bool m_bSync, m_bPreroll, m_bDiscont;
    LONG m_lActual;
    DWORD m_dwTypeFlags, m_dwStreamId;
    DWORD m_cbDataAnswer; ///< cbData that GetProperties writes; 0 for the size asked for
    bool m_bNullPointer;  ///< GetPointer answers S_OK and null
    bool m_bNullType;     ///< GetMediaType answers S_OK and null
    CMType m_mt;          ///< attached type; empty for none

    // IUnknown
    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) override;
    STDMETHOD_(ULONG, AddRef)() override;
    STDMETHOD_(ULONG, Release)() override;
    // IMediaSample
    STDMETHOD(GetPointer)(BYTE** ppBuffer) override;
    STDMETHOD_(LONG, GetSize)() override;
    STDMETHOD(GetTime)(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) override;
    STDMETHOD(SetTime)(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) override;
    STDMETHOD(IsSyncPoint)() override;
    STDMETHOD(SetSyncPoint)(BOOL bIsSyncPoint) override;
    STDMETHOD(IsPreroll)() override;
    STDMETHOD(SetPreroll)(BOOL bIsPreroll) override;
    STDMETHOD_(LONG, GetActualDataLength)() override;
    STDMETHOD(SetActualDataLength)(LONG lLen) override;
    STDMETHOD(GetMediaType)(AM_MEDIA_TYPE** ppMediaType) override;
    STDMETHOD(SetMediaType)(AM_MEDIA_TYPE* pMediaType) override;
    STDMETHOD(IsDiscontinuity)() override;
    STDMETHOD(SetDiscontinuity)(BOOL bDiscontinuity) override;
    STDMETHOD(GetMediaTime)(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) override;
    STDMETHOD(SetMediaTime)(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) override;
    // IMediaSample2
    STDMETHOD(GetProperties)(DWORD cbProperties, BYTE* pbProperties) override;
    STDMETHOD(SetProperties)(DWORD cbProperties, const BYTE* pbProperties) override;

private:
    static constexpr size_t cbGuard = 64;
    static constexpr BYTE byGuard = 0xA5;

    /// Counts the call. \return its scripted result, if any
    std::optional<HRESULT> Enter(eSampleCall eCall);

    const LONG m_cbBuffer;
    const bool m_bSample2;
    BYTE* const m_pbOwn;
    std::atomic<long> m_nRefs;
    std::vector<BYTE> m_arrStore;
    mutable std::mutex m_lock;
    std::array<std::optional<HRESULT>, eSC_Count> m_arrScript;
    std::vector<eSampleCall> m_arrCalls;
};
