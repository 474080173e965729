#include "imgconverter/ImgConverter.h"

#include "dstl/dshowx/DSTrace.h"
#include "imgconverter/Block.h"
#include "imgconverter/ResizePacked.h"
#include "imgconverter/ResizePlane.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace
{

/// Values from here on become cubic for interleaved RGB.
constexpr int nInterpolationEnd = 0x40;

/// What runs for a format.
enum class eBranch
{
    None,
    Interleaved,
    PackedYUV,
    PlanarYUV
};

struct FormatBranch
{
    eBranch branch;
    int nChannels;
    bool bChromaFirst; ///< packed with its luma in the odd bytes
    bool bLimitMode;   ///< nInterpolationEnd holds
};

/// The 16-bit RGB codes have no branch. \param pic a usable one
FormatBranch FindBranch(const PicProps& pic) noexcept
{
    bool bYUV = false;
    bool bPlanar = false;
    DWORD dwBitCount = 0;
    GetPicFormat(&pic, &bYUV, &bPlanar, &dwBitCount);
    if (bPlanar)
        return {eBranch::PlanarYUV, 1, false, false};
    if (bYUV)
        return {eBranch::PackedYUV, 1, FormatOf(pic.fccType).arrParts[0].nOffset != 0, false};
    if (dwBitCount == 16)
        return {eBranch::None, 0, false, false};
    return {eBranch::Interleaved, static_cast<int>(dwBitCount / 8), false, dwBitCount != 8};
}

LONG Width(const RECT& rc) noexcept
{
    return rc.right - rc.left;
}

LONG Height(const RECT& rc) noexcept
{
    return rc.bottom - rc.top;
}

bool IsEmpty(const RECT& rc) noexcept
{
    return Width(rc) <= 0 || Height(rc) <= 0;
}

/// A picture of the call, seen as planes.
struct PlaneView
{
    DWORD arrShift[3] = {};
    DWORD arrStep[3] = {};
    DWORD arrOffset[3] = {}; ///< of the output's rectangle
    bool bMirror = false;
    RECT rc = {};
};

/// The memory row that a rectangle starts in.
LONG FirstMemoryRow(const PicProps& pic, const PlaneView& view) noexcept
{
    return view.bMirror ? static_cast<LONG>(AbsHeight(pic.nHeight) - static_cast<DWORD>(view.rc.bottom))
                        : view.rc.top;
}

int InterpolationOf(int nMode, const PlaneView& src, const PlaneView& dst) noexcept
{
    switch (nMode)
    {
    case eIR_RequestNearest:
        return eIP_Nearest;
    case eIR_RequestLinear:
        return eIP_Linear;
    case eIR_RequestBest:
        return Width(dst.rc) > Width(src.rc) || Height(dst.rc) > Height(src.rc) ? eIP_Cubic : eIP_Super;
    default:
        return nMode;
    }
}

/// A call on its way through a branch.
struct ResizeCall
{
    const PicProps& picInput;
    const PicProps& picOutput;
    PlaneView src;
    PlaneView dst;
    FormatBranch branch;
    SharpScale luma; ///< or RGB
    SharpScale chroma;

    const BYTE* pbInput;
    BYTE* pbOutput;
    bool bOverlap; ///< the two frames share memory
};

void SetScales(ResizeCall& call) noexcept
{
    const RECT& rcSrc = call.src.rc;
    const RECT& rcDst = call.dst.rc;
    PlaneScale& luma = call.luma.scale;
    luma.srcSize = {call.picInput.nWidth, static_cast<LONG>(AbsHeight(call.picInput.nHeight))};
    luma.srcRoi = {rcSrc.left, FirstMemoryRow(call.picInput, call.src), Width(rcSrc), Height(rcSrc)};
    luma.dstSize = {Width(rcDst), Height(rcDst)};
    luma.factorX = {Width(rcDst), Width(rcSrc)};
    luma.factorY = {Height(rcDst), Height(rcSrc)};

    const bool bPacked = call.branch.branch == eBranch::PackedYUV;
    if (bPacked) // the planes hold the rectangle alone
    {
        luma.srcSize = {Width(rcSrc), Height(rcSrc)};
        luma.srcRoi.nLeft = luma.srcRoi.nTop = 0;
    }
    // Chroma knows no filter beyond linear, and is never sharpened.
    call.chroma = {luma, std::min<int>(call.luma.nInterpolation, eIP_Linear), 1, false, {}};
    PlaneScale& chroma = call.chroma.scale;
    chroma.srcSize.nWidth /= 2;
    chroma.srcRoi.nLeft /= 2;
    chroma.srcRoi.nWidth /= 2;
    chroma.dstSize.nWidth /= 2;
    if (!bPacked)
    {
        chroma.srcSize.nHeight /= 2;
        chroma.srcRoi.nTop /= 2;
        chroma.srcRoi.nHeight /= 2;
        chroma.dstSize.nHeight /= 2;
    }
}

ePrimitiveStatus ScalePacked(const ResizeCall& call, BYTE* pWork) noexcept
{
    DWORD srcOffset[3] = {};
    DWORD dstOffset[3] = {};
    if (!GetPicOffsets(&call.picInput, call.src.rc.left, 0, srcOffset, false) ||
        !GetPicOffsets(&call.picOutput, call.dst.rc.left, call.dst.rc.top, dstOffset, false))
        return ePS_SizeError;
    const ptrdiff_t nSrcStep = ptrdiff_t{2} * PicRow(call.picInput);
    const PackedScale packed = {call.pbInput + srcOffset[0] + call.src.rc.top * nSrcStep,
                                nSrcStep,
                                call.pbOutput + dstOffset[0],
                                ptrdiff_t{2} * PicRow(call.picOutput),
                                call.branch.bChromaFirst,
                                call.luma,
                                call.chroma};
    return ResizePacked(packed, pWork);
}

size_t WorkSize(const ResizeCall& call) noexcept
{
    switch (call.branch.branch)
    {
    case eBranch::Interleaved:
        return CSharpScaler::WorkSize(call.luma);
    case eBranch::PlanarYUV:
        return std::max(CSharpScaler::WorkSize(call.luma), CSharpScaler::WorkSize(call.chroma));
    case eBranch::PackedYUV:
        return PackedWorkSize(call.luma, call.chroma);
    case eBranch::None:
        break;
    }
    return 0;
}

/// \param bTurn writes the rows from the last one on upward
ePrimitiveStatus ScalePlane(const ResizeCall& call, int nPlane, bool bTurn, BYTE* pWork) noexcept
{
    const SharpScale& sharp = nPlane == 0 ? call.luma : call.chroma;
    const BYTE* pSrc = call.pbInput + call.src.arrShift[nPlane];
    BYTE* pDst = call.pbOutput + call.dst.arrShift[nPlane] + call.dst.arrOffset[nPlane];
    const auto nSrcStep = static_cast<ptrdiff_t>(call.src.arrStep[nPlane]);
    auto nDstStep = static_cast<ptrdiff_t>(call.dst.arrStep[nPlane]);
    if (bTurn)
    {
        pDst += (sharp.scale.dstSize.nHeight - 1) * nDstStep;
        nDstStep = -nDstStep;
    }
    return ResizeSharpPlane(pSrc, nSrcStep, pDst, nDstStep, sharp, pWork);
}

void ScaleThreePlanes(const ResizeCall& call, BYTE* pWork) noexcept
{
    ePrimitiveStatus eStatus = ePS_Done;
    for (int nPlane = 0; nPlane < 3 && eStatus == ePS_Done; nPlane++)
        eStatus = ScalePlane(call, nPlane, false, pWork);
}

/// RGB: where the row orders differ, rows go to their final places at once, unless that would overwrite rows
/// that are still to be read. Formats without a branch are flipped all the same, RGB8 never is: both
/// deliberate.
void ScaleInterleaved(const ResizeCall& call, BYTE* pWork) noexcept
{
    const bool bDiffer = call.src.bMirror != call.dst.bMirror;
    const size_t cbPixel = bDiffer ? FlipPixelBytes(call.picOutput.fccType) : 0;
    DSASSERT_TEXT(!bDiffer || cbPixel != 0 || call.picOutput.fccType == FOURCC_RGB8, "INVALID MIRROW OUTPUT");
    const bool bTurn = cbPixel != 0 && !call.bOverlap;
    const bool bScaled =
        call.branch.branch == eBranch::Interleaved && ScalePlane(call, 0, bTurn, pWork) == ePS_Done;
    if (cbPixel != 0 && !(bTurn && bScaled))
        FlipRows(call.pbOutput + call.dst.arrShift[0] + call.dst.arrOffset[0],
                 static_cast<ptrdiff_t>(call.dst.arrStep[0]), call.luma.scale.dstSize, cbPixel);
}

/// The work memory of a call: of the caller's block, or a little of the stack, or a block of our own.
class CCallMemory
{
public:
    /// \return cbWork bytes, aligned to cbWorkAlign; null when memory is refused
    BYTE* Open(BYTE* pTemp, size_t cbTemp, size_t cbWork) noexcept
    {
        BYTE* pWork = pTemp ? Fit(pTemp, cbTemp, cbWork) : nullptr;
        if (!pWork)
            pWork = Fit(m_arrStack, sizeof(m_arrStack), cbWork);
        if (pWork || cbWork > PTRDIFF_MAX / 2)
            return pWork;
        const size_t cbBlock = cbWork + cbWorkAlign;
        blobBuffer.reset(new (std::nothrow) BYTE[cbBlock]);
        return blobBuffer ? Fit(blobBuffer.get(), cbBlock, cbWork) : nullptr;
    }

private:
    /// The first aligned place with enough room.
    static BYTE* Fit(BYTE* pb, size_t cb, size_t cbWanted) noexcept
    {
        void* pv = pb;
        return static_cast<BYTE*>(std::align(cbWorkAlign, cbWanted, pv, cb));
    }

    BYTE m_arrStack[16384];
    std::unique_ptr<BYTE[]> blobBuffer;
};

HRESULT RunBranch(ResizeCall& call, BYTE* pTemp) noexcept
{
    const bool bPacked = call.branch.branch == eBranch::PackedYUV;
    if (IsEmpty(call.dst.rc) || (bPacked && IsEmpty(call.src.rc)))
        return S_OK; // clipped to nothing: there may be no memory where its first pixel would be
    // Packed and sharpened pictures may be scaled in place: the source is read from a copy then.
    const bool bCopy = call.bOverlap && (bPacked || call.luma.bSharpen);
    const size_t cbCopy = bCopy ? FrameBytes(call.picInput) : 0;
    const size_t cbWork = WorkSize(call);
    CCallMemory memory;
    BYTE* pWork = memory.Open(pTemp, Img_GetBufferSize(&call.picInput, &call.picOutput), cbWork + cbCopy);
    if (!pWork)
        return E_OUTOFMEMORY;
    if (bCopy)
        call.pbInput = static_cast<const BYTE*>(std::memcpy(pWork + cbWork, call.pbInput, cbCopy));
    switch (call.branch.branch)
    {
    case eBranch::Interleaved:
    case eBranch::None:
        ScaleInterleaved(call, pWork);
        break;
    case eBranch::PlanarYUV:
        ScaleThreePlanes(call, pWork);
        break;
    case eBranch::PackedYUV:
        ScalePacked(call, pWork);
        break;
    }
    return S_OK; // deliberate: a failing primitive only ends the branch
}

} // namespace

HRESULT Img_ResizeFrame(const BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                        const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput,
                        int nMode, BYTE* pTemp, int nSharp) noexcept
{
    DSASSERT(_pInputProps && _pOutputProps);
    DSASSERT(_pbInput && _pbOutput);
    if (!_pInputProps || !_pOutputProps || !_pbInput || !_pbOutput ||
        _pInputProps->fccType != _pOutputProps->fccType)
        return E_INVALIDARG;

    PlaneView src;
    PlaneView dst;
    if (!GetPicPlanes(_pInputProps, src.arrShift, src.arrStep, &src.bMirror, true) ||
        !GetPicPlanes(_pOutputProps, dst.arrShift, dst.arrStep, &dst.bMirror, true))
        return E_INVALIDARG;
    const HRESULT hr =
        NormalizeRects(_pInputProps, _pOutputProps, &src.rc, &dst.rc, true, _prcInput, _prcOutput);
    if (hr != S_OK)
        return hr;

    const bool bFactorsOne = Width(src.rc) == Width(dst.rc) && Height(src.rc) == Height(dst.rc) &&
                             Width(src.rc) != 0 && Height(src.rc) != 0;
    if (bFactorsOne && nSharp == 0)
        return Img_Copy(_pbInput, _pbOutput, _pInputProps, _pOutputProps, _prcInput, _prcOutput);

    GetPicOffsets(_pOutputProps, dst.rc.left, FirstMemoryRow(*_pOutputProps, dst), dst.arrOffset, true);
    const FormatBranch branch = FindBranch(*_pInputProps);
    int nInterpolation = InterpolationOf(nMode, src, dst);
    if (branch.bLimitMode && nInterpolation >= nInterpolationEnd)
        nInterpolation = eIP_Cubic;
    ResizeCall call = {*_pInputProps,
                       *_pOutputProps,
                       src,
                       dst,
                       branch,
                       {{}, nInterpolation, branch.nChannels, nSharp != 0, MakeSharpenKernel(nSharp)},
                       {},
                       _pbInput,
                       _pbOutput,
                       FramesOverlap(_pbInput, *_pInputProps, _pbOutput, *_pOutputProps)};
    SetScales(call);
    return RunBranch(call, pTemp);
}
