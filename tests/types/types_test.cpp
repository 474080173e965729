// Media type values: the functions on bare records, and CMType.

#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/DSTypes.h"
#include "support/FakeSample.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

namespace
{
using Texts = std::vector<std::string>;

const BYTE arrBlock[] = {1, 2, 3, 4, 5, 6, 7};

GUID TestGuid(DWORD dwFirst)
{
    return {dwFirst, 0x1234, 0x5678, {1, 2, 3, 4, 5, 6, 7, 8}};
}

/// A record as another filter would hand it over: nothing in it is ours.
AM_MEDIA_TYPE Bare(BYTE* pb, ULONG cb, IUnknown* pUnk = nullptr)
{
    AM_MEDIA_TYPE mt = {};
    mt.majortype = TestGuid(10);
    mt.subtype = TestGuid(11);
    mt.bFixedSizeSamples = FALSE;
    mt.bTemporalCompression = TRUE;
    mt.lSampleSize = 4711;
    mt.formattype = TestGuid(12);
    mt.pUnk = pUnk;
    mt.cbFormat = cb;
    mt.pbFormat = pb;
    return mt;
}

AM_MEDIA_TYPE BareBlock(IUnknown* pUnk = nullptr)
{
    return Bare(const_cast<BYTE*>(arrBlock), sizeof(arrBlock), pUnk);
}

void ExpectFresh(const AM_MEDIA_TYPE& mt, const GUID& guidMajor, const GUID& guidSub)
{
    EXPECT_TRUE(mt.majortype == guidMajor);
    EXPECT_TRUE(mt.subtype == guidSub);
    EXPECT_EQ(mt.bFixedSizeSamples, TRUE);
    EXPECT_EQ(mt.bTemporalCompression, FALSE);
    EXPECT_EQ(mt.lSampleSize, 1u);
    EXPECT_TRUE(mt.formattype == GUID_NULL);
    EXPECT_EQ(mt.pUnk, nullptr);
    EXPECT_EQ(mt.cbFormat, 0u);
    EXPECT_EQ(mt.pbFormat, nullptr);
}

/// Equal in every field, with a block of its own.
void ExpectDeepCopy(const AM_MEDIA_TYPE& mt, const AM_MEDIA_TYPE& mtSource)
{
    EXPECT_TRUE(mt.majortype == mtSource.majortype);
    EXPECT_TRUE(mt.subtype == mtSource.subtype);
    EXPECT_EQ(mt.bFixedSizeSamples, mtSource.bFixedSizeSamples);
    EXPECT_EQ(mt.bTemporalCompression, mtSource.bTemporalCompression);
    EXPECT_EQ(mt.lSampleSize, mtSource.lSampleSize);
    EXPECT_TRUE(mt.formattype == mtSource.formattype);
    EXPECT_EQ(mt.pUnk, mtSource.pUnk);
    ASSERT_EQ(mt.cbFormat, mtSource.cbFormat);
    if (mtSource.pbFormat)
    {
        EXPECT_NE(mt.pbFormat, mtSource.pbFormat);
        EXPECT_EQ(memcmp(mt.pbFormat, mtSource.pbFormat, mt.cbFormat), 0);
    }
    else
    {
        EXPECT_EQ(mt.pbFormat, nullptr);
    }
}

#ifdef _WIN32
/// Refuses COM task memory from the n-th allocation on, and counts blocks that are not freed.
class MallocSpy : public IMallocSpy
{
public:
    /// \param nAllowed allocations before every further one is refused; -1 refuses none
    explicit MallocSpy(int nAllowed = -1) : m_nAllowed(nAllowed) { CoRegisterMallocSpy(this); }
    virtual ~MallocSpy() { CoRevokeMallocSpy(); }

    int Living() const { return m_nLiving; }

    STDMETHOD(QueryInterface)(REFIID, void** ppv) override
    {
        *ppv = static_cast<IMallocSpy*>(this);
        return S_OK;
    }
    STDMETHOD_(ULONG, AddRef)() override { return 1; }
    STDMETHOD_(ULONG, Release)() override { return 1; }
    STDMETHOD_(SIZE_T, PreAlloc)(SIZE_T cb) override
    {
        if (m_nAllowed == 0)
            return 0;
        if (m_nAllowed > 0)
            --m_nAllowed;
        return cb;
    }
    STDMETHOD_(void*, PostAlloc)(void* p) override
    {
        m_nLiving += p != nullptr;
        return p;
    }
    STDMETHOD_(void*, PreFree)(void* p, BOOL bSpyed) override
    {
        m_nLiving -= p && bSpyed;
        return p;
    }
    STDMETHOD_(void, PostFree)(BOOL) override {}
    STDMETHOD_(SIZE_T, PreRealloc)(void* p, SIZE_T cb, void** pp, BOOL) override
    {
        *pp = p;
        return cb;
    }
    STDMETHOD_(void*, PostRealloc)(void* p, BOOL) override { return p; }
    STDMETHOD_(void*, PreGetSize)(void* p, BOOL) override { return p; }
    STDMETHOD_(SIZE_T, PostGetSize)(SIZE_T cb, BOOL) override { return cb; }
    STDMETHOD_(void*, PreDidAlloc)(void* p, BOOL) override { return p; }
    STDMETHOD_(int, PostDidAlloc)(void*, BOOL, int n) override { return n; }
    STDMETHOD_(void, PreHeapMinimize)() override {}
    STDMETHOD_(void, PostHeapMinimize)() override {}

private:
    int m_nAllowed;
    int m_nLiving = 0;
};
#endif
} // namespace

static_assert(sizeof(CMType) == sizeof(AM_MEDIA_TYPE));
static_assert(!std::is_polymorphic_v<CMType>);
static_assert(offsetof(AM_MEDIA_TYPE, pbFormat) == 80 && sizeof(AM_MEDIA_TYPE) == 88);

TEST(MTInit, FreshValue)
{
    AM_MEDIA_TYPE mt;
    memset(&mt, 0xEE, sizeof(mt));
    MTInit(&mt, TestGuid(1), TestGuid(2));
    ExpectFresh(mt, TestGuid(1), TestGuid(2));
    memset(&mt, 0xEE, sizeof(mt));
    MTInit(&mt);
    ExpectFresh(mt, GUID_NULL, GUID_NULL);
}

TEST(MTInit, OwnIdentifiers)
{
    AM_MEDIA_TYPE mt = BareBlock();
    MTInit(&mt, mt.subtype, mt.majortype);
    ExpectFresh(mt, TestGuid(11), TestGuid(10));
}

TEST(MTInit, Null)
{
    AssertCapture asserts;
    MTInit(nullptr);
    EXPECT_EQ(asserts.Texts(), Texts{"pmt != NULL"});
}

TEST(MTAllocFormat, CopiesOrZeroes)
{
    BYTE* pb = MTAllocFormat(sizeof(arrBlock), arrBlock);
    ASSERT_NE(pb, nullptr);
    EXPECT_EQ(memcmp(pb, arrBlock, sizeof(arrBlock)), 0);
    CoTaskMemFree(pb);

    pb = MTAllocFormat(100, nullptr);
    ASSERT_NE(pb, nullptr);
    EXPECT_EQ(std::vector<BYTE>(pb, pb + 100), std::vector<BYTE>(100, 0));
    CoTaskMemFree(pb);
}

TEST(MTAllocFormat, NoBytes)
{
    AssertCapture asserts;
    EXPECT_EQ(MTAllocFormat(0, arrBlock), nullptr);
    EXPECT_EQ(asserts.Texts(), Texts{"cb > 0"});
}

TEST(MTDupFormat, Arguments)
{
    AssertCapture asserts;
    BYTE* pb = nullptr;
    EXPECT_EQ(MTDupFormat(nullptr, &pb), E_INVALIDARG);
    const AM_MEDIA_TYPE mt = BareBlock();
    EXPECT_EQ(MTDupFormat(&mt, nullptr), E_POINTER);
    EXPECT_EQ(asserts.Texts(), (Texts{"pmt != NULL", "ppbFormat != NULL"}));
}

TEST(MTDupFormat, BlockNoBlockAndMalformed)
{
    AssertCapture asserts;
    BYTE byAny = 0;
    BYTE* pb = &byAny;
    const AM_MEDIA_TYPE mt = BareBlock();
    EXPECT_EQ(MTDupFormat(&mt, &pb), S_OK);
    ASSERT_NE(pb, nullptr);
    EXPECT_NE(pb, arrBlock);
    EXPECT_EQ(memcmp(pb, arrBlock, sizeof(arrBlock)), 0);
    CoTaskMemFree(pb);

    pb = &byAny;
    const AM_MEDIA_TYPE mtNone = Bare(nullptr, 0);
    EXPECT_EQ(MTDupFormat(&mtNone, &pb), S_OK);
    EXPECT_EQ(pb, nullptr);
    EXPECT_TRUE(asserts.Texts().empty());

    pb = &byAny;
    const AM_MEDIA_TYPE mtNoSize = Bare(const_cast<BYTE*>(arrBlock), 0);
    EXPECT_EQ(MTDupFormat(&mtNoSize, &pb), E_UNEXPECTED);
    EXPECT_EQ(pb, nullptr);

    pb = &byAny;
    const AM_MEDIA_TYPE mtNoBlock = Bare(nullptr, 7);
    EXPECT_EQ(MTDupFormat(&mtNoBlock, &pb), E_UNEXPECTED);
    EXPECT_EQ(pb, nullptr);
    EXPECT_EQ(asserts.Texts(), (Texts{"pmt->cbFormat != 0", "pmt->cbFormat == 0"}));
}

TEST(MTCopy, DeepAndCounted)
{
    FakeSample unk;
    const AM_MEDIA_TYPE mt = BareBlock(&unk);
    AM_MEDIA_TYPE mtCopy;
    memset(&mtCopy, 0xEE, sizeof(mtCopy));
    ASSERT_EQ(MTCopy(&mtCopy, &mt), S_OK);
    ExpectDeepCopy(mtCopy, mt);
    EXPECT_EQ(unk.Refs(), 1);
    MTFree(&mtCopy);
    EXPECT_EQ(unk.Refs(), 0);
    EXPECT_EQ(mtCopy.pbFormat, nullptr);
    EXPECT_EQ(mtCopy.cbFormat, 0u);
    EXPECT_EQ(mtCopy.pUnk, nullptr);
    EXPECT_TRUE(mtCopy.majortype == TestGuid(10));
}

TEST(MTCopy, Failures)
{
    AssertCapture asserts;
    FakeSample unk;
    const AM_MEDIA_TYPE mt = Bare(const_cast<BYTE*>(arrBlock), 0, &unk);
    EXPECT_EQ(MTCopy(nullptr, &mt), E_INVALIDARG);
    AM_MEDIA_TYPE mtCopy;
    memset(&mtCopy, 0xEE, sizeof(mtCopy));
    const AM_MEDIA_TYPE mtBefore = mtCopy;
    EXPECT_EQ(MTCopy(&mtCopy, nullptr), E_INVALIDARG);
    EXPECT_EQ(MTCopy(&mtCopy, &mt), E_UNEXPECTED);
    EXPECT_EQ(memcmp(&mtCopy, &mtBefore, sizeof(mtCopy)), 0);
    EXPECT_EQ(unk.Refs(), 0);
    EXPECT_EQ(asserts.Texts(), (Texts{"pDst != NULL", "pmt != NULL", "pmt->cbFormat != 0"}));
}

TEST(MTDup, CopyNullAndMalformed)
{
    AssertCapture asserts;
    FakeSample unk;
    const AM_MEDIA_TYPE mt = BareBlock(&unk);
    AM_MEDIA_TYPE* pmt = MTDup(&mt);
    ASSERT_NE(pmt, nullptr);
    ExpectDeepCopy(*pmt, mt);
    EXPECT_EQ(unk.Refs(), 1);
    MTDelete(pmt);
    EXPECT_EQ(unk.Refs(), 0);

    EXPECT_EQ(MTDup(nullptr), nullptr);
    EXPECT_TRUE(asserts.Texts().empty());
    const AM_MEDIA_TYPE mtBad = Bare(nullptr, 7, &unk);
    EXPECT_EQ(MTDup(&mtBad), nullptr);
    EXPECT_EQ(asserts.Texts(), Texts{"pmt->cbFormat == 0"});
    EXPECT_EQ(unk.Refs(), 0);
}

TEST(MTDelete, Null)
{
    AssertCapture asserts;
    MTFree(nullptr);
    MTDelete(nullptr);
    EXPECT_TRUE(asserts.Texts().empty());
}

TEST(MTIsSet, MajorTypeDecides)
{
    AM_MEDIA_TYPE mt = BareBlock();
    EXPECT_TRUE(MTIsSet(&mt));
    mt.majortype = GUID_NULL;
    EXPECT_FALSE(MTIsSet(&mt));
    EXPECT_FALSE(MTIsSet(nullptr));
}

namespace
{
enum eRule
{
    eRule_Format,
    eRule_Subtype,
    eRule_NoSubtype,
    eRule_None
};

struct MajorRow
{
    GUID guid;
    eRule rule;
};

constexpr GUID Tail(DWORD dwFirst)
{
    return {dwFirst, 0, 0x10, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}};
}

const MajorRow rgMajors[] = {
    {Tail(0x73646976), eRule_Format}, // vids
    {Tail(0x73647561), eRule_Format}, // auds
    {Tail(0x73766169), eRule_Format}, // iavs
    {{0xE06D8020, 0xDB46, 0x11CF, {0xB4, 0xD1, 0x00, 0x80, 0x5F, 0x6C, 0xBB, 0xEA}}, eRule_Format},
    {{0xED0B916A, 0x044D, 0x11D1, {0xAA, 0x78, 0x00, 0xC0, 0x4F, 0xC3, 0x1D, 0x60}}, eRule_Subtype},
    {{0x670AEA80, 0x3A82, 0x11D0, {0xB7, 0x9B, 0x00, 0xAA, 0x00, 0x37, 0x67, 0xA7}}, eRule_Subtype},
    {{0xF72A76E1, 0xEB0A, 0x11D0, {0xAC, 0xE4, 0x00, 0x00, 0xC0, 0xCC, 0x16, 0xBA}}, eRule_Subtype},
    {Tail(0x73747874), eRule_NoSubtype}, // txts
    {Tail(0x7364696D), eRule_NoSubtype}, // mids
    {Tail(0x73636D64), eRule_NoSubtype}, // dmcs
    {{0x0482DEE3, 0x7817, 0x11CF, {0x8A, 0x03, 0x00, 0xAA, 0x00, 0x6E, 0xCB, 0x65}}, eRule_NoSubtype},
    {{0x0482DEE1, 0x7817, 0x11CF, {0x8A, 0x03, 0x00, 0xAA, 0x00, 0x6E, 0xCB, 0x65}}, eRule_NoSubtype},
    {{0x0482DEE0, 0x7817, 0x11CF, {0x8A, 0x03, 0x00, 0xAA, 0x00, 0x6E, 0xCB, 0x65}}, eRule_None},
    {TestGuid(10), eRule_None},
};
} // namespace

TEST(MTIsComplete, EveryRow)
{
    EXPECT_TRUE(rgMajors[0].guid == MEDIATYPE_Video);
    EXPECT_TRUE(rgMajors[1].guid == MEDIATYPE_Audio);
    for (const MajorRow& row : rgMajors)
    {
        const GUID arrFormatTypes[] = {GUID_NULL, FORMAT_None, FORMAT_VideoInfo};
        for (int nSubtype = 0; nSubtype < 2; ++nSubtype)
            for (int nFormatType = 0; nFormatType < 3; ++nFormatType)
                for (int nBlock = 0; nBlock < 4; ++nBlock)
                {
                    AM_MEDIA_TYPE mt = {};
                    mt.majortype = row.guid;
                    mt.subtype = nSubtype ? TestGuid(11) : GUID_NULL;
                    mt.formattype = arrFormatTypes[nFormatType];
                    mt.cbFormat = nBlock & 1 ? sizeof(arrBlock) : 0;
                    mt.pbFormat = nBlock & 2 ? const_cast<BYTE*>(arrBlock) : nullptr;
                    const bool bExpected =
                        row.rule == eRule_None || (row.rule == eRule_Subtype && nSubtype == 1) ||
                        (row.rule == eRule_NoSubtype && nSubtype == 0) ||
                        (row.rule == eRule_Format && nSubtype == 1 && nFormatType == 2 && nBlock == 3);
                    EXPECT_EQ(MTIsComplete(&mt), bExpected)
                        << std::hex << row.guid.Data1 << ' ' << nSubtype << nFormatType << nBlock;
                }
    }
    EXPECT_FALSE(MTIsComplete(nullptr));
    AM_MEDIA_TYPE mt = BareBlock();
    mt.majortype = GUID_NULL;
    EXPECT_FALSE(MTIsComplete(&mt));
}

TEST(MTCheckVideo, LeastSizes)
{
    struct
    {
        const GUID& guid;
        ULONG cbLeast;
        bool bHeader2;
    } const rgRows[] = {
        {FORMAT_VideoInfo2, 112, true},
        {FORMAT_MPEG2Video, 136, true},
        {FORMAT_VideoInfo, 88, false},
        {FORMAT_MPEGVideo, 104, false},
    };
    AssertCapture asserts;
    BYTE arrBytes[200] = {};
    for (const auto& row : rgRows)
    {
        AM_MEDIA_TYPE mt = Bare(arrBytes, row.cbLeast);
        mt.majortype = MEDIATYPE_Video;
        mt.formattype = row.guid;
        EXPECT_EQ(MTCheckVideo(&mt, false), S_OK) << row.cbLeast;
        EXPECT_EQ(MTCheckVideo(&mt, true), row.bHeader2 ? S_OK : VFW_E_INVALIDMEDIATYPE) << row.cbLeast;
        mt.cbFormat = row.cbLeast - 1;
        EXPECT_EQ(MTCheckVideo(&mt, false), VFW_E_INVALIDMEDIATYPE) << row.cbLeast;
        EXPECT_EQ(MTCheckVideo(&mt, true), VFW_E_INVALIDMEDIATYPE) << row.cbLeast;
        mt.cbFormat = sizeof(arrBytes);
        EXPECT_EQ(MTCheckVideo(&mt, false), S_OK) << row.cbLeast;
    }
    EXPECT_TRUE(asserts.Texts().empty());
}

TEST(MTCheckVideo, OrderOfChecks)
{
    static_assert(static_cast<ULONG>(VFW_E_INVALIDMEDIATYPE) == 0x80040200);
    static_assert(static_cast<ULONG>(VFW_E_INVALIDSUBTYPE) == 0x80040201);
    AssertCapture asserts;
    EXPECT_EQ(MTCheckVideo(nullptr, false), E_POINTER);
    EXPECT_EQ(asserts.Texts(), Texts{"pmt != NULL"});

    BYTE arrBytes[200] = {};
    AM_MEDIA_TYPE mt = Bare(arrBytes, sizeof(arrBytes));
    mt.subtype = GUID_NULL;
    mt.formattype = FORMAT_VideoInfo;
    EXPECT_EQ(MTCheckVideo(&mt, false), VFW_E_INVALIDMEDIATYPE); // the major type comes first
    mt.majortype = MEDIATYPE_Video;
    mt.pbFormat = nullptr;
    EXPECT_EQ(MTCheckVideo(&mt, false), VFW_E_INVALIDSUBTYPE); // then the subtype
    mt.subtype = TestGuid(11);
    EXPECT_EQ(MTCheckVideo(&mt, false), VFW_E_INVALIDMEDIATYPE);
    mt.pbFormat = arrBytes;
    EXPECT_EQ(MTCheckVideo(&mt, false), S_OK);
    mt.formattype = FORMAT_WaveFormatEx;
    EXPECT_EQ(MTCheckVideo(&mt, false), VFW_E_INVALIDMEDIATYPE);
    mt.formattype = GUID_NULL;
    EXPECT_EQ(MTCheckVideo(&mt, false), VFW_E_INVALIDMEDIATYPE);
}

TEST(MTFrameTime, AllVideoHeaders)
{
    const REFERENCE_TIME rtFrame = 0x123456789A;
    alignas(8) BYTE arrBytes[201] = {};
    for (const GUID& guid : {FORMAT_VideoInfo, FORMAT_VideoInfo2, FORMAT_MPEGVideo, FORMAT_MPEG2Video})
        for (size_t nShift = 0; nShift < 2; ++nShift) // a foreign block may lie at an odd address
        {
            AssertCapture asserts;
            memcpy(arrBytes + nShift + 40, &rtFrame, sizeof(rtFrame));
            AM_MEDIA_TYPE mt = Bare(arrBytes + nShift, 88);
            mt.majortype = MEDIATYPE_Video;
            mt.formattype = guid;
            EXPECT_EQ(MTFrameTime(&mt), rtFrame);
            EXPECT_TRUE(asserts.Texts().empty());
        }
}

TEST(MTFrameTime, Refusals)
{
    const char* const pszFormats =
        "pmt->formattype == FORMAT_VideoInfo || pmt->formattype == FORMAT_VideoInfo2 || "
        "pmt->formattype == FORMAT_MPEGVideo || pmt->formattype == FORMAT_MPEG2Video";
    const char* const pszBlock = "pmt->cbFormat >= sizeof(VIDEOINFOHEADER) && pmt->pbFormat != NULL";
    const REFERENCE_TIME rtFrame = 400000;
    BYTE arrBytes[88] = {};
    memcpy(arrBytes + 40, &rtFrame, sizeof(rtFrame));
    AM_MEDIA_TYPE mt = Bare(arrBytes, sizeof(arrBytes));
    {
        AssertCapture asserts;
        EXPECT_EQ(MTFrameTime(nullptr), 0);
        EXPECT_EQ(MTFrameTime(&mt), 0);
        EXPECT_EQ(asserts.Texts(), (Texts{"pmt != NULL", "pmt->majortype == MEDIATYPE_Video"}));
    }
    mt.majortype = MEDIATYPE_Video;
    {
        AssertCapture asserts; // another format type is only reported
        EXPECT_EQ(MTFrameTime(&mt), rtFrame);
        EXPECT_EQ(asserts.Texts(), Texts{pszFormats});
    }
    mt.formattype = FORMAT_VideoInfo;
    {
        AssertCapture asserts;
        mt.cbFormat = 87;
        EXPECT_EQ(MTFrameTime(&mt), 0);
        mt.cbFormat = 88;
        mt.pbFormat = nullptr;
        EXPECT_EQ(MTFrameTime(&mt), 0);
        EXPECT_EQ(asserts.Texts(), (Texts{pszBlock, pszBlock}));
    }
}

TEST(MTEqual, EveryField)
{
    BYTE arrOther[sizeof(arrBlock)];
    memcpy(arrOther, arrBlock, sizeof(arrBlock));
    FakeSample unk;
    const AM_MEDIA_TYPE mt = BareBlock();
    AM_MEDIA_TYPE mtOther = Bare(arrOther, sizeof(arrOther));
    EXPECT_TRUE(MTEqual(&mt, &mt));
    EXPECT_TRUE(MTEqual(&mt, &mtOther));
    EXPECT_TRUE(MTEqual(nullptr, nullptr));
    EXPECT_FALSE(MTEqual(&mt, nullptr));
    EXPECT_FALSE(MTEqual(nullptr, &mt));

    const auto differs = [&](auto change)
    {
        AM_MEDIA_TYPE mtChanged = mtOther;
        change(mtChanged);
        return !MTEqual(&mt, &mtChanged) && !MTEqual(&mtChanged, &mt);
    };
    EXPECT_TRUE(differs([](AM_MEDIA_TYPE& m) { m.majortype = TestGuid(99); }));
    EXPECT_TRUE(differs([](AM_MEDIA_TYPE& m) { m.subtype = TestGuid(99); }));
    EXPECT_TRUE(differs([](AM_MEDIA_TYPE& m) { m.bFixedSizeSamples = TRUE; }));
    EXPECT_TRUE(differs([](AM_MEDIA_TYPE& m) { m.bTemporalCompression = FALSE; }));
    EXPECT_TRUE(differs([](AM_MEDIA_TYPE& m) { m.lSampleSize++; }));
    EXPECT_TRUE(differs([](AM_MEDIA_TYPE& m) { m.formattype = TestGuid(99); }));
    EXPECT_TRUE(differs([&](AM_MEDIA_TYPE& m) { m.pUnk = &unk; }));
    EXPECT_TRUE(differs([](AM_MEDIA_TYPE& m) { m.cbFormat--; }));
    EXPECT_TRUE(differs([](AM_MEDIA_TYPE& m) { m.pbFormat = nullptr; }));
    EXPECT_FALSE(differs([](AM_MEDIA_TYPE& m) { m.bTemporalCompression = 5; })); // true is true
    arrOther[6]++;
    EXPECT_FALSE(MTEqual(&mt, &mtOther));
}

TEST(CMType, Constructors)
{
    AssertCapture asserts;
    FakeSample unk;
    const AM_MEDIA_TYPE mtBare = BareBlock(&unk);
    {
        const CMType mt;
        ExpectFresh(mt, GUID_NULL, GUID_NULL);
        EXPECT_FALSE(mt.IsDefined());
        const CMType mtMajor(TestGuid(1));
        ExpectFresh(mtMajor, TestGuid(1), GUID_NULL);
        const CMType mtBoth(TestGuid(1), TestGuid(2));
        ExpectFresh(mtBoth, TestGuid(1), TestGuid(2));
        EXPECT_TRUE(mtBoth.IsDefined());

        const CMType mtCopy(&mtBare);
        ExpectDeepCopy(mtCopy, mtBare);
        EXPECT_EQ(unk.Refs(), 1);
        const CMType mtCopy2(mtCopy);
        ExpectDeepCopy(mtCopy2, mtCopy);
        EXPECT_EQ(unk.Refs(), 2);
        const CMType mtNull(static_cast<const AM_MEDIA_TYPE*>(nullptr));
        ExpectFresh(mtNull, GUID_NULL, GUID_NULL);
    }
    EXPECT_EQ(unk.Refs(), 0);
    EXPECT_TRUE(asserts.Texts().empty());
}

TEST(CMType, FailedCopyIsEmpty)
{
    AssertCapture asserts;
    FakeSample unk;
    const AM_MEDIA_TYPE mtBad = Bare(nullptr, 7, &unk);
    const CMType mt(&mtBad);
    ExpectFresh(mt, GUID_NULL, GUID_NULL);

    CMType mtMalformed(TestGuid(1));
    mtMalformed.cbFormat = 7;
    const CMType mtCopy(mtMalformed);
    ExpectFresh(mtCopy, GUID_NULL, GUID_NULL);
    mtMalformed.cbFormat = 0;

    EXPECT_EQ(unk.Refs(), 0);
    EXPECT_EQ(asserts.Texts(), (Texts{"pmt->cbFormat == 0", "CMType(const AM_MEDIA_TYPE* pmt) FAILED",
                                      "pmt->cbFormat == 0", "CMType(const CMType& mt) FAILED"}));
}

TEST(CMType, ConstructorWithFormat)
{
    AssertCapture asserts;
    const CMType mt(TestGuid(1), TestGuid(2), TestGuid(3), sizeof(arrBlock), arrBlock);
    EXPECT_TRUE(mt.majortype == TestGuid(1));
    EXPECT_TRUE(mt.subtype == TestGuid(2));
    EXPECT_TRUE(mt.formattype == TestGuid(3));
    ASSERT_EQ(mt.cbFormat, sizeof(arrBlock));
    EXPECT_EQ(memcmp(mt.pbFormat, arrBlock, sizeof(arrBlock)), 0);
    EXPECT_EQ(mt.lSampleSize, 1u);

    const CMType mtNone(TestGuid(1), TestGuid(2), TestGuid(3), 0, nullptr);
    EXPECT_TRUE(mtNone.formattype == TestGuid(3));
    EXPECT_EQ(mtNone.pbFormat, nullptr);
    EXPECT_TRUE(asserts.Texts().empty());

    const CMType mtBad(TestGuid(1), TestGuid(2), TestGuid(3), 0, arrBlock);
    ExpectFresh(mtBad, TestGuid(1), TestGuid(2)); // without the format type
    EXPECT_EQ(asserts.Texts(), Texts{"cb != 0 || pb == NULL"});
}

TEST(CMType, SetReplaces)
{
    FakeSample unkOld, unkNew;
    const AM_MEDIA_TYPE mtOld = BareBlock(&unkOld);
    CMType mt(&mtOld);
    BYTE arrNew[] = {9, 8};
    AM_MEDIA_TYPE mtNew = Bare(arrNew, sizeof(arrNew), &unkNew);
    mtNew.subtype = TestGuid(77);
    EXPECT_EQ(mt.Set(&mtNew), S_OK);
    ExpectDeepCopy(mt, mtNew);
    EXPECT_EQ(unkOld.Refs(), 0);
    EXPECT_EQ(unkNew.Refs(), 1);
    EXPECT_EQ(mt.Set(nullptr), S_OK);
    ExpectFresh(mt, GUID_NULL, GUID_NULL);
    EXPECT_EQ(unkNew.Refs(), 0);
}

TEST(CMType, SetItself)
{
    FakeSample unk;
    const AM_MEDIA_TYPE mtBare = BareBlock(&unk);
    CMType mt(&mtBare);
    BYTE* const pbBefore = mt.pbFormat;
    EXPECT_EQ(mt.Set(&mt), S_OK);
    EXPECT_EQ(mt.pbFormat, pbBefore);
    EXPECT_EQ(unk.Refs(), 1);
    CMType& mtSame = mt;
    mt = mtSame;
    EXPECT_EQ(mt.pbFormat, pbBefore);
    EXPECT_EQ(unk.Refs(), 1);
    ExpectDeepCopy(mt, mtBare);
}

TEST(CMType, FailedSetKeepsOldValue)
{
    AssertCapture asserts;
    FakeSample unkOld, unkNew;
    const AM_MEDIA_TYPE mtOld = BareBlock(&unkOld);
    CMType mt(&mtOld);
    const AM_MEDIA_TYPE mtBad = Bare(const_cast<BYTE*>(arrBlock), 0, &unkNew);
    EXPECT_EQ(mt.Set(&mtBad), E_UNEXPECTED);
    ExpectDeepCopy(mt, mtOld);
    EXPECT_EQ(unkOld.Refs(), 1);
    EXPECT_EQ(unkNew.Refs(), 0);
    EXPECT_EQ(asserts.Texts(), Texts{"pmt->cbFormat != 0"});
}

TEST(CMType, FailedAssignmentClears)
{
    FakeSample unk;
    const AM_MEDIA_TYPE mtOld = BareBlock(&unk);
    const AM_MEDIA_TYPE mtBad = Bare(const_cast<BYTE*>(arrBlock), 0);
    CMType mt(&mtOld);
    {
        AssertCapture asserts;
        mt = &mtBad;
        EXPECT_EQ(asserts.Texts(),
                  (Texts{"pmt->cbFormat != 0", "CMType& operator=(const AM_MEDIA_TYPE* pmt) FAILED"}));
    }
    ExpectFresh(mt, GUID_NULL, GUID_NULL);
    EXPECT_EQ(unk.Refs(), 0);

    AssertCapture asserts;
    mt = &mtOld;
    ExpectDeepCopy(mt, mtOld);
    CMType mtOther(TestGuid(5));
    mtOther = mt;
    ExpectDeepCopy(mtOther, mtOld);
    EXPECT_EQ(unk.Refs(), 2);
    mt = static_cast<const AM_MEDIA_TYPE*>(nullptr);
    ExpectFresh(mt, GUID_NULL, GUID_NULL);
    EXPECT_EQ(unk.Refs(), 1);
    EXPECT_TRUE(asserts.Texts().empty());
}

TEST(CMType, ResetAndClear)
{
    FakeSample unk;
    const AM_MEDIA_TYPE mtBare = BareBlock(&unk);
    CMType mt(&mtBare);
    mt.Reset(mt.subtype, mt.majortype); // its own identifiers
    ExpectFresh(mt, TestGuid(11), TestGuid(10));
    EXPECT_EQ(unk.Refs(), 0);
    mt = &mtBare;
    mt.Clear();
    ExpectFresh(mt, GUID_NULL, GUID_NULL);
    EXPECT_EQ(unk.Refs(), 0);
}

TEST(CMType, SetFormat)
{
    AssertCapture asserts;
    CMType mt(TestGuid(1));
    EXPECT_EQ(mt.SetFormat(sizeof(arrBlock), arrBlock), S_OK);
    ASSERT_EQ(mt.cbFormat, sizeof(arrBlock));
    EXPECT_EQ(memcmp(mt.pbFormat, arrBlock, sizeof(arrBlock)), 0);
    EXPECT_EQ(mt.SetFormat(3, mt.pbFormat + 2), S_OK); // a piece of the old block
    ASSERT_EQ(mt.cbFormat, 3u);
    EXPECT_EQ(memcmp(mt.pbFormat, arrBlock + 2, 3), 0);
    EXPECT_EQ(mt.SetFormat(5, nullptr), S_OK);
    EXPECT_EQ(std::vector<BYTE>(mt.pbFormat, mt.pbFormat + mt.cbFormat), std::vector<BYTE>(5, 0));
    EXPECT_TRUE(asserts.Texts().empty());

    EXPECT_EQ(mt.SetFormat(0, arrBlock), E_INVALIDARG);
    EXPECT_EQ(mt.cbFormat, 5u);
    EXPECT_EQ(asserts.Texts(), Texts{"cb != 0 || pb == NULL"});
    asserts.Clear();

    EXPECT_EQ(mt.SetFormat(0, nullptr), S_OK);
    EXPECT_EQ(mt.cbFormat, 0u);
    EXPECT_EQ(mt.pbFormat, nullptr);
    EXPECT_TRUE(asserts.Texts().empty());

    mt.cbFormat = 4;
    EXPECT_EQ(mt.SetFormat(1, arrBlock), S_OK); // a broken value is reported and mended
    EXPECT_EQ(mt.cbFormat, 1u);
    EXPECT_EQ(asserts.Texts(), Texts{"(cbFormat == 0) == (pbFormat == NULL)"});
}

TEST(CMType, VideoInfo)
{
    AssertCapture asserts;
    CMType mt(MEDIATYPE_Video);
    EXPECT_EQ(mt.VideoInfo(), nullptr);
    mt.formattype = FORMAT_VideoInfo;
    EXPECT_EQ(mt.VideoInfo(), nullptr); // no block
    ASSERT_EQ(mt.SetFormat(88, nullptr), S_OK);
    EXPECT_EQ(static_cast<void*>(mt.VideoInfo()), mt.pbFormat);
    EXPECT_EQ(mt.VideoInfo2(), nullptr);
    mt.formattype = FORMAT_VideoInfo2;
    EXPECT_EQ(mt.VideoInfo(), nullptr);
    EXPECT_TRUE(asserts.Texts().empty());
    EXPECT_EQ(static_cast<void*>(mt.VideoInfo2()), mt.pbFormat); // too small: reported
    ASSERT_EQ(mt.SetFormat(112, nullptr), S_OK);
    EXPECT_EQ(static_cast<void*>(mt.VideoInfo2()), mt.pbFormat);
    mt.formattype = FORMAT_VideoInfo;
    ASSERT_EQ(mt.SetFormat(87, nullptr), S_OK);
    EXPECT_EQ(static_cast<void*>(mt.VideoInfo()), mt.pbFormat);
    EXPECT_EQ(asserts.Texts(),
              (Texts{"cbFormat >= sizeof(VIDEOINFOHEADER2)", "cbFormat >= sizeof(VIDEOINFOHEADER)"}));
}

TEST(CMType, CopyTo)
{
    AssertCapture asserts;
    FakeSample unk;
    const AM_MEDIA_TYPE mtBare = BareBlock(&unk);
    CMType mt(&mtBare);
    AM_MEDIA_TYPE* pmt = nullptr;
    EXPECT_EQ(mt.CopyTo(&pmt), S_OK);
    ASSERT_NE(pmt, nullptr);
    ExpectDeepCopy(*pmt, mtBare);
    EXPECT_EQ(unk.Refs(), 2);
    MTDelete(pmt);
    EXPECT_EQ(unk.Refs(), 1);
    EXPECT_TRUE(asserts.Texts().empty());

    EXPECT_EQ(mt.CopyTo(nullptr), E_POINTER);
    CMType mtBad;
    mtBad.cbFormat = 7;
    EXPECT_EQ(mtBad.CopyTo(&pmt), E_FAIL);
    EXPECT_EQ(pmt, nullptr);
    EXPECT_EQ(asserts.Texts(), (Texts{"ppmt != NULL", "pmt->cbFormat == 0"}));
}

TEST(CMType, Array)
{
    FakeSample unk;
    const AM_MEDIA_TYPE mtBare = BareBlock(&unk);
    {
        std::vector<CMType> arrTypes;
        for (int i = 0; i < 50; ++i)
            arrTypes.emplace_back(&mtBare);
        EXPECT_EQ(unk.Refs(), 50);
        arrTypes.erase(arrTypes.begin(), arrTypes.begin() + 20);
        EXPECT_EQ(unk.Refs(), 30);
        for (const CMType& mt : arrTypes)
            ExpectDeepCopy(mt, mtBare);
    }
    EXPECT_EQ(unk.Refs(), 0);
}

#ifdef _WIN32
TEST(NoMemory, FormatBlock)
{
    CMType mt(TestGuid(1));
    ASSERT_EQ(mt.SetFormat(sizeof(arrBlock), arrBlock), S_OK);
    BYTE* const pbBefore = mt.pbFormat;
    const AM_MEDIA_TYPE mtBare = BareBlock();
    AssertCapture asserts;
    Texts texts;
    {
        MallocSpy spy(0);
        EXPECT_EQ(MTAllocFormat(4, nullptr), nullptr);
        EXPECT_EQ(mt.SetFormat(4, nullptr), E_OUTOFMEMORY);
        EXPECT_EQ(mt.Set(&mtBare), E_OUTOFMEMORY);
    }
    EXPECT_EQ(mt.pbFormat, pbBefore);
    EXPECT_EQ(mt.cbFormat, sizeof(arrBlock));
    EXPECT_TRUE(mt.majortype == TestGuid(1));
    EXPECT_EQ(asserts.Texts(), Texts(3, "MTAllocFormat() : CoTaskMemAlloc() == NULL"));
}

TEST(NoMemory, Record)
{
    FakeSample unk;
    const AM_MEDIA_TYPE mtBare = BareBlock(&unk);
    AssertCapture asserts;
    {
        MallocSpy spy(0);
        EXPECT_EQ(MTDup(&mtBare), nullptr);
    }
    {
        MallocSpy spy(1); // the record, but not the block
        EXPECT_EQ(MTDup(&mtBare), nullptr);
        EXPECT_EQ(spy.Living(), 0);
    }
    EXPECT_EQ(unk.Refs(), 0);
    EXPECT_EQ(asserts.Texts(),
              (Texts{"MTDup() : CoTaskMemAlloc() == NULL", "MTAllocFormat() : CoTaskMemAlloc() == NULL"}));
}

TEST(NoMemory, NothingIsLost)
{
    const AM_MEDIA_TYPE mtBare = BareBlock();
    MallocSpy spy;
    {
        CMType mt(&mtBare);
        CMType mtCopy(mt);
        mt = &mtBare;
        mtCopy = mt;
        EXPECT_EQ(mt.SetFormat(100, nullptr), S_OK);
        mtCopy.Clear();
        AM_MEDIA_TYPE* pmt = nullptr;
        EXPECT_EQ(mt.CopyTo(&pmt), S_OK);
        EXPECT_EQ(spy.Living(), 3); // mt's block, the copy and its block
        MTDelete(pmt);
    }
    EXPECT_EQ(spy.Living(), 0);
}
#endif
