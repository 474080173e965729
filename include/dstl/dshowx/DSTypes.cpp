#include "dstl/dshowx/DSTypes.h"

#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/VideoBlock.h"

#include <cstddef>
#include <cstring>

namespace
{
/// What a major type requires of the rest of the record.
enum class eRequired
{
    Format,   ///< subtype, format type and format block
    Subtype,  ///< a subtype
    NoSubtype ///< no subtype
};

struct MajorRule
{
    GUID guidMajor;
    eRequired eRule;
};

/// The major type of a FOURCC: four characters in front of the standard tail.
constexpr GUID FourccMajor(char c0, char c1, char c2, char c3) noexcept
{
    const DWORD dwCode =
        static_cast<DWORD>(static_cast<BYTE>(c0)) | static_cast<DWORD>(static_cast<BYTE>(c1)) << 8 |
        static_cast<DWORD>(static_cast<BYTE>(c2)) << 16 | static_cast<DWORD>(static_cast<BYTE>(c3)) << 24;
    return {dwCode, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
}

/// Written as values: the platform spreads their declarations over several headers, not all of which exist
/// everywhere.
constexpr MajorRule rgMajorRules[] = {
    {FourccMajor('v', 'i', 'd', 's'), eRequired::Format},
    {FourccMajor('a', 'u', 'd', 's'), eRequired::Format},
    {FourccMajor('i', 'a', 'v', 's'), eRequired::Format},
    // MEDIATYPE_MPEG2_PES
    {{0xE06D8020, 0xDB46, 0x11CF, {0xB4, 0xD1, 0x00, 0x80, 0x5F, 0x6C, 0xBB, 0xEA}}, eRequired::Format},
    // MEDIATYPE_DVD_ENCRYPTED_PACK
    {{0xED0B916A, 0x044D, 0x11D1, {0xAA, 0x78, 0x00, 0xC0, 0x4F, 0xC3, 0x1D, 0x60}}, eRequired::Subtype},
    // MEDIATYPE_AUXLine21Data
    {{0x670AEA80, 0x3A82, 0x11D0, {0xB7, 0x9B, 0x00, 0xAA, 0x00, 0x37, 0x67, 0xA7}}, eRequired::Subtype},
    // MEDIATYPE_VBI
    {{0xF72A76E1, 0xEB0A, 0x11D0, {0xAC, 0xE4, 0x00, 0x00, 0xC0, 0xCC, 0x16, 0xBA}}, eRequired::Subtype},
    {FourccMajor('t', 'x', 't', 's'), eRequired::NoSubtype},
    {FourccMajor('m', 'i', 'd', 's'), eRequired::NoSubtype},
    {FourccMajor('d', 'm', 'c', 's'), eRequired::NoSubtype},
    // MEDIATYPE_Timecode
    {{0x0482DEE3, 0x7817, 0x11CF, {0x8A, 0x03, 0x00, 0xAA, 0x00, 0x6E, 0xCB, 0x65}}, eRequired::NoSubtype},
    // MEDIATYPE_AnalogAudio
    {{0x0482DEE1, 0x7817, 0x11CF, {0x8A, 0x03, 0x00, 0xAA, 0x00, 0x6E, 0xCB, 0x65}}, eRequired::NoSubtype},
};
} // namespace

bool MTIsSet(const AM_MEDIA_TYPE* pmt) noexcept
{
    return pmt && pmt->majortype != GUID_NULL;
}

bool MTIsComplete(const AM_MEDIA_TYPE* pmt) noexcept
{
    if (!MTIsSet(pmt))
        return false;

    const bool bSubtype = pmt->subtype != GUID_NULL;
    for (const MajorRule& rule : rgMajorRules)
    {
        if (pmt->majortype != rule.guidMajor)
            continue;
        switch (rule.eRule)
        {
        case eRequired::Format:
            return bSubtype && pmt->formattype != GUID_NULL && pmt->formattype != FORMAT_None &&
                   pmt->cbFormat != 0 && pmt->pbFormat;
        case eRequired::Subtype:
            return bSubtype;
        case eRequired::NoSubtype:
            return !bSubtype;
        }
    }
    return true;
}

HRESULT MTCheckVideo(const AM_MEDIA_TYPE* pmt, bool bHeader2Only) noexcept
{
    DSASSERT(pmt != NULL);
    if (pmt == nullptr)
        return E_POINTER;
    if (pmt->majortype != MEDIATYPE_Video)
        return VFW_E_INVALIDMEDIATYPE;
    if (pmt->subtype == GUID_NULL)
        return VFW_E_INVALIDSUBTYPE;
    if (pmt->pbFormat == nullptr)
        return VFW_E_INVALIDMEDIATYPE;

    const CVideoBlockReader block(*pmt);
    const bool bAccepted = block.IsWhole() && (block.Record()->bHeader2 || !bHeader2Only);
    return bAccepted ? S_OK : VFW_E_INVALIDMEDIATYPE;
}

REFERENCE_TIME MTFrameTime(const AM_MEDIA_TYPE* pmt) noexcept
{
    DSASSERT(pmt != NULL);
    if (pmt == nullptr)
        return 0;
    DSASSERT(pmt->majortype == MEDIATYPE_Video);
    if (pmt->majortype != MEDIATYPE_Video)
        return 0;
    DSASSERT_TEXT(FindVideoBlock(pmt->formattype) != nullptr,
                  "pmt->formattype == FORMAT_VideoInfo || pmt->formattype == FORMAT_VideoInfo2 || "
                  "pmt->formattype == FORMAT_MPEGVideo || pmt->formattype == FORMAT_MPEG2Video");
    DSASSERT(pmt->cbFormat >= sizeof(VIDEOINFOHEADER) && pmt->pbFormat != NULL);
    if (pmt->cbFormat < sizeof(VIDEOINFOHEADER) || pmt->pbFormat == nullptr)
        return 0;

    // Copied: a foreign block need not be aligned.
    REFERENCE_TIME rtFrame = 0;
    memcpy(&rtFrame, pmt->pbFormat + offsetof(VIDEOINFOHEADER, AvgTimePerFrame), sizeof(rtFrame));
    return rtFrame;
}

bool MTEqual(const AM_MEDIA_TYPE* pmt1, const AM_MEDIA_TYPE* pmt2) noexcept
{
    if (pmt1 == pmt2)
        return true;
    if (pmt1 == nullptr || pmt2 == nullptr)
        return false;

    const bool bFields = pmt1->majortype == pmt2->majortype && pmt1->subtype == pmt2->subtype &&
                         !pmt1->bFixedSizeSamples == !pmt2->bFixedSizeSamples &&
                         !pmt1->bTemporalCompression == !pmt2->bTemporalCompression &&
                         pmt1->lSampleSize == pmt2->lSampleSize && pmt1->formattype == pmt2->formattype &&
                         pmt1->pUnk == pmt2->pUnk && pmt1->cbFormat == pmt2->cbFormat &&
                         (pmt1->pbFormat == nullptr) == (pmt2->pbFormat == nullptr);
    if (!bFields)
        return false;
    return pmt1->pbFormat == nullptr || memcmp(pmt1->pbFormat, pmt2->pbFormat, pmt1->cbFormat) == 0;
}

CMType::CMType() noexcept
{
    MTInit(this);
}

CMType::CMType(const GUID& guidMajor, const GUID& guidSub) noexcept
{
    MTInit(this, guidMajor, guidSub);
}

CMType::CMType(const AM_MEDIA_TYPE* pmt) noexcept
{
    MTInit(this);
    if (FAILED(Set(pmt)))
        DSASSERT_TEXT(false, "CMType(const AM_MEDIA_TYPE* pmt) FAILED");
}

CMType::CMType(const CMType& mt) noexcept : AM_MEDIA_TYPE()
{
    MTInit(this);
    if (FAILED(Set(&mt)))
        DSASSERT_TEXT(false, "CMType(const CMType& mt) FAILED");
}

CMType::CMType(const GUID& guidMajor, const GUID& guidSub, const GUID& guidFormat, ULONG cb,
               const BYTE* pb) noexcept
{
    MTInit(this, guidMajor, guidSub);
    if (SUCCEEDED(SetFormat(cb, pb)))
        formattype = guidFormat;
}

CMType::~CMType()
{
    MTFree(this);
}

CMType& CMType::operator=(const AM_MEDIA_TYPE* pmt) noexcept
{
    if (pmt == nullptr)
    {
        Clear();
    }
    else if (FAILED(Set(pmt)))
    {
        DSASSERT_TEXT(false, "CMType& operator=(const AM_MEDIA_TYPE* pmt) FAILED");
        Clear();
    }
    return *this;
}

CMType& CMType::operator=(const CMType& mt) noexcept
{
    return *this = static_cast<const AM_MEDIA_TYPE*>(&mt);
}

HRESULT CMType::Set(const AM_MEDIA_TYPE* pmt) noexcept
{
    if (pmt == nullptr)
    {
        Clear();
        return S_OK;
    }
    if (pmt == this)
        return S_OK;

    BYTE* pbNew = nullptr;
    const HRESULT hr = MTDupFormat(pmt, &pbNew);
    if (FAILED(hr))
        return hr;

    MTFree(this);
    static_cast<AM_MEDIA_TYPE&>(*this) = *pmt;
    pbFormat = pbNew;
    if (pUnk)
        pUnk->AddRef();
    return S_OK;
}

void CMType::Reset(const GUID& guidMajor, const GUID& guidSub) noexcept
{
    MTFree(this);
    MTInit(this, guidMajor, guidSub);
}

void CMType::Clear() noexcept
{
    Reset(GUID_NULL, GUID_NULL);
}

HRESULT CMType::SetFormat(ULONG cb, const BYTE* pb) noexcept
{
    DSASSERT(cb != 0 || pb == NULL);
    if (cb == 0 && pb != nullptr)
        return E_INVALIDARG;
    DSASSERT((cbFormat == 0) == (pbFormat == NULL));

    BYTE* pbNew = nullptr;
    if (cb != 0)
    {
        pbNew = MTAllocFormat(cb, pb);
        if (pbNew == nullptr)
            return E_OUTOFMEMORY;
    }
    const COwnedTask<BYTE> earlier(std::exchange(pbFormat, pbNew));
    cbFormat = cb;
    return S_OK;
}

VIDEOINFOHEADER* CMType::VideoInfo() const noexcept
{
    if (formattype != FORMAT_VideoInfo || pbFormat == nullptr)
        return nullptr;
    DSASSERT(cbFormat >= sizeof(VIDEOINFOHEADER));
    return reinterpret_cast<VIDEOINFOHEADER*>(pbFormat);
}

VIDEOINFOHEADER2* CMType::VideoInfo2() const noexcept
{
    if (formattype != FORMAT_VideoInfo2 || pbFormat == nullptr)
        return nullptr;
    DSASSERT(cbFormat >= sizeof(VIDEOINFOHEADER2));
    return reinterpret_cast<VIDEOINFOHEADER2*>(pbFormat);
}

HRESULT CMType::CopyTo(AM_MEDIA_TYPE** ppmt) const noexcept
{
    DSASSERT(ppmt != NULL);
    if (ppmt == nullptr)
        return E_POINTER;
    *ppmt = MTDup(this);
    return *ppmt ? S_OK : E_FAIL;
}
