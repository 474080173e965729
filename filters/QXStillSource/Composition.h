#pragma once
/// From the picture to the frame in output format.

#include "dstl/WinAPI/Platform.h"

#include "Common/Common.h"
#include "QXStillSource.h"
#include "dstl/WinAPI/Blob.h"

/// A picture as the composition takes it.
struct PictureView
{
    BYTE* pbPixels; ///< null: no pixels. Read only
    DWORD cbPixels; ///< what the format claims beyond them reads as zero
    PicProps pic;
    bool bSmooth; ///< scaled by the cubic filter; otherwise by the nearest pixel
};

/// Bytes in use of a block, or null.
template <class TBlob>
BYTE* BlobData(const TBlob& blob) noexcept
{
    return blob.GetSize() != 0 ? blob.GetPtr() : nullptr;
}

/// Converts a picture to the format of the frame, scales it into the frame with the aspect policy of props,
/// and paints the margins. Without memory the frame stays empty or black.
/// \param blobFrame out: the frame
void ComposePicture(const PictureView& picture, const PicProps& picOutput, const QG_VID_PROPS& props,
                    CBLOBHolder<CTaskMemory>& blobFrame) noexcept;
