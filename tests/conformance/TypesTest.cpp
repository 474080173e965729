// Which types the pin accepts, and what stream configuration gives, takes and says of itself.
#include "FramesFixture.h"

#include <climits>
#include <cstring>

namespace
{

class Types : public Frames
{
protected:
    QG_VID_PROPS Props()
    {
        QG_VID_PROPS props{};
        EXPECT_EQ(Control().GetOutputProps(&props), S_OK);
        return props;
    }
    /// The same type everywhere.
    void ExpectCurrent(const CMType& mt)
    {
        const CMType mtFormat = Format(), mtOffered = Offered();
        EXPECT_TRUE(MTEqual(&mtFormat, &mt));
        EXPECT_TRUE(MTEqual(&mtOffered, &mt));
        EXPECT_EQ(Pin().QueryAccept(&mt), S_OK);
    }
};

/// What nobody should take for a type of this size: each with one thing wrong.
std::vector<std::pair<const char*, CMType>> WrongTypes(DWORD fcc, LONG nWidth, LONG nHeight)
{
    const CMType mtGood = HostType(SubtypeOf(fcc), nWidth, nHeight);
    std::vector<std::pair<const char*, CMType>> types = {{"zeroed", CMType()}};
    const auto add = [&](const char* pszWhat, auto fnSpoil)
    {
        types.emplace_back(pszWhat, mtGood);
        fnSpoil(types.back().second);
    };
    add("audio", [](CMType& mt) { mt.majortype = MEDIATYPE_Audio; });
    add("stream", [](CMType& mt) { mt.majortype = MEDIATYPE_Stream; });
    add("no major type", [](CMType& mt) { mt.majortype = GUID_NULL; });
    add("no subtype", [](CMType& mt) { mt.subtype = GUID_NULL; });
    add("unknown subtype", [](CMType& mt) { mt.subtype = SubtypeOf(0x34363248); });
    add("another tail", [](CMType& mt) { mt.subtype.Data4[7] ^= 1; });
    add("no format type", [](CMType& mt) { mt.formattype = GUID_NULL; });
    add("format of MPEG", [](CMType& mt) { mt.formattype = FORMAT_MPEGVideo; });
    add("format of sound", [](CMType& mt) { mt.formattype = FORMAT_WaveFormatEx; });
    add("no format block",
        [](CMType& mt)
        {
            CoTaskMemFree(mt.pbFormat);
            mt.pbFormat = nullptr;
            mt.cbFormat = 0;
        });
    add("block too small", [](CMType& mt) { mt.cbFormat = sizeof(VIDEOINFOHEADER) - 1; });
    add("block of the other header", [](CMType& mt) { mt.formattype = FORMAT_VideoInfo2; });
    add("no width", [](CMType& mt) { HeaderOf(mt).biWidth = 0; });
    add("no height", [](CMType& mt) { HeaderOf(mt).biHeight = 0; });
    add("target wider than the rows",
        [&](CMType& mt) {
            reinterpret_cast<VIDEOINFOHEADER*>(mt.pbFormat)->rcTarget = {0, 0, nWidth + 2, nHeight};
        });
    return types;
}

TEST_F(Types, EveryEnumeratedTypeIsAccepted)
{
    for (const FormatRow& format : g_arrFormats)
    {
        for (const bool bHeader2 : {false, true})
        {
            for (const LONG nHeight : {576, -576})
            {
                SCOPED_TRACE(testing::Message() << format.pszName << " " << nHeight);
                ASSERT_EQ(SetProps(format.fcc, 720, nHeight, bHeader2), S_OK);
                CComPtr<IEnumMediaTypes> spEnum;
                ASSERT_EQ(Pin().EnumMediaTypes(&spEnum), S_OK);
                AM_MEDIA_TYPE* pmt = nullptr;
                int nTypes = 0;
                while (spEnum->Next(1, &pmt, nullptr) == S_OK)
                {
                    nTypes++;
                    EXPECT_EQ(Pin().QueryAccept(pmt), S_OK);
                    EXPECT_TRUE(
                        IsEqualGUID(pmt->formattype, bHeader2 ? FORMAT_VideoInfo2 : FORMAT_VideoInfo));
                    EXPECT_EQ(HeaderOf(*pmt).biHeight, nHeight);
                    MTDelete(pmt);
                }
                EXPECT_EQ(nTypes, 1);
                for (const auto& [pszWhat, mt] : WrongTypes(format.fcc, 720, nHeight))
                    EXPECT_EQ(Pin().QueryAccept(&mt), S_FALSE) << pszWhat;
            }
        }
    }
}

/// Format and size have to agree; nothing else is looked at.
TEST_F(Types, WhatIsAcceptedBesides)
{
    const CMType mt = Offered(); // UYVY, 720 by 576
    const GUID guid = SubtypeOf(eQGFCC_UYVY);
    for (const GUID& guidFormat : {FORMAT_VideoInfo, FORMAT_VideoInfo2})
    {
        for (const LONG nHeight : {576, -576})
        {
            for (const LONG nRow : {720, 722, 736, 1024})
            {
                for (const REFERENCE_TIME rtFrame :
                     {REFERENCE_TIME{0}, REFERENCE_TIME{1}, REFERENCE_TIME{400000}})
                {
                    CMType mtOther = HostType(guid, 720, nHeight, nRow, guidFormat, rtFrame);
                    mtOther.bTemporalCompression = TRUE;
                    mtOther.bFixedSizeSamples = FALSE;
                    mtOther.lSampleSize = 0;
                    EXPECT_EQ(Pin().QueryAccept(&mtOther), S_OK);
                }
            }
            for (const LONG nRow : {721, 719, 718})
            {
                const CMType mtOther = HostType(guid, 720, nHeight, nRow, guidFormat);
                EXPECT_EQ(Pin().QueryAccept(&mtOther), S_FALSE) << nRow;
            }
        }
        for (const SIZE& size : {SIZE{718, 576}, SIZE{720, 574}, SIZE{576, 720}, SIZE{1440, 576}})
        {
            const CMType mtOther = HostType(guid, size.cx, size.cy, 0, guidFormat);
            EXPECT_EQ(Pin().QueryAccept(&mtOther), S_FALSE);
        }
        for (const FormatRow& format : g_arrFormats)
        {
            const CMType mtOther = HostType(SubtypeOf(format.fcc), 720, 576, 0, guidFormat);
            EXPECT_EQ(Pin().QueryAccept(&mtOther), format.fcc == eQGFCC_UYVY ? S_OK : S_FALSE)
                << format.pszName;
        }
    }
    ExpectCurrent(mt);
}

TEST_F(Types, AFreshPin)
{
    const CMType mt = HostType(SubtypeOf(eQGFCC_UYVY), 720, 576);
    ExpectCurrent(mt);
    EXPECT_EQ(HeaderOf(mt).biSizeImage, 829440u);
}

TEST_F(Types, EveryCapabilityCanBeSet)
{
    int nCount = 0, nSize = 0;
    ASSERT_EQ(Config().GetNumberOfCapabilities(&nCount, &nSize), S_OK);
    EXPECT_EQ(nCount, 36);
    EXPECT_EQ(nSize, 128);
    ASSERT_EQ(static_cast<size_t>(nSize), sizeof(VIDEO_STREAM_CONFIG_CAPS));
    VIDEO_STREAM_CONFIG_CAPS expected{};
    expected.guid = FORMAT_VideoInfo;
    expected.InputSize = expected.MinCroppingSize = expected.MaxCroppingSize = {720, 486};
    expected.CropGranularityX = expected.CropGranularityY = 2;
    expected.CropAlignX = expected.CropAlignY = 1;
    expected.MinOutputSize = {128, 96};
    expected.MaxOutputSize = {2048, 2048};
    expected.OutputGranularityX = expected.OutputGranularityY = 2;
    expected.MinFrameInterval = 166667;
    expected.MaxFrameInterval = 10000000;
    expected.MinBitsPerSecond = 16384;
    expected.MaxBitsPerSecond = 1006632960;
    ASSERT_EQ(SetPicture("red"), S_OK);
    int nIndex = 0;
    for (const FormatRow& format : g_arrFormats)
    {
        if (!format.bPainted)
            continue;
        // The four variants of a format are one, deliberately.
        const CMType mtExpected = HostType(SubtypeOf(format.fcc), 720, 486, 0, FORMAT_VideoInfo, 333667);
        for (int nVariant = 0; nVariant < 4; nVariant++, nIndex++)
        {
            SCOPED_TRACE(testing::Message() << format.pszName << ", index " << nIndex);
            AM_MEDIA_TYPE* pmt = nullptr;
            VIDEO_STREAM_CONFIG_CAPS caps;
            memset(&caps, 0xEE, sizeof(caps));
            ASSERT_EQ(Config().GetStreamCaps(nIndex, &pmt, reinterpret_cast<BYTE*>(&caps)), S_OK);
            EXPECT_EQ(memcmp(&caps, &expected, sizeof(caps)), 0);
            EXPECT_TRUE(MTEqual(pmt, &mtExpected));
            EXPECT_EQ(Config().SetFormat(pmt), S_OK);
            MTDelete(pmt);
            ExpectCurrent(mtExpected);
        }
        ASSERT_EQ(Connect(), S_OK);
        const CMType mt = Connected();
        EXPECT_TRUE(MTEqual(&mt, &mtExpected));
        ExpectFrames(format, mt, OneColour({255, 0, 0, 255}));
        Disconnect();
    }
    ASSERT_EQ(nIndex, nCount);
    // Deliberately: the group behind the last one gets through, with the last format of the table.
    for (; nIndex < nCount + 4; nIndex++)
    {
        AM_MEDIA_TYPE* pmt = nullptr;
        VIDEO_STREAM_CONFIG_CAPS caps{};
        ASSERT_EQ(Config().GetStreamCaps(nIndex, &pmt, reinterpret_cast<BYTE*>(&caps)), S_OK);
        EXPECT_TRUE(IsEqualGUID(pmt->subtype, SubtypeOf(0x3231564E)));
        EXPECT_EQ(Config().SetFormat(pmt), VFW_E_INVALIDMEDIATYPE);
        MTDelete(pmt);
    }
    // An index below 0 picks the first format.
    for (const int nBelow : {-1, -3, -4, -5, -1000, INT_MIN})
    {
        SCOPED_TRACE(nBelow);
        AM_MEDIA_TYPE *pmt = nullptr, *pmtFirst = nullptr;
        VIDEO_STREAM_CONFIG_CAPS caps;
        memset(&caps, 0xEE, sizeof(caps));
        ASSERT_EQ(Config().GetStreamCaps(nBelow, &pmt, reinterpret_cast<BYTE*>(&caps)), S_OK);
        EXPECT_EQ(memcmp(&caps, &expected, sizeof(caps)), 0);
        ASSERT_EQ(Config().GetStreamCaps(0, &pmtFirst, reinterpret_cast<BYTE*>(&caps)), S_OK);
        EXPECT_TRUE(MTEqual(pmt, pmtFirst));
        MTDelete(pmt);
        MTDelete(pmtFirst);
    }
    for (const int nBeyond : {40, 41, 1000, 0x7FFFFFFF})
    {
        AM_MEDIA_TYPE* pmt = nullptr;
        VIDEO_STREAM_CONFIG_CAPS caps{};
        EXPECT_EQ(Config().GetStreamCaps(nBeyond, &pmt, reinterpret_cast<BYTE*>(&caps)), S_FALSE) << nBeyond;
        EXPECT_EQ(pmt, nullptr);
    }
}

/// What is set is what is given back, byte for byte, and what the control interface tells of it.
TEST_F(Types, SetFormatRoundTrips)
{
    for (const FormatRow& format : g_arrFormats)
    {
        for (const GUID& guidFormat : {FORMAT_VideoInfo, FORMAT_VideoInfo2})
        {
            for (const LONG nHeight : {576, -576})
            {
                for (const LONG nRow : {720, 736})
                {
                    SCOPED_TRACE(testing::Message() << format.pszName << " " << nHeight << " " << nRow);
                    const CMType mtBefore = Format();
                    const QG_VID_PROPS propsBefore = Props();
                    CMType mt = HostType(SubtypeOf(format.fcc), 720, nHeight, nRow, guidFormat, 333667);
                    if (!format.bPainted)
                    {
                        EXPECT_EQ(Config().SetFormat(&mt), VFW_E_INVALIDMEDIATYPE);
                        ExpectCurrent(mtBefore);
                        EXPECT_EQ(Props().fccType, propsBefore.fccType);
                        continue;
                    }
                    const bool bHeader2 = IsEqualGUID(guidFormat, FORMAT_VideoInfo2);
                    ASSERT_EQ(Config().SetFormat(&mt), S_OK);
                    ExpectCurrent(mt);
                    const QG_VID_PROPS props = Props();
                    const bool bSigned = format.nAcross == 1; // RGB alone has rows from the bottom
                    EXPECT_EQ(props.fccType, static_cast<eQGFCC>(format.fcc));
                    EXPECT_EQ(props.nWidth, 720);
                    EXPECT_EQ(props.nHeight, bSigned ? nHeight : 576);
                    EXPECT_EQ(props.eInterlace, eQGI_Progressive);
                    EXPECT_EQ(props.nAspectX, bHeader2 ? 5 : 0);
                    EXPECT_EQ(props.nAspectY, bHeader2 ? 4 : 0);
                    EXPECT_EQ(props.eKeepAspect, eQGKA_Crop);
                    EXPECT_EQ(props.dblRate, 10000000.0 / 333667);

                    // Through the control interface's own format and back.
                    CComBSTR bsName;
                    int nWidth = 0, nOutHeight = 0;
                    EXPECT_EQ(Control().GetOutputFormat(&bsName, &nWidth, &nOutHeight), S_OK);
                    EXPECT_EQ(Utf8(bsName.m_str), format.pszName);
                    EXPECT_EQ(Control().SetOutputFormat(bsName, nWidth, nOutHeight), S_OK);
                    const CMType mtBuilt = Format();
                    EXPECT_TRUE(IsEqualGUID(mtBuilt.subtype, mt.subtype));
                    EXPECT_TRUE(IsEqualGUID(mtBuilt.formattype, guidFormat));
                    EXPECT_EQ(HeaderOf(mtBuilt).biWidth, 720);
                    EXPECT_EQ(HeaderOf(mtBuilt).biHeight, bSigned ? nHeight : 576);
                    EXPECT_EQ(MTFrameTime(&mtBuilt), 333667);
                }
            }
        }
    }
}

TEST_F(Types, InterlaceAndAspectOfSetFormat)
{
    const struct
    {
        DWORD dwFlags;
        eQGInterlace eInterlace;
    } flags[] = {{0, eQGI_Progressive},
                 {AMINTERLACE_Field1First, eQGI_Progressive},
                 {AMINTERLACE_IsInterlaced, eQGI_Field2First},
                 {AMINTERLACE_IsInterlaced | AMINTERLACE_Field1First, eQGI_Field1First},
                 {0xA5, eQGI_Field1First},
                 {0xA1, eQGI_Field2First}};
    const struct
    {
        DWORD dwX, dwY;
        SHORT nX, nY;
    } aspects[] = {{16, 9, 16, 9},        {32, 18, 16, 9},      {4, 3, 4, 3},        {0, 0, 0, 0},
                   {100000, 50000, 2, 1}, {65537, 2, 32767, 2}, {2, 65537, 2, 32767}};
    for (const auto& flag : flags)
    {
        for (const auto& aspect : aspects)
        {
            CMType mt = HostType(SubtypeOf(eQGFCC_YUY2), 720, 576, 0, FORMAT_VideoInfo2);
            auto& vih = *reinterpret_cast<VIDEOINFOHEADER2*>(mt.pbFormat);
            vih.dwInterlaceFlags = flag.dwFlags;
            vih.dwPictAspectRatioX = aspect.dwX;
            vih.dwPictAspectRatioY = aspect.dwY;
            ASSERT_EQ(Config().SetFormat(&mt), S_OK);
            ExpectCurrent(mt);
            const QG_VID_PROPS props = Props();
            EXPECT_EQ(props.eInterlace, flag.eInterlace) << flag.dwFlags;
            EXPECT_EQ(props.nAspectX, aspect.nX) << aspect.dwX;
            EXPECT_EQ(props.nAspectY, aspect.nY) << aspect.dwY;
        }
    }
}

TEST_F(Types, WhatSetFormatRefuses)
{
    const CMType mtBefore = Format();
    for (auto& [pszWhat, mt] : WrongTypes(eQGFCC_UYVY, 720, 576))
    {
        CMType mtWrong(mt);
        EXPECT_EQ(Config().SetFormat(&mtWrong), VFW_E_INVALIDMEDIATYPE) << pszWhat;
    }
    ExpectCurrent(mtBefore);
    ASSERT_EQ(Connect(), S_OK);
    CMType mt(mtBefore);
    for (const bool bRun : {false, true})
    {
        ASSERT_EQ(bRun ? Filter().Run(0) : Filter().Pause(), S_OK);
        EXPECT_EQ(Config().SetFormat(&mt), VFW_E_NOT_STOPPED);
        EXPECT_EQ(SetFormat("RGB32", 0, 0), VFW_E_NOT_STOPPED);
        EXPECT_EQ(Control().SetFrameRate(30), VFW_E_NOT_STOPPED);
        QG_VID_PROPS props = Props();
        EXPECT_EQ(Control().SetOutputProps(&props), S_OK); // deliberately
        const CMType mtNow = Format();
        EXPECT_TRUE(MTEqual(&mtNow, &mtBefore));
    }
    ASSERT_EQ(Filter().Stop(), S_OK);
    Disconnect();
}

/// A connected pin brings a new type to the graph.
TEST_F(Types, SetFormatOnAConnectedPin)
{
    m_graph.m_bReallyReconnect = true;
    ASSERT_EQ(Connect(), S_OK);
    CMType mt = Connected();
    EXPECT_EQ(Config().SetFormat(&mt), S_OK);
    EXPECT_EQ(m_graph.Reconnections().size(), 0u); // it is that already

    CMType mtRate = HostType(SubtypeOf(eQGFCC_UYVY), 720, 576, 0, FORMAT_VideoInfo2, 200000);
    EXPECT_EQ(Config().SetFormat(&mtRate), S_OK);
    ASSERT_EQ(m_graph.Reconnections().size(), 1u);
    EXPECT_TRUE(m_graph.Reconnections()[0].bEx);
    EXPECT_TRUE(MTEqual(&m_graph.Reconnections()[0].mt, &mtRate));
    const CMType mtNow = Connected();
    EXPECT_TRUE(MTEqual(&mtNow, &mtRate));

    // Another size is compared with the one of before: the pin stays without a peer, in its old type.
    CMType mtSize = HostType(SubtypeOf(eQGFCC_UYVY), 640, 480);
    EXPECT_EQ(Config().SetFormat(&mtSize), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_FALSE(m_sink.m_pin.IsConnected());
    ExpectCurrent(mtRate);
    // Unconnected, it takes effect.
    EXPECT_EQ(Config().SetFormat(&mtSize), S_OK);
    ExpectCurrent(mtSize);
}

/// A format that nothing knows: no type is offered, and nothing connects, until there is one again.
TEST_F(Types, APinWithoutAType)
{
    for (const char* pszFormat : {"H264", "YVU9", "RGB8"})
    {
        EXPECT_EQ(SetFormat(pszFormat, 720, 576), S_OK) << pszFormat;
        CComPtr<IEnumMediaTypes> spEnum;
        ASSERT_EQ(Pin().EnumMediaTypes(&spEnum), S_OK);
        AM_MEDIA_TYPE* pmt = nullptr;
        ULONG nFetched = 7;
        EXPECT_EQ(spEnum->Next(1, &pmt, &nFetched), S_FALSE);
        EXPECT_EQ(nFetched, 0u);
        const CMType mt = HostType(SubtypeOf(eQGFCC_UYVY), 720, 576);
        EXPECT_EQ(Pin().QueryAccept(&mt), S_FALSE);
        EXPECT_EQ(Connect(), VFW_E_NO_ACCEPTABLE_TYPES);
        EXPECT_EQ(Connect(&mt), VFW_E_TYPE_NOT_ACCEPTED);
    }
    EXPECT_EQ(SetFormat("", 0, 0), S_OK);
    ASSERT_EQ(Connect(), S_OK);
    Disconnect();
}

} // namespace
