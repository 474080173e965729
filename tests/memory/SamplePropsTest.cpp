// IMediaSample2::GetProperties and SetProperties, for every size and every cbData.
#include "memory/SampleUnderTest.h"

#include "dstl/dshowx/DSTypes.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <tuple>

namespace
{
constexpr DWORD cbRecord = 64;
constexpr DWORD cbBeyond = 72;

using Record = AM_SAMPLE2_PROPERTIES;
using Bytes = std::vector<BYTE>; // exactly as long as the caller says, so that the sanitizer sees each byte

Bytes AsBytes(const Record& rg, DWORD cb)
{
    Bytes bytes(cb, 0xEE);
    const BYTE* const pb = reinterpret_cast<const BYTE*>(&rg);
    std::copy(pb, pb + std::min<size_t>(cb, sizeof(rg)), bytes.begin());
    for (DWORD i : {36, 37, 38, 39, 60, 61, 62, 63}) // gaps, whose content a copy of the record need not keep
    {
        if (i < cb)
            bytes[i] = 0;
    }
    return bytes;
}

/// What a sample holds, comparable.
using Held = std::tuple<DWORD, DWORD, LONG, int64_t, int64_t, DWORD, LONG>;

/// The type is told apart by its sample size; -1 for none.
Held WhatIsHeld(const SampleUnderTest& s)
{
    return {s.m_dwTypeFlags,
            s.m_dwSampleFlags,
            s.m_cbActual,
            s.m_tStart,
            s.m_tEnd,
            s.m_dwStreamId,
            s.m_pMediaType ? static_cast<LONG>(s.m_pMediaType.Get()->lSampleSize) : -1};
}

/// The rules in their order, over what is held before.
HRESULT Expect(DWORD cbProperties, const Bytes& bytes, const BYTE* pbBuffer, LONG cbBuffer, Held& held)
{
    if (cbProperties < 8)
        return S_OK;
    Record rg = {};
    std::memcpy(static_cast<void*>(&rg), bytes.data(), std::min<size_t>(bytes.size(), sizeof(rg)));
    const DWORD cb = std::min(cbProperties, rg.cbData);
    if (cb > 64)
        return E_INVALIDARG;
    DWORD dwFlags = cb >= 12 ? rg.dwSampleFlags : 0;
    if ((dwFlags & 0xFFFFFE20) != 0)
        return E_INVALIDARG;
    auto& [dwTypeFlags, dwHeldFlags, lActual, tStart, tEnd, dwStreamId, nType] = held;
    if (cb < 32 && (dwFlags & 0x10) != 0 && (dwHeldFlags & 0x100) == 0)
        return E_INVALIDARG;
    if (cb >= 56 && rg.pbBuffer != nullptr && rg.pbBuffer != pbBuffer)
        return E_INVALIDARG;
    if (cb >= 60 && ((rg.cbBuffer != 0 && rg.cbBuffer != cbBuffer) || rg.cbBuffer < rg.lActual))
        return E_INVALIDARG;
    if (cb < 48)
        dwFlags &= nType == -1 ? ~8u : ~0u;
    else if (rg.pMediaType == nullptr)
        dwFlags &= ~8u, nType = -1;
    else
        dwFlags |= 8u, nType = static_cast<LONG>(rg.pMediaType->lSampleSize);
    if (cb >= 8)
        dwTypeFlags = rg.dwTypeSpecificFlags;
    if (cb >= 12)
        dwHeldFlags = dwFlags | (dwHeldFlags & 0x20);
    if (cb >= 16)
        lActual = rg.lActual;
    if (cb >= 24)
        tStart = rg.tStart;
    if (cb >= 32)
        tEnd = rg.tStop;
    if (cb >= 36)
        dwStreamId = rg.dwStreamId;
    return S_OK;
}

class SamplePropsTest : public SampleTest
{
protected:
    /// A sample that holds something in each field.
    void Fill()
    {
        m_sample.m_dwTypeFlags = 0x77;
        m_sample.m_dwSampleFlags = SAMPLE_MEDIATIMEVALID | AM_SAMPLE_PREROLL;
        m_sample.m_cbActual = 11;
        m_sample.m_tStart = 1000;
        m_sample.m_tEnd = 2000;
        m_sample.m_dwStreamId = 5;
    }
    void CheckSet(DWORD cbProperties, const Bytes& bytes)
    {
        Held held = WhatIsHeld(m_sample);
        const HRESULT hr = Expect(cbProperties, bytes, m_arrBuffer, cbBuffer, held);
        ASSERT_EQ(m_sample.SetProperties(cbProperties, bytes.data()), hr);
        ASSERT_EQ(WhatIsHeld(m_sample), held);
        ASSERT_EQ(m_sample.m_pBuffer, m_arrBuffer);
        ASSERT_EQ(m_sample.m_cbBuffer, cbBuffer);
    }
    Record m_rgNew = {0, 0x99, AM_SAMPLE_SPLICEPOINT, 33, 3000, 4000, 6, nullptr, nullptr, 0};
    CMType m_mt{MEDIATYPE_Video, MEDIASUBTYPE_RGB24};
};

TEST_F(SamplePropsTest, GetForEverySize)
{
    Fill();
    ASSERT_EQ(m_sample.SetMediaType(&m_mt), S_OK);
    const Record rgAll = {0,
                          0x77,
                          AM_SAMPLE_PREROLL | AM_SAMPLE_TYPECHANGED,
                          11,
                          1000,
                          2000,
                          5,
                          m_sample.m_pMediaType.Get(),
                          m_arrBuffer,
                          cbBuffer};
    for (DWORD cb = 0; cb <= cbBeyond; ++cb)
    {
        Bytes bytes(cb, 0xEE);
        ASSERT_EQ(m_sample.GetProperties(cb, bytes.data()), S_OK) << cb;
        Record rgExpected = rgAll;
        rgExpected.cbData = std::min(cb, cbRecord);
        ASSERT_EQ(bytes, AsBytes(rgExpected, cb)) << cb;
    }
    // Without the flag the type is not shown.
    m_sample.m_dwSampleFlags = 0;
    Record rg = {};
    EXPECT_EQ(m_sample.GetProperties(cbRecord, reinterpret_cast<BYTE*>(&rg)), S_OK);
    EXPECT_EQ(rg.pMediaType, nullptr);
    EXPECT_EQ(m_asserts.Texts(), Lines{});
}

/// Every size with every cbData, with and without a type in the record and on the sample, with and without
/// times.
TEST_F(SamplePropsTest, SetForEverySizeAndEveryCbData)
{
    CMType mtNew(MEDIATYPE_Video, MEDIASUBTYPE_YUY2);
    m_mt.lSampleSize = 100;
    mtNew.lSampleSize = 200;
    for (DWORD cb = 0; cb <= cbBeyond; ++cb)
    {
        for (DWORD cbData = 0; cbData <= cbBeyond; ++cbData)
        {
            for (int nCase = 0; nCase < 16; ++nCase)
            {
                SCOPED_TRACE(testing::Message() << cb << ' ' << cbData << ' ' << nCase);
                m_sample.SetMediaType(nCase & 1 ? &m_mt : nullptr);
                Fill();
                if (nCase & 1)
                    m_sample.m_dwSampleFlags |= AM_SAMPLE_TYPECHANGED;
                if (nCase & 2)
                    m_sample.m_dwSampleFlags |= AM_SAMPLE_STOPVALID;
                Record rg = m_rgNew;
                rg.cbData = cbData;
                rg.pMediaType = nCase & 4 ? &mtNew : nullptr;
                rg.dwSampleFlags |= nCase & 8 ? AM_SAMPLE_TIMEVALID | AM_SAMPLE_TYPECHANGED : 0;
                rg.cbBuffer = cbBuffer;
                ASSERT_NO_FATAL_FAILURE(CheckSet(cb, AsBytes(rg, cb)));
            }
        }
    }
    EXPECT_EQ(m_asserts.Texts(), Lines{});
}

TEST_F(SamplePropsTest, EveryFlag)
{
    for (int nBit = 0; nBit < 32; ++nBit)
    {
        Fill();
        Record rg = m_rgNew;
        rg.cbData = cbRecord;
        rg.dwSampleFlags = 1u << nBit;
        rg.cbBuffer = cbBuffer;
        const bool bAllowed = (rg.dwSampleFlags & 0x1DF) != 0;
        EXPECT_EQ(m_sample.SetProperties(cbRecord, reinterpret_cast<const BYTE*>(&rg)),
                  bAllowed ? S_OK : E_INVALIDARG)
            << nBit;
        EXPECT_EQ(m_sample.m_dwTypeFlags, bAllowed ? 0x99u : 0x77u) << nBit;
    }
}

TEST_F(SamplePropsTest, BufferAndItsSize)
{
    struct Row
    {
        const char* pszName;
        BYTE* pbBuffer;
        LONG cbBuffer, lActual;
        HRESULT hr;
    };
    BYTE byOther = 0;
    const Row rows[] = {
        {"nothing told", nullptr, 0, 0, S_OK},
        {"nothing told, with a length", nullptr, 0, 1, E_INVALIDARG},
        {"nothing told, with a negative length", nullptr, 0, -1, S_OK},
        {"its own buffer", m_arrBuffer, cbBuffer, cbBuffer, S_OK},
        {"too long", m_arrBuffer, cbBuffer, cbBuffer + 1, E_INVALIDARG},
        {"another buffer", &byOther, cbBuffer, 1, E_INVALIDARG},
        {"another size", m_arrBuffer, cbBuffer - 1, 1, E_INVALIDARG},
        {"a negative size", nullptr, -cbBuffer, -100, E_INVALIDARG},
    };
    for (const Row& row : rows)
    {
        Record rg = {cbRecord, 0, 0, row.lActual, 0, 0, 0, nullptr, row.pbBuffer, row.cbBuffer};
        EXPECT_EQ(m_sample.SetProperties(cbRecord, reinterpret_cast<const BYTE*>(&rg)), row.hr)
            << row.pszName;
    }
}

TEST_F(SamplePropsTest, CbDataOfEight)
{
    m_sample.m_dwTypeFlags = 1;
    Record rg = m_rgNew;
    rg.cbData = 8;
    rg.dwSampleFlags = 0xFFFFFFFF; // takes no part
    EXPECT_EQ(m_sample.SetProperties(cbRecord, reinterpret_cast<const BYTE*>(&rg)), S_OK);
    EXPECT_EQ(WhatIsHeld(m_sample), Held(0x99, 0, 0, 0, 0, 0, -1));
}

TEST_F(SamplePropsTest, TypeWithoutAndWithItsFlag)
{
    Record rg = {};
    rg.cbData = cbRecord;
    rg.pMediaType = &m_mt;
    {
        TraceTap tap;
        EXPECT_EQ(m_sample.SetProperties(cbRecord, reinterpret_cast<const BYTE*>(&rg)), S_OK);
        const Lines lines = tap.Texts();
        ASSERT_EQ(lines.size(), 4u) << testing::PrintToString(lines);
        EXPECT_EQ(lines[1], "8 Some sample IMediaSample2::SetProperties - change media type (corrected for "
                            "Mainconcept)\n");
        EXPECT_EQ(lines[3], "12 MT:( MEDIATYPE_Video / MEDIASUBTYPE_RGB24 / GUID_NULL ), size=1, cbForm=0, "
                            "fix:true, compr:false\n");
    }
    EXPECT_EQ(m_sample.m_dwSampleFlags, static_cast<DWORD>(AM_SAMPLE_TYPECHANGED));
    EXPECT_TRUE(MTEqual(m_sample.m_pMediaType.Get(), &m_mt));
    // The type that the sample shows, given back to it.
    Record rgOwn = {};
    EXPECT_EQ(m_sample.GetProperties(cbRecord, reinterpret_cast<BYTE*>(&rgOwn)), S_OK);
    EXPECT_EQ(m_sample.SetProperties(cbRecord, reinterpret_cast<const BYTE*>(&rgOwn)), S_OK);
    EXPECT_TRUE(MTEqual(m_sample.m_pMediaType.Get(), &m_mt));
    // No type, with the flag: dropped, and the flag stays clear.
    rg.pMediaType = nullptr;
    rg.dwSampleFlags = AM_SAMPLE_TYPECHANGED;
    EXPECT_EQ(m_sample.SetProperties(cbRecord, reinterpret_cast<const BYTE*>(&rg)), S_OK);
    EXPECT_FALSE(m_sample.m_pMediaType);
    EXPECT_EQ(m_sample.m_dwSampleFlags, 0u);
}

TEST_F(SamplePropsTest, NoMemoryForTheType)
{
    ASSERT_EQ(m_sample.SetMediaType(&m_mt), S_OK);
    Fill();
    Record rg = m_rgNew;
    rg.cbData = cbRecord;
    rg.cbBuffer = cbBuffer;
    rg.pMediaType = &m_mt;
    const Held before = WhatIsHeld(m_sample);
    const FailingMemory failing(eMC_TaskMem, 0);
    EXPECT_EQ(m_sample.SetProperties(cbRecord, reinterpret_cast<const BYTE*>(&rg)), E_OUTOFMEMORY);
    EXPECT_EQ(WhatIsHeld(m_sample), before) << "nothing is stored, and the old type stays";
}

/// The line of what was set, for each size at which it grows.
TEST_F(SamplePropsTest, Dump)
{
    const std::pair<DWORD, std::string> rows[] = {
        {8, "TypeFlags=0x99"},
        {12, "TypeFlags=0x99, SampleFlags=0x1"},
        {16, "TypeFlags=0x99, SampleFlags=0x1, cbActual=0x21"},
        {24, "TypeFlags=0x99, SampleFlags=0x1, cbActual=0x21, tS=0.000'3000"},
        {32, "TypeFlags=0x99, SampleFlags=0x1, cbActual=0x21, tS=0.000'3000, tE=0.000'4000"},
        {36, "TypeFlags=0x99, SampleFlags=0x1, cbActual=0x21, tS=0.000'3000, tE=0.000'4000, StreamId=0x6"},
        {64, "TypeFlags=0x99, SampleFlags=0x1, cbActual=0x21, tS=0.000'3000, tE=0.000'4000, StreamId=0x6"},
    };
    m_rgNew.cbBuffer = cbBuffer;
    for (const auto& [cb, sText] : rows)
    {
        m_rgNew.cbData = cb;
        const TraceTap tap;
        EXPECT_EQ(m_sample.SetProperties(cb, reinterpret_cast<const BYTE*>(&m_rgNew)), S_OK);
        ASSERT_EQ(tap.Texts().size(), 2u) << cb;
        EXPECT_EQ(tap.Texts()[1], "12 Properties: " + sText + "\n");
    }
    m_rgNew.cbData = 7;
    const TraceTap tap;
    EXPECT_EQ(m_sample.SetProperties(cbRecord, reinterpret_cast<const BYTE*>(&m_rgNew)), S_OK);
    EXPECT_EQ(tap.Texts().size(), 1u) << "below 8 there is nothing to tell";
}
} // namespace
