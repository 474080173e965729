// The snapshot of a sample: Save, with every result, call, trace line and assertion.

#include "SampleTest.h"

using namespace sampletest;

TEST(Save, ArgumentsAndMasks)
{
    FakeSample sample;
    CSampleT snapshot;
    {
        Diagnostics diag;
        EXPECT_EQ(snapshot.Save(nullptr, PM_ALL), E_INVALIDARG);
        diag.Expect({}, {"pDst != NULL"});
    }
    {
        Diagnostics diag;
        EXPECT_EQ(snapshot.Save(&sample, PM_ALL), E_FAIL);
        diag.Expect({{2, "###Err### CSampleT::Save(): sample not loaded yet\n"}},
                    {"CSampleT::Save(): sample not loaded yet"});
    }
    {
        Diagnostics diag;
        snapshot.SetActualDataLength(3);
        EXPECT_EQ(snapshot.Save(&sample, PM_TIMESTART | PM_BUFFER), S_FALSE);
        EXPECT_EQ(snapshot.Save(&sample, 0), S_FALSE);
        diag.Expect({{8, "CSampleT::Save(): Can't save wanted properties: wanted 0x1001, exist 0x2000\n"},
                     {8, "CSampleT::Save(): Can't save wanted properties: wanted 0x0, exist 0x2000\n"}},
                    {});
    }
    EXPECT_TRUE(sample.CallOrder().empty());
}

TEST(Save, EverythingInOrder)
{
    Diagnostics diag;
    FakeSample source, target(50);
    Fill(source);
    for (int i = 0; i < 40; ++i)
        source.Buffer()[i] = static_cast<BYTE>(i);
    target.m_bPreroll = true;
    CSampleT snapshot;
    ASSERT_EQ(snapshot.Load(&source, PM_ALL), S_OK);
    EXPECT_EQ(snapshot.Save(&target, PM_ALL), S_OK);
    EXPECT_EQ(target.CallOrder(),
              (Calls{eSC_QuerySample2, eSC_GetProperties, eSC_SetProperties, eSC_SetTime, eSC_SetMediaTime,
                     eSC_SetSyncPoint, eSC_SetPreroll, eSC_SetDiscontinuity, eSC_SetMediaType, eSC_GetPointer,
                     eSC_GetSize, eSC_SetActualDataLength}));
    EXPECT_EQ(target.m_tS, 400000);
    EXPECT_EQ(target.m_tE, 800000);
    EXPECT_TRUE(target.m_bTimeStart && target.m_bTimeEnd && target.m_bMediaTime);
    EXPECT_EQ(target.m_llMS, 1);
    EXPECT_EQ(target.m_llME, 2);
    EXPECT_TRUE(target.m_bSync);
    EXPECT_FALSE(target.m_bPreroll);
    EXPECT_TRUE(target.m_bDiscont);
    EXPECT_EQ(target.m_dwTypeFlags, 0x11223344u);
    EXPECT_EQ(target.m_dwStreamId, 0x55667788u);
    EXPECT_TRUE(MTEqual(&target.m_mt, &source.m_mt));
    EXPECT_EQ(target.m_lActual, 40);
    EXPECT_EQ(memcmp(target.Buffer(), source.Buffer(), 40), 0);
    EXPECT_EQ(target.Buffer()[40], FakeSample::byFill);
    EXPECT_TRUE(target.GuardsIntact());
    EXPECT_EQ(target.Refs(), 0);
    EXPECT_EQ(snapshot.m_wProps, wEverything); // nothing changes in the snapshot
    diag.ExpectSilence();
}

TEST(Save, OneAtATime)
{
    FakeSample source;
    Fill(source);
    CSampleT snapshot;
    ASSERT_EQ(snapshot.Load(&source, PM_ALL), S_OK);
    const struct
    {
        WORD wMask;
        Calls calls;
    } rgRows[] = {
        {PM_TIMESTART, {eSC_SetTime}},
        {PM_TIMESTART | PM_TIMEEND, {eSC_SetTime}},
        {PM_TIMEEND, {}}, // an end without a start is not set
        {PM_MEDIATIME, {eSC_SetMediaTime}},
        {PM_SYNCPOINT, {eSC_SetSyncPoint}},
        {PM_PREROLL, {eSC_SetPreroll}},
        {PM_DISCONTINUITY, {eSC_SetDiscontinuity}},
        {PM_TYPEFLAGS, {eSC_QuerySample2, eSC_GetProperties, eSC_SetProperties}},
        {PM_MEDIATYPE, {eSC_SetMediaType}},
        {PM_ACTLEN, {eSC_GetPointer, eSC_GetSize, eSC_SetActualDataLength}},
        {PM_STREAMID, {eSC_QuerySample2, eSC_GetProperties, eSC_SetProperties}},
    };
    for (const auto& row : rgRows)
    {
        Diagnostics diag;
        FakeSample target;
        target.m_tE = 99;
        target.m_dwTypeFlags = target.m_dwStreamId = 5;
        EXPECT_EQ(snapshot.Save(&target, row.wMask), S_OK) << std::hex << row.wMask;
        EXPECT_EQ(target.CallOrder(), row.calls) << std::hex << row.wMask;
        EXPECT_EQ(target.m_bTimeEnd, row.wMask == (PM_TIMESTART | PM_TIMEEND));
        EXPECT_EQ(target.m_dwTypeFlags, row.wMask == PM_TYPEFLAGS ? 0x11223344u : 5u);
        EXPECT_EQ(target.m_dwStreamId, row.wMask == PM_STREAMID ? 0x55667788u : 5u);
        EXPECT_EQ(target.Buffer()[0], FakeSample::byFill);
        diag.ExpectSilence();
    }
}

TEST(Save, StreamIdKeepsTheFieldsBefore)
{
    FakeSample source, target;
    Fill(source);
    CSampleT snapshot;
    ASSERT_EQ(snapshot.Load(&source, PM_STREAMID), S_OK);
    Fill(target);
    target.m_dwStreamId = 0;
    target.m_lActual = 17;
    EXPECT_EQ(snapshot.Save(&target, PM_ALL), S_OK);
    EXPECT_EQ(target.m_dwStreamId, 0x55667788u);
    EXPECT_EQ(target.m_lActual, 17);
    EXPECT_EQ(target.m_tS, 400000);
    EXPECT_EQ(target.m_tE, 800000);
    EXPECT_TRUE(target.m_bSync && target.m_bDiscont && target.m_bTimeEnd);
}

TEST(Save, EveryStepCanFail)
{
    const struct
    {
        eSampleCall eCall;
        const char* pszName;
    } rgRows[] = {
        {eSC_GetProperties, "spMS2->GetProperties()"},
        {eSC_SetProperties, "spMS2->SetProperties()"},
        {eSC_SetTime, "SetTime()"},
        {eSC_SetMediaTime, "SetMediaTime()"},
        {eSC_SetSyncPoint, "SetSyncPoint()"},
        {eSC_SetPreroll, "SetPreroll()"},
        {eSC_SetDiscontinuity, "SetDiscontinuity()"},
        {eSC_SetMediaType, "SetMediaType()"},
    };
    FakeSample source;
    Fill(source);
    CSampleT snapshot;
    ASSERT_EQ(snapshot.Load(&source, PM_ALL), S_OK);
    for (const auto& row : rgRows)
        for (const HRESULT hr : {E_UNEXPECTED, S_FALSE, VFW_E_WRONG_STATE})
        {
            Diagnostics diag;
            FakeSample target;
            target.Script(row.eCall, hr);
            EXPECT_EQ(snapshot.Save(&target, PM_ALL), hr < 0 ? hr : E_FAIL) << row.pszName;
            EXPECT_EQ(target.CallOrder().back(), row.eCall);
            EXPECT_EQ(target.Refs(), 0);
            const std::string sName = std::string("CSampleT::Save(): ") + row.pszName;
            diag.Expect({{2, "###Err### " + sName + "=" + Hex(hr) + "\n"}}, {sName + " FAILED"});
        }
}

TEST(Save, WhatWasSavedStays)
{
    AssertCapture asserts;
    FakeSample source, target;
    Fill(source);
    CSampleT snapshot;
    ASSERT_EQ(snapshot.Load(&source, PM_ALL), S_OK);
    target.Script(eSC_SetSyncPoint, E_FAIL);
    EXPECT_EQ(snapshot.Save(&target, PM_ALL), E_FAIL);
    EXPECT_EQ(target.m_tE, 800000);
    EXPECT_EQ(target.m_llME, 2);
    EXPECT_EQ(target.m_dwStreamId, 0x55667788u);
    EXPECT_EQ(target.m_lActual, 64);
}

TEST(Save, SampleWithoutProperties2)
{
    FakeSample source, target(64, false);
    Fill(source);
    CSampleT snapshot;
    ASSERT_EQ(snapshot.Load(&source, PM_ALL), S_OK);
    for (const WORD wMask : {WORD(PM_TYPEFLAGS), WORD(PM_STREAMID), WORD(PM_ALL)})
    {
        Diagnostics diag;
        target.ForgetCalls();
        EXPECT_EQ(snapshot.Save(&target, wMask), E_NOINTERFACE);
        EXPECT_EQ(target.CallOrder(), Calls{eSC_QuerySample2});
        diag.Expect({{2, "###Err### CSampleT::Save(): QI( IMediaSample2 ) FAILED\n"}},
                    {"CSampleT::Save(): QI( IMediaSample2 ) FAILED"});
    }
    Diagnostics diag;
    EXPECT_EQ(snapshot.Save(&target, wEverything & ~(PM_TYPEFLAGS | PM_STREAMID)), S_OK);
    diag.ExpectSilence();
}

TEST(Save, AsThePumpUsesIt)
{
    Diagnostics diag;
    FakeSample sample;
    CSampleT snapshot;
    ASSERT_EQ(snapshot.Load(&sample, PM_BUFFER), S_OK);
    EXPECT_EQ(snapshot.m_pbBuf, sample.Buffer());
    snapshot.m_pbBuf[0] = 0x12;
    snapshot.RemoveProps(PM_BUFFER);
    snapshot.SetActualDataLength(50);
    snapshot.SetDiscontinuity(TRUE);
    snapshot.SetSyncPoint(TRUE);
    snapshot.SetMediaTime(0, 1);
    snapshot.SetTime(0, 400000);
    sample.ForgetCalls();
    EXPECT_EQ(snapshot.Save(&sample, static_cast<WORD>(-1)), S_OK);
    EXPECT_EQ(sample.CallOrder(),
              (Calls{eSC_SetTime, eSC_SetMediaTime, eSC_SetSyncPoint, eSC_SetDiscontinuity, eSC_GetPointer,
                     eSC_GetSize, eSC_SetActualDataLength}));
    EXPECT_EQ(sample.m_lActual, 50);
    EXPECT_EQ(sample.m_tE, 400000);
    EXPECT_EQ(sample.Buffer()[0], 0x12);
    EXPECT_EQ(sample.Buffer()[1], FakeSample::byFill);
    diag.ExpectSilence();
}

TEST(Save, BackIntoTheSameSample)
{
    Diagnostics diag;
    FakeSample sample;
    Fill(sample);
    CSampleT snapshot;
    ASSERT_EQ(snapshot.Load(&sample, PM_ALL), S_OK);
    EXPECT_EQ(snapshot.Save(&sample, PM_ALL), S_OK);
    EXPECT_EQ(sample.m_lActual, 40);
    EXPECT_TRUE(sample.GuardsIntact());
    diag.ExpectSilence();
}

TEST(Save, LengthZeroDoesNotTouchThePointer)
{
    Diagnostics diag;
    FakeSample sample;
    CSampleT snapshot;
    snapshot.SetActualDataLength(0);
    EXPECT_EQ(snapshot.Save(&sample, PM_ALL), S_OK);
    EXPECT_EQ(sample.m_lActual, 0);
    EXPECT_EQ(sample.Calls(eSC_GetPointer), 0);
    diag.ExpectSilence();
}

TEST(Save, LengthBeyondTheBorrowedBuffer)
{
    FakeSample source(8), target(64);
    CSampleT snapshot;
    ASSERT_EQ(snapshot.Load(&source, PM_BUFFER), S_OK);
    snapshot.SetActualDataLength(9);
    EXPECT_EQ(snapshot.Save(&target, PM_ALL), E_FAIL);
    EXPECT_EQ(target.Buffer()[0], FakeSample::byFill);
    snapshot.SetActualDataLength(8);
    EXPECT_EQ(snapshot.Save(&target, PM_ALL), S_OK);
}
