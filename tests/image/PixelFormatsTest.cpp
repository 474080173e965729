// The table of pixel formats: what a row has to fulfil, and what derives from it.
#include "ImageTest.h"

#include <set>
#include <string>

namespace
{

constexpr bool IsFourcc(const PixelFormat& format)
{
    for (int i = 0; i < 4; i++)
    {
        const BYTE c = static_cast<BYTE>(format.fccType >> 8 * i);
        if (c < 0x20 || c > 0x7E)
            return false;
    }
    return true;
}

/// Without a function of the C library, whose wide characters differ in the native build.
std::u16string NameOf(const PixelFormat& format)
{
    std::u16string name;
    for (const wchar_t* p = format.pszName; *p != 0; p++)
        name += static_cast<char16_t>(*p);
    return name;
}

TEST(PixelFormats, EachRowIsFoundByItsCodeAndItsSubtype)
{
    std::set<DWORD> codes;
    std::set<std::u16string> names;
    for (const PixelFormat& format : arrPixelFormats)
    {
        SCOPED_TRACE(format.fccType);
        EXPECT_TRUE(codes.insert(format.fccType).second);
        EXPECT_TRUE(names.insert(NameOf(format)).second);
        EXPECT_EQ(format.guidSubtype.Data1, format.fccType);
        EXPECT_EQ(&FormatOf(format.fccType), &format);
        EXPECT_EQ(&FormatOf(format.guidSubtype), &format);
        GUID guidOther = format.guidSubtype;
        guidOther.Data4[7] ^= 1;
        EXPECT_EQ(&FormatOf(guidOther), &formatUnknown);
        EXPECT_TRUE(IsKnown(format));
    }
    EXPECT_FALSE(IsKnown(FormatOf(DWORD{0x12345678})));
    EXPECT_FALSE(IsKnown(formatUnknown));
}

TEST(PixelFormats, FourccsAreNamedByTheirCharacters)
{
    for (const PixelFormat& format : arrPixelFormats)
    {
        if (!IsFourcc(format))
            continue;
        const std::u16string name = NameOf(format);
        ASSERT_EQ(name.size(), 4u);
        for (size_t i = 0; i < name.size(); i++)
            EXPECT_EQ(name[i], static_cast<char16_t>(format.fccType >> 8 * i & 0xFF));
        const GUID guidExpected = FourccSubtype(format.fccType);
        EXPECT_TRUE(IsEqualGUID(format.guidSubtype, guidExpected));
    }
}

TEST(PixelFormats, ComponentsFillThePixelsBits)
{
    for (const PixelFormat& format : arrPixelFormats)
    {
        SCOPED_TRACE(format.fccType);
        if (!HasByteComponents(format))
            continue;
        const int nLuma = 8;
        const int nChroma = format.eModel == eCM_YUV ? 16 / (format.nHorz * format.nVert) : 16;
        const int nFourth = PackedOrder(format)[3] == nNoComponent && GroupBytes(format) == 4 ? 8 : 0;
        EXPECT_EQ(nLuma + nChroma + nFourth, format.nBits);
        for (const Component& part : format.arrParts)
            EXPECT_LT(part.nPlane, PlaneCount(format));
        EXPECT_EQ(format.arrParts[0].nCentre, 0);
        EXPECT_EQ(format.arrParts[1].nCentre, format.eModel == eCM_YUV ? 128 : 0);
        EXPECT_EQ(format.arrParts[2].nCentre, format.arrParts[1].nCentre);
    }
}

TEST(PixelFormats, OrderOfPackedBytes)
{
    using Order = std::array<BYTE, 4>;
    EXPECT_EQ(PackedOrder(FormatOf(FOURCC_YUY2)), (Order{0, 1, 0, 2}));
    EXPECT_EQ(PackedOrder(FormatOf(FOURCC_YVYU)), (Order{0, 2, 0, 1}));
    EXPECT_EQ(PackedOrder(FormatOf(FOURCC_UYVY)), (Order{1, 0, 2, 0}));
    EXPECT_EQ(PackedOrder(FormatOf(FOURCC_HDYC)), (Order{1, 0, 2, 0}));
    EXPECT_EQ(PackedOrder(FormatOf(FOURCC_RGB24)), (Order{2, 1, 0, nNoComponent}));
    EXPECT_EQ(PackedOrder(FormatOf(FOURCC_ARGB32)), (Order{2, 1, 0, nNoComponent}));
    EXPECT_EQ(GroupBytes(FormatOf(FOURCC_RGB8)), 0);
}

TEST(PixelFormats, AlikeFormatsDifferInNothingButTheOrderOfPlanes)
{
    for (const PixelFormat& format : arrPixelFormats)
    {
        if (format.fccAlike == 0)
            continue;
        const PixelFormat& alike = FormatOf(format.fccAlike);
        EXPECT_EQ(alike.fccAlike, 0u);
        EXPECT_EQ(alike.nBits, format.nBits);
        EXPECT_EQ(alike.eRows, format.eRows);
        EXPECT_EQ(alike.nHorz, format.nHorz);
        EXPECT_EQ(alike.nVert, format.nVert);
        for (int i = 0; i < 3; i++)
        {
            EXPECT_EQ(alike.arrParts[i].nOffset, format.arrParts[i].nOffset);
            EXPECT_EQ(alike.arrParts[i].cbStep, format.arrParts[i].cbStep);
        }
    }
}

TEST(PixelFormats, BitmapsWithoutACode)
{
    EXPECT_EQ(PlainBitmapFormat(32).fccType, FOURCC_RGB32);
    EXPECT_EQ(PlainBitmapFormat(24).fccType, FOURCC_RGB24);
    EXPECT_EQ(PlainBitmapFormat(16).fccType, FOURCC_RGB565);
    for (const WORD nBits : {0, 1, 4, 8, 12, 15, 20, 48})
        EXPECT_FALSE(IsKnown(PlainBitmapFormat(nBits))) << nBits;
}

} // namespace
