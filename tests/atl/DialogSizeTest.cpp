// The size of a dialog without a window. These tests run where no window can be made; PageTest.cpp compares
// with real dialogs.
#include <gtest/gtest.h>

#include "DialogTemplates.h"
#include "dstl/WinAPI/Atl.h"
#include "support/GuardedPages.h"

#include <atlctl.h>

namespace
{

SIZE SizeOf(const DialogTemplateBuilder& builder)
{
    SIZE size = {-1, -1};
    EXPECT_TRUE(AtlGetDialogSize(builder.Bytes().data(), builder.Bytes().size(), &size));
    return size;
}

DialogTemplateBuilder WithFont(bool bExtended, WORD nPoints, WORD nWeight = FW_NORMAL)
{
    DialogTemplateBuilder builder;
    if (bExtended)
        builder.Extended(DS_SETFONT, 400, 800);
    else
        builder.Plain(DS_SETFONT, 400, 800);
    builder.Text(L"").Text(L"").Text(L"").Add(nPoints);
    if (bExtended)
        builder.Add(nWeight).Add(BYTE{0}).Add(BYTE{DEFAULT_CHARSET});
    return builder.Text(L"Tahoma");
}

TEST(DialogSize, OfEveryTemplate)
{
    for (const DialogTemplate& dialog : DialogTemplates())
    {
        SCOPED_TRACE(dialog.sName);
        SIZE size = {-1, -1};
        ASSERT_TRUE(AtlGetDialogSize(dialog.bytes.data(), dialog.bytes.size(), &size));
        // No letter is narrower or lower than three pixels.
        EXPECT_GE(size.cx, dialog.sizeUnits.cx * 3 / 4);
        EXPECT_GE(size.cy, dialog.sizeUnits.cy * 3 / 8);
    }
}

TEST(DialogSize, IsInUnitsOfTheSystemFont)
{
    const LONG nUnits = GetDialogBaseUnits();
    ASSERT_GT(LOWORD(nUnits), 0);
    ASSERT_GT(HIWORD(nUnits), 0);
    DialogTemplateBuilder plain, extended;
    for (const SIZE& size : {SizeOf(plain.Plain(0, 186, 95)), SizeOf(extended.Extended(0, 186, 95))})
    {
        EXPECT_EQ(size.cx, MulDiv(186, LOWORD(nUnits), 4));
        EXPECT_EQ(size.cy, MulDiv(95, HIWORD(nUnits), 8));
    }
}

TEST(DialogSize, GrowsWithTheFont)
{
    for (const bool bExtended : {false, true})
    {
        SIZE before = {0, 0};
        for (const WORD nPoints : {8, 12, 18, 30})
        {
            const SIZE size = SizeOf(WithFont(bExtended, nPoints));
            EXPECT_GT(size.cx, before.cx) << nPoints;
            EXPECT_GT(size.cy, before.cy) << nPoints;
            before = size;
        }
    }
    EXPECT_GT(SizeOf(WithFont(true, 30, FW_BOLD)).cx, SizeOf(WithFont(true, 30)).cx);
}

TEST(DialogSize, OfACutTemplate)
{
    GuardedPages pages;
    for (const DialogTemplate& dialog : DialogTemplates())
    {
        SCOPED_TRACE(dialog.sName);
        for (size_t cb = 0; cb <= dialog.bytes.size(); cb++)
        {
            BYTE* const pb = pages.Place(cb, GuardedPages::AtEnd);
            memcpy(pb, dialog.bytes.data(), cb);
            SIZE size = {-1, -1};
            EXPECT_EQ(AtlGetDialogSize(pb, cb, &size), cb >= dialog.cbMeasured) << cb;
            EXPECT_EQ(size.cx == -1, cb < dialog.cbMeasured) << cb;
        }
    }
}

TEST(DialogSize, OfNoise)
{
    // Whatever the bytes say, only those of the template are read.
    GuardedPages pages;
    for (const BYTE by : {0x00, 0x01, 0x40, 0x7F, 0xFF})
    {
        for (size_t cb = 0; cb < 200; cb++)
        {
            BYTE* const pb = pages.Place(cb, GuardedPages::AtEnd);
            memset(pb, by, cb);
            SIZE size = {};
            AtlGetDialogSize(pb, cb, &size);
        }
    }
    SIZE size = {};
    EXPECT_FALSE(AtlGetDialogSize(nullptr, 0, &size));
}

} // namespace
