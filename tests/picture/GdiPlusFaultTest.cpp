// A decoder that fails, or answers what none should: results, and that nothing stays locked or alive. The
// linker leads the calls of GDI+ to the replacements here.
#include "TempFiles.h"
#include "dstl/Old/GDIPlusFrames.h"
#include "support/LogCapture.h"

#include <gdiplus.h>
#include <gtest/gtest.h>

#include <string>

namespace
{
using Texts = std::vector<std::string>;

/// What the decoder that the test plays answers; only one picture exists, and it need not be real.
struct Decoder
{
    Gdiplus::GpStatus create = Gdiplus::Ok;
    bool bObject = true;
    UINT nDimensions = 1;
    Gdiplus::GpStatus list = Gdiplus::Ok;
    UINT nFrames = 1;
    UINT cbDelays = 0; ///< size of the property, as told
    std::vector<LONG> delays;
    Gdiplus::GpStatus property = Gdiplus::Ok;
    UINT nWidth = 2, nHeight = 2;
    Gdiplus::GpStatus size = Gdiplus::Ok;
    std::vector<Gdiplus::GpStatus> locks; ///< of each frame; Ok behind the last
    INT nStride = 8;
    Bytes bits = Pattern(16);
    size_t nTop = 0; ///< of the top row in the bits

    // What was done with it
    int nAlive = 0, nLocked = 0, nLocks = 0;
    std::vector<UINT> selected;
    Gdiplus::PixelFormat format = 0;
    Gdiplus::Rect rect;
};

Decoder* g_pDecoder = nullptr;

const GUID g_guidDimension = {0x12345678, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};

Gdiplus::GpBitmap* Object()
{
    return reinterpret_cast<Gdiplus::GpBitmap*>(g_pDecoder);
}

Gdiplus::GpStatus Create(Gdiplus::GpBitmap** ppBitmap)
{
    if (g_pDecoder->bObject)
    {
        *ppBitmap = Object();
        ++g_pDecoder->nAlive;
    }
    return g_pDecoder->create;
}
} // namespace

using Gdiplus::GpBitmap;
using Gdiplus::GpImage;
using Gdiplus::GpStatus;

extern "C"
{
    GpStatus WINAPI __wrap_GdipCreateBitmapFromFile(const WCHAR*, GpBitmap** ppBitmap)
    {
        return Create(ppBitmap);
    }

    GpStatus WINAPI __wrap_GdipCreateBitmapFromHBITMAP(HBITMAP, HPALETTE hPalette, GpBitmap** ppBitmap)
    {
        EXPECT_EQ(hPalette, nullptr);
        return Create(ppBitmap);
    }

    GpStatus WINAPI __wrap_GdipDisposeImage(GpImage* pImage)
    {
        EXPECT_EQ(pImage, Object());
        EXPECT_EQ(g_pDecoder->nLocked, 0);
        --g_pDecoder->nAlive;
        return Gdiplus::Ok;
    }

    GpStatus WINAPI __wrap_GdipImageGetFrameDimensionsCount(GpImage* pImage, UINT* pnCount)
    {
        if (pImage == nullptr)
            return Gdiplus::InvalidParameter;
        *pnCount = g_pDecoder->nDimensions;
        return Gdiplus::Ok;
    }

    GpStatus WINAPI __wrap_GdipImageGetFrameDimensionsList(GpImage*, GUID* pguid, UINT nCount)
    {
        EXPECT_EQ(nCount, g_pDecoder->nDimensions);
        if (g_pDecoder->list != Gdiplus::Ok)
            return g_pDecoder->list;
        for (UINT i = 0; i < nCount; ++i)
        {
            pguid[i] = g_guidDimension;
            pguid[i].Data1 += i;
        }
        return Gdiplus::Ok;
    }

    GpStatus WINAPI __wrap_GdipImageGetFrameCount(GpImage*, const GUID* pguid, UINT* pnFrames)
    {
        if (!IsEqualGUID(*pguid, g_guidDimension)) // the first one counts
            return Gdiplus::InvalidParameter;
        *pnFrames = g_pDecoder->nFrames;
        return Gdiplus::Ok;
    }

    GpStatus WINAPI __wrap_GdipImageSelectActiveFrame(GpImage*, const GUID*, UINT nFrame)
    {
        g_pDecoder->selected.push_back(nFrame);
        return Gdiplus::Ok;
    }

    GpStatus WINAPI __wrap_GdipGetPropertyItemSize(GpImage* pImage, PROPID id, UINT* pcb)
    {
        EXPECT_EQ(id, 0x5100u);
        if (pImage == nullptr || g_pDecoder->cbDelays == 0)
            return Gdiplus::PropertyNotFound;
        *pcb = g_pDecoder->cbDelays;
        return Gdiplus::Ok;
    }

    GpStatus WINAPI __wrap_GdipGetPropertyItem(GpImage*, PROPID id, UINT cb, Gdiplus::PropertyItem* pItem)
    {
        EXPECT_EQ(id, 0x5100u);
        EXPECT_EQ(cb, g_pDecoder->cbDelays);
        if (g_pDecoder->property != Gdiplus::Ok)
            return g_pDecoder->property;
        pItem->length = static_cast<ULONG>(g_pDecoder->delays.size() * sizeof(LONG));
        pItem->value = g_pDecoder->delays.empty() ? nullptr : g_pDecoder->delays.data();
        return Gdiplus::Ok;
    }

    GpStatus WINAPI __wrap_GdipGetImageWidth(GpImage*, UINT* pn)
    {
        if (g_pDecoder->size == Gdiplus::Ok)
            *pn = g_pDecoder->nWidth;
        return g_pDecoder->size;
    }

    GpStatus WINAPI __wrap_GdipGetImageHeight(GpImage*, UINT* pn)
    {
        if (g_pDecoder->size == Gdiplus::Ok)
            *pn = g_pDecoder->nHeight;
        return g_pDecoder->size;
    }

    GpStatus WINAPI __wrap_GdipBitmapLockBits(GpBitmap* pBitmap, const Gdiplus::Rect* pRect, UINT nFlags,
                                              Gdiplus::PixelFormat format, Gdiplus::BitmapData* pData)
    {
        if (pBitmap == nullptr)
            return Gdiplus::InvalidParameter;
        EXPECT_EQ(nFlags, static_cast<UINT>(Gdiplus::ImageLockModeRead));
        const size_t nLock = static_cast<size_t>(g_pDecoder->nLocks++);
        g_pDecoder->format = format;
        g_pDecoder->rect = *pRect;
        if (nLock < g_pDecoder->locks.size() && g_pDecoder->locks[nLock] != Gdiplus::Ok)
            return g_pDecoder->locks[nLock];
        ++g_pDecoder->nLocked;
        pData->Width = g_pDecoder->nWidth;
        pData->Height = g_pDecoder->nHeight;
        pData->Stride = g_pDecoder->nStride;
        pData->Scan0 = g_pDecoder->bits.data() + g_pDecoder->nTop;
        return Gdiplus::Ok;
    }

    GpStatus WINAPI __wrap_GdipBitmapUnlockBits(GpBitmap* pBitmap, Gdiplus::BitmapData*)
    {
        EXPECT_EQ(pBitmap, Object());
        --g_pDecoder->nLocked;
        return Gdiplus::Ok;
    }
}

namespace
{
struct GdiPlusFault : testing::Test
{
    GdiPlusFault() { g_pDecoder = &decoder; }
    ~GdiPlusFault() override
    {
        EXPECT_EQ(decoder.nAlive, 0);
        EXPECT_EQ(decoder.nLocked, 0);
        g_pDecoder = nullptr;
    }

    HRESULT Load(bool bFirstOnly = false, bool bAlpha = true, HBITMAP hBitmap = nullptr)
    {
        decoder.nLocks = 0;
        decoder.selected.clear();
        frames.RemoveAll();
        return LoadFramesByGdiPlus(L"a", hBitmap, bAlpha, frames, bFirstOnly);
    }

    Bytes Frame(int i) const
    {
        const CBLOBHolder<CTaskMemory>& blob = frames[i].blob;
        return Bytes(blob.GetPtr(), blob.GetPtr() + blob.GetSize());
    }

    Decoder decoder;
    CSimpleArray2<PictureFrame> frames;
    AssertCapture asserts;
};

TEST_F(GdiPlusFault, AsExpected)
{
    ASSERT_EQ(Load(), S_OK);
    ASSERT_EQ(frames.GetSize(), 1);
    Bytes expected(decoder.bits.begin() + 8, decoder.bits.end());
    expected.insert(expected.end(), decoder.bits.begin(), decoder.bits.begin() + 8);
    EXPECT_EQ(Frame(0), expected);
    EXPECT_EQ(decoder.selected, std::vector<UINT>{0});
    EXPECT_EQ(decoder.format, 0x26200A); // straight
    EXPECT_EQ(decoder.rect.X, 0);
    EXPECT_EQ(decoder.rect.Y, 0);
    EXPECT_EQ(decoder.rect.Width, 2);
    EXPECT_EQ(decoder.rect.Height, 2);
    ASSERT_EQ(Load(false, false), S_OK);
    EXPECT_EQ(decoder.format, 0xE200B); // multiplied
    ASSERT_EQ(Load(false, false, reinterpret_cast<HBITMAP>(ULONG_PTR{1})), S_OK);
    EXPECT_EQ(frames.GetSize(), 1);
    EXPECT_EQ(asserts.Texts(), Texts{});
}

TEST_F(GdiPlusFault, NoObject)
{
    decoder.bObject = false;
    EXPECT_EQ(Load(), E_INVALIDARG);
    for (const GpStatus status : {Gdiplus::OutOfMemory, Gdiplus::InvalidParameter, Gdiplus::FileNotFound,
                                  Gdiplus::UnknownImageFormat, Gdiplus::GdiplusNotInitialized})
    {
        decoder.create = status; // a file that cannot be decoded: no frames
        EXPECT_EQ(Load(), E_FAIL) << status;
    }
    EXPECT_EQ(decoder.nLocks, 0);
}

TEST_F(GdiPlusFault, LockWithoutMemoryEndsAtOnce)
{
    decoder.nFrames = 3;
    decoder.locks = {Gdiplus::Ok, Gdiplus::OutOfMemory};
    EXPECT_EQ(Load(), E_OUTOFMEMORY);
    EXPECT_EQ(decoder.nLocks, 2);
    EXPECT_EQ(frames.GetSize(), 1); // what was appended before stays with the caller
}

TEST_F(GdiPlusFault, FramesThatCannotBeLockedAreLeftOut)
{
    decoder.nFrames = 4;
    decoder.locks = {Gdiplus::Win32Error, Gdiplus::Ok, Gdiplus::InvalidParameter};
    decoder.delays = {5, 6, 7, 8};
    decoder.cbDelays = 100;
    EXPECT_EQ(Load(), S_OK);
    ASSERT_EQ(frames.GetSize(), 2);
    EXPECT_EQ(frames[0].rtDuration, 600000); // delays go with the numbers of the frames
    EXPECT_EQ(frames[1].rtDuration, 800000);
    EXPECT_EQ(frames[1].rtStart, 600000);
    EXPECT_EQ(decoder.selected, (std::vector<UINT>{0, 1, 2, 3}));

    EXPECT_EQ(Load(true), S_OK); // the first one that can be decoded
    EXPECT_EQ(frames.GetSize(), 1);
    EXPECT_EQ(decoder.selected, (std::vector<UINT>{0, 1}));

    decoder.nStride = 0;
    EXPECT_EQ(Load(), E_FAIL);
    EXPECT_EQ(asserts.Texts(), Texts{});
}

TEST_F(GdiPlusFault, OtherStrides)
{
    const Texts assertion = {"bmpData.Stride == bmpData.Width * 4"};
    decoder.nStride = 12; // four bytes of slack
    decoder.bits = Pattern(20);
    ASSERT_EQ(Load(), S_OK);
    const Bytes& b = decoder.bits;
    EXPECT_EQ(Frame(0), (Bytes{b[12], b[13], b[14], b[15], b[16], b[17], b[18], b[19], 0, 0, 0, 0,
                               b[0],  b[1],  b[2],  b[3],  b[4],  b[5],  b[6],  b[7],  0, 0, 0, 0}));
    EXPECT_EQ(frames[0].props.nRowWidth, 2);
    EXPECT_EQ(asserts.Texts(), assertion);

    asserts.Clear();
    decoder.nStride = -8; // the bottom row first
    decoder.nTop = 8;
    decoder.bits = Pattern(16);
    ASSERT_EQ(Load(), S_OK);
    EXPECT_EQ(Frame(0), decoder.bits);
    EXPECT_EQ(asserts.Texts(), assertion);

    asserts.Clear();
    decoder.nStride = 7; // no room for the pixels
    decoder.nTop = 0;
    EXPECT_EQ(Load(), E_FAIL);
    EXPECT_EQ(asserts.Texts(), assertion);
}

TEST_F(GdiPlusFault, SizesThatDoNotFit)
{
    decoder.nWidth = 65536;
    decoder.nHeight = 65536;
    decoder.nStride = 65536 * 4;
    EXPECT_EQ(Load(), E_OUTOFMEMORY);
    EXPECT_EQ(frames.GetSize(), 0);
}

TEST_F(GdiPlusFault, DelaysOfEverySort)
{
    decoder.nFrames = 3;
    decoder.cbDelays = 100;
    decoder.delays = {1}; // fewer than frames
    ASSERT_EQ(Load(), S_OK);
    ASSERT_EQ(frames.GetSize(), 3);
    EXPECT_EQ(frames[0].rtDuration, 1000000);
    EXPECT_EQ(frames[1].rtDuration, 0);
    EXPECT_EQ(frames[1].rtStart, 1000000);
    EXPECT_EQ(frames[2].rtStart, 1400000);

    decoder.delays = {-1, 2, 3};
    ASSERT_EQ(Load(), S_OK);
    EXPECT_EQ(frames[0].rtDuration, -1000000); // compared with its sign
    EXPECT_EQ(frames[1].rtStart, -1000000);

    for (const UINT cb : {1u, 4u, 23u}) // no room for a property
    {
        decoder.cbDelays = cb;
        ASSERT_EQ(Load(), S_OK);
        EXPECT_EQ(frames[0].rtDuration, 0);
    }
    decoder.cbDelays = 100;
    decoder.property = Gdiplus::PropertyNotFound;
    ASSERT_EQ(Load(), S_OK);
    EXPECT_EQ(frames[0].rtDuration, 0);
    decoder.property = Gdiplus::Ok;
    decoder.delays.clear(); // a property without values
    ASSERT_EQ(Load(), S_OK);
    EXPECT_EQ(frames[0].rtDuration, 0);
}

TEST_F(GdiPlusFault, Dimensions)
{
    decoder.nDimensions = 0; // nothing to select, one frame all the same
    decoder.nFrames = 5;
    ASSERT_EQ(Load(), S_OK);
    EXPECT_EQ(frames.GetSize(), 1);
    EXPECT_TRUE(decoder.selected.empty());

    decoder.nDimensions = 3; // the first one counts
    ASSERT_EQ(Load(), S_OK);
    EXPECT_EQ(frames.GetSize(), 5);

    decoder.list = Gdiplus::Win32Error; // no frames are told then
    ASSERT_EQ(Load(), S_OK);
    EXPECT_EQ(frames.GetSize(), 1);

    decoder.list = Gdiplus::Ok;
    decoder.nFrames = 0;
    ASSERT_EQ(Load(), S_OK);
    EXPECT_EQ(frames.GetSize(), 1);
}

TEST_F(GdiPlusFault, FailedSizeLocksAnEmptyRectangle)
{
    decoder.size = Gdiplus::Win32Error;
    decoder.locks = {Gdiplus::InvalidParameter};
    EXPECT_EQ(Load(), E_FAIL);
    EXPECT_EQ(decoder.rect.Width, 0);
    EXPECT_EQ(decoder.rect.Height, 0);
}
} // namespace
