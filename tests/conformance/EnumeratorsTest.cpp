// Both enumerators: counts of references, every combination of arguments, positions, copies.
#include "Conformance.h"

namespace
{

TEST_F(Conformance, EnumPinsHoldsTheFilter)
{
    const ULONG nFilter = Refs(m_spFilter.p), nPin = Refs(m_spPin.p);
    CComPtr<IEnumPins> spPins;
    ASSERT_EQ(Filter().EnumPins(&spPins), S_OK);
    EXPECT_EQ(Refs(spPins.p), 1u);
    EXPECT_EQ(Refs(m_spFilter.p), nFilter + 1);
    EXPECT_EQ(Refs(m_spPin.p), nPin);

    IPin* pPin = nullptr;
    ASSERT_EQ(spPins->Next(1, &pPin, nullptr), S_OK);
    EXPECT_EQ(pPin, m_spPin.p);
    EXPECT_EQ(Refs(m_spPin.p), nPin + 1);
    pPin->Release();

    // Neither a Skip nor a Clone keeps what it has looked at.
    EXPECT_EQ(spPins->Reset(), S_OK);
    EXPECT_EQ(spPins->Skip(1), S_OK);
    EXPECT_EQ(Refs(m_spPin.p), nPin);
    EXPECT_EQ(spPins->Reset(), S_OK);
    CComPtr<IEnumPins> spClone;
    ASSERT_EQ(spPins->Clone(&spClone), S_OK);
    EXPECT_EQ(Refs(m_spPin.p), nPin);
    EXPECT_EQ(Refs(m_spFilter.p), nFilter + 2);
    EXPECT_EQ(Refs(spPins.p), 1u);
    EXPECT_EQ(ReleaseLast(spPins), 0u);
    EXPECT_EQ(ReleaseLast(spClone), 0u);
    EXPECT_EQ(Refs(m_spFilter.p), nFilter);
}

TEST_F(Conformance, EnumMediaTypesHoldsThePin)
{
    const ULONG nFilter = Refs(m_spFilter.p), nPin = Refs(m_spPin.p);
    CComPtr<IEnumMediaTypes> spTypes, spClone;
    ASSERT_EQ(Pin().EnumMediaTypes(&spTypes), S_OK);
    EXPECT_EQ(Refs(spTypes.p), 1u);
    EXPECT_EQ(Refs(m_spPin.p), nPin + 1);
    EXPECT_EQ(Refs(m_spFilter.p), nFilter);
    ASSERT_EQ(spTypes->Clone(&spClone), S_OK);
    EXPECT_EQ(Refs(spTypes.p), 1u);
    EXPECT_EQ(Refs(m_spPin.p), nPin + 2);
    EXPECT_EQ(ReleaseLast(spTypes), 0u);
    EXPECT_EQ(ReleaseLast(spClone), 0u);
    EXPECT_EQ(Refs(m_spPin.p), nPin);
}

/// What differs between the two.
struct Pins
{
    using Interface = IEnumPins;
    using Element = IPin*;
    static HRESULT Enumerate(IBaseFilter& filter, IPin&, IEnumPins** pp) { return filter.EnumPins(pp); }
    static void Free(IPin* p) { p->Release(); }
};
struct Types
{
    using Interface = IEnumMediaTypes;
    using Element = AM_MEDIA_TYPE*;
    static HRESULT Enumerate(IBaseFilter&, IPin& pin, IEnumMediaTypes** pp) { return pin.EnumMediaTypes(pp); }
    static void Free(AM_MEDIA_TYPE* p) { MTDelete(p); }
};

template <class T>
class Enumerator : public Conformance
{
protected:
    using Itf = typename T::Interface;
    using Element = typename T::Element;

    void SetUp() override
    {
        Conformance::SetUp();
        ASSERT_EQ(T::Enumerate(this->Filter(), this->Pin(), &m_spEnum), S_OK);
    }
    void TearDown() override
    {
        m_spEnum.Release();
        Conformance::TearDown();
    }
    /// Next(1) says this, and frees what comes.
    void ExpectNext(Itf* pEnum, HRESULT hrExpected)
    {
        Element item = nullptr;
        ULONG nFetched = 77;
        EXPECT_EQ(pEnum->Next(1, &item, &nFetched), hrExpected);
        EXPECT_EQ(nFetched, hrExpected == S_OK ? 1u : 0u);
        EXPECT_EQ(item != nullptr, hrExpected == S_OK);
        if (item != nullptr)
            T::Free(item);
    }

    CComPtr<Itf> m_spEnum;
};

using Kinds = testing::Types<Pins, Types>;
TYPED_TEST_SUITE(Enumerator, Kinds);

/// Every combination of count, output and counter, at the beginning and at the end.
TYPED_TEST(Enumerator, NextWithEveryCombination)
{
    using Element = typename TypeParam::Element;
    for (const bool bAtEnd : {false, true})
    {
        for (const ULONG nWanted : {0u, 1u, 2u, 3u, 1000u})
        {
            for (const bool bOut : {false, true})
            {
                for (const bool bFetched : {false, true})
                {
                    SCOPED_TRACE(testing::Message()
                                 << (bAtEnd ? "at the end: " : "") << nWanted << (bOut ? "" : ", no output")
                                 << (bFetched ? "" : ", no counter"));
                    ASSERT_EQ(this->m_spEnum->Reset(), S_OK);
                    if (bAtEnd)
                    {
                        ASSERT_EQ(this->m_spEnum->Skip(1), S_OK);
                    }
                    std::vector<Element> items(1000, nullptr);
                    ULONG nFetched = 77;
                    const HRESULT hr = this->m_spEnum->Next(nWanted, bOut ? items.data() : nullptr,
                                                            bFetched ? &nFetched : nullptr);
                    const ULONG nGiven = bAtEnd || nWanted == 0 ? 0 : 1;
                    HRESULT hrExpected = nWanted > nGiven ? S_FALSE : S_OK;
                    if (!bOut)
                        hrExpected = E_POINTER;
                    else if (!bFetched && nWanted >= 2)
                        hrExpected = E_INVALIDARG;
                    EXPECT_EQ(hr, hrExpected);
                    EXPECT_EQ(nFetched, bFetched && SUCCEEDED(hrExpected) ? nGiven : 77u);
                    for (size_t i = 0; i < items.size(); ++i)
                    {
                        EXPECT_EQ(items[i] != nullptr, SUCCEEDED(hrExpected) && i < nGiven) << i;
                        if (items[i] != nullptr)
                            TypeParam::Free(items[i]);
                    }
                    // A refused call has not moved the position.
                    this->ExpectNext(this->m_spEnum,
                                     bAtEnd || (SUCCEEDED(hrExpected) && nGiven != 0) ? S_FALSE : S_OK);
                }
            }
        }
    }
}

TYPED_TEST(Enumerator, SkipAndReset)
{
    EXPECT_EQ(this->m_spEnum->Skip(0), S_OK);
    this->ExpectNext(this->m_spEnum, S_OK);
    EXPECT_EQ(this->m_spEnum->Skip(0), S_FALSE); // looks at the position itself
    EXPECT_EQ(this->m_spEnum->Reset(), S_OK);
    EXPECT_EQ(this->m_spEnum->Skip(1), S_OK);
    this->ExpectNext(this->m_spEnum, S_FALSE);
    EXPECT_EQ(this->m_spEnum->Skip(1), S_FALSE);
    this->ExpectNext(this->m_spEnum, S_FALSE);
    EXPECT_EQ(this->m_spEnum->Reset(), S_OK);
    EXPECT_EQ(this->m_spEnum->Skip(2), S_FALSE);
    this->ExpectNext(this->m_spEnum, S_FALSE);
    EXPECT_EQ(this->m_spEnum->Reset(), S_OK);
    this->ExpectNext(this->m_spEnum, S_OK);
}

/// A Skip past the end moves the position all the same: as far as it takes to come round to the beginning.
TYPED_TEST(Enumerator, SkipMovesPastTheEnd)
{
    EXPECT_EQ(this->m_spEnum->Skip(1), S_OK);
    EXPECT_EQ(this->m_spEnum->Skip(0xFFFFFFFE), S_FALSE);
    this->ExpectNext(this->m_spEnum, S_FALSE);
    EXPECT_EQ(this->m_spEnum->Skip(1), S_FALSE);
    this->ExpectNext(this->m_spEnum, S_OK);
}

TYPED_TEST(Enumerator, CloneBeginsAtTheSamePosition)
{
    using Itf = typename TypeParam::Interface;
    CComPtr<Itf> spFirst;
    ASSERT_EQ(this->m_spEnum->Clone(&spFirst), S_OK);
    EXPECT_NE(spFirst.p, this->m_spEnum.p);
    this->ExpectNext(spFirst, S_OK);
    this->ExpectNext(this->m_spEnum, S_OK); // the copy's way is its own

    CComPtr<Itf> spAtEnd;
    ASSERT_EQ(this->m_spEnum->Clone(&spAtEnd), S_OK);
    this->ExpectNext(spAtEnd, S_FALSE);
    EXPECT_EQ(spAtEnd->Reset(), S_OK);
    this->ExpectNext(spAtEnd, S_OK);
    this->ExpectNext(this->m_spEnum, S_FALSE);
    EXPECT_EQ(this->m_spEnum->Clone(nullptr), E_POINTER);
}

/// An enumerator keeps alive what it enumerates.
TYPED_TEST(Enumerator, OutlivesEverybodyElse)
{
    this->m_spControl.Release();
    this->m_spConfig.Release();
    this->m_spFilter.Release();
    this->m_spPin.Release();
    EXPECT_EQ(this->CanUnloadNow(), S_FALSE);
    this->ExpectNext(this->m_spEnum, S_OK);
    this->m_spEnum.Release();
    EXPECT_EQ(this->CanUnloadNow(), S_OK);
}

TEST_F(Conformance, FindPinOfItsIdentifier)
{
    LPWSTR pszId = nullptr;
    ASSERT_EQ(Pin().QueryId(&pszId), S_OK);
    EXPECT_STREQ(pszId, L"Video Out");
    const ULONG nPin = Refs(m_spPin.p);
    IPin* pPin = nullptr;
    EXPECT_EQ(Filter().FindPin(pszId, &pPin), S_OK);
    CoTaskMemFree(pszId);
    EXPECT_EQ(pPin, m_spPin.p);
    EXPECT_EQ(Refs(m_spPin.p), nPin + 1);
    pPin->Release();

    for (const wchar_t* pszOther : {L"", L"x", L"Out", L"Video Out ", L"video out", L"Video Ou"})
    {
        pPin = m_spPin;
        EXPECT_EQ(Filter().FindPin(pszOther, &pPin), VFW_E_NOT_FOUND) << Utf8(pszOther);
        EXPECT_EQ(pPin, nullptr);
    }
    EXPECT_EQ(Refs(m_spPin.p), nPin);
}

TEST_F(Conformance, WhatThePinSaysOfItself)
{
    const ULONG nFilter = Refs(m_spFilter.p);
    PIN_INFO info{};
    EXPECT_EQ(Pin().QueryPinInfo(&info), S_OK);
    EXPECT_EQ(info.pFilter, m_spFilter.p);
    EXPECT_EQ(Refs(m_spFilter.p), nFilter + 1);
    info.pFilter->Release();
    EXPECT_EQ(info.dir, PINDIR_OUTPUT);
    EXPECT_STREQ(info.achName, L"Video Out");
    PIN_DIRECTION eDirection = PINDIR_INPUT;
    EXPECT_EQ(Pin().QueryDirection(&eDirection), S_OK);
    EXPECT_EQ(eDirection, PINDIR_OUTPUT);
    ULONG nPins = 1;
    IPin* pPin = nullptr;
    EXPECT_EQ(Pin().QueryInternalConnections(&pPin, &nPins), E_NOTIMPL);
    // What only an input pin gets.
    EXPECT_EQ(Pin().ReceiveConnection(&m_sink.m_pin, nullptr), E_NOTIMPL);
    EXPECT_EQ(Pin().EndOfStream(), E_NOTIMPL);
    EXPECT_EQ(Pin().BeginFlush(), E_NOTIMPL);
    EXPECT_EQ(Pin().EndFlush(), E_NOTIMPL);
    EXPECT_EQ(Pin().NewSegment(0, 1, 1.0), E_NOTIMPL);
}

} // namespace
