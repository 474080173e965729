// Enumerators of pins and media types.
#include "TestFilter.h"

namespace
{
/// A source whose elements are numbers, with a length and a point of failure that a test sets.
class NumberSource : public CComObjectRootEx<CComMultiThreadModel>, public IUnknown
{
public:
    BEGIN_COM_MAP(NumberSource)
    COM_INTERFACE_ENTRY(IUnknown)
    END_COM_MAP()

    ULONG m_nLength = 5;
    ULONG64 m_nFailAt = ~0ull;
    HRESULT m_hrFail = E_ABORT;
    std::vector<ULONG> m_asked;
    std::vector<IPin*> m_freed;
};

class NumberAccessor
{
public:
    using Element = IPin*;
    using Source = NumberSource;
    static IPin* Number(ULONG i) { return reinterpret_cast<IPin*>(static_cast<ULONG_PTR>(i) + 100); }

    HRESULT Get(ULONG i, Element* ppData) noexcept
    {
        m_pSource->m_asked.push_back(i);
        if (i >= m_pSource->m_nFailAt)
            return m_pSource->m_hrFail;
        if (i >= m_pSource->m_nLength)
            return S_FALSE;
        *ppData = Number(i);
        return S_OK;
    }
    void Free(Element pData) noexcept { m_pSource->m_freed.push_back(pData); }

    CComPtr<NumberSource> m_pSource;
};

using NumberEnum = CComDSEnum<NumberAccessor, IEnumPins>;

class EnumTest : public FrameworkTest
{
protected:
    EnumTest() { EXPECT_EQ(DSTLCreateObject(&m_spSource), S_OK); }
    ~EnumTest() override { m_spSource.Release(); }
    CComPtr<IEnumPins> Numbers(ULONG nIndex = 0)
    {
        CComPtr<IEnumPins> spEnum;
        EXPECT_EQ(NumberEnum::Create(&spEnum, m_spSource, nIndex), S_OK);
        return spEnum;
    }
    /// The index that the next element comes from.
    static LONG_PTR Position(IEnumPins* pEnum)
    {
        IPin* p = nullptr;
        ULONG n = 0;
        if (pEnum->Next(1, &p, &n) != S_OK)
            return -1;
        return reinterpret_cast<LONG_PTR>(p) - 100;
    }

    CComPtr<CComObject<NumberSource>> m_spSource;
};

TEST_F(EnumTest, CreateChecksItsArguments)
{
    AssertCapture asserts;
    CComPtr<IEnumPins> spEnum;
    EXPECT_EQ(NumberEnum::Create(nullptr, m_spSource, 0), E_POINTER);
    EXPECT_EQ(NumberEnum::Create(&spEnum, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), (Lines{"ppEnum != NULL", "pSource != NULL"}));
    spEnum.p = reinterpret_cast<IEnumPins*>(1);
    EXPECT_EQ(NumberEnum::Create(&spEnum.p, m_spSource, 3), S_OK);
    EXPECT_EQ(Position(spEnum), 3);
}

TEST_F(EnumTest, HoldsItsSource)
{
    EXPECT_EQ(m_spSource->m_dwRef, 1);
    CComPtr<IEnumPins> spEnum = Numbers();
    EXPECT_EQ(m_spSource->m_dwRef, 2);
    CComPtr<IEnumPins> spClone;
    EXPECT_EQ(spEnum->Clone(&spClone), S_OK);
    EXPECT_EQ(m_spSource->m_dwRef, 3);
    spEnum.Release();
    spClone.Release();
    EXPECT_EQ(m_spSource->m_dwRef, 1);
}

TEST_F(EnumTest, NextTable)
{
    struct Row
    {
        ULONG nStart, cElements;
        bool bOut, bFetched;
        HRESULT hr;
        ULONG nFetched; ///< 99: not written
        LONG_PTR nAfter;
    };
    const Row rows[] = {
        {0, 1, false, true, E_POINTER, 99, 0},    {0, 0, false, false, E_POINTER, 99, 0},
        {0, 2, true, false, E_INVALIDARG, 99, 0}, {0, 1, true, false, S_OK, 99, 1},
        {0, 0, true, false, S_OK, 99, 0},         {0, 0, true, true, S_OK, 0, 0},
        {0, 1, true, true, S_OK, 1, 1},           {0, 3, true, true, S_OK, 3, 3},
        {2, 3, true, true, S_OK, 3, -1},          {3, 3, true, true, S_FALSE, 2, -1},
        {5, 1, true, true, S_FALSE, 0, -1},       {5, 1, true, false, S_FALSE, 99, -1},
        {5, 0, true, true, S_OK, 0, -1},          {ULONG_MAX, 1, true, true, S_FALSE, 0, -1},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.nStart << " " << row.cElements);
        CComPtr<IEnumPins> spEnum = Numbers(row.nStart);
        IPin* out[8] = {};
        ULONG nFetched = 99;
        EXPECT_EQ(spEnum->Next(row.cElements, row.bOut ? out : nullptr, row.bFetched ? &nFetched : nullptr),
                  row.hr);
        EXPECT_EQ(nFetched, row.nFetched);
        const ULONG nOut = row.nFetched != 99 ? row.nFetched : row.hr == S_OK ? row.cElements : 0;
        for (ULONG i = 0; i < nOut; ++i)
            EXPECT_EQ(out[i], NumberAccessor::Number(row.nStart + i));
        EXPECT_EQ(Position(spEnum), row.nAfter);
    }
    EXPECT_TRUE(m_spSource->m_freed.empty());
}

TEST_F(EnumTest, NextOfMoreThanThereIs)
{
    CComPtr<IEnumPins> spEnum = Numbers();
    IPin* out[8] = {};
    ULONG nFetched = 0;
    EXPECT_EQ(spEnum->Next(0xFFFFFFFF, out, &nFetched), S_FALSE);
    EXPECT_EQ(nFetched, 5u);
}

TEST_F(EnumTest, AFailureInNextTakesEverythingBack)
{
    CComPtr<IEnumPins> spEnum = Numbers(1);
    m_spSource->m_nFailAt = 4;
    IPin* out[8] = {};
    ULONG nFetched = 99;
    EXPECT_EQ(spEnum->Next(5, out, &nFetched), E_ABORT);
    EXPECT_EQ(nFetched, 99u);
    EXPECT_EQ(m_spSource->m_freed, (std::vector<IPin*>{NumberAccessor::Number(3), NumberAccessor::Number(2),
                                                       NumberAccessor::Number(1)}));
    for (IPin* p : out)
        EXPECT_EQ(p, nullptr);
    EXPECT_EQ(Position(spEnum), 1); // the failure was not the lasting kind
}

TEST_F(EnumTest, SkipTable)
{
    struct Row
    {
        ULONG nStart, cElements;
        HRESULT hr;
        ULONG nIndex; ///< index afterwards
    };
    const Row rows[] = {
        {0, 0, S_OK, 0},    {0, 1, S_OK, 1},    {0, 5, S_OK, 5}, {0, 6, S_FALSE, 6},          {2, 3, S_OK, 5},
        {5, 1, S_FALSE, 6}, {5, 0, S_FALSE, 5}, {4, 1, S_OK, 5}, {1, 0xFFFFFFFF, S_FALSE, 0},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.nStart << " " << row.cElements);
        CComPtr<IEnumPins> spEnum = Numbers(row.nStart);
        m_spSource->m_asked.clear();
        m_spSource->m_freed.clear();
        EXPECT_EQ(spEnum->Skip(row.cElements), row.hr);
        EXPECT_EQ(m_spSource->m_asked,
                  std::vector<ULONG>{row.nStart + row.cElements - (row.cElements != 0 ? 1 : 0)});
        EXPECT_EQ(m_spSource->m_freed.size(), row.hr == S_OK ? 1u : 0u);
        m_spSource->m_asked.clear();
        Position(spEnum);
        EXPECT_EQ(m_spSource->m_asked, std::vector<ULONG>{row.nIndex});
    }
}

TEST_F(EnumTest, AFailedSkipDoesNotMove)
{
    CComPtr<IEnumPins> spEnum = Numbers(1);
    m_spSource->m_nFailAt = 3;
    EXPECT_EQ(spEnum->Skip(3), E_ABORT);
    EXPECT_EQ(Position(spEnum), 1);
    EXPECT_EQ(spEnum->Skip(1), S_OK);
}

TEST_F(EnumTest, CloneIsIndependentAndStartsAtTheSamePosition)
{
    CComPtr<IEnumPins> spEnum = Numbers(2);
    CComPtr<IEnumPins> spClone;
    EXPECT_EQ(spEnum->Clone(&spClone), S_OK);
    EXPECT_EQ(m_spSource->m_freed.size(), 1u); // the element looked at
    EXPECT_EQ(Position(spClone), 2);
    EXPECT_EQ(Position(spClone), 3);
    EXPECT_EQ(Position(spEnum), 2);
    spClone->Reset();
    EXPECT_EQ(Position(spEnum), 3);
    EXPECT_EQ(Position(spClone), 0);
}

TEST_F(EnumTest, CloneAfterTheEnd)
{
    CComPtr<IEnumPins> spEnum = Numbers(5);
    CComPtr<IEnumPins> spClone;
    EXPECT_EQ(spEnum->Clone(&spClone), S_OK); // S_FALSE of the look is passed over
    EXPECT_EQ(Position(spClone), -1);
    spClone.Release();
    m_spSource->m_nFailAt = 5;
    EXPECT_EQ(spEnum->Clone(&spClone), E_ABORT);
    EXPECT_FALSE(spClone);
    m_spSource->m_nFailAt = ~0ull;
    AssertCapture asserts;
    EXPECT_EQ(spEnum->Clone(nullptr), E_POINTER);
    EXPECT_EQ(asserts.Texts(), Lines{"ppEnum != NULL"});
}

TEST_F(EnumTest, OutOfSyncLastsUntilReset)
{
    m_spSource->m_hrFail = VFW_E_ENUM_OUT_OF_SYNC;
    for (int nWay = 0; nWay < 3; ++nWay)
    {
        SCOPED_TRACE(nWay);
        CComPtr<IEnumPins> spEnum = Numbers(2);
        CComPtr<IEnumPins> spClone;
        IPin* p = nullptr;
        m_spSource->m_nFailAt = 2;
        EXPECT_EQ(nWay == 0   ? spEnum->Next(1, &p, nullptr)
                  : nWay == 1 ? spEnum->Skip(1)
                              : spEnum->Clone(&spClone),
                  VFW_E_ENUM_OUT_OF_SYNC);
        m_spSource->m_nFailAt = ~0ull;
        m_spSource->m_asked.clear();
        EXPECT_EQ(spEnum->Next(1, &p, nullptr), VFW_E_ENUM_OUT_OF_SYNC);
        EXPECT_EQ(spEnum->Next(1, nullptr, nullptr), E_POINTER);
        EXPECT_EQ(spEnum->Next(2, &p, nullptr), E_INVALIDARG);
        EXPECT_EQ(spEnum->Skip(0), VFW_E_ENUM_OUT_OF_SYNC);
        EXPECT_EQ(spEnum->Clone(&spClone), VFW_E_ENUM_OUT_OF_SYNC);
        EXPECT_TRUE(m_spSource->m_asked.empty());
        EXPECT_EQ(spEnum->Reset(), S_OK);
        EXPECT_EQ(Position(spEnum), 0);
    }
}

// --- The two real accessors

TEST_F(EnumTest, MediaTypesOfAPin)
{
    CComPtr<IEnumMediaTypes> spEnum;
    ASSERT_EQ(PinItf()->EnumMediaTypes(&spEnum), S_OK);
    AM_MEDIA_TYPE* out[2] = {};
    ULONG nFetched = 99;
    EXPECT_EQ(spEnum->Next(2, out, &nFetched), S_FALSE);
    EXPECT_EQ(nFetched, 1u);
    EXPECT_TRUE(MTEqual(out[0], &m_mtStart));
    out[0]->pbFormat[0] ^= 1; // a copy
    EXPECT_TRUE(MTEqual(&Pin().Type(), &m_mtStart));
    MTDelete(out[0]);
    EXPECT_EQ(spEnum->Next(1, out, nullptr), S_FALSE);
    EXPECT_EQ(spEnum->Skip(1), S_FALSE);
    EXPECT_EQ(spEnum->Reset(), S_OK);
    EXPECT_EQ(spEnum->Skip(0), S_OK);
    EXPECT_EQ(spEnum->Next(1, out, nullptr), S_OK);
    MTDelete(out[0]);

    // No snapshot: a new type shows at once, and so does none.
    const CMType mtOther = VideoType(32, 8);
    Pin().ApplyOutputType(&mtOther);
    spEnum->Reset();
    EXPECT_EQ(spEnum->Next(1, out, nullptr), S_OK);
    EXPECT_TRUE(MTEqual(out[0], &mtOther));
    MTDelete(out[0]);
    Pin().ApplyOutputType(nullptr);
    spEnum->Reset();
    EXPECT_EQ(spEnum->Next(1, out, &nFetched), S_FALSE);
    EXPECT_EQ(nFetched, 0u);
}

TEST_F(EnumTest, AMediaTypeEnumeratorKeepsThePin)
{
    CComPtr<IEnumMediaTypes> spEnum;
    ASSERT_EQ(PinItf()->EnumMediaTypes(&spEnum), S_OK);
    m_spFilter.Release();
    EXPECT_EQ(TestFilter::s_nLiving, 0);
    EXPECT_EQ(TestPin::s_nLiving, 1);
    AM_MEDIA_TYPE* pmt = nullptr;
    EXPECT_EQ(spEnum->Next(1, &pmt, nullptr), S_OK);
    MTDelete(pmt);
    spEnum.Release();
    EXPECT_EQ(TestPin::s_nLiving, 0);
}

TEST_F(EnumTest, PinsOfAFilter)
{
    CComPtr<IEnumPins> spEnum;
    ASSERT_EQ(Filter().EnumPins(&spEnum), S_OK);
    const LONG nRefs = Pin().m_dwRef;
    IPin* out[2] = {};
    ULONG nFetched = 99;
    EXPECT_EQ(spEnum->Next(2, out, &nFetched), S_FALSE);
    EXPECT_EQ(nFetched, 1u);
    EXPECT_EQ(out[0], PinItf());
    EXPECT_EQ(Pin().m_dwRef, nRefs + 1);
    out[0]->Release();
    spEnum->Reset();
    EXPECT_EQ(spEnum->Skip(1), S_OK);
    EXPECT_EQ(Pin().m_dwRef, nRefs);
    EXPECT_EQ(spEnum->Next(1, out, nullptr), S_FALSE);
    const LONG nFilter = Filter().m_dwRef;
    CComPtr<IEnumPins> spClone;
    EXPECT_EQ(spEnum->Clone(&spClone), S_OK);
    EXPECT_EQ(Filter().m_dwRef, nFilter + 1);
    spClone.Release();
    spEnum.Release();
    EXPECT_EQ(Filter().m_dwRef, nFilter - 1);
}

TEST_F(EnumTest, APinEnumeratorKeepsTheFilter)
{
    CComPtr<IEnumPins> spEnum;
    ASSERT_EQ(Filter().EnumPins(&spEnum), S_OK);
    m_spFilter.Release();
    EXPECT_EQ(TestFilter::s_nLiving, 1);
    CComPtr<IPin> spPin;
    EXPECT_EQ(spEnum->Next(1, &spPin, nullptr), S_OK);
    spPin.Release();
    spEnum.Release();
    EXPECT_EQ(TestFilter::s_nLiving, 0);
}

TEST_F(EnumTest, QueryHelperTable)
{
    AssertCapture asserts;
    IPin* p = reinterpret_cast<IPin*>(1);
    EXPECT_EQ(DSTLQuery(static_cast<IUnknown*>(nullptr), &p), E_NOINTERFACE);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(DSTLQuery<IPin>(PinItf(), nullptr), E_POINTER);
    EXPECT_EQ(asserts.Texts(),
              (Lines{"pp != NULL && *pp == NULL", "p != NULL", "pp != NULL && *pp == NULL"}));
    EXPECT_EQ(DSTLQuery(PinItf(), &p), S_OK);
    EXPECT_EQ(p, PinItf());
    p->Release();
}
} // namespace
