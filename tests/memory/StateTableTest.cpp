// Every operation of the allocator in every state: result, next state, output, line.
#include "memory/AllocatorUnderTest.h"

#include <functional>
#include <optional>

namespace
{
constexpr LONG nBuffers = 2, cbBuffer = 100;
constexpr ALLOCATOR_PROPERTIES rgProps = {nBuffers, cbBuffer, 1, 0};
constexpr ALLOCATOR_PROPERTIES rgOther = {3, 200, 4, 8};

class StateTableTest : public AllocatorFixture
{
protected:
    /// Brings a fresh allocator into a state; samples that are out are kept in m_samples.
    void Reach(eAllocState eState)
    {
        m_spAlloc.Release();
        ASSERT_EQ(DSTLCreateObject(&m_spAlloc.p), S_OK);
        if (eState == AS_Create)
            Alloc().m_eState = AS_Create; // from outside it is never to be seen
        if (eState <= AS_Init)
            return;
        ALLOCATOR_PROPERTIES rgRequest = rgProps, rgActual = {};
        ASSERT_EQ(Alloc().SetProperties(&rgRequest, &rgActual), S_OK);
        if (eState == AS_Prop)
            return;
        ASSERT_EQ(Alloc().Commit(), S_OK);
        const int nOut = eState == AS_Committed ? 0 : eState == AS_Waiting ? nBuffers : 1;
        for (int i = 0; i < nOut; ++i)
            ASSERT_EQ(Get(m_samples[i]), S_OK);
        CComPtr<IMediaSample> spNone;
        if (eState == AS_Waiting)
        {
            ASSERT_EQ(Get(spNone), VFW_E_TIMEOUT);
        }
        if (eState == AS_Decommitting)
        {
            ASSERT_EQ(Alloc().Decommit(), S_OK);
        }
        ASSERT_EQ(State(), eState);
    }
    void LetGo()
    {
        for (CComPtr<IMediaSample>& spSample : m_samples)
            spSample.Release();
        if (State() == AS_Create)
            Alloc().m_eState = AS_Init;
        Alloc().Decommit();
    }
    CComPtr<IMediaSample> m_samples[nBuffers];
};

/// Result and next state for each of the seven states, in their order.
struct Cell
{
    HRESULT hr;
    eAllocState eNext;
};
struct Row
{
    const char* pszOperation;
    Cell cells[AS_Count];
};

const Row rowSetProperties = {"SetProperties",
                              {{E_ABORT, AS_Create},
                               {S_OK, AS_Prop},
                               {S_OK, AS_Prop},
                               {VFW_E_ALREADY_COMMITTED, AS_Committed},
                               {VFW_E_ALREADY_COMMITTED, AS_Partial},
                               {VFW_E_ALREADY_COMMITTED, AS_Waiting},
                               {VFW_E_BUFFERS_OUTSTANDING, AS_Decommitting}}};
const Row rowGetProperties = {"GetProperties",
                              {{E_ABORT, AS_Create},
                               {VFW_E_BUFFER_NOTSET, AS_Init},
                               {S_OK, AS_Prop},
                               {S_OK, AS_Committed},
                               {S_OK, AS_Partial},
                               {S_OK, AS_Waiting},
                               {S_OK, AS_Decommitting}}};
const Row rowCommit = {"Commit",
                       {{E_ABORT, AS_Create},
                        {E_FAIL, AS_Init},
                        {S_OK, AS_Committed},
                        {S_OK, AS_Committed},
                        {S_OK, AS_Partial},
                        {S_OK, AS_Waiting},
                        {S_OK, AS_Partial}}};
const Row rowDecommit = {"Decommit",
                         {{E_ABORT, AS_Create},
                          {E_FAIL, AS_Init},
                          {S_OK, AS_Prop},
                          {S_OK, AS_Prop},
                          {S_OK, AS_Decommitting},
                          {S_OK, AS_Decommitting},
                          {S_OK, AS_Decommitting}}};
const Row rowGetFreeCount = {"GetFreeCount",
                             {{E_ABORT, AS_Create},
                              {VFW_E_BUFFER_NOTSET, AS_Init},
                              {VFW_E_NOT_COMMITTED, AS_Prop},
                              {S_OK, AS_Committed},
                              {S_OK, AS_Partial},
                              {S_OK, AS_Waiting},
                              {VFW_E_NOT_COMMITTED, AS_Decommitting}}};
const Row rowGetBuffer = {"GetBuffer",
                          {{E_ABORT, AS_Create},
                           {VFW_E_BUFFER_NOTSET, AS_Init},
                           {VFW_E_NOT_COMMITTED, AS_Prop},
                           {S_OK, AS_Partial},
                           {S_OK, AS_Partial},
                           {VFW_E_TIMEOUT, AS_Waiting},
                           {VFW_E_NOT_COMMITTED, AS_Decommitting}}};
/// Called by hand, with no buffer coming back.
const Row rowReleaseBuffer = {"ReleaseBuffer",
                              {{E_ABORT, AS_Create},
                               {E_ABORT, AS_Init},
                               {E_ABORT, AS_Prop},
                               {S_OK, AS_Committed},
                               {S_OK, AS_Partial},
                               {S_OK, AS_Partial},
                               {S_OK, AS_Decommitting}}};
const Row rowSetNotify = {"SetNotify",
                          {{S_OK, AS_Create},
                           {S_OK, AS_Init},
                           {S_OK, AS_Prop},
                           {S_OK, AS_Committed},
                           {S_OK, AS_Partial},
                           {S_OK, AS_Waiting},
                           {S_OK, AS_Decommitting}}};
const Row rowSetMediaType = {"SetMediaType",
                             {{S_OK, AS_Create},
                              {S_OK, AS_Init},
                              {S_OK, AS_Prop},
                              {S_OK, AS_Committed},
                              {S_OK, AS_Partial},
                              {S_OK, AS_Waiting},
                              {S_OK, AS_Decommitting}}};

class Walk : public StateTableTest
{
protected:
    /// \param check what else is to be seen, given the state and the result
    void Run(const Row& row, const std::function<HRESULT()>& call,
             const std::function<void(eAllocState, HRESULT)>& check = nullptr)
    {
        for (DWORD i = AS_Create; i < AS_Count; ++i)
        {
            SCOPED_TRACE(testing::Message() << row.pszOperation << " in state " << i);
            const auto eState = static_cast<eAllocState>(i);
            ASSERT_NO_FATAL_FAILURE(Reach(eState));
            const HRESULT hr = call();
            EXPECT_EQ(hr, row.cells[i].hr);
            EXPECT_EQ(State(), row.cells[i].eNext);
            if (check)
                check(eState, hr);
            LetGo();
        }
        EXPECT_EQ(m_asserts.Texts(), Lines{});
    }
};

TEST_F(Walk, SetProperties)
{
    ALLOCATOR_PROPERTIES rgActual;
    Run(
        rowSetProperties,
        [&]
        {
            ALLOCATOR_PROPERTIES rgRequest = rgOther;
            rgActual = {9, 9, 9, 9};
            return Alloc().SetProperties(&rgRequest, &rgActual);
        },
        [&](eAllocState eState, HRESULT hr)
        {
            EXPECT_EQ(AsTuple(rgActual), hr == S_OK ? AsTuple(rgOther) : PropsTuple(0, 0, 0, 0));
            EXPECT_EQ(AsTuple(Alloc().m_rgProps), hr == S_OK          ? AsTuple(rgOther)
                                                  : eState <= AS_Init ? PropsTuple(0, 0, 1, 0)
                                                                      : AsTuple(rgProps));
        });
}

TEST_F(Walk, GetProperties)
{
    ALLOCATOR_PROPERTIES rg;
    Run(
        rowGetProperties,
        [&]
        {
            rg = {9, 9, 9, 9};
            return Alloc().GetProperties(&rg);
        },
        [&](eAllocState, HRESULT hr)
        { EXPECT_EQ(AsTuple(rg), hr == S_OK ? AsTuple(rgProps) : PropsTuple(9, 9, 9, 9)); });
}

TEST_F(Walk, Commit)
{
    Run(
        rowCommit, [&] { return Alloc().Commit(); },
        [&](eAllocState eState, HRESULT)
        { EXPECT_EQ(Refs(), eState >= AS_Prop ? 2 : 1) << "one reference on itself while committed"; });
}

TEST_F(Walk, Decommit)
{
    Run(
        rowDecommit, [&] { return Alloc().Decommit(); },
        [&](eAllocState eState, HRESULT)
        {
            EXPECT_EQ(Refs(), eState >= AS_Partial ? 2 : 1);
            if (eState < AS_Partial)
            {
                EXPECT_EQ(GetHeldPages().nBlocks, 0);
            }
        });
}

TEST_F(Walk, GetFreeCount)
{
    LONG n = 0;
    Run(
        rowGetFreeCount,
        [&]
        {
            n = 77;
            return Alloc().GetFreeCount(&n);
        },
        [&](eAllocState eState, HRESULT) {
            EXPECT_EQ(n, eState == AS_Committed ? 2 : eState == AS_Partial ? 1 : 0);
        });
}

TEST_F(Walk, GetBuffer)
{
    CComPtr<IMediaSample> spSample;
    Run(
        rowGetBuffer,
        [&]
        {
            spSample.p = reinterpret_cast<IMediaSample*>(1);
            return Alloc().GetBuffer(&spSample.p, nullptr, nullptr, AM_GBF_NOWAIT);
        },
        [&](eAllocState, HRESULT hr)
        {
            EXPECT_EQ(spSample.p != nullptr, hr == S_OK);
            spSample.Release();
        });
}

TEST_F(Walk, ReleaseBuffer)
{
    CountedNotify notify;
    Run(
        rowReleaseBuffer,
        [&]
        {
            EXPECT_EQ(Alloc().SetNotify(&notify), S_OK);
            notify.m_nCalls = 0;
            return Alloc().ReleaseBuffer(reinterpret_cast<IMediaSample*>(1)); // which is not looked at
        },
        [&](eAllocState eState, HRESULT) { EXPECT_EQ(notify.m_nCalls, eState >= AS_Partial ? 1 : 0); });
    EXPECT_EQ(Alloc().SetNotify(nullptr), S_OK);
    EXPECT_EQ(notify.m_nRefs, 0);
}

TEST_F(Walk, SetNotify)
{
    CountedNotify notify;
    Run(
        rowSetNotify, [&] { return Alloc().SetNotify(&notify); },
        [&](eAllocState, HRESULT)
        {
            EXPECT_EQ(notify.m_nRefs, 1);
            EXPECT_EQ(Alloc().SetNotify(nullptr), S_OK);
            EXPECT_EQ(notify.m_nRefs, 0);
        });
}

TEST_F(Walk, SetMediaType)
{
    const CMType mt(MEDIATYPE_Video, MEDIASUBTYPE_RGB24);
    Run(
        rowSetMediaType, [&] { return Alloc().SetMediaType(&mt); },
        [&](eAllocState, HRESULT) { EXPECT_TRUE(MTEqual(&Alloc().m_mtNext, &mt)); });
}

/// The states from which a commit after a decommit goes on.
TEST_F(StateTableTest, CommitWhileDecommitting)
{
    CommitWith(rgProps);
    ASSERT_EQ(Get(m_samples[0]), S_OK);
    ASSERT_EQ(Alloc().Decommit(), S_OK);
    const HeldPages before = GetHeldPages();
    EXPECT_EQ(Alloc().Commit(), S_OK);
    EXPECT_EQ(State(), AS_Partial);
    EXPECT_EQ(GetHeldPages().nBlocks, before.nBlocks) << "no new memory";
    EXPECT_EQ(Refs(), 2);
    ASSERT_EQ(Get(m_samples[1]), S_OK);
    ASSERT_EQ(Alloc().Decommit(), S_OK);
    EXPECT_EQ(Alloc().Commit(), S_OK);
    EXPECT_EQ(State(), AS_Waiting) << "no slot is free";
    EXPECT_EQ(Refs(), 2);
    m_samples[0].Release();
    EXPECT_EQ(State(), AS_Partial);
    m_samples[1].Release();
    EXPECT_EQ(State(), AS_Committed);
    EXPECT_EQ(Alloc().Decommit(), S_OK);
    EXPECT_EQ(State(), AS_Prop);
    EXPECT_EQ(m_asserts.Texts(), Lines{});
}

/// The line of each operation, with its level.
TEST_F(StateTableTest, Lines)
{
    char szAddress[16];
    snprintf(szAddress, sizeof(szAddress), "[0x%08X]",
             TracePtr(static_cast<CGreedMemoryAllocator*>(m_spAlloc.p)));
    const std::string sAddress = szAddress;
    ALLOCATOR_PROPERTIES rgRequest = rgProps, rgActual = {};
    LONG n = 0;
    const CMType mt(MEDIATYPE_Video, MEDIASUBTYPE_RGB24);
    const struct
    {
        std::function<void()> call;
        ::Lines lines;
    } rows[] = {
        {[&] { Alloc().SetProperties(&rgRequest, &rgActual); },
         {"8 CGreedMemoryAllocator: IMemAllocator::SetProperties( 2, 100, 1, 0 ) State:1 " + sAddress +
          "\n"}},
        {[&] { Alloc().GetProperties(&rgActual); },
         {"8 CGreedMemoryAllocator: IMemAllocator::GetProperties\n"}},
        {[&] { Alloc().Commit(); }, {"8 CGreedMemoryAllocator: IMemAllocator::Commit " + sAddress + "\n"}},
        {[&] { Alloc().GetFreeCount(&n); },
         {"8 CGreedMemoryAllocator: IMemAllocatorCallbackTemp::GetFreeCount\n"}},
        {[&] { Alloc().SetNotify(nullptr); },
         {"8 CGreedMemoryAllocator: IMemAllocatorCallbackTemp::SetNotify( 0x00000000 )\n"}},
        {[&] { Get(m_samples[0]); },
         {"10 CGreedMemoryAllocator: IMemAllocator::GetBuffer\n", "10 CMediaSample::FinalConstruct\n"}},
        {[&] { Get(m_samples[1]); },
         {"10 CGreedMemoryAllocator: IMemAllocator::GetBuffer\n", "10 CMediaSample::FinalConstruct\n"}},
        {[&]
         {
             CComPtr<IMediaSample> spNone;
             Get(spNone);
         },
         {"10 CGreedMemoryAllocator: IMemAllocator::GetBuffer\n",
          "8 [Allocator] Allocator busy, waiting = NO\n"}},
        {[&] { Alloc().SetMediaType(&mt); },
         {"8 CGreedMemoryAllocator: IMemAllocatorEx::SetMediaType() " + sAddress + "\n",
          "8 MT:( MEDIATYPE_Video / MEDIASUBTYPE_RGB24 / GUID_NULL ), size=1, cbForm=0, fix:true, "
          "compr:false\n"}},
        {[&] { Alloc().ReleaseBuffer(m_samples[0]); },
         {"10 CGreedMemoryAllocator: IMemAllocator::ReleaseBuffer\n"}},
        {[&] { Alloc().Decommit(); },
         {"8 CGreedMemoryAllocator: IMemAllocator::Decommit " + sAddress + "\n"}},
        {[&] { m_samples[0].Release(); },
         {"10 CMediaSample::FinalRelease\n", "12 CMediaSample: IMediaSample::GetPointer(): pBuffer=",
          "10 CGreedMemoryAllocator: IMemAllocator::ReleaseBuffer\n"}},
    };
    int nRow = 0;
    for (const auto& row : rows)
    {
        TraceTap tap;
        row.call();
        ::Lines lines = tap.Texts();
        for (std::string& sLine : lines)
        {
            if (sLine.find("GetPointer") != std::string::npos)
                sLine.resize(sLine.find('=') + 1); // the address differs
        }
        EXPECT_EQ(lines, row.lines) << nRow;
        ++nRow;
    }
    m_samples[1].Release();
    TraceTap tap;
    m_spAlloc.Release();
    EXPECT_EQ(tap.Texts(), ::Lines{"2 CGreedMemoryAllocator::FinalRelease " + sAddress + "\n"});
}

// The line of the entry comes before a null pointer is reported. SetProperties has nothing to print without a
// request.
TEST_F(StateTableTest, EntryLinesComeBeforeArgumentChecks)
{
    const std::string sClass = "CGreedMemoryAllocator: ";
    const struct
    {
        std::function<HRESULT()> call;
        std::string sLine;
    } rows[] = {
        {[&] { return Alloc().GetProperties(nullptr); }, "8 " + sClass + "IMemAllocator::GetProperties\n"},
        {[&] { return Alloc().GetBuffer(nullptr, nullptr, nullptr, 0); },
         "10 " + sClass + "IMemAllocator::GetBuffer\n"},
        {[&] { return Alloc().ReleaseBuffer(nullptr); }, "10 " + sClass + "IMemAllocator::ReleaseBuffer\n"},
        {[&] { return Alloc().GetFreeCount(nullptr); },
         "8 " + sClass + "IMemAllocatorCallbackTemp::GetFreeCount\n"},
    };
    for (const auto& row : rows)
    {
        TraceTap tap;
        EXPECT_EQ(row.call(), E_POINTER);
        EXPECT_EQ(tap.Texts(), ::Lines{row.sLine});
    }
    EXPECT_EQ(m_asserts.Texts().size(), 4u);
}
} // namespace
