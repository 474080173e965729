#pragma once
/// What is shown: the list of names, the picture, its alpha policy, and the finished frame.

#include "dstl/WinAPI/Platform.h"

#include "Common/Common.h"
#include "PictureNames.h"
#include "QXStillSource.h"
#include "dstl/Old/FileList.h"
#include "dstl/WinAPI/Blob.h"
#include "dstl/WinAPI/Wrappers.h"

/// Whether files keep their alpha for the frames asked for.
inline bool KeepsAlpha(const QG_VID_PROPS& props) noexcept
{
    return props.fccType == eQGFCC_ARGB32;
}

/// One picture at a time. A name, or an entry of the list, becomes pixels or a built-in picture; the frame is
/// composed from it once and copied from then on.
///
/// Every operation may be called on any thread. The lock is held for the whole of it, the loading of a file
/// and the composition of a frame included.
class CStillPicture
{
public:
    /// Puts the list that a name stands for in the place of the earlier one, and selects its first entry.
    /// \param pszName null counts as empty
    /// \param bKeepAlpha as SelectPictureByName
    /// \param nEntries out: entries of the list
    /// \return S_OK; E_INVALIDARG for a list without entries; what SelectPictureByName returns
    HRESULT SetList(LPCWSTR pszName, bool bKeepAlpha, int& nEntries) noexcept;
    /// Selects an entry of a list of several. A name that fails leaves the picture as it was.
    /// \param nFrame number of the frame, counted round the list
    void SelectListEntry(LONGLONG nFrame, bool bKeepAlpha) noexcept;
    /// Selects a built-in picture, a colour or a file.
    /// \param pszName null counts as empty
    /// \param bKeepAlpha a file keeps its alpha straight; otherwise its colours are premultiplied with it
    /// \return S_OK, or what the loader returns
    HRESULT SelectPictureByName(LPCWSTR pszName, bool bKeepAlpha) noexcept;
    /// Shows these pixels in the place of a loaded picture.
    void SetPixels(CBLOBHolder<CTaskMemory>&& blobPixels, const PicProps& picPixels) noexcept;
    /// Whether the alpha of a loaded picture says anything decides between FOURCC_RGB32 and FOURCC_ARGB32.
    /// \return S_OK; E_OUTOFMEMORY
    HRESULT ClassifyAlpha() noexcept;

    /// Format of the loaded picture, or of the built-in one that was composed last.
    PicProps GetSourceProps() const noexcept;

    /// Sets the format of the frames. The next one is composed again.
    void SetOutput(const PicProps& picOutput) noexcept;
    /// Copies the finished frame, composing it first where there is none.
    /// \param pbBuf as large as a frame of the format
    /// \param cbBuf bytes of it: the copy ends there
    /// \param props aspect ratio and policy
    /// \return S_OK; E_INVALIDARG; what the composition returns
    HRESULT FillSampleBuffer(BYTE* pbBuf, DWORD cbBuf, const QG_VID_PROPS& props) noexcept;

private:
    HRESULT ComposeFrame(const QG_VID_PROPS& props) noexcept;
    HRESULT MakeSolidPicture(CBLOBHolder<CTaskMemory>& blobImage) noexcept;
    HRESULT MakeBuiltInPicture(CBLOBHolder<CTaskMemory>& blobImage) noexcept;

    friend struct PinProbe; // tests

    CFileNames m_arrFiles;        ///< the list
    LONG m_nPictureId = ePI_Bars; ///< ePictureId
    DWORD m_nSolidColor = 0;      ///< 0xAABBGGRR
    PicProps m_picSource = {FOURCC_UYVY, 720, 576, 720};
    CBLOBHolder<CTaskMemory> m_blobSource; ///< pixels of the loaded picture; they outrank m_nPictureId
    CBLOBHolder<CTaskMemory> m_blobFrame;  ///< the finished frame; size 0: to be composed
    PicProps m_picOutput{};                ///< format of the frames
    mutable CCritSec m_crsPicture;         ///< guards all of the above
};
