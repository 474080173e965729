// The payload step of a snapshot: CopyBuffer, with every result, trace line and assertion.

#include "SampleTest.h"

using namespace sampletest;

TEST(CopyBuffer, Arguments)
{
    FakeSample sample;
    BYTE arrBytes[4] = {};
    CSampleCopier copier;
    {
        Diagnostics diag;
        EXPECT_EQ(copier.CopyBuffer(&sample, nullptr, 4, PM_BUFFER | PM_ACTLEN), E_INVALIDARG);
        diag.Expect({}, {"pbSrc != NULL"});
    }
    {
        Diagnostics diag; // never bytes without a length
        EXPECT_EQ(copier.CopyBuffer(&sample, arrBytes, 4, PM_BUFFER), E_INVALIDARG);
        diag.Expect({}, {"wMask & PM_ACTLEN"});
    }
    Diagnostics diag;
    EXPECT_EQ(copier.CopyBuffer(&sample, nullptr, 4, PM_TIMESTART), S_OK); // nothing to do
    EXPECT_EQ(copier.CopyBuffer(nullptr, nullptr, 4, PM_ACTLEN), E_INVALIDARG);
    EXPECT_TRUE(sample.CallOrder().empty());
    diag.ExpectSilence();
}

TEST(CopyBuffer, BytesAndLength)
{
    Diagnostics diag;
    FakeSample sample(4);
    BYTE arrBytes[] = {1, 2, 3, 4};
    CSampleCopier copier;
    EXPECT_EQ(copier.CopyBuffer(&sample, arrBytes, 3, PM_BUFFER | PM_ACTLEN), S_OK);
    EXPECT_EQ(std::vector<BYTE>(sample.Buffer(), sample.Buffer() + 4),
              (std::vector<BYTE>{1, 2, 3, FakeSample::byFill}));
    EXPECT_EQ(sample.m_lActual, 3);
    EXPECT_EQ(copier.CopyBuffer(&sample, arrBytes, 4, PM_ALL), S_OK);
    EXPECT_EQ(sample.Buffer()[3], 4);
    EXPECT_TRUE(sample.GuardsIntact());

    sample.ForgetCalls();
    EXPECT_EQ(copier.CopyBuffer(&sample, arrBytes, 0, PM_BUFFER | PM_ACTLEN), S_OK);
    EXPECT_EQ(sample.CallOrder(), (Calls{eSC_GetSize, eSC_SetActualDataLength}));
    EXPECT_EQ(sample.m_lActual, 0);
    diag.ExpectSilence();
}

TEST(CopyBuffer, PointerFails)
{
    BYTE arrBytes[4] = {};
    CSampleCopier copier;
    for (const HRESULT hr : {E_UNEXPECTED, S_FALSE})
    {
        Diagnostics diag;
        FakeSample sample;
        sample.Script(eSC_GetPointer, hr);
        EXPECT_EQ(copier.CopyBuffer(&sample, arrBytes, 4, PM_BUFFER | PM_ACTLEN), hr < 0 ? hr : E_FAIL);
        EXPECT_EQ(sample.CallOrder(), Calls{eSC_GetPointer});
        diag.Expect({{2, "###Err### CSampleCopier::CopyBuffer(): GetPointer()=" + Hex(hr) + "\n"}},
                    {"CSampleCopier::CopyBuffer(): GetPointer() FAILED"});
    }
    Diagnostics diag;
    FakeSample sample;
    sample.m_bNullPointer = true;
    EXPECT_EQ(copier.CopyBuffer(&sample, nullptr, 4, PM_ACTLEN), E_FAIL);
    EXPECT_EQ(sample.CallOrder(), Calls{eSC_GetPointer});
    diag.Expect({{2, "###Err### CSampleCopier::CopyBuffer(): GetPointer()=S_OK, pbDst==NULL\n"}},
                {"CSampleCopier::CopyBuffer(): GetPointer()=S_OK, pbDst==NULL"});
}

TEST(CopyBuffer, TargetTooSmall)
{
    Diagnostics diag;
    FakeSample sample(3);
    BYTE arrBytes[4] = {};
    CSampleCopier copier;
    EXPECT_EQ(copier.CopyBuffer(&sample, arrBytes, 4, PM_BUFFER | PM_ACTLEN), E_FAIL);
    EXPECT_EQ(sample.CallOrder(), (Calls{eSC_GetPointer, eSC_GetSize}));
    EXPECT_EQ(sample.Buffer()[0], FakeSample::byFill);
    diag.Expect({{2, "###Err### CSampleCopier::CopyBuffer(): GetSize()=3, lActual=4\n"}},
                {"CSampleCopier::CopyBuffer(): GetSize() < actual data length"});
}

TEST(CopyBuffer, LengthRefused)
{
    BYTE arrBytes[4] = {};
    CSampleCopier copier;
    for (const HRESULT hr : {VFW_E_BUFFER_OVERFLOW, S_FALSE})
    {
        Diagnostics diag;
        FakeSample sample;
        sample.Script(eSC_SetActualDataLength, hr);
        EXPECT_EQ(copier.CopyBuffer(&sample, arrBytes, 4, PM_BUFFER | PM_ACTLEN), hr < 0 ? hr : E_FAIL);
        EXPECT_EQ(sample.Buffer()[0], FakeSample::byFill);
        diag.Expect(
            {{2, "###Err### CSampleCopier::CopyBuffer(): SetActualDataLength( 4 )=" + Hex(hr) + "\n"}},
            {"CSampleCopier::CopyBuffer(): SetActualDataLength() FAILED"});
    }
}

TEST(CopyBuffer, NegativeLengthCopiesNothing)
{
    Diagnostics diag;
    FakeSample sample;
    sample.Script(eSC_SetActualDataLength, S_OK); // a sample that takes anything
    BYTE arrBytes[4] = {};
    CSampleCopier copier;
    EXPECT_EQ(copier.CopyBuffer(&sample, arrBytes, -1, PM_BUFFER | PM_ACTLEN), S_OK);
    EXPECT_EQ(sample.Buffer()[0], FakeSample::byFill);
    EXPECT_TRUE(sample.GuardsIntact());
    diag.ExpectSilence();
}
