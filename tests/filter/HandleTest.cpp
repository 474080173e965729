// Pictures by bitmap handle.
#include "FilterSupport.h"

namespace
{

/// A DIB section of one colour, bottom-up or top-down.
class TestBitmap
{
public:
    TestBitmap(LONG nWidth, LONG nHeight, WORD nBits, const Bytes& pixel)
    {
        BITMAPINFO bmi{};
        bmi.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
        bmi.bmiHeader.biWidth = nWidth;
        bmi.bmiHeader.biHeight = nHeight;
        bmi.bmiHeader.biPlanes = 1;
        bmi.bmiHeader.biBitCount = nBits;
        m_hBitmap =
            CreateDIBSection(nullptr, &bmi, DIB_RGB_COLORS, reinterpret_cast<void**>(&m_pbBits), nullptr, 0);
        const LONG cbRow = (nWidth * nBits / 8 + 3) & ~3;
        m_cb = cbRow * std::abs(nHeight);
        for (LONG y = 0; m_pbBits != nullptr && y < std::abs(nHeight); y++)
        {
            for (LONG x = 0; x < nWidth; x++)
                memcpy(m_pbBits + y * cbRow + x * static_cast<LONG>(pixel.size()), pixel.data(),
                       pixel.size());
        }
    }
    ~TestBitmap() { DeleteObject(m_hBitmap); }
    TestBitmap(const TestBitmap&) = delete;
    TestBitmap& operator=(const TestBitmap&) = delete;

    /// As the interface takes it.
    int Handle() const { return static_cast<int>(reinterpret_cast<INT_PTR>(m_hBitmap)); }
    Bytes Bits() const { return Bytes(m_pbBits, m_pbBits + m_cb); }
    BYTE* Data() { return m_pbBits; }

private:
    HBITMAP m_hBitmap = nullptr;
    BYTE* m_pbBits = nullptr;
    LONG m_cb = 0;
};

class Handle : public FilterTest
{
protected:
    Bytes Source()
    {
        return Bytes(Inside().m_blobSource.GetPtr(),
                     Inside().m_blobSource.GetPtr() + Inside().m_blobSource.GetSize());
    }
};

TEST_F(Handle, Zero)
{
    EXPECT_EQ(Control().SetPictureHandle(0), E_INVALIDARG);
}

TEST_F(Handle, NoBitmap)
{
    ShowSmall(0x22);
    const Bytes before = Source();
    EXPECT_LT(Control().SetPictureHandle(0x7FFF0001), 0);
    EXPECT_LT(Control().SetPictureHandle(-1), 0);
    EXPECT_EQ(Source(), before);
    EXPECT_EQ(Inside().m_picSource, (PicProps{FOURCC_RGB32, 8, 4, 8}));
}

TEST_F(Handle, TwentyFourBits)
{
    const TestBitmap bitmap(5, 3, 24, {10, 20, 30});
    EXPECT_EQ(Control().SetPictureHandle(bitmap.Handle()), S_OK);
    EXPECT_EQ(Inside().m_picSource, (PicProps{FOURCC_RGB24, 5, 3, 5}));
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB24, 5, 3, 5}));
    EXPECT_EQ(Inside().m_blobSource.GetSize(), 16u * 3);
    EXPECT_EQ(Source(), bitmap.Bits());
}

TEST_F(Handle, ThirtyTwoBitsWithAlpha)
{
    const TestBitmap bitmap(6, 4, 32, {10, 20, 30, 77});
    EXPECT_EQ(Control().SetPictureHandle(bitmap.Handle()), S_OK);
    EXPECT_EQ(Inside().m_picSource, (PicProps{FOURCC_ARGB32, 6, 4, 6}));
    EXPECT_EQ(Source(), bitmap.Bits()); // kept as it is
}

TEST_F(Handle, ThirtyTwoBitsWithoutAlphaBecomeOpaque)
{
    const TestBitmap bitmap(6, 4, 32, {10, 20, 30, 0});
    const Bytes bits = bitmap.Bits();
    EXPECT_EQ(Control().SetPictureHandle(bitmap.Handle()), S_OK);
    EXPECT_EQ(Inside().m_picSource, (PicProps{FOURCC_RGB32, 6, 4, 6}));
    Bytes expected = bits;
    for (size_t i = 3; i < expected.size(); i += 4)
        expected[i] = 255;
    EXPECT_EQ(Source(), expected);
    EXPECT_EQ(bitmap.Bits(), bits); // only in the filter's copy
}

TEST_F(Handle, OpaqueAlphaCountsAsAlpha)
{
    // Unlike with a file, where a solid plane says nothing.
    const TestBitmap bitmap(6, 4, 32, {10, 20, 30, 255});
    EXPECT_EQ(Control().SetPictureHandle(bitmap.Handle()), S_OK);
    EXPECT_EQ(Inside().m_picSource.fccType, static_cast<DWORD>(FOURCC_ARGB32));
}

TEST_F(Handle, AlphaIsLookedForInEveryFourthRow)
{
    struct
    {
        LONG nRow;
        DWORD fcc;
    } const rows[] = {{0, FOURCC_ARGB32}, {1, FOURCC_RGB32}, {2, FOURCC_RGB32}, {3, FOURCC_RGB32},
                      {4, FOURCC_ARGB32}, {5, FOURCC_RGB32}, {8, FOURCC_ARGB32}};
    for (const auto& row : rows)
    {
        TestBitmap bitmap(7, 9, 32, {10, 20, 30, 0});
        bitmap.Data()[row.nRow * 7 * 4 + 6 * 4 + 3] = 1; // rows as they lie in memory
        EXPECT_EQ(Control().SetPictureHandle(bitmap.Handle()), S_OK);
        EXPECT_EQ(Inside().m_picSource.fccType, row.fcc) << row.nRow;
    }
}

TEST_F(Handle, OtherDepthsAreRefused)
{
    ShowSmall(0x33);
    const Bytes before = Source();
    Inside().m_blobFrame.Alloc(128);
    const struct
    {
        WORD nBits;
        const char* pszAssertion;
    } rows[] = {
        {16, "MTHelp::MTCreateVideo() : Unsupported BMP::biCompression"}, // masks, as GDI reports them
        {8, "MTHelp::MTCreateVideo() : Unsupported BMP::biBitCount"},
        {4, "MTHelp::MTCreateVideo() : Unsupported BMP::biBitCount"},
        {1, "MTHelp::MTCreateVideo() : Unsupported BMP::biBitCount"}};
    for (const auto& row : rows)
    {
        m_asserts.Clear();
        const TestBitmap bitmap(8, 2, row.nBits, {});
        EXPECT_EQ(Control().SetPictureHandle(bitmap.Handle()), E_INVALIDARG) << row.nBits;
        EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{row.pszAssertion}) << row.nBits;
    }
    EXPECT_EQ(Source(), before);
    EXPECT_EQ(Inside().m_picSource, (PicProps{FOURCC_RGB32, 8, 4, 8}));
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 128u);
}

TEST_F(Handle, LeavesNameListAndId)
{
    ASSERT_EQ(Control().SetPicture(Text("red|green")), S_OK);
    const TestBitmap bitmap(6, 4, 32, {10, 20, 30, 0});
    EXPECT_EQ(Control().SetPictureHandle(bitmap.Handle()), S_OK);
    EXPECT_EQ(Inside().m_nPictureId, 0);
    EXPECT_EQ(Utf8(InsideFilter().m_bsFileName), "red|green");
    EXPECT_EQ(Inside().m_arrFiles.GetSize(), 2);
    // The bitmap stays the caller's.
    EXPECT_EQ(bitmap.Bits().size(), 96u);
}

TEST_F(Handle, EmptiesTheFrameOfAConnectedPin)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    Inside().m_blobFrame.Alloc(128);
    const TestBitmap bitmap(8, 4, 32, {1, 2, 3, 0});
    EXPECT_EQ(Control().SetPictureHandle(bitmap.Handle()), S_OK);
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 0u);
    EXPECT_EQ(m_log.Count("graph.ReconnectEx"), 0); // the same type
}

TEST_F(Handle, ResultIsThatOfTheReconnection)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    m_graph.m_hrReconnect = 0x80040217;
    const TestBitmap bitmap(16, 4, 32, {1, 2, 3, 0});
    EXPECT_EQ(Control().SetPictureHandle(bitmap.Handle()), static_cast<HRESULT>(0x80040217));
    EXPECT_EQ(m_log.Count("graph.ReconnectEx"), 1);
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB32, 8, 4, 8})); // the type is not stored before
}

TEST_F(Handle, FrameIsAnExactCopy)
{
    const TestBitmap bitmap(6, 4, 32, {10, 20, 30, 77});
    ASSERT_EQ(Control().SetPictureHandle(bitmap.Handle()), S_OK);
    Bytes frame(96);
    EXPECT_EQ(FillSampleBuffer(frame.data(), 96), S_OK);
    EXPECT_EQ(frame, bitmap.Bits());
}

} // namespace
