#include "dstl/dshowx/MTSingle.h"

#include <utility>

void CMTSingle::SetMediaType(const AM_MEDIA_TYPE* pmt) noexcept
{
    CMType mt(pmt);
    PicProps pic{};
    MTGetPicProps(&mt, &pic);
    // The records change places, so that the old type is freed outside the lock.
    CScopedLock lock(&m_crsType);
    std::swap(static_cast<AM_MEDIA_TYPE&>(mt), static_cast<AM_MEDIA_TYPE&>(m_theMediaType));
    m_picType = pic;
}

HRESULT CMTSingle::CopyMediaType(AM_MEDIA_TYPE* pmt) const noexcept
{
    CScopedLock lock(&m_crsType);
    return MTCopy(pmt, &m_theMediaType);
}

HRESULT CMTSingle::GetMediaType(ULONG i, AM_MEDIA_TYPE** ppmt) const noexcept
{
    *ppmt = nullptr;
    CScopedLock lock(&m_crsType);
    if (i != 0 || !m_theMediaType.IsDefined())
        return S_FALSE;
    *ppmt = MTDup(&m_theMediaType);
    return *ppmt != nullptr ? S_OK : E_OUTOFMEMORY;
}

StreamFormat CMTSingle::GetStreamFormat() const noexcept
{
    CScopedLock lock(&m_crsType);
    return {m_picType, MTFrameTime(&m_theMediaType)};
}

PicProps CMTSingle::GetPicProps() const noexcept
{
    CScopedLock lock(&m_crsType);
    return m_picType;
}

REFERENCE_TIME CMTSingle::FrameTime() const noexcept
{
    CScopedLock lock(&m_crsType);
    return MTFrameTime(&m_theMediaType);
}
