// Types from properties and back.
#include "FilterSupport.h"

#include "Negotiation.h"

namespace
{

class Negotiation : public FilterTest
{
protected:
    /// Properties of 720 by 576 RGB32, changed by the test, brought to the unconnected pin.
    void Set(eQGInterlace eInterlace, SHORT nAspectX, SHORT nAspectY, LONG nHeight = 576, double dblRate = 0)
    {
        QG_VID_PROPS props{};
        props.nWidth = 720;
        props.nHeight = nHeight;
        props.fccType = eQGFCC_RGB32;
        props.eInterlace = eInterlace;
        props.nAspectX = nAspectX;
        props.nAspectY = nAspectY;
        props.dblRate = dblRate;
        EXPECT_EQ(Control().SetOutputProps(&props), S_OK);
    }

    std::vector<DWORD> Supported()
    {
        std::vector<DWORD> codes;
        for (int i = 0; i < InsideFilter().m_arrSupport.GetSize(); i++)
            codes.push_back(InsideFilter().m_arrSupport[i].subtype.Data1);
        return codes;
    }
};

TEST_F(Negotiation, FreshFilterOffersUyvy)
{
    const CMType& mt = Inside().m_theMediaType;
    EXPECT_TRUE(IsEqualGUID(mt.majortype, MEDIATYPE_Video));
    EXPECT_TRUE(IsEqualGUID(mt.subtype, MEDIASUBTYPE_UYVY));
    EXPECT_TRUE(IsEqualGUID(mt.formattype, FORMAT_VideoInfo));
    EXPECT_EQ(mt.lSampleSize, 720u * 576 * 2);
    ASSERT_NE(Header(), nullptr);
    EXPECT_EQ(Header()->AvgTimePerFrame, 400000);
    EXPECT_EQ(Header()->bmiHeader.biWidth, 720);
    EXPECT_EQ(Header()->bmiHeader.biHeight, 576);
}

TEST_F(Negotiation, Rates)
{
    struct
    {
        double dblRate;
        REFERENCE_TIME rtFrame;
    } const rows[] = {{25, 400000}, {29.97, 333667}, {30, 333333}, {23.976, 417083},
                      {7, 1428571}, {0, 400000},     {-1, 400000}, {50, 200000}};
    for (const auto& row : rows)
    {
        Set(eQGI_Default, 0, 0, 576, row.dblRate);
        EXPECT_EQ(Header()->AvgTimePerFrame, row.rtFrame) << row.dblRate;
        Set(eQGI_Field1First, 0, 0, 576, row.dblRate);
        EXPECT_EQ(Header2()->AvgTimePerFrame, row.rtFrame) << row.dblRate;
    }
}

struct HeaderRow
{
    eQGInterlace eInterlace;
    SHORT nAspectX, nAspectY;
    LONG nHeight;
    bool bHeader2;
    DWORD dwFlags;
    LONG nX, nY;
};

TEST_F(Negotiation, HeaderAndAspect)
{
    const HeaderRow rows[] = {
        {eQGI_Default, 0, 0, 576, false, 0, 0, 0},
        {eQGI_Progressive, 0, 0, 576, false, 0, 0, 0},
        {eQGI_Progressive, 16, 0, 576, false, 0, 0, 0}, // one of the two is not enough
        {eQGI_Default, 0, 9, 576, false, 0, 0, 0},
        {eQGI_Progressive, 16, 9, 576, true, 0, 16, 9},
        {eQGI_Default, 16, 9, 576, true, 0, 16, 9},
        {eQGI_Default, 32, 18, 576, true, 0, 32, 18}, // as they are
        {eQGI_Default, -4, 3, 576, true, 0, -4, 3},
        {eQGI_Field1First, 0, 0, 576, true, 0xA5, 5, 4},
        {eQGI_Field2First, 0, 0, 576, true, 0xA1, 5, 4},
        {eQGI_Field1First, 4, 0, 576, true, 0xA5, 5, 4},
        {eQGI_Field1First, 4, 3, 576, true, 0xA5, 4, 3},
        {eQGI_Field2First, 4, 3, -576, true, 0xA1, 4, 3},
        {eQGI_Field1First, 0, 0, -576, true, 0xA5, 5, -4}, // the height with its sign
        {eQGI_Progressive_3DSide, 0, 0, 576, true, 0, 5, 4},
        {eQGI_Field1First_3DSide, 0, 0, 576, true, 0, 5, 4},
        {eQGI_Field2First_3DTopBottom, 0, 0, 576, true, 0, 5, 4},
        {eQGI_3D_Tile, 16, 9, 576, true, 0, 16, 9},
        {static_cast<eQGInterlace>(4), 0, 0, 576, true, 0, 5, 4},
    };
    for (const HeaderRow& row : rows)
    {
        Set(row.eInterlace, row.nAspectX, row.nAspectY, row.nHeight);
        SCOPED_TRACE(testing::Message() << row.eInterlace << " " << row.nAspectX << " " << row.nAspectY);
        if (!row.bHeader2)
        {
            EXPECT_NE(Header(), nullptr);
            continue;
        }
        ASSERT_NE(Header2(), nullptr);
        EXPECT_EQ(Header2()->dwInterlaceFlags, row.dwFlags);
        EXPECT_EQ(static_cast<LONG>(Header2()->dwPictAspectRatioX), row.nX);
        EXPECT_EQ(static_cast<LONG>(Header2()->dwPictAspectRatioY), row.nY);
        EXPECT_EQ(Header2()->bmiHeader.biHeight, row.nHeight);
    }
}

TEST_F(Negotiation, PictureFillsInWhatIsZero)
{
    const PicProps picBase = {FOURCC_RGB24, 64, -48, 64};
    struct
    {
        int nWidth, nHeight;
        eQGFCC fcc;
        PicProps pic;
    } const rows[] = {
        {0, 0, eQGFCC_Default, {FOURCC_RGB24, 64, -48, 64}},
        {32, 0, eQGFCC_Default, {FOURCC_RGB24, 32, -48, 32}},
        {0, 20, eQGFCC_Default, {FOURCC_RGB24, 64, 20, 64}},
        {0, 0, eQGFCC_YUY2, {FOURCC_YUY2, 64, 48, 64}},
        {10, 12, eQGFCC_ARGB32, {FOURCC_ARGB32, 10, 12, 10}},
    };
    for (const auto& row : rows)
    {
        InsideFilter().m_VidProps = {};
        InsideFilter().m_VidProps.nWidth = row.nWidth;
        InsideFilter().m_VidProps.nHeight = row.nHeight;
        InsideFilter().m_VidProps.fccType = row.fcc;
        CMType mt;
        EXPECT_EQ(Filter().BuildOutputType(mt, picBase), S_OK);
        PicProps pic{};
        EXPECT_GE(MTGetPicProps(&mt, &pic), 0);
        EXPECT_EQ(pic, row.pic);
    }
}

TEST_F(Negotiation, FailedTypeIsLeftAsItIs)
{
    InsideFilter().m_VidProps.nWidth = 721; // odd, in a format of pairs
    CMType mt = VideoType(FOURCC_RGB32, 16, 16);
    const CMType before = mt;
    EXPECT_EQ(Filter().BuildOutputType(mt, {FOURCC_UYVY, 720, 576, 720}), E_INVALIDARG);
    EXPECT_TRUE(MTEqual(&mt, &before));
}

TEST_F(Negotiation, FailedTypeLeavesThePinWithoutOne)
{
    EXPECT_EQ(Control().SetOutputFormat(nullptr, 721, 576), S_OK);
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{"nIndex != -1"});
    EXPECT_FALSE(Inside().m_theMediaType.IsDefined());
    EXPECT_EQ(Inside().m_picOutput, PicProps{});
    EXPECT_EQ(InsideFilter().m_arrSupport.GetSize(), 0);
    EXPECT_EQ(Connect(), VFW_E_NO_ACCEPTABLE_TYPES);

    m_asserts.Clear();
    EXPECT_EQ(Control().SetOutputFormat(Text("XYZ1"), 720, 576), S_OK);
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{"nIndex != -1"});
    EXPECT_FALSE(Inside().m_theMediaType.IsDefined());
    EXPECT_EQ(Control().SetOutputFormat(nullptr, 0, 0), S_OK);
    EXPECT_TRUE(Inside().m_theMediaType.IsDefined());
}

TEST_F(Negotiation, SupportedTypesOfAFreshFilter)
{
    EXPECT_EQ(Supported(),
              (std::vector<DWORD>{FOURCC_YUY2, FOURCC_YV12, FOURCC_YVYU, FOURCC_I420, FOURCC_RGB32,
                                  FOURCC_ARGB32, FOURCC_RGB24, FOURCC_RGB565, FOURCC_RGB555, FOURCC_HDYC}));
    for (int i = 0; i < InsideFilter().m_arrSupport.GetSize(); i++)
    {
        const CMType& mt = InsideFilter().m_arrSupport[i];
        PicProps pic{};
        EXPECT_GE(MTGetPicProps(&mt, &pic), 0);
        EXPECT_EQ(pic, (PicProps{mt.subtype.Data1, 720, 576, 720}));
        ASSERT_NE(mt.VideoInfo(), nullptr);
        EXPECT_EQ(mt.VideoInfo()->AvgTimePerFrame, 400000);
    }
}

TEST_F(Negotiation, SupportedTypesOfAWantedFormat)
{
    Set(eQGI_Default, 0, 0);
    EXPECT_EQ(Supported(), std::vector<DWORD>{}); // the wanted one is the current one
    // The case of letters does not count: "hdyc" is HDYC here.
    InsideFilter().m_VidProps.fccType = static_cast<eQGFCC>(0x63796468);
    const CMType mt = VideoType(FOURCC_UYVY, 720, 576);
    Filter().RebuildSupportedTypes(&mt);
    EXPECT_EQ(Supported(), std::vector<DWORD>{FOURCC_HDYC});
    Filter().RebuildSupportedTypes(nullptr);
    EXPECT_EQ(Supported(), std::vector<DWORD>{});
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_F(Negotiation, SupportedTypesOfTheLongerHeader)
{
    const CMType mt = VideoType(FOURCC_RGB32, 64, -48, 400000, FORMAT_VideoInfo2);
    InsideFilter().m_VidProps = {};
    Filter().RebuildSupportedTypes(&mt);
    EXPECT_EQ(Supported().size(), 10u); // one entry a format, not two
    for (int i = 0; i < InsideFilter().m_arrSupport.GetSize(); i++)
    {
        const CMType& mtSupport = InsideFilter().m_arrSupport[i];
        ASSERT_NE(mtSupport.VideoInfo2(), nullptr);
        const bool bRGB = IsRGBFormat(mtSupport.subtype.Data1);
        EXPECT_EQ(mtSupport.VideoInfo2()->bmiHeader.biHeight, bRGB ? -48 : 48);
    }
}

TEST_F(Negotiation, SupportedTypesOfAnOddSize)
{
    // Formats with chroma pairs are refused on the way.
    const CMType mt = VideoType(FOURCC_RGB32, 63, 47);
    Filter().RebuildSupportedTypes(&mt);
    for (const DWORD fcc : Supported())
        EXPECT_TRUE(IsRGBFormat(fcc)) << std::hex << fcc;
    EXPECT_EQ(Supported().size(), 4u);
}

// --- ConvertVideoType

/// A base with every field that counts.
CMType FullBase(const GUID& guidFormat, DWORD fcc = FOURCC_RGB32, LONG nHeight = -48)
{
    CMType mt;
    EXPECT_EQ(MTCreateVideo(&mt, fcc, guidFormat, 64, nHeight, 80), S_OK);
    if (VIDEOINFOHEADER* p = mt.VideoInfo())
    {
        p->AvgTimePerFrame = 333667;
        p->dwBitRate = 1234;
        p->dwBitErrorRate = 56;
    }
    if (VIDEOINFOHEADER2* p = mt.VideoInfo2())
    {
        p->AvgTimePerFrame = 333667;
        p->dwBitRate = 1234;
        p->dwBitErrorRate = 56;
        p->dwInterlaceFlags = 0xA1;
        p->dwPictAspectRatioX = 16;
        p->dwPictAspectRatioY = 9;
    }
    return mt;
}

TEST(ConvertVideo, ToTheShorterHeader)
{
    for (const GUID& guidBase : {FORMAT_VideoInfo, FORMAT_VideoInfo2})
    {
        const CMType mtBase = FullBase(guidBase);
        CMType mt;
        ASSERT_EQ(ConvertVideoType(mt, &mtBase, FORMAT_VideoInfo, FOURCC_YUY2, -1, 0, 0), S_OK);
        ASSERT_NE(mt.VideoInfo(), nullptr);
        const VIDEOINFOHEADER& header = *mt.VideoInfo();
        EXPECT_TRUE(IsEqualGUID(mt.subtype, MEDIASUBTYPE_YUY2));
        EXPECT_EQ(header.bmiHeader.biWidth, 80);
        EXPECT_EQ(header.bmiHeader.biHeight, 48); // absolute, as it is no RGB
        EXPECT_EQ(header.rcTarget.right, 64);
        EXPECT_EQ(header.rcSource.bottom, 48);
        EXPECT_EQ(header.AvgTimePerFrame, 333667);
        EXPECT_EQ(header.dwBitRate, 1234u);
        EXPECT_EQ(header.dwBitErrorRate, 56u);
        EXPECT_EQ(mt.lSampleSize, 80u * 48 * 2);
    }
}

TEST(ConvertVideo, ToTheLongerHeader)
{
    CMType mt;
    const CMType mtBase2 = FullBase(FORMAT_VideoInfo2);
    ASSERT_EQ(ConvertVideoType(mt, &mtBase2, FORMAT_VideoInfo2, FOURCC_RGB24, -1, 0, 0), S_OK);
    ASSERT_NE(mt.VideoInfo2(), nullptr);
    EXPECT_EQ(mt.VideoInfo2()->bmiHeader.biHeight, -48); // RGB keeps the sign
    EXPECT_EQ(mt.VideoInfo2()->dwInterlaceFlags, 0xA1u);
    EXPECT_EQ(mt.VideoInfo2()->dwPictAspectRatioX, 16u);
    EXPECT_EQ(mt.VideoInfo2()->dwPictAspectRatioY, 9u);
    EXPECT_EQ(mt.VideoInfo2()->AvgTimePerFrame, 333667);
    EXPECT_EQ(mt.VideoInfo2()->rcTarget.right, 64);

    const CMType mtBase1 = FullBase(FORMAT_VideoInfo);
    ASSERT_EQ(ConvertVideoType(mt, &mtBase1, FORMAT_VideoInfo2, FOURCC_RGB24, -1, 0, 0), S_OK);
    EXPECT_EQ(mt.VideoInfo2()->dwInterlaceFlags, 0u);
    EXPECT_EQ(mt.VideoInfo2()->dwPictAspectRatioX, 4u); // the frame's own, with the absolute height
    EXPECT_EQ(mt.VideoInfo2()->dwPictAspectRatioY, 3u);
}

TEST(ConvertVideo, FlagsAndAspectOfTheCaller)
{
    const CMType mtBase = FullBase(FORMAT_VideoInfo2);
    CMType mt;
    ASSERT_EQ(ConvertVideoType(mt, &mtBase, FORMAT_VideoInfo2, 0, 0xA5, 4, 3), S_OK);
    EXPECT_EQ(mt.VideoInfo2()->dwInterlaceFlags, 0xA5u);
    EXPECT_EQ(mt.VideoInfo2()->dwPictAspectRatioX, 4u);
    EXPECT_EQ(mt.VideoInfo2()->dwPictAspectRatioY, 3u);
    ASSERT_EQ(ConvertVideoType(mt, &mtBase, FORMAT_VideoInfo2, 0, 0, 4, 0), S_OK);
    EXPECT_EQ(mt.VideoInfo2()->dwInterlaceFlags, 0u);
    EXPECT_EQ(mt.VideoInfo2()->dwPictAspectRatioX, 16u); // one of the two is not enough
    EXPECT_EQ(mt.VideoInfo2()->dwPictAspectRatioY, 9u);
}

TEST(ConvertVideo, ZeroFormatAndNullFormatTypeTakeTheBases)
{
    for (const GUID& guidBase : {FORMAT_VideoInfo, FORMAT_VideoInfo2})
    {
        const CMType mtBase = FullBase(guidBase);
        CMType mt;
        ASSERT_EQ(ConvertVideoType(mt, &mtBase, GUID_NULL, 0, -1, 0, 0), S_OK);
        EXPECT_TRUE(IsEqualGUID(mt.formattype, guidBase));
        EXPECT_TRUE(IsEqualGUID(mt.subtype, MEDIASUBTYPE_RGB32));
    }
}

TEST(ConvertVideo, BadBases)
{
    AssertCapture asserts;
    CMType mt = VideoType(FOURCC_RGB32, 4, 4);
    const CMType before = mt;
    EXPECT_EQ(ConvertVideoType(mt, nullptr, FORMAT_VideoInfo, 0, -1, 0, 0), E_POINTER);
    CMType mtBase;
    EXPECT_EQ(ConvertVideoType(mt, &mtBase, FORMAT_VideoInfo, 0, -1, 0, 0), VFW_E_INVALIDMEDIATYPE);
    mtBase = FullBase(FORMAT_VideoInfo);
    mtBase.subtype = GUID_NULL;
    EXPECT_EQ(ConvertVideoType(mt, &mtBase, FORMAT_VideoInfo, 0, -1, 0, 0), VFW_E_INVALIDSUBTYPE);
    mtBase = CMType(MEDIATYPE_Video, MEDIASUBTYPE_RGB32, FORMAT_VideoInfo, 87, nullptr);
    EXPECT_EQ(ConvertVideoType(mt, &mtBase, FORMAT_VideoInfo, 0, -1, 0, 0), VFW_E_INVALIDMEDIATYPE);
    mtBase = CMType(MEDIATYPE_Video, MEDIASUBTYPE_RGB32, FORMAT_MPEGVideo, 104, nullptr);
    EXPECT_EQ(ConvertVideoType(mt, &mtBase, FORMAT_VideoInfo, 0, -1, 0, 0), VFW_E_INVALID_MEDIA_TYPE);
    mtBase = FullBase(FORMAT_VideoInfo);
    EXPECT_EQ(ConvertVideoType(mt, &mtBase, FORMAT_MPEGVideo, 0, -1, 0, 0), E_UNEXPECTED);
    EXPECT_EQ(ConvertVideoType(mt, &mtBase, FORMAT_VideoInfo2, 0x41414141, -1, 0, 0), E_INVALIDARG);
    asserts.Clear();
    EXPECT_EQ(ConvertVideoType(mt, &mtBase, FORMAT_VideoInfo, 0x41414141, -1, 0, 0), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), std::vector<std::string>{"pVH_New"});
    EXPECT_TRUE(MTEqual(&mt, &before));
}

TEST(ConvertVideo, PaletteIsKept)
{
    // RGB8 is not in the table of formats, so the block is built around the base's data.
    for (const bool bHeader2 : {false, true})
    {
        const ULONG cbHeader = bHeader2 ? sizeof(VIDEOINFOHEADER2) : sizeof(VIDEOINFOHEADER);
        const ULONG cbPalette = 1024;
        CMType mtBase(MEDIATYPE_Video, MEDIASUBTYPE_RGB8, bHeader2 ? FORMAT_VideoInfo2 : FORMAT_VideoInfo,
                      cbHeader + cbPalette, nullptr);
        BITMAPINFOHEADER& bmi = *MTGetBmpHeader(&mtBase);
        bmi = {40, 16, 8, 1, 8, 0, 128, 0, 0, 256, 0};
        *MTGetFrameTime(&mtBase) = 123456;
        for (ULONG i = 0; i < cbPalette; i++)
            mtBase.pbFormat[cbHeader + i] = static_cast<BYTE>(i * 7);
        CMType mt;
        ASSERT_EQ(ConvertVideoType(mt, &mtBase, FORMAT_VideoInfo, 0, -1, 0, 0), S_OK);
        ASSERT_EQ(mt.cbFormat, sizeof(VIDEOINFOHEADER) + cbPalette);
        EXPECT_TRUE(IsEqualGUID(mt.subtype, MEDIASUBTYPE_RGB8));
        EXPECT_EQ(mt.VideoInfo()->AvgTimePerFrame, 123456);
        EXPECT_EQ(mt.VideoInfo()->bmiHeader.biClrUsed, 256u);
        EXPECT_EQ(mt.lSampleSize, 128u);
        EXPECT_EQ(memcmp(mt.pbFormat + sizeof(VIDEOINFOHEADER), mtBase.pbFormat + cbHeader, cbPalette), 0);
    }
}

// --- PropsFromMediaType

TEST(PropsFromType, ShorterHeader)
{
    QG_VID_PROPS props{};
    props.eKeepAspect = eQGKA_LetterBox;
    props.nAspectX = 4;
    props.nAspectY = 3;
    const CMType mt = VideoType(FOURCC_RGB24, 64, -48, 333667);
    PropsFromMediaType(&mt, &props);
    EXPECT_EQ(static_cast<DWORD>(props.fccType), static_cast<DWORD>(FOURCC_RGB24));
    EXPECT_EQ(props.nWidth, 64);
    EXPECT_EQ(props.nHeight, -48);
    EXPECT_DOUBLE_EQ(props.dblRate, 10000000.0 / 333667);
    EXPECT_EQ(props.eInterlace, eQGI_Progressive);
    EXPECT_EQ(props.nAspectX, 0);
    EXPECT_EQ(props.nAspectY, 0);
    EXPECT_EQ(props.eKeepAspect, eQGKA_LetterBox); // stays
    const CMType mtNoTime = VideoType(FOURCC_YUY2, 64, 48, 0);
    PropsFromMediaType(&mtNoTime, &props);
    EXPECT_EQ(props.dblRate, 0.0);
}

TEST(PropsFromType, LongerHeader)
{
    struct
    {
        DWORD dwFlags, dwX, dwY;
        eQGInterlace eInterlace;
        SHORT nX, nY;
    } const rows[] = {
        {0, 16, 9, eQGI_Progressive, 16, 9},
        {4, 4, 3, eQGI_Progressive, 4, 3}, // not interlaced
        {1, 720, 576, eQGI_Field2First, 5, 4},
        {5, 32, 18, eQGI_Field1First, 16, 9},
        {0xA5, 1, 1, eQGI_Field1First, 1, 1},
        {0xA1, 0, 0, eQGI_Field2First, 0, 0},
        {0, 0xFFFFFFFF, 1, eQGI_Progressive, -1, 1}, // both are signed, and each keeps its sign
        {0, 1, 0xFFFFFFFF, eQGI_Progressive, 1, -1},
        {0, 0xFFFFFFFF, 0xFFFFFFFF, eQGI_Progressive, -1, -1},
        {0xA5, 5, 0xFFFFFFFC, eQGI_Field1First, 5, -4},
        {0, 32, 0xFFFFFFEE, eQGI_Progressive, 16, -9},
        {0, 0, 12, eQGI_Progressive, 0, 1},
        {0, 0, 0xFFFFFFF4, eQGI_Progressive, 0, -1},
        {0, 0xFFFFFFF4, 0, eQGI_Progressive, -1, 0},
        {0, 0x80000000, 1, eQGI_Progressive, -32768, 1}, // clamped
        {0, 1, 0x80000000, eQGI_Progressive, 1, -32768},
        {0, 0x7FFFFFFF, 0x80000000, eQGI_Progressive, 32767, -32768},
        {0, 0x80000000, 0x80000000, eQGI_Progressive, -1, -1},
        {0, 0x80000000, 0xFFFFFFFF, eQGI_Progressive, -32768, -1},
        {0, 0x80000000, 0, eQGI_Progressive, -1, 0},
    };
    for (const auto& row : rows)
    {
        CMType mt = VideoType(FOURCC_UYVY, 720, 576, 400000, FORMAT_VideoInfo2);
        mt.VideoInfo2()->dwInterlaceFlags = row.dwFlags;
        mt.VideoInfo2()->dwPictAspectRatioX = row.dwX;
        mt.VideoInfo2()->dwPictAspectRatioY = row.dwY;
        QG_VID_PROPS props{};
        PropsFromMediaType(&mt, &props);
        EXPECT_EQ(props.eInterlace, row.eInterlace) << std::hex << row.dwFlags;
        EXPECT_EQ(props.nAspectX, row.nX);
        EXPECT_EQ(props.nAspectY, row.nY);
        EXPECT_EQ(props.dblRate, 25.0);
    }
}

TEST(PropsFromType, UnreadableTypesChangeNothing)
{
    AssertCapture asserts;
    QG_VID_PROPS props{};
    memset(&props, 0x11, sizeof(props));
    const QG_VID_PROPS before = props;
    const CMType mtEmpty;
    PropsFromMediaType(&mtEmpty, &props);
    PropsFromMediaType(nullptr, &props);
    CMType mt = VideoType(FOURCC_RGB32, 4, 4);
    PropsFromMediaType(&mt, nullptr);
    mt.subtype = MEDIASUBTYPE_RGB8;
    PropsFromMediaType(&mt, &props);
    EXPECT_EQ(memcmp(&props, &before, sizeof(props)), 0);
}

TEST(PropsFromType, RoundTrip)
{
    // What a type was built from comes out of it again.
    CComObject<CCoQXStillSource>* pFilter = nullptr;
    ASSERT_EQ(CComObject<CCoQXStillSource>::CreateInstance(&pFilter), S_OK);
    const CComPtr<IBaseFilter> spFilter = pFilter;
    for (const eQGInterlace eInterlace : {eQGI_Progressive, eQGI_Field1First, eQGI_Field2First})
    {
        for (const double dblRate : {25.0, 50.0, 10.0})
        {
            FilterProbe(*pFilter).m_VidProps = {720, 576, eQGFCC_YUY2, eInterlace,
                                                16,  9,   eQGKA_Crop,  dblRate};
            CMType mt;
            ASSERT_EQ(pFilter->BuildOutputType(mt, PicProps{}), S_OK);
            QG_VID_PROPS props{};
            PropsFromMediaType(&mt, &props);
            EXPECT_EQ(props.nWidth, 720);
            EXPECT_EQ(props.nHeight, 576);
            EXPECT_EQ(props.fccType, eQGFCC_YUY2);
            EXPECT_EQ(props.eInterlace, eInterlace);
            EXPECT_EQ(props.nAspectX, 16);
            EXPECT_EQ(props.nAspectY, 9);
            EXPECT_DOUBLE_EQ(props.dblRate, dblRate);
        }
    }
}

} // namespace
