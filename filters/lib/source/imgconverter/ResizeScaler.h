#pragma once
/// Scales a plane row by row: the caller decides where the output rows go and where the source rows come
/// from.

#include "imgconverter/ResizeArea.h"
#include "imgconverter/ResizeInterpolation.h"

#include <variant>

/// One plane of 1, 3 or 4 interleaved channels of 8 bits, scaled by the method that Open selects. A method
/// has three steps: LayOut takes its work memory or counts it, Prepare computes its tables, ScaleRow writes a
/// row.
class CPlaneScaler
{
public:
    /// \return bytes of work memory that Open needs; 0 where it refuses the job or needs none
    static size_t WorkSize(const PlaneScale& scale, int nInterpolation, int nChannels) noexcept;

    /// \param nInterpolation an eInterpolation
    /// \param pWork WorkSize bytes, aligned to cbWorkAlign, which stay while rows are scaled
    /// \return ePS_Done; ePS_SizeError for an empty or misplaced region; ePS_Interpolation for an unknown
    /// value; ePS_NullPointer if pWork is null but needed
    ePrimitiveStatus Open(const PlaneScale& scale, int nInterpolation, int nChannels, BYTE* pWork) noexcept;

    /// Writes an output row. Rows are asked for one after the other from 0 on.
    /// \param source the rows of the whole source \param pDst receives the width of the output
    void ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;

private:
    ePrimitiveStatus SelectMethod(const PlaneScale& scale, int nInterpolation, int nChannels) noexcept;
    void SelectArea(const PlaneJob& job) noexcept;
    /// Calls call(method) for the method that is selected, if any.
    template <class TCall>
    void WithMethod(TCall call) noexcept;
    size_t LayOut(BYTE* pWork) noexcept;

    std::variant<std::monostate, CNearestScaler, CHalveScaler, CDoubleScaler, CFilterScaler,
                 CNarrowAreaScaler, CAreaScaler, CWideAreaScaler>
        m_method;
};
