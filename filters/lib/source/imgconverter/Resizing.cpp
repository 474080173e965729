#include "imgconverter/ImgConverter.h"

#include "dstl/dshowx/DSTrace.h"
#include "imgconverter/Flip.h"
#include "imgconverter/PlanarView.h"
#include "imgconverter/ResizePlane.h"
#include "imgconverter/Sharpen.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>

namespace
{

/// A request that no interpolation value answers to, but that always asks for work memory.
constexpr int nModeAlwaysTemp = 0x23;
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
    DWORD fccType;
    eBranch branch;
    int nChannels;
    bool bChromaFirst; ///< packed as U, Y, V, Y
    bool bLimitMode;   ///< nInterpolationEnd holds
};

constexpr FormatBranch arrBranches[] = {
    {FOURCC_UYVY, eBranch::PackedYUV, 1, true, false},
    {FOURCC_HDYC, eBranch::PackedYUV, 1, true, false},
    {FOURCC_YUY2, eBranch::PackedYUV, 1, false, false},
    {FOURCC_YVYU, eBranch::PackedYUV, 1, false, false},
    {FOURCC_I420, eBranch::PlanarYUV, 1, false, false},
    {FOURCC_YV12, eBranch::PlanarYUV, 1, false, false},
    {FOURCC_ARGB32, eBranch::Interleaved, 4, false, true},
    {FOURCC_RGB32, eBranch::Interleaved, 4, false, true},
    {FOURCC_RGB24, eBranch::Interleaved, 3, false, true},
    {FOURCC_RGB8, eBranch::Interleaved, 1, false, false},
};

/// The 16-bit RGB codes have no branch.
constexpr FormatBranch branchNone = {0, eBranch::None, 0, false, false};

const FormatBranch& FindBranch(DWORD fccType) noexcept
{
    for (const FormatBranch& branch : arrBranches)
    {
        if (branch.fccType == fccType)
            return branch;
    }
    return branchNone;
}

LONG Width(const RECT& rc) noexcept
{
    return rc.right - rc.left;
}

LONG Height(const RECT& rc) noexcept
{
    return rc.bottom - rc.top;
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
    const FormatBranch& branch;
    int nInterpolation;
    bool bSharpen;
    SharpenKernel kernel;
    PlaneScale scaleLuma;
    PlaneScale scaleChroma;

    const BYTE* pbInput;
    BYTE* pbOutput;
    const BYTE* arrSrc[3]; ///< planes of the source
    BYTE* arrDst[3];       ///< first sample of the rectangle in each plane of the destination
    BYTE* pSharp;          ///< a scaled plane before it is sharpened
    BYTE* pWork;           ///< of ResizePlane
};

/// Chroma knows no filter beyond linear.
int ChromaInterpolation(int nInterpolation) noexcept
{
    return std::min<int>(nInterpolation, eIP_Linear);
}

void SetScales(ResizeCall& call) noexcept
{
    const RECT& rcSrc = call.src.rc;
    const RECT& rcDst = call.dst.rc;
    PlaneScale& luma = call.scaleLuma;
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
    PlaneScale& chroma = call.scaleChroma;
    chroma = luma;
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

size_t WorkSize(const ResizeCall& call) noexcept
{
    if (call.branch.branch == eBranch::None)
        return 0;
    const size_t cbLuma = ResizeWorkSize(call.scaleLuma, call.nInterpolation, call.branch.nChannels);
    if (call.branch.branch == eBranch::Interleaved)
        return cbLuma;
    return std::max(cbLuma, ResizeWorkSize(call.scaleChroma, ChromaInterpolation(call.nInterpolation), 1));
}

ePrimitiveStatus ScalePlane(const ResizeCall& call, int nPlane, BYTE* pDst) noexcept
{
    const PlaneScale& scale = nPlane == 0 ? call.scaleLuma : call.scaleChroma;
    const int nInterpolation = nPlane == 0 ? call.nInterpolation : ChromaInterpolation(call.nInterpolation);
    const auto nSrcStep = static_cast<ptrdiff_t>(call.src.arrStep[nPlane]);
    const auto nDstStep = static_cast<ptrdiff_t>(call.dst.arrStep[nPlane]);
    switch (call.branch.nChannels)
    {
    case 4:
        return ResizePlane4(call.arrSrc[nPlane], nSrcStep, pDst, nDstStep, scale, nInterpolation, call.pWork);
    case 3:
        return ResizePlane3(call.arrSrc[nPlane], nSrcStep, pDst, nDstStep, scale, nInterpolation, call.pWork);
    default:
        return ResizePlane1(call.arrSrc[nPlane], nSrcStep, pDst, nDstStep, scale, nInterpolation, call.pWork);
    }
}

/// Luma or RGB, with the sharpening pass.
ePrimitiveStatus ScaleFirstPlane(const ResizeCall& call) noexcept
{
    if (!call.bSharpen)
        return ScalePlane(call, 0, call.arrDst[0]);
    const ePrimitiveStatus eStatus = ScalePlane(call, 0, call.pSharp);
    if (eStatus != ePS_Done)
        return eStatus;
    return SharpenPlane(call.pSharp, call.arrDst[0], static_cast<ptrdiff_t>(call.dst.arrStep[0]),
                        call.scaleLuma.dstSize, call.branch.nChannels, call.kernel);
}

ePrimitiveStatus ScaleThreePlanes(const ResizeCall& call) noexcept
{
    ePrimitiveStatus eStatus = ScaleFirstPlane(call);
    for (int nPlane = 1; nPlane < 3 && eStatus == ePS_Done; nPlane++)
        eStatus = ScalePlane(call, nPlane, call.arrDst[nPlane]);
    return eStatus;
}

/// The planes of the source are ours here, and so are those of the destination.
void RunPacked(const ResizeCall& call, BYTE* pbSourcePlanes) noexcept
{
    DWORD srcOffset[3] = {};
    DWORD dstOffset[3] = {};
    if (!GetPicOffsets(&call.picInput, call.src.rc.left, call.src.rc.top, srcOffset, false) ||
        !GetPicOffsets(&call.picOutput, call.dst.rc.left, call.dst.rc.top, dstOffset, false))
        return;
    Planes422<BYTE> planes;
    Planes422<const BYTE> scaled;
    for (int i = 0; i < 3; i++)
    {
        planes.arrPlane[i] = pbSourcePlanes + call.src.arrShift[i];
        planes.arrStep[i] = static_cast<ptrdiff_t>(call.src.arrStep[i]);
        scaled.arrPlane[i] = call.arrDst[i];
        scaled.arrStep[i] = static_cast<ptrdiff_t>(call.dst.arrStep[i]);
    }
    const ptrdiff_t nSrcStep = ptrdiff_t{2} * PicRow(call.picInput);
    const ptrdiff_t nDstStep = ptrdiff_t{2} * PicRow(call.picOutput);
    const RoiSize srcSize = {Width(call.src.rc), Height(call.src.rc)};
    const RoiSize dstSize = call.scaleLuma.dstSize;
    const auto pfnSplit = call.branch.bChromaFirst ? SplitUYVY : SplitYUY2;
    if (pfnSplit(call.pbInput + srcOffset[0], nSrcStep, planes, srcSize) != ePS_Done ||
        ScaleThreePlanes(call) != ePS_Done)
        return;
    BYTE* pOutput = call.pbOutput + dstOffset[0];
    const auto pfnMerge = call.branch.bChromaFirst ? MergeUYVY : MergeYUY2;
    pfnMerge(scaled, pOutput, nDstStep, dstSize);
}

/// Turns the output where the row orders differ.
void TurnOutput(const ResizeCall& call) noexcept
{
    const DWORD fccType = call.picOutput.fccType;
    const size_t cbPixel = FlipPixelBytes(fccType);
    DSASSERT_TEXT(cbPixel != 0 || fccType == FOURCC_RGB8, "INVALID MIRROW OUTPUT");
    if (cbPixel != 0) // RGB8 stays as it is: deliberate
        FlipRows(call.arrDst[0], static_cast<ptrdiff_t>(call.dst.arrStep[0]), call.scaleLuma.dstSize,
                 cbPixel);
}

/// The memory of a call: what the caller gave, or one block of our own, or a little of the stack.
class CCallMemory
{
public:
    /// \return false when memory is refused
    bool Open(const ResizeCall& call, BYTE* pTemp, bool bNeedsTemp) noexcept
    {
        const size_t cbTemp = Img_GetBufferSize(&call.picInput, &call.picOutput);
        const size_t cbWork = WorkSize(call);
        const bool bPacked = call.branch.branch == eBranch::PackedYUV;
        // Of the temporary memory packed YUV uses three frames, everything else the second half.
        m_cbFrame = size_t{2} * std::max(FrameSamples(call.picInput), FrameSamples(call.picOutput));
        m_cbHalf = cbTemp / 2;
        m_pTemp = pTemp;
        if (pTemp)
        {
            const size_t cbSpareFrom = bPacked ? 3 * m_cbFrame : 0;
            const size_t cbSpareTo = bPacked ? cbTemp : m_cbHalf;
            m_pWork = Fit(pTemp + cbSpareFrom, cbSpareTo - cbSpareFrom, cbWork);
        }
        else if (!bNeedsTemp)
            m_pWork = Fit(m_arrStack, sizeof(m_arrStack), cbWork);
        if (m_pWork && (pTemp || !bNeedsTemp))
            return true;

        const size_t cbOwnTemp = pTemp || !bNeedsTemp ? 0 : cbTemp;
        if (cbOwnTemp > PTRDIFF_MAX / 2 || cbWork > PTRDIFF_MAX / 4)
            return false;
        const size_t cbBlock = cbOwnTemp + cbWork + cbWorkAlign;
        blobBuffer.reset(new (std::nothrow) BYTE[cbBlock]);
        if (!blobBuffer)
            return false;
        if (cbOwnTemp != 0)
            m_pTemp = blobBuffer.get();
        m_pWork = Fit(blobBuffer.get() + cbOwnTemp, cbBlock - cbOwnTemp, cbWork);
        return true;
    }

    /// Sets the pointers of the call.
    void Point(ResizeCall& call) const noexcept
    {
        const bool bPacked = call.branch.branch == eBranch::PackedYUV;
        const BYTE* pSource = bPacked ? m_pTemp : call.pbInput;
        BYTE* pTarget = bPacked ? m_pTemp + m_cbFrame : call.pbOutput;
        for (int i = 0; i < 3; i++)
        {
            call.arrSrc[i] = pSource + call.src.arrShift[i];
            call.arrDst[i] = pTarget + call.dst.arrShift[i] + call.dst.arrOffset[i];
        }
        call.pSharp = m_pTemp ? m_pTemp + (bPacked ? 2 * m_cbFrame : m_cbHalf) : nullptr;
        call.pWork = m_pWork;
    }

    BYTE* Temp() const noexcept { return m_pTemp; }

private:
    static size_t FrameSamples(const PicProps& pic) noexcept
    {
        return static_cast<size_t>(PicRow(pic)) * AbsHeight(pic.nHeight);
    }

    /// The first aligned place with enough room.
    static BYTE* Fit(BYTE* pb, size_t cb, size_t cbWanted) noexcept
    {
        void* pv = pb;
        return static_cast<BYTE*>(std::align(cbWorkAlign, cbWanted, pv, cb));
    }

    BYTE m_arrStack[16384];
    std::unique_ptr<BYTE[]> blobBuffer;
    BYTE* m_pTemp = nullptr;
    BYTE* m_pWork = nullptr;
    size_t m_cbFrame = 0;
    size_t m_cbHalf = 0;
};

HRESULT RunBranch(ResizeCall& call, BYTE* pTemp, int nMode) noexcept
{
    const bool bPacked = call.branch.branch == eBranch::PackedYUV;
    CCallMemory memory;
    if (!memory.Open(call, pTemp, bPacked || nMode == nModeAlwaysTemp || call.bSharpen))
        return E_OUTOFMEMORY;
    if (Width(call.dst.rc) <= 0 || Height(call.dst.rc) <= 0)
        return S_OK; // clipped to nothing: there may be no memory where its first pixel would be
    memory.Point(call);
    switch (call.branch.branch)
    {
    case eBranch::Interleaved:
        ScaleFirstPlane(call);
        break;
    case eBranch::PlanarYUV:
        ScaleThreePlanes(call);
        break;
    case eBranch::PackedYUV:
        if (Width(call.src.rc) > 0 && Height(call.src.rc) > 0)
            RunPacked(call, memory.Temp());
        break;
    case eBranch::None:
        break;
    }
    if (call.src.bMirror != call.dst.bMirror)
        TurnOutput(call);
    return S_OK; // deliberate: what the primitives answer only ends the branch
}

} // namespace

HRESULT Img_ResizeFrame(const BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                        const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput,
                        int nMode, BYTE* pTemp, int nSharp) noexcept
{
    DSASSERT(_pInputProps && _pOutputProps);
    DSASSERT(_pbInput && _pbOutput);
    if (!_pInputProps || !_pOutputProps || !_pbInput || !_pbOutput)
        return E_INVALIDARG;
    if (_pInputProps->fccType != _pOutputProps->fccType)
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
    const FormatBranch& branch = FindBranch(_pInputProps->fccType);
    int nInterpolation = InterpolationOf(nMode, src, dst);
    if (branch.bLimitMode && nInterpolation >= nInterpolationEnd)
        nInterpolation = eIP_Cubic;
    ResizeCall call = {*_pInputProps,
                       *_pOutputProps,
                       src,
                       dst,
                       branch,
                       nInterpolation,
                       nSharp != 0,
                       MakeSharpenKernel(nSharp),
                       {},
                       {},
                       _pbInput,
                       _pbOutput,
                       {},
                       {},
                       nullptr,
                       nullptr};
    SetScales(call);
    return RunBranch(call, pTemp, nMode);
}
