#pragma once
/// The properties of a media sample: IMediaSample and IMediaSample2 over a buffer that belongs to somebody
/// else. Life and count of the object are not its business. No lock: one thread at a time has a sample.

#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/DSTypes.h"

/// Media times are set: a bit of m_dwSampleFlags beside those of AM_SAMPLE_PROPERTY_FLAGS, and kept private.
inline constexpr DWORD SAMPLE_MEDIATIMEVALID = 0x20;

class IMediaSample2Wrapper : public IMediaSample2
{
public:
    // IMediaSample
    STDMETHOD(GetPointer)(BYTE** ppBuffer) noexcept override;
    STDMETHOD_(LONG, GetSize)() noexcept override;
    STDMETHOD(GetTime)(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) noexcept override;
    STDMETHOD(SetTime)(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) noexcept override;
    STDMETHOD(IsSyncPoint)() noexcept override;
    STDMETHOD(SetSyncPoint)(BOOL bIsSyncPoint) noexcept override;
    STDMETHOD(IsPreroll)() noexcept override;
    STDMETHOD(SetPreroll)(BOOL bIsPreroll) noexcept override;
    STDMETHOD_(LONG, GetActualDataLength)() noexcept override;
    STDMETHOD(SetActualDataLength)(LONG lLen) noexcept override;
    STDMETHOD(GetMediaType)(AM_MEDIA_TYPE** ppMediaType) noexcept override;
    STDMETHOD(SetMediaType)(AM_MEDIA_TYPE* pmt) noexcept override;
    STDMETHOD(IsDiscontinuity)() noexcept override;
    STDMETHOD(SetDiscontinuity)(BOOL bDiscontinuity) noexcept override;
    STDMETHOD(GetMediaTime)(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) noexcept override;
    STDMETHOD(SetMediaTime)(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) noexcept override;
    // IMediaSample2
    STDMETHOD(GetProperties)(DWORD cbProperties, BYTE* pbProperties) noexcept override;
    STDMETHOD(SetProperties)(DWORD cbProperties, const BYTE* pbProperties) noexcept override;

    /// The name in trace lines.
    virtual LPCWSTR GetClassName() const noexcept = 0;

    /// Puts the sample over a buffer of cbBuffer bytes, which has to outlive it.
    void AttachBuffer(BYTE* pBuffer, LONG cbBuffer) noexcept;

    BYTE* m_pBuffer = nullptr; ///< not owned
    LONG m_cbBuffer = 0;       ///< usable bytes
    LONG m_cbActual = 0;       ///< valid bytes
    DWORD m_dwSampleFlags = 0; ///< AM_SAMPLE_... and SAMPLE_MEDIATIMEVALID
    DWORD m_dwTypeFlags = 0;   ///< dwTypeSpecificFlags
    COwnedMediaType m_pMediaType;
    REFERENCE_TIME m_tStart = 0; ///< 100 ns
    REFERENCE_TIME m_tEnd = 0;   ///< 100 ns
    LONGLONG m_llMediaStart = 0;
    LONGLONG m_llMediaEnd = 0;
    DWORD m_dwStreamId = 0;

protected:
    ~IMediaSample2Wrapper() = default;

private:
    bool HasFlag(DWORD dwFlag) const noexcept { return (m_dwSampleFlags & dwFlag) != 0; }
    HRESULT TellFlag(DWORD dwFlag, LPCWSTR pszFormat) const noexcept;
    HRESULT PutFlag(DWORD dwFlag, BOOL bSet, LPCWSTR pszFormat) noexcept;
    void TraceTimes(LPCWSTR pszFormat, const REFERENCE_TIME* pStart,
                    const REFERENCE_TIME* pEnd) const noexcept;
    HRESULT CheckProperties(DWORD cbProps, const AM_SAMPLE2_PROPERTIES& rgProps) const noexcept;
    /// Takes over those fields that lie within cbProps bytes, but for the media type.
    void StoreFields(DWORD cbProps, const AM_SAMPLE2_PROPERTIES& rgProps, DWORD dwSampleFlags) noexcept;
    void TraceProperties(DWORD cbProps) const noexcept;
};
