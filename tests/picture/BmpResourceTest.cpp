// Pictures among the resources of a module: what is read, and what is refused.
#include "BmpResourceNumbers.h"
#include "TempFiles.h"
#include "Video/TgaBmp/BmpFile.h"
#include "Video/TgaBmp/BmpHeader.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{
using Texts = std::vector<std::string>;

const Bytes rgPixels = {1, 2, 3, 4, 5, 6, 0, 0, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0, 0};

struct BmpResource : testing::Test
{
    BmpResource() { std::memset(&bmi, 0xCC, sizeof(bmi)); }

    HRESULT Load(UINT nResource, const wchar_t* pszType = L"CUSTOM", HMODULE hModule = nullptr)
    {
        log.Clear();
        std::memset(&bmi, 0xCC, sizeof(bmi));
        pPicture.Out();
        BYTE* pb = reinterpret_cast<BYTE*>(ULONG_PTR{0xCC}); // overwritten whatever happens
        const HRESULT hr = LoadBmpResource(hModule, nResource, pszType, &bmi, &pb);
        *pPicture.Out() = pb;
        return hr;
    }

    void ExpectNothing() const
    {
        const BITMAPINFOHEADER zero{};
        EXPECT_EQ(std::memcmp(&bmi, &zero, sizeof(bmi)), 0);
        EXPECT_EQ(pPicture.Get(), nullptr);
    }

    Bytes Pixels() const { return Bytes(pPicture.Get(), pPicture.Get() + bmi.biSizeImage); }

    BITMAPINFOHEADER bmi;
    CTaskBytes pPicture;
    LogCapture log;
    AssertCapture asserts;
};

TEST_F(BmpResource, Arguments)
{
    BYTE by = 0;
    BYTE* pb = &by;
    EXPECT_EQ(LoadBmpResource(nullptr, IDR_TEST_GOOD, L"CUSTOM", nullptr, &pb), E_INVALIDARG);
    EXPECT_EQ(LoadBmpResource(nullptr, IDR_TEST_GOOD, L"CUSTOM", &bmi, nullptr), E_POINTER);
    EXPECT_EQ(LoadBmpResource(nullptr, IDR_TEST_GOOD, L"CUSTOM", nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), (Texts{"pBmpHeader != NULL", "ppPicture != NULL", "pBmpHeader != NULL"}));
    EXPECT_EQ(pb, &by);
    EXPECT_EQ(bmi.biSize, 0xCCCCCCCCu);
}

TEST_F(BmpResource, PicturesThatAreRead)
{
    const struct
    {
        UINT nResource;
        LONG nHeight;
        bool bCorrected;
    } rgRows[] = {
        {IDR_TEST_GOOD, 2, false}, {IDR_TEST_NO_IMAGE_SIZE, 2, true}, {IDR_TEST_TOP_DOWN, -2, false},
        {IDR_TEST_GAP, 2, false},  {IDR_TEST_LONGER, 2, false},
    };
    for (const auto& row : rgRows)
    {
        SCOPED_TRACE(row.nResource);
        ASSERT_EQ(Load(row.nResource), S_OK);
        EXPECT_EQ(bmi.biSize, 40u);
        EXPECT_EQ(bmi.biWidth, 2);
        EXPECT_EQ(bmi.biHeight, row.nHeight);
        EXPECT_EQ(bmi.biPlanes, 1);
        EXPECT_EQ(bmi.biBitCount, 24);
        EXPECT_EQ(bmi.biCompression, static_cast<DWORD>(BI_RGB));
        EXPECT_EQ(bmi.biSizeImage, 16u);
        EXPECT_EQ(Pixels(), rgPixels);
        EXPECT_EQ(log.Texts(4), row.bCorrected ? Texts{"WARNING. CPicturePersist::TestAndCorrectBmpHeader(): "
                                                       "correcting bad image size: old=0, new=16\n"}
                                               : Texts{});
    }
    EXPECT_EQ(asserts.Texts(), Texts{});
}

TEST_F(BmpResource, ResourceStaysUntouched)
{
    for (int i = 0; i < 2; ++i) // the second time it has to be corrected again
    {
        ASSERT_EQ(Load(IDR_TEST_NO_IMAGE_SIZE), S_OK);
        EXPECT_EQ(log.Texts(4).size(), 1u);
    }
}

TEST_F(BmpResource, PicturesThatAreRefused)
{
    for (const UINT nResource : {IDR_TEST_53_BYTES, IDR_TEST_HEADERS_ONLY, IDR_TEST_TYPE, IDR_TEST_OFFSET_53,
                                 IDR_TEST_OFFSET_IS_SIZE, IDR_TEST_INFO_SIZE, IDR_TEST_PALETTE,
                                 IDR_TEST_FILE_SIZE, IDR_TEST_CUT, IDR_TEST_FAR_OFFSET, IDR_TEST_LARGE})
    {
        EXPECT_EQ(Load(nResource), E_FAIL) << nResource;
        ExpectNothing();
    }
}

TEST_F(BmpResource, ResourcesThatAreNotThere)
{
    // The last error of the search, and not one of the past.
    SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(Load(115), HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND));
    ExpectNothing();
    EXPECT_EQ(Load(0xFFFF), HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND));
    EXPECT_EQ(Load(IDR_TEST_GOOD, L"NOTYPE"), HRESULT_FROM_WIN32(ERROR_RESOURCE_TYPE_NOT_FOUND));
    EXPECT_EQ(Load(IDR_TEST_OTHER_TYPE), HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND));
    EXPECT_EQ(Load(IDR_TEST_OTHER_TYPE, L"QXTEST"), S_OK);
    EXPECT_TRUE(FAILED(Load(IDR_TEST_EMPTY)));
    ExpectNothing();
}

TEST_F(BmpResource, ModuleThatIsAskedFor)
{
    EXPECT_EQ(Load(IDR_TEST_GOOD, L"CUSTOM", GetModuleHandleW(nullptr)), S_OK);
    EXPECT_EQ(Pixels(), rgPixels);
    EXPECT_TRUE(FAILED(Load(IDR_TEST_GOOD, L"CUSTOM", GetModuleHandleW(L"kernel32.dll"))));
    ExpectNothing();
}
} // namespace
