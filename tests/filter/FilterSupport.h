#pragma once
/// A filter between scriptable neighbours, and what tests ask of it again and again.

#include "Probe.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dstl/dshowx/DSVideo.h"
#include "picture/TgaBuilder.h"
#include "support/CallLog.h"
#include "support/FakeAllocator.h"
#include "support/FakeFilter.h"
#include "support/FakeGraph.h"
#include "support/LogCapture.h"

/// A BSTR for one call.
class Text
{
public:
    explicit Text(const std::string& s) : m_bs(WideText(s)) {}
    operator BSTR() const { return m_bs.m_str; }

private:
    CComBSTR m_bs;
};

/// Text of a BSTR as UTF-8.
std::string Utf8(const CComBSTR& bs);

bool operator==(const PicProps& a, const PicProps& b);

/// A TGA of 32 bits in one colour (bytes B, G, R, A).
Bytes SolidTga(WORD nWidth, WORD nHeight, const Bytes& pixel);

/// A type as the media type layer makes it, with a frame length.
CMType VideoType(DWORD fcc, LONG nWidth, LONG nHeight, REFERENCE_TIME rtFrame = 400000,
                 const GUID& guidFormat = FORMAT_VideoInfo);

/// The fixture. Every test ends with a stop, a disconnection and a release under a time limit.
class FilterTest : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    CCoQXStillSource& Filter() { return *m_spFilter; }
    CCoQXStillSourceOut& Out() { return *m_spFilter->OutPin(); }
    IQXStillSource& Control() { return *m_spFilter; }
    PinProbe Inside() { return PinProbe(Out()); }
    FilterProbe InsideFilter() { return FilterProbe(Filter()); }

    /// The frame of the current picture with what the filter was asked for.
    HRESULT FillSampleBuffer(BYTE* pbBuf, DWORD cbBuf)
    {
        return Out().Picture().FillSampleBuffer(pbBuf, cbBuf, Filter().GetProps());
    }
    HRESULT SelectPictureByName(LPCWSTR pszName)
    {
        return Out().Picture().SelectPictureByName(pszName, KeepsAlpha(Filter().GetProps()));
    }

    /// Joins the graph and connects the pin to the sink, which offers m_alloc.
    HRESULT Connect(const AM_MEDIA_TYPE* pmt = nullptr);
    /// Puts a picture in the place of a loaded one and lets it decide the output type.
    void Show(DWORD fcc, LONG nWidth, LONG nHeight, const Bytes& pixels);
    /// A small RGB32 picture of one byte value.
    void ShowSmall(BYTE byValue = 0x11) { Show(FOURCC_RGB32, 8, 4, Bytes(8 * 4 * 4, byValue)); }

    const VIDEOINFOHEADER* Header() { return Inside().m_theMediaType.VideoInfo(); }
    const VIDEOINFOHEADER2* Header2() { return Inside().m_theMediaType.VideoInfo2(); }

    QG_VID_PROPS Props();

    CallLog m_log;
    FakeGraph m_graph{&m_log};
    FakeFilter m_sink{&m_log};
    FakeAllocator m_alloc{&m_log};
    LogCapture m_trace;
    AssertCapture m_asserts;
    TempFolder m_folder;
    CComPtr<CComObject<CCoQXStillSource>> m_spFilter;
};
