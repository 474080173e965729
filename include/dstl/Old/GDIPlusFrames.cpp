#include "dstl/Old/GDIPlusFrames.h"

#include "dstl/Old/DecodedFrame.h"
#include "dstl/WinAPI/Owner.h"
#include "dstl/dshowx/DSTrace.h"

#include <gdiplus.h>

#include <algorithm>
#include <utility>

// A call that fails leaves its result at the default, and what follows sees nothing there: a file that cannot
// be decoded has no dimensions, no delays and a frame that cannot be locked.
namespace
{
namespace Flat = Gdiplus::DllExports;

struct GdiPlusBitmapTraits
{
    using Value = Gdiplus::GpBitmap*;
    static bool Close(Gdiplus::GpBitmap* p) noexcept { return Flat::GdipDisposeImage(p) == Gdiplus::Ok; }
};

/// Owns a decoded bitmap, and with it the open file.
class CGdiPlusBitmap
{
public:
    CGdiPlusBitmap(const wchar_t* pszFile, HBITMAP hBitmap) noexcept
        : m_status(hBitmap != nullptr ? Flat::GdipCreateBitmapFromHBITMAP(hBitmap, nullptr, m_bitmap.Out())
                                      : Flat::GdipCreateBitmapFromFile(pszFile, m_bitmap.Out()))
    {
    }

    operator Gdiplus::GpBitmap*() const noexcept { return m_bitmap.Get(); }

    /// Nothing was made although nothing failed.
    bool IsMissing() const noexcept { return !m_bitmap && m_status == Gdiplus::Ok; }

private:
    COwner<GdiPlusBitmapTraits> m_bitmap;
    Gdiplus::GpStatus m_status;
};

/// The first dimension along which a picture has frames: time or pages.
class CFrameDimension
{
public:
    explicit CFrameDimension(const CGdiPlusBitmap& bitmap) noexcept : m_bitmap(bitmap)
    {
        UINT nDimensions = 0;
        Flat::GdipImageGetFrameDimensionsCount(bitmap, &nDimensions);
        if (nDimensions == 0 || nDimensions > MAXDWORD / sizeof(GUID))
            return;
        CBLOBHolder<CHeapMemory> blobList;
        if (FAILED(blobList.Alloc(static_cast<DWORD>(nDimensions * sizeof(GUID)), true)))
            return;
        GUID* const pList = reinterpret_cast<GUID*>(blobList.GetPtr());
        Flat::GdipImageGetFrameDimensionsList(bitmap, pList, nDimensions);
        m_guid = *pList;
        m_bExists = true;
        Flat::GdipImageGetFrameCount(bitmap, &m_guid, &m_nFrames);
    }

    CFrameDimension(const CFrameDimension&) = delete;
    CFrameDimension& operator=(const CFrameDimension&) = delete;

    /// At least one, also without a dimension.
    UINT GetFrames() const noexcept { return std::max(m_nFrames, 1u); }

    void Select(UINT nFrame) const noexcept
    {
        if (m_bExists)
            Flat::GdipImageSelectActiveFrame(m_bitmap, &m_guid, nFrame);
    }

private:
    const CGdiPlusBitmap& m_bitmap;
    GUID m_guid{};
    UINT m_nFrames = 0;
    bool m_bExists = false;
};

/// Delays of the frames, as the file states them.
class CFrameDelays
{
public:
    explicit CFrameDelays(const CGdiPlusBitmap& bitmap) noexcept
    {
        constexpr PROPID idFrameDelay = 0x5100; // PropertyTagFrameDelay
        UINT cb = 0;
        Flat::GdipGetPropertyItemSize(bitmap, idFrameDelay, &cb);
        if (cb < sizeof(Gdiplus::PropertyItem) || FAILED(m_blob.Alloc(cb, true)))
            return;
        auto* const pItem = reinterpret_cast<Gdiplus::PropertyItem*>(m_blob.GetPtr());
        if (Flat::GdipGetPropertyItem(bitmap, idFrameDelay, cb, pItem) != Gdiplus::Ok ||
            pItem->value == nullptr)
            return;
        m_pnDelays = static_cast<const LONG*>(pItem->value);
        m_nDelays = pItem->length / sizeof(LONG);
    }

    CFrameDelays(const CFrameDelays&) = delete;
    CFrameDelays& operator=(const CFrameDelays&) = delete;

    /// Hundredths of a second; 0 where the file says nothing.
    LONG operator[](UINT nFrame) const noexcept { return nFrame < m_nDelays ? m_pnDelays[nFrame] : 0; }

private:
    CBLOBHolder<CHeapMemory> m_blob; ///< the property, and its values behind it
    const LONG* m_pnDelays = nullptr;
    UINT m_nDelays = 0;
};

/// The pixels of the active frame, for reading, as long as this lives.
class CBitmapLock
{
public:
    CBitmapLock(const CGdiPlusBitmap& bitmap, UINT nWidth, UINT nHeight, Gdiplus::PixelFormat format) noexcept
        : m_bitmap(bitmap)
    {
        const Gdiplus::Rect rect(0, 0, static_cast<INT>(nWidth), static_cast<INT>(nHeight));
        m_status = Flat::GdipBitmapLockBits(bitmap, &rect, Gdiplus::ImageLockModeRead, format, &m_data);
    }
    ~CBitmapLock()
    {
        if (m_status == Gdiplus::Ok)
            Flat::GdipBitmapUnlockBits(m_bitmap, &m_data);
    }
    CBitmapLock(const CBitmapLock&) = delete;
    CBitmapLock& operator=(const CBitmapLock&) = delete;

    Gdiplus::GpStatus GetStatus() const noexcept { return m_status; }
    const Gdiplus::BitmapData& GetData() const noexcept { return m_data; }

private:
    const CGdiPlusBitmap& m_bitmap;
    Gdiplus::BitmapData m_data{};
    Gdiplus::GpStatus m_status;
};

/// Decodes the active frame.
/// \return S_OK; S_FALSE when it cannot be decoded; E_OUTOFMEMORY
HRESULT ReadFrame(const CGdiPlusBitmap& bitmap, bool bAlpha, PictureFrame& frame) noexcept
{
    UINT nWidth = 0;
    UINT nHeight = 0;
    Flat::GdipGetImageWidth(bitmap, &nWidth);
    Flat::GdipGetImageHeight(bitmap, &nHeight);
    const CBitmapLock lock(bitmap, nWidth, nHeight, bAlpha ? PixelFormat32bppARGB : PixelFormat32bppPARGB);
    if (lock.GetStatus() == Gdiplus::OutOfMemory)
        return E_OUTOFMEMORY;
    const Gdiplus::BitmapData& bmpData = lock.GetData();
    if (lock.GetStatus() != Gdiplus::Ok || bmpData.Stride == 0)
        return S_FALSE;
    DSASSERT_TEXT(bmpData.Stride == static_cast<LONGLONG>(bmpData.Width) * 4,
                  "bmpData.Stride == bmpData.Width * 4");

    const DecodedRows rows = {static_cast<const BYTE*>(bmpData.Scan0), bmpData.Stride, bmpData.Width,
                              bmpData.Height};
    DSTLBLOB imgBlob;
    const HRESULT hr = CopyRowsBottomUp(rows, &imgBlob);
    if (hr != S_OK)
        return hr;
    frame.blob.Attach(&imgBlob);
    frame.props.fccType = FOURCC_ARGB32;
    frame.props.nWidth = static_cast<LONG>(bmpData.Width);
    frame.props.nHeight = static_cast<LONG>(bmpData.Height);
    frame.props.nRowWidth = static_cast<LONG>(bmpData.Width);
    return S_OK;
}
} // namespace

HRESULT LoadFramesByGdiPlus(const wchar_t* pszFile, HBITMAP hBitmap, bool bAlpha,
                            CSimpleArray2<PictureFrame>& arrImages, bool bFirstOnly) noexcept
{
    const CGdiPlusBitmap bitmap(pszFile, hBitmap);
    if (bitmap.IsMissing())
        return E_INVALIDARG;
    const CFrameDimension dimension(bitmap);
    const CFrameDelays delays(bitmap);

    LONGLONG rtStart = 0;
    const UINT nFrames = dimension.GetFrames();
    for (UINT i = 0; i < nFrames; ++i)
    {
        dimension.Select(i);
        PictureFrame frame;
        const HRESULT hr = ReadFrame(bitmap, bAlpha, frame);
        if (FAILED(hr))
            return hr;
        if (hr != S_OK)
            continue;
        frame.rtDuration = FrameDuration(delays[i]);
        frame.rtStart = rtStart;
        rtStart = NextFrameStart(rtStart, frame.rtDuration);
        if (!arrImages.Add(PictureFrame())) // it takes copies, and the pixels are to move
            return E_OUTOFMEMORY;
        arrImages[arrImages.GetSize() - 1] = std::move(frame);
        if (bFirstOnly)
            break;
    }
    return arrImages.GetSize() != 0 ? S_OK : E_FAIL;
}
