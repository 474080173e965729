#pragma once
/// A snapshot of a media sample's properties: Load reads a chosen set of them, Save writes a chosen set, and
/// setters fill it by hand. Works on samples of any origin, so every answer is checked and reported.

#include "dstl/WinAPI/Platform.h"

#include <strmif.h>

/// Properties of a sample: the ones wanted, or the ones that a snapshot holds.
enum ePropMask : WORD
{
    PM_TIMESTART = 0x0001,
    PM_TIMEEND = 0x0002,
    PM_MEDIATIME = 0x0004,
    PM_SYNCPOINT = 0x0010,
    PM_PREROLL = 0x0020,
    PM_DISCONTINUITY = 0x0040,
    PM_TYPEFLAGS = 0x0080, ///< needs IMediaSample2
    PM_MEDIATYPE = 0x0100,
    PM_BUFFER = 0x1000,
    PM_ACTLEN = 0x2000,
    PM_STREAMID = 0x8000, ///< needs IMediaSample2
    PM_ALL = 0xFFFF
};

/// The end time that means "no end" (the lowest value).
inline constexpr REFERENCE_TIME rtNoEnd = static_cast<REFERENCE_TIME>(0x8000000000000000ull);

/// The payload step of CSampleT::Save.
class CSampleCopier
{
public:
    /// Sets the length of a sample and copies its bytes.
    /// \param wMask PM_BUFFER copies the bytes and needs PM_ACTLEN; PM_ACTLEN alone sets the length only
    /// \return S_OK; E_INVALIDARG; the sample's failure, or E_FAIL
    HRESULT CopyBuffer(IMediaSample* pDst, BYTE* pbSrc, LONG lActual, WORD wMask) noexcept;
};

/// The snapshot. It lives on the caller's stack for the time of one delivery and belongs to one thread.
class CSampleT : public CSampleCopier
{
public:
    CSampleT() noexcept;
    ~CSampleT();
    CSampleT(const CSampleT&) = delete;
    CSampleT& operator=(const CSampleT&) = delete;

    /// Zeroes everything and deletes the media type held.
    void Clear() noexcept;

    /// The snapshot no longer counts as holding these; the values stay.
    void RemoveProps(WORD wMask) noexcept;

    /// \param tE rtNoEnd for a sample without an end
    void SetTime(REFERENCE_TIME tS, REFERENCE_TIME tE) noexcept;
    void SetMediaTime(LONGLONG llMS, LONGLONG llME) noexcept;
    void SetSyncPoint(BOOL bSync) noexcept;
    void SetDiscontinuity(BOOL bDiscont) noexcept;
    void SetActualDataLength(LONG lActual) noexcept;

    /// Clears, then reads the wanted properties.
    /// \return S_OK; S_FALSE when some could not be had (never for PM_ALL); E_INVALIDARG; the sample's
    /// failure
    ///         or E_FAIL
    HRESULT Load(IMediaSample* pSrc, WORD wMask) noexcept;

    /// Writes those of the wanted properties that are held. What was written before a failure stays written.
    /// \return S_OK; S_FALSE when none of the wanted ones is held; E_INVALIDARG; E_NOINTERFACE; the sample's
    ///         failure or E_FAIL
    HRESULT Save(IMediaSample* pDst, WORD wMask) noexcept;

    WORD m_wProps;             ///< what is held, ePropMask
    REFERENCE_TIME m_tS, m_tE; ///< stream times, units of 100 ns
    LONGLONG m_llMS, m_llME;   ///< media times
    BOOL m_bSync, m_bPreroll, m_bDiscont;
    DWORD m_dwTypeFlags;  ///< dwTypeSpecificFlags
    AM_MEDIA_TYPE* m_pMT; ///< owned, as GetMediaType returned it
    LONG m_lActual;       ///< valid bytes
    BYTE* m_pbBuf;        ///< borrowed: the snapshot does not keep the sample alive
    LONG m_cbBuf;         ///< size of that buffer in bytes
    DWORD m_dwStreamId;

private:
    void LoadTime(IMediaSample* pSrc, WORD wMask) noexcept;
    void LoadMediaTime(IMediaSample* pSrc) noexcept;
    HRESULT LoadFlags(IMediaSample* pSrc, WORD wMask) noexcept;
    HRESULT LoadProperties2(IMediaSample* pSrc, WORD wMask) noexcept;
    HRESULT LoadMediaType(IMediaSample* pSrc) noexcept;
    HRESULT LoadBuffer(IMediaSample* pSrc, WORD wMask) noexcept;
    HRESULT SaveProperties2(IMediaSample* pDst, WORD wSave) noexcept;
    HRESULT SaveFields(IMediaSample* pDst, WORD wSave) const noexcept;
};
