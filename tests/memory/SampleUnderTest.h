#pragma once
/// The sample's properties as an object of the test's.

#include "dstl/dshowx/memory/SampleWrapper.h"
#include "memory/MemoryCalls.h"
#include "memory/TraceTap.h"

#include <gtest/gtest.h>

#include <dshow.h>

#include <string>
#include <vector>

using Lines = std::vector<std::string>;

class SampleUnderTest final : public IMediaSample2Wrapper
{
public:
    STDMETHOD(QueryInterface)(REFIID, void**) noexcept override { return E_NOINTERFACE; }
    STDMETHOD_(ULONG, AddRef)() noexcept override { return 2; }
    STDMETHOD_(ULONG, Release)() noexcept override { return 1; }
    LPCWSTR GetClassName() const noexcept override;
};

/// A record of the platform's that counts references on it.
class CountedUnknown final : public IUnknown
{
public:
    STDMETHOD(QueryInterface)(REFIID, void** ppv) noexcept override
    {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHOD_(ULONG, AddRef)() noexcept override { return static_cast<ULONG>(++m_nRefs); }
    STDMETHOD_(ULONG, Release)() noexcept override { return static_cast<ULONG>(--m_nRefs); }
    long m_nRefs = 0;
};

class SampleTest : public testing::Test
{
protected:
    static constexpr LONG cbBuffer = 64;

    SampleTest() { m_sample.AttachBuffer(m_arrBuffer, cbBuffer); }

    BYTE m_arrBuffer[cbBuffer] = {};
    AssertCapture m_asserts;
    SampleUnderTest m_sample;
};
