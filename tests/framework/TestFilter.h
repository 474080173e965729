#pragma once
/// The smallest filter and pin on the framework, with a script for each hook, and the fixture of its tests.

#include "dstl/dshowx/DSFilters.h"
#include "dstl/dshowx/DSPins.h"
#include "dstl/dshowx/DSVideo.h"
#include "support/FakeAllocator.h"
#include "support/FakeFilter.h"
#include "support/FakeGraph.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

inline constexpr CLSID CLSID_TestFilter = {
    0x1A2B3C4D, 0x5E6F, 0x4A5B, {0x8C, 0x9D, 0x0E, 0x1F, 0x2A, 0x3B, 0x4C, 0x5D}};

class TestFilter;

class TestPin : public CComObjectRootEx<CComMultiThreadModel>,
                public CComCoClass<TestPin>,
                public COutputPin<TestPin, TestFilter>,
                public IPinImpl<TestPin>,
                public CStdAllocator<TestPin, 0>,
                public CMTSingle
{
public:
    TestPin() { ++s_nLiving; }
    ~TestPin() { --s_nLiving; }
    static inline int s_nLiving = 0;

    BEGIN_COM_MAP(TestPin)
    COM_INTERFACE_ENTRY(IPin)
    END_COM_MAP()

    LPCWSTR GetClassName() const noexcept override { return L"[TestPin]"; }
    void ApplyOutputType(const AM_MEDIA_TYPE* pmt) noexcept
    {
        ++m_nApplied;
        SetMediaType(pmt);
    }
    HRESULT AllocatorCreate(IMemAllocator** ppAllocator) noexcept
    {
        if (!m_hrCreate)
            return CStdAllocator::AllocatorCreate(ppAllocator);
        *ppAllocator = CComPtr<IMemAllocator>(m_pOwn).Detach();
        return *m_hrCreate;
    }

    /// A copy of the current type, as it is kept until the next question.
    const CMType& Type()
    {
        m_mtCopy.Clear();
        EXPECT_EQ(CopyMediaType(&m_mtCopy), S_OK);
        return m_mtCopy;
    }

    // What tests look at.
    using CAllocatorMatchBase::m_bActive;
    using CAllocatorMatchBase::m_eAllocSrc;
    using CAllocatorMatchBase::m_rgPropsOut;
    using CAllocatorMatchBase::m_spAllocOut;
    using COutputPin::AgreeAllocator;
    using COutputPin::AgreeExternMT;
    using COutputPin::AgreeInnerMT;
    using COutputPin::AttemptConnection;
    using COutputPin::BreakConnection;
    using COutputPin::ExecConnection;
    using COutputPin::m_spMemInput;
    using COutputPin::TryMediaTypes;
    using COutputPin::TryTypes;
    using CPin::m_crsLink;
    using CPin::m_ePinDir;
    using CPin::m_lock;
    using CPin::m_spConnected;
    using CPin::m_szName;
    using CPinBase::m_pFilter;

    int m_nApplied = 0;
    std::optional<HRESULT> m_hrCreate; ///< result of AllocatorCreate, which hands out m_pOwn
    IMemAllocator* m_pOwn = nullptr;
    CMType m_mtCopy;
};

class TestFilter : public CComObjectRootEx<CComMultiThreadModel>,
                   public CComCoClass<TestFilter, &CLSID_TestFilter>,
                   public CSourceFilter<TestFilter, TestPin>
{
public:
    TestFilter() { ++s_nLiving; }
    ~TestFilter() { --s_nLiving; }
    static inline int s_nLiving = 0;

    BEGIN_COM_MAP(TestFilter)
    COM_INTERFACE_ENTRY(IBaseFilter)
    COM_INTERFACE_ENTRY(IMediaFilter)
    COM_INTERFACE_ENTRY(IPersist)
    END_COM_MAP()

    HRESULT FinalConstruct() noexcept { return CSourceFilter::FinalConstruct(); }
    void FinalRelease() noexcept { CSourceFilter::FinalRelease(); }

    LPCWSTR GetClassName() const noexcept override { return L"TestFilter"; }
    bool QueryAcceptMT(const AM_MEDIA_TYPE* pmt) noexcept
    {
        ++m_nAsked;
        return m_accept ? m_accept(pmt) : pmt != nullptr;
    }
    HRESULT Filter_CompleteConnect(IPin*) noexcept { return m_hrComplete; }
    void ParseGraphToLogFile() noexcept
    {
        ++m_nDumps;
        CSourceFilter::ParseGraphToLogFile();
    }
    /// The bracket that a concrete filter puts around the state changes.
    STDMETHOD(Pause)() noexcept override
    {
        CScopedLock lock(&m_lock);
        const bool bStopped = m_eState == State_Stopped;
        const HRESULT hr = CSourceFilter::Pause();
        if (hr == S_OK && bStopped)
        {
            ++m_nStreamStart;
            return m_hrStreamStart;
        }
        return hr;
    }
    STDMETHOD(Stop)() noexcept override
    {
        CScopedLock lock(&m_lock);
        const HRESULT hr = CSourceFilter::Stop();
        ++m_nStreamStop;
        return hr;
    }

    // What tests look at.
    using CFilterCore::m_bGraphDumpDue;
    using CFilterCore::m_crsJoin;
    using CFilterCore::m_eState;
    using CFilterCore::m_lock;
    using CFilterCore::m_pEventSink;
    using CFilterCore::m_pFilterGraphJoin;
    using CFilterCore::m_spClock;
    using CFilterCore::m_szName;
    using CFilterCore::m_tStart;
    using CSourceFilter::ClearPin;
    using CSourceFilter::m_apOut;
    using CSourceFilter::MakePin;

    std::function<bool(const AM_MEDIA_TYPE*)> m_accept;
    HRESULT m_hrComplete = S_OK, m_hrStreamStart = S_OK;
    int m_nAsked = 0, m_nDumps = 0, m_nStreamStart = 0, m_nStreamStop = 0;
};

/// A video type of the given size, RGB24 or another format.
inline CMType VideoType(LONG nWidth, LONG nHeight, DWORD fccType = FOURCC_RGB24)
{
    CMType mt;
    EXPECT_EQ(MTCreateVideo(&mt, fccType, FORMAT_VideoInfo, nWidth, nHeight, 0), S_OK);
    return mt;
}

inline std::string Hex(unsigned n)
{
    char sz[16];
    snprintf(sz, sizeof(sz), "0x%X", n);
    return sz;
}

/// Lines of the filter and its pin, each with its level in front; dumps of other objects are left out.
inline std::vector<std::string> Own(const LogCapture& log)
{
    std::vector<std::string> own;
    for (const LogLine& line : log.Lines())
    {
        if (line.nLevel != nLevelRaw &&
            (line.sText.find("TestPin") != std::string::npos ||
             line.sText.find("TestFilter") != std::string::npos || line.sText.starts_with("ATL:") ||
             line.sText == "Empty media type\n"))
            own.push_back(std::to_string(line.nLevel) + " " + line.sText);
    }
    return own;
}

using Lines = std::vector<std::string>;

/// A filter, a sink with an allocator, a graph. At the end all counts are back at zero.
class FrameworkTest : public testing::Test
{
protected:
    FrameworkTest()
    {
        m_sink.m_pin.m_pAllocator = &m_alloc;
        EXPECT_EQ(DSTLCreateObject(&m_spFilter), S_OK);
        Pin().ApplyOutputType(&m_mtStart);
        Pin().m_nApplied = 0;
    }
    ~FrameworkTest() override
    {
        if (m_spFilter)
        {
            m_spFilter->Stop();
            if (m_spFilter->m_apOut)
                m_spFilter->m_apOut->Disconnect();
            m_spFilter->JoinFilterGraph(nullptr, nullptr);
            m_spFilter->SetSyncSource(nullptr);
        }
        m_spFilter.Release();
        EXPECT_EQ(m_sink.Refs(), 0);
        EXPECT_EQ(m_sink.m_pin.Refs(), 0);
        EXPECT_EQ(m_alloc.Refs(), 0);
        EXPECT_EQ(m_own.Refs(), 0);
        EXPECT_EQ(m_graph.Refs(), 0);
        EXPECT_EQ(FakeTypeEnum::s_nLiving, 0);
        EXPECT_EQ(TestFilter::s_nLiving, 0);
        EXPECT_EQ(TestPin::s_nLiving, 0);
        EXPECT_EQ(_Module.GetLockCount(), 0);
    }

    TestFilter& Filter() { return *m_spFilter.p; }
    TestPin& Pin() { return *m_spFilter->m_apOut.p; }
    IPin* PinItf() { return m_spFilter->m_apOut.p; }
    FakeInputPin& Peer() { return m_sink.m_pin; }
    HRESULT Connect(const AM_MEDIA_TYPE* pmt = nullptr) { return PinItf()->Connect(&Peer(), pmt); }

    const CMType m_mtStart = VideoType(16, 8);
    CallLog m_calls;
    FakeAllocator m_alloc{&m_calls};
    FakeAllocator m_own{&m_calls, "own"};
    FakeFilter m_sink{&m_calls};
    FakeGraph m_graph{&m_calls};
    CComPtr<CComObject<TestFilter>> m_spFilter;
};
