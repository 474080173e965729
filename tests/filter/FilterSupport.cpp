#include "FilterSupport.h"

std::string Utf8(const CComBSTR& bs)
{
    return Utf8(bs.m_str);
}

bool operator==(const PicProps& a, const PicProps& b)
{
    return a.fccType == b.fccType && a.nWidth == b.nWidth && a.nHeight == b.nHeight &&
           a.nRowWidth == b.nRowWidth;
}

Bytes SolidTga(WORD nWidth, WORD nHeight, const Bytes& pixel)
{
    TgaBuilder tga = TgaBuilder::TrueColour(static_cast<BYTE>(pixel.size() * 8), nWidth, nHeight);
    tga.image.clear();
    for (int i = 0; i < nWidth * nHeight; i++)
        Append(tga.image, pixel);
    return tga.File();
}

CMType VideoType(DWORD fcc, LONG nWidth, LONG nHeight, REFERENCE_TIME rtFrame, const GUID& guidFormat)
{
    CMType mt;
    EXPECT_EQ(MTCreateVideo(&mt, fcc, guidFormat, nWidth, nHeight, 0), S_OK);
    if (REFERENCE_TIME* prt = MTGetFrameTime(&mt))
        *prt = rtFrame;
    return mt;
}

void FilterTest::SetUp()
{
    CComObject<CCoQXStillSource>* pFilter = nullptr;
    ASSERT_EQ(CComObject<CCoQXStillSource>::CreateInstance(&pFilter), S_OK);
    m_spFilter = pFilter;
    ASSERT_TRUE(m_trace.WaitForWorkerStart()); // or its first line comes in the middle of the test
}

void FilterTest::TearDown()
{
    if (!m_spFilter)
        return;
    m_sink.m_pin.m_gate.Open();
    const bool bEnded = EndsInTime(
        [this]
        {
            Filter().Stop();
            Out().Disconnect();
            Filter().JoinFilterGraph(nullptr, nullptr);
        });
    if (!bEnded)
    {
        // Nothing that the hanging step uses may go.
        fputs("the filter hangs in Stop or Disconnect\n", stderr);
        fflush(stderr);
        _exit(3);
    }
    m_sink.m_pin.ReleaseSamples();
    m_spFilter.Release();
    EXPECT_EQ(m_sink.m_pin.Refs(), 0);
    EXPECT_EQ(m_sink.Refs(), 0);
    EXPECT_EQ(m_alloc.Refs(), 0);
    EXPECT_EQ(m_graph.Refs(), 0);
}

HRESULT FilterTest::Connect(const AM_MEDIA_TYPE* pmt)
{
    m_sink.m_pin.m_pAllocator = &m_alloc;
    if (!Filter().GetGraph())
    {
        EXPECT_EQ(m_graph.AddFilter(m_spFilter, L"source"), S_OK);
    }
    return Out().Connect(&m_sink.m_pin, pmt);
}

void FilterTest::Show(DWORD fcc, LONG nWidth, LONG nHeight, const Bytes& pixels)
{
    ASSERT_NE(Inside().m_blobSource.Alloc(static_cast<DWORD>(pixels.size())), E_OUTOFMEMORY);
    memcpy(Inside().m_blobSource.GetPtr(), pixels.data(), pixels.size());
    Inside().m_picSource = {fcc, nWidth, nHeight, nWidth};
    Inside().m_blobFrame.SetSize(0);
    EXPECT_EQ(Filter().UpdateOutputType(), S_OK);
}

QG_VID_PROPS FilterTest::Props()
{
    QG_VID_PROPS props{};
    EXPECT_EQ(Control().GetOutputProps(&props), S_OK);
    return props;
}
