#include "imgconverter/ResizePacked.h"

#include "imgconverter/PlanarView.h"

namespace
{

constexpr int nPlanes = 3;

/// A row of each plane: Y at the full width, both kinds of chroma at half of it.
struct SplitRow
{
    BYTE* arrPlane[nPlanes];

    void Take(CWork& work, LONG nWidth) noexcept
    {
        const auto nLuma = static_cast<size_t>(nWidth);
        arrPlane[0] = work.Take<BYTE>(nLuma);
        arrPlane[1] = work.Take<BYTE>(nLuma / 2);
        arrPlane[2] = work.Take<BYTE>(nLuma / 2);
    }
};

/// The rows of a packed rectangle, split when a plane asks for one. Chroma follows luma by less than the rows
/// that are kept, unless the picture shrinks a lot: then some are split again.
class CSplitRows
{
public:
    static constexpr LONG nRowsKept = 8;

    CSplitRows(const PackedScale& packed, CWork& work) noexcept : m_packed(packed)
    {
        for (LONG i = 0; i < nRowsKept; i++)
        {
            m_arrRows[i].Take(work, m_packed.luma.scale.srcSize.nWidth);
            m_arrHeld[i] = -1;
        }
    }

    const BYTE* Row(LONG nRow, int nPlane) noexcept
    {
        const LONG nSlot = nRow % nRowsKept;
        const SplitRow& row = m_arrRows[nSlot];
        if (m_arrHeld[nSlot] != nRow)
        {
            const auto pfnSplit = m_packed.bChromaFirst ? SplitUYVY : SplitYUY2;
            const Planes422<BYTE> planes = {{row.arrPlane[0], row.arrPlane[1], row.arrPlane[2]}, {}};
            pfnSplit(m_packed.pSrc + nRow * m_packed.nSrcStep, 0, planes,
                     {m_packed.luma.scale.srcSize.nWidth, 1});
            m_arrHeld[nSlot] = nRow;
        }
        return row.arrPlane[nPlane];
    }

private:
    const PackedScale& m_packed;
    SplitRow m_arrRows[nRowsKept];
    LONG m_arrHeld[nRowsKept]; ///< the row in each slot, or -1
};

/// One plane of them.
class CPlaneOfSplit final : public IRowSource
{
public:
    CPlaneOfSplit(CSplitRows& rows, int nPlane) noexcept : m_rows(rows), m_nPlane(nPlane) {}
    const BYTE* Row(LONG nRow) noexcept override { return m_rows.Row(nRow, m_nPlane); }

private:
    CSplitRows& m_rows;
    int m_nPlane;
};

} // namespace

size_t PackedWorkSize(const SharpScale& luma, const SharpScale& chroma) noexcept
{
    CWork work(nullptr);
    for (LONG i = 0; i < CSplitRows::nRowsKept; i++)
        SplitRow().Take(work, luma.scale.srcSize.nWidth);
    SplitRow().Take(work, luma.scale.dstSize.nWidth);
    return work.Taken() + CSharpScaler::WorkSize(luma) + 2 * CSharpScaler::WorkSize(chroma);
}

ePrimitiveStatus ResizePacked(const PackedScale& packed, BYTE* pWork) noexcept
{
    CWork work(pWork);
    CSplitRows rows(packed, work);
    SplitRow scaled;
    scaled.Take(work, packed.luma.scale.dstSize.nWidth);
    CPlaneOfSplit arrSources[nPlanes] = {{rows, 0}, {rows, 1}, {rows, 2}};
    CSharpScaler arrScalers[nPlanes];
    for (int i = 0; i < nPlanes; i++)
    {
        const SharpScale& sharp = i == 0 ? packed.luma : packed.chroma;
        const ePrimitiveStatus eStatus =
            arrScalers[i].Open(sharp, work.Take<BYTE>(CSharpScaler::WorkSize(sharp)));
        if (eStatus != ePS_Done)
            return eStatus;
    }

    const auto pfnMerge = packed.bChromaFirst ? MergeUYVY : MergeYUY2;
    const Planes422<const BYTE> planes = {{scaled.arrPlane[0], scaled.arrPlane[1], scaled.arrPlane[2]}, {}};
    const RoiSize& dstSize = packed.luma.scale.dstSize;
    for (LONG y = 0; y < dstSize.nHeight; y++)
    {
        for (int i = 0; i < nPlanes; i++)
        {
            const ePrimitiveStatus eStatus = arrScalers[i].WriteRow(arrSources[i], y, scaled.arrPlane[i]);
            if (eStatus != ePS_Done)
                return eStatus;
        }
        pfnMerge(planes, packed.pDst + y * packed.nDstStep, 0, {dstSize.nWidth, 1});
    }
    return ePS_Done;
}
