#pragma once
/// The current media type of a pin.

#include "dstl/WinAPI/Wrappers.h"
#include "dstl/dshowx/DSVideo.h"

/// What a frame has to know of the media type.
struct StreamFormat
{
    PicProps pic{};             ///< zero for a type without a picture
    REFERENCE_TIME rtFrame = 0; ///< length of a frame in units of 100 ns, 0 where the type says nothing
};

/// A pin's only media type, with what is derived from it. Copies may be taken on any thread while the worker
/// stores a new type.
class CMTSingle
{
public:
    /// Stores a deep copy; null, or a type that cannot be copied, stores the empty type.
    void SetMediaType(const AM_MEDIA_TYPE* pmt) noexcept;
    /// A deep copy into a record that holds nothing yet, a fresh CMType for instance.
    /// \return S_OK, or a failure that leaves the record as it was
    HRESULT CopyMediaType(AM_MEDIA_TYPE* pmt) const noexcept;
    /// The enumerator's view: a fresh copy in task memory for index 0 of a type that is set.
    /// \return S_OK, S_FALSE behind the end, E_OUTOFMEMORY
    HRESULT GetMediaType(ULONG i, AM_MEDIA_TYPE** ppmt) const noexcept;

    StreamFormat GetStreamFormat() const noexcept;
    PicProps GetPicProps() const noexcept;
    REFERENCE_TIME FrameTime() const noexcept;

private:
    friend struct PinProbe; // tests

    CMType m_theMediaType;      ///< the current type
    PicProps m_picType{};       ///< its picture
    mutable CCritSec m_crsType; ///< leaf; guards both
};
