#pragma once
/// Media type values: questions to a bare AM_MEDIA_TYPE, and the class that gives it the semantics of a
/// value.

#include "dstl/Old/dsnew.h"
#include "dstl/WinAPI/Owner.h"

#include <amvideo.h>
#include <dvdmedia.h>
#include <vfwmsgs.h>

/// True when the type is not null and its major type is not GUID_NULL.
bool MTIsSet(const AM_MEDIA_TYPE* pmt) noexcept;

/// True when the record names all that its major type requires: subtype, format type and format block.
bool MTIsComplete(const AM_MEDIA_TYPE* pmt) noexcept;

/// Checks a video type: subtype present, format block large enough for its format type.
/// \param bHeader2Only accept only the two format types that begin with a VIDEOINFOHEADER2
/// \return S_OK; E_POINTER; VFW_E_INVALIDMEDIATYPE; VFW_E_INVALIDSUBTYPE
HRESULT MTCheckVideo(const AM_MEDIA_TYPE* pmt, bool bHeader2Only) noexcept;

/// \return AvgTimePerFrame of the video header in units of 100 ns; 0 when there is none
REFERENCE_TIME MTFrameTime(const AM_MEDIA_TYPE* pmt) noexcept;

/// True when both are null, or all fields and the bytes of the format blocks are equal.
bool MTEqual(const AM_MEDIA_TYPE* pmt1, const AM_MEDIA_TYPE* pmt2) noexcept;

/// A record in task memory that a call has handed out, with all that it holds.
struct MediaTypeTraits
{
    using Value = AM_MEDIA_TYPE*;
    static bool Close(AM_MEDIA_TYPE* pmt) noexcept
    {
        MTDelete(pmt);
        return true;
    }
};
using COwnedMediaType = COwner<MediaTypeTraits>;

/// An AM_MEDIA_TYPE that owns its format block and its reference on pUnk. It adds no fields and no virtual
/// operations, so its address can stand wherever an AM_MEDIA_TYPE is asked for. Empty while majortype is
/// GUID_NULL. cbFormat is 0 exactly when pbFormat is null. No lock: whoever holds the value guards it.
class CMType : public AM_MEDIA_TYPE
{
public:
    CMType() noexcept;
    explicit CMType(const GUID& guidMajor, const GUID& guidSub = GUID_NULL) noexcept;
    /// A failed copy leaves an empty value.
    explicit CMType(const AM_MEDIA_TYPE* pmt) noexcept;
    CMType(const CMType& mt) noexcept;
    /// The format type is stored only when the format block could be.
    CMType(const GUID& guidMajor, const GUID& guidSub, const GUID& guidFormat, ULONG cb,
           const BYTE* pb) noexcept;
    ~CMType();

    /// Null clears. A failed copy leaves an empty value and not the old one.
    CMType& operator=(const AM_MEDIA_TYPE* pmt) noexcept;
    CMType& operator=(const CMType& mt) noexcept;

    /// Deep assignment; null clears. A failure leaves the value as it was.
    /// \return S_OK; E_UNEXPECTED for a malformed source; E_OUTOFMEMORY
    HRESULT Set(const AM_MEDIA_TYPE* pmt) noexcept;

    /// Frees what the value holds and makes it fresh.
    void Reset(const GUID& guidMajor, const GUID& guidSub) noexcept;

    /// Makes the value empty.
    void Clear() noexcept;

    /// Replaces the format block. A failure leaves the old one in place.
    /// \param pb cb bytes, or null for zeros
    /// \return S_OK; E_INVALIDARG; E_OUTOFMEMORY
    HRESULT SetFormat(ULONG cb, const BYTE* pb) noexcept;

    /// The format block as a VIDEOINFOHEADER; null for another format type or without a block. A block that
    /// is too small is asserted and returned all the same: for types from outside ask MTCheckVideo first.
    VIDEOINFOHEADER* VideoInfo() const noexcept;

    /// The same for VIDEOINFOHEADER2.
    VIDEOINFOHEADER2* VideoInfo2() const noexcept;

    /// \param ppmt a copy, which the caller frees with MTDelete
    /// \return S_OK; E_POINTER; E_FAIL
    HRESULT CopyTo(AM_MEDIA_TYPE** ppmt) const noexcept;

    /// True unless the value is empty.
    bool IsDefined() const noexcept { return MTIsSet(this); }
};

static_assert(sizeof(CMType) == sizeof(AM_MEDIA_TYPE));
