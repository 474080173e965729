#pragma once
/// What the tests of delivered frames share: the formats, and a connection whose frames are compared.

#include "FrameCheck.h"

#include <algorithm>
#include <cstdlib>

struct FormatRow
{
    const char* pszName;
    DWORD fcc;
    LONG nAcross, nDown; ///< pixels that share their chroma
    bool bPainted;       ///< the image library paints it; the frames of the others stay zero
};

inline constexpr FormatRow g_arrFormats[] = {
    {"YUY2", 0x32595559, 2, 1, true},    {"UYVY", 0x59565955, 2, 1, true},
    {"YV12", 0x32315659, 2, 2, true},    {"YVYU", 0x55595659, 2, 1, true},
    {"I420", 0x30323449, 2, 2, true},    {"IYU2", 0x32555949, 1, 1, false},
    {"RGB32", 0xE436EB7E, 1, 1, true},   {"ARGB32", 0x773C9AC0, 1, 1, true},
    {"RGB24", 0xE436EB7D, 1, 1, true},   {"RGB565", 0xE436EB7B, 1, 1, false},
    {"RGB555", 0xE436EB7C, 1, 1, false}, {"HDYC", 0x43594448, 2, 1, true},
    {"v210", 0x30313276, 2, 1, false},   {"r210", 0x30313272, 1, 1, false},
    {"NV12", 0x3231564E, 2, 2, false},
};

inline const FormatRow& FormatRowOf(DWORD fcc)
{
    for (const FormatRow& row : g_arrFormats)
    {
        if (row.fcc == fcc)
            return row;
    }
    abort();
}

/// Bytes of a frame in a format that is not painted.
inline size_t UnpaintedSize(const FormatRow& format, const Layout& layout)
{
    const size_t nRow = static_cast<size_t>(layout.nRowWidth), nHeight = static_cast<size_t>(layout.nHeight);
    switch (format.fcc)
    {
    case 0x30313276: // 48 pixels in 128 bytes
        return (nRow + 47) / 48 * 128 * nHeight;
    case 0x30313272: // 64 pixels in 256 bytes
        return (nRow + 63) / 64 * 256 * nHeight;
    case 0x32555949:
        return (nRow * 3 + 3) / 4 * 4 * nHeight;
    case 0x3231564E: // deliberately more than its planes need
        return nRow * nHeight * 2;
    default:
        return (nRow * 2 + 3) / 4 * 4 * nHeight;
    }
}

class Frames : public Conformance
{
protected:
    void SetUp() override
    {
        Conformance::SetUp();
        m_pOffered = nullptr;
    }

    /// The format, the size and the kind of header that the pin's own type has.
    HRESULT SetProps(DWORD fcc, LONG nWidth, LONG nHeight, bool bHeader2)
    {
        QG_VID_PROPS props{};
        props.nWidth = nWidth;
        props.nHeight = nHeight;
        props.fccType = static_cast<eQGFCC>(fcc);
        props.eInterlace = bHeader2 ? eQGI_Field1First : eQGI_Default;
        props.eKeepAspect = eQGKA_Crop;
        return Control().SetOutputProps(&props);
    }

    /// Streams some frames of the connection and compares the first one with the model, the others with it.
    void ExpectFrames(const FormatRow& format, const CMType& mt, const RowModel& model, int nFrames = 2)
    {
        const Layout layout = Layout::Of(mt);
        Bytes first; // the next frames have to be the same
        const auto fnLook = [&](IMediaSample& sample) -> std::string
        {
            BYTE* pb = nullptr;
            if (sample.GetPointer(&pb) != S_OK || pb == nullptr)
                return "no buffer";
            const LONG cb = sample.GetActualDataLength();
            if (cb < 0 || cb > sample.GetSize())
                return "a length of " + std::to_string(cb);
            if (!first.empty())
                return std::equal(first.begin(), first.end(), pb, pb + cb) ? "" : "not as the first one";
            if (nFrames > 1)
                first.assign(pb, pb + cb);
            if (format.bPainted)
                return Difference(layout, model, pb, static_cast<size_t>(cb));
            if (static_cast<size_t>(cb) != UnpaintedSize(format, layout))
                return std::to_string(cb) + " bytes instead of " +
                       std::to_string(UnpaintedSize(format, layout));
            return {};
        };
        EXPECT_EQ(Deliver(nFrames, fnLook), Lines{});
    }
};
