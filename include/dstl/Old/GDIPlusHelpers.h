#pragma once
/// Picture loader: from a file name or a bitmap handle to pixels in memory, and the start and stop of GDI+.

#include "dstl/WinAPI/Platform.h"
#include "dstl/WinAPI/Blob.h"
#include "dstl/WinAPI/Containers.h"
#include "Video/TgaBmp/BmpHeader.h"
#include "Common/Common.h"

/// Starts GDI+ version 1 for its caller, with no debug callback and nothing suppressed. Each start needs a
/// stop.
/// \param pToken out: what GdiPlusStop takes; 0 when the start failed
void GdiPlusStart(ULONG_PTR* pToken) noexcept;

/// Ends what GdiPlusStart began.
void GdiPlusStop(ULONG_PTR nToken) noexcept;

/// One decoded picture.
struct PictureFrame
{
    CBLOBHolder<CTaskMemory> blob; ///< the pixels; the block may end in zero bytes that no pixel covers
    PicProps props{};              ///< format code, width, height, row width
    LONGLONG rtDuration = 0;       ///< 100 ns units: how long this frame shows; 0 when the file does not say
    LONGLONG rtStart = 0;          ///< 100 ns units: start of this frame within the sequence
};

/// The picture loader. It holds no state; the caller owns what it hands back. No locks.
///
/// Pixels are FOURCC_ARGB32 or FOURCC_RGB24, bottom-up unless the height is negative, row width = width.
/// bAlpha true keeps alpha straight, false premultiplies the colours with it; TGA files are taken to hold
/// straight alpha, 32-bit BMP files and bitmap handles premultiplied colour.
class CPicturePersist
{
public:
    /// Loads the first frame of a picture.
    /// \param hBitmap 0: the file is read; otherwise the bitmap, and the name must still be that of a file
    /// \param blob out: takes over the pixels; unchanged on failure, like props
    /// \return S_OK; 0x80070002 when the file is not there; E_OUTOFMEMORY; another failure when nothing reads
    /// it
    static HRESULT LoadPicture(const wchar_t* pszFile, HBITMAP hBitmap, bool bAlpha,
                               CBLOBHolder<CTaskMemory>& blob, PicProps& props) noexcept;

    /// Loads the frames of a picture behind what arrImages already holds. What the readers of this system refuse
    /// goes to GDI+, which must have been started.
    /// \param bFirstOnly true: the first frame is enough
    /// \return as LoadPicture; S_OK also when nothing was read but arrImages was not empty before
    static HRESULT LoadFrames(const wchar_t* pszFile, HBITMAP hBitmap, bool bAlpha,
                              CSimpleArray2<PictureFrame>& arrImages, bool bFirstOnly) noexcept;

    /// Reads a BMP file as it is stored. Nobody else may have the file open.
    /// \param pBmpHeader out: the header, mended by TestAndCorrectBmpHeader; zeroed on failure
    /// \param ppPicture out: biSizeImage bytes of pixels, for the caller to free by CoTaskMemFree; null on
    /// failure. The block is at least PictureBlockSize bytes long, what lies behind the pixels is zero.
    static HRESULT LoadFromFile(const wchar_t* pszFileName, BITMAPINFOHEADER* pBmpHeader,
                                BYTE** ppPicture) noexcept;

    /// Reads a bitmap handle as it is stored.
    /// \param pBmpHeader out: may be null
    /// \param ppPicture out: may be null; the pixels, for the caller to free by CoTaskMemFree, even after a
    /// failure. The block is at least PictureBlockSize bytes long, what lies behind the pixels is zero.
    static HRESULT LoadFromHBITMAP(HBITMAP hBitmap, BITMAPINFOHEADER* pBmpHeader, BYTE** ppPicture) noexcept;

    /// \see the function of the same name
    static bool TestAndCorrectBmpHeader(BITMAPINFOHEADER* pBmpHeader) noexcept
    {
        return ::TestAndCorrectBmpHeader(pBmpHeader);
    }

    /// \return the last dot of the file's name, or the end of the text. The first character is not looked at,
    /// so a name that is only ".tga" has no extension. A null name is returned as it is.
    static const wchar_t* FileExtension(const wchar_t* pszName) noexcept;
};
