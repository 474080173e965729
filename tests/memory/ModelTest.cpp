// Long random sequences of operations on the allocator beside a small description of it.
#include "memory/AllocatorUnderTest.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <random>

namespace
{
/// What can be done, each with a number that picks a variant, a sample and the like. Every operation makes
/// sense at every time, so that any part of a sequence is one.
enum eOp
{
    eOp_SetProperties,
    eOp_GetProperties,
    eOp_Commit,
    eOp_CommitWithoutMemory,
    eOp_Decommit,
    eOp_GetBuffer,
    eOp_GetBufferWithoutMemory,
    eOp_ReleaseSample,
    eOp_HoldSample,
    eOp_ReleaseBuffer,
    eOp_SetNotify,
    eOp_GetFreeCount,
    eOp_SetMediaType,
    eOp_Count
};
const char* const rgOpNames[eOp_Count] = {"SetProperties",
                                          "GetProperties",
                                          "Commit",
                                          "Commit without memory",
                                          "Decommit",
                                          "GetBuffer",
                                          "GetBuffer without memory",
                                          "Release sample",
                                          "AddRef sample",
                                          "ReleaseBuffer",
                                          "SetNotify",
                                          "GetFreeCount",
                                          "SetMediaType"};
/// Of 100 operations.
const int rgWeights[eOp_Count] = {4, 3, 6, 2, 5, 30, 4, 30, 4, 3, 2, 5, 2};

struct Op
{
    eOp eKind;
    unsigned n;
};
using Sequence = std::vector<Op>;

const ALLOCATOR_PROPERTIES rgRequests[] = {{1, 100, 1, 0},   {2, 4096, 16, 0}, {3, 5000, 1, 24},
                                           {4, 70000, 4, 4}, {6, 1, 4096, 0},  {0, 100, 1, 0},
                                           {2, 100, -8, 0},  {5, 33, 3, 0}};

LONG RoundUp(LONG cbBuffer, LONG cbPrefix, LONG cbAlign)
{
    return (cbBuffer + cbPrefix + cbAlign - 1) / cbAlign * cbAlign - cbPrefix;
}

/// What is to be seen after each step.
struct Seen
{
    HRESULT hr = S_OK;
    LONG nOut = 0; ///< what the operation answered beside its result
    DWORD eState = 0;
    LONG nFree = 0, nRefs = 0, nBlocks = 0, nFreeBlocks = 0;
    long nPages = 0;
    size_t cbPages = 0;
    long nNotified = 0;
    size_t nAsserts = 0;
    bool operator==(const Seen&) const = default;

    std::string Text() const
    {
        char sz[256];
        snprintf(sz, sizeof(sz),
                 "hr=0x%X out=%d state=%d free=%d refs=%d blocks=%d/%d pages=%ld (%u bytes) notified=%ld "
                 "asserts=%u",
                 static_cast<unsigned>(hr), static_cast<int>(nOut), static_cast<int>(eState),
                 static_cast<int>(nFree), static_cast<int>(nRefs), static_cast<int>(nFreeBlocks),
                 static_cast<int>(nBlocks), nPages, static_cast<unsigned>(cbPages), nNotified,
                 static_cast<unsigned>(nAsserts));
        return sz;
    }
};

/// The description.
class Model
{
public:
    Seen Do(const Op& op)
    {
        m_seen.nOut = 0;
        m_seen.hr = Act(op);
        m_seen.eState = m_eState;
        m_seen.nFree = static_cast<LONG>(m_free.size());
        m_seen.nRefs = m_bSelf ? 2 : 1;
        m_seen.nBlocks = m_nBlocks;
        m_seen.nFreeBlocks = m_nBlocks - static_cast<LONG>(m_samples.size());
        m_seen.nPages = static_cast<long>(std::count(m_free.begin(), m_free.end(), true) + m_samples.size());
        const size_t cbAsked = static_cast<size_t>(m_rgStore.cbBuffer + m_rgStore.cbPrefix);
        m_seen.cbPages = static_cast<size_t>(m_seen.nPages) * ((cbAsked + 4095) / 4096 * 4096);
        return m_seen;
    }
    size_t Samples() const { return m_samples.size(); }
    /// References on each sample that is out.
    std::vector<int> m_samples;
    LONG m_nLost = 0; ///< slots that never come home

private:
    bool AllHome() const { return m_samples.empty() && m_nLost == 0; }
    /// The table's word for states without memory; nothing where the operation goes on.
    static std::optional<HRESULT> Refuse(DWORD eState, HRESULT hrInit, std::optional<HRESULT> hrProp = {})
    {
        if (eState == AS_Init)
            return hrInit;
        return eState == AS_Prop ? hrProp : std::nullopt;
    }
    void Empty()
    {
        m_free.clear();
        m_rgStore = {};
        m_nBlocks = 0;
    }
    HRESULT Act(const Op& op)
    {
        switch (op.eKind)
        {
        case eOp_SetProperties:
            return SetProperties(rgRequests[op.n % std::size(rgRequests)]);
        case eOp_GetProperties:
            m_seen.nOut = m_eState == AS_Init ? 0 : m_rg.cbBuffer;
            return Refuse(m_eState, VFW_E_BUFFER_NOTSET).value_or(S_OK);
        case eOp_Commit:
            return Commit(99);
        case eOp_CommitWithoutMemory:
            return Commit(static_cast<LONG>(op.n % 2));
        case eOp_Decommit:
            return Decommit();
        case eOp_GetBuffer:
            return GetBuffer(true);
        case eOp_GetBufferWithoutMemory:
            return GetBuffer(false);
        case eOp_ReleaseSample:
            return ReleaseSample(op.n);
        case eOp_HoldSample:
            if (!m_samples.empty())
                m_seen.nOut = ++m_samples[op.n % m_samples.size()];
            return S_OK;
        case eOp_ReleaseBuffer:
            return BufferReturned();
        case eOp_SetNotify:
            m_bNotify = op.n % 2 != 0;
            return S_OK;
        case eOp_GetFreeCount:
            if (m_eState == AS_Committed || m_eState == AS_Partial || m_eState == AS_Waiting)
                m_seen.nOut = static_cast<LONG>(m_free.size());
            return m_eState == AS_Decommitting
                       ? VFW_E_NOT_COMMITTED
                       : Refuse(m_eState, VFW_E_BUFFER_NOTSET, VFW_E_NOT_COMMITTED).value_or(S_OK);
        case eOp_SetMediaType:
            m_bType = op.n % 3 != 0;
            return S_OK;
        case eOp_Count:
            break;
        }
        return E_UNEXPECTED;
    }
    HRESULT SetProperties(ALLOCATOR_PROPERTIES rg)
    {
        if (m_eState >= AS_Committed)
            return m_eState == AS_Decommitting ? VFW_E_BUFFERS_OUTSTANDING : VFW_E_ALREADY_COMMITTED;
        if (rg.cbAlign < 0 || rg.cBuffers == 0)
        {
            ++m_seen.nAsserts;
            return rg.cbAlign < 0 ? VFW_E_BADALIGN : VFW_E_SIZENOTSET;
        }
        rg.cbAlign = rg.cbAlign == 3 ? 4 : rg.cbAlign;
        rg.cbBuffer = RoundUp(rg.cbBuffer, rg.cbPrefix, rg.cbAlign);
        m_rg = rg;
        m_eState = AS_Prop;
        m_seen.nOut = rg.cbBuffer;
        return S_OK;
    }
    HRESULT Commit(LONG nMemory)
    {
        if (m_eState == AS_Init)
            return E_FAIL;
        if (m_eState == AS_Decommitting)
            m_eState = m_free.empty() ? AS_Waiting : AS_Partial;
        if (m_eState != AS_Prop)
            return S_OK;
        Empty();
        m_nBlocks = m_rg.cBuffers;
        const LONG nFilled = std::min<LONG>(m_rg.cBuffers, 2);
        if (nMemory < nFilled)
        {
            ++m_seen.nAsserts;
            return E_OUTOFMEMORY;
        }
        m_rgStore = m_rg;
        m_free.assign(static_cast<size_t>(m_rg.cBuffers), false);
        std::fill(m_free.end() - nFilled, m_free.end(), true);
        m_eState = AS_Committed;
        m_bSelf = true;
        return S_OK;
    }
    HRESULT Decommit()
    {
        if (m_eState == AS_Init || m_eState == AS_Prop)
            return m_eState == AS_Init ? E_FAIL : S_OK;
        m_seen.nAsserts += m_eState == AS_Committed && !AllHome();
        m_eState = AS_Decommitting;
        if (AllHome())
        {
            m_bSelf = false;
            m_eState = AS_Prop;
            Empty();
        }
        return S_OK;
    }
    HRESULT GetBuffer(bool bMemory)
    {
        if (m_eState == AS_Decommitting)
            return VFW_E_NOT_COMMITTED;
        if (const auto hr = Refuse(m_eState, VFW_E_BUFFER_NOTSET, VFW_E_NOT_COMMITTED))
            return *hr;
        if (m_eState == AS_Waiting)
            return VFW_E_TIMEOUT;
        if (!m_free.empty())
        {
            const bool bWarm = m_free.back();
            m_free.pop_back();
            if (bWarm || bMemory)
            {
                m_samples.push_back(1);
                m_eState = AS_Partial;
                m_seen.nOut = m_rg.cbBuffer + m_bType;
                m_bType = false;
                return S_OK;
            }
            ++m_nLost;
        }
        if (m_eState == AS_Committed)
            return E_FAIL;
        m_eState = AS_Waiting;
        return VFW_E_TIMEOUT;
    }
    HRESULT ReleaseSample(unsigned n)
    {
        if (m_samples.empty())
            return S_OK;
        const size_t i = n % m_samples.size();
        m_seen.nOut = --m_samples[i];
        if (m_samples[i] > 0)
            return S_OK;
        m_samples.erase(m_samples.begin() + static_cast<ptrdiff_t>(i));
        if (!m_free.empty())
            m_free.back() = false; // the new top gives the memory below it back
        m_free.push_back(true);
        BufferReturned();
        return S_OK;
    }
    HRESULT BufferReturned()
    {
        if (m_eState < AS_Committed)
            return E_ABORT;
        if (m_eState == AS_Committed)
        {
            m_seen.nAsserts += !AllHome();
            return S_OK;
        }
        if (m_eState != AS_Decommitting)
            m_eState = AllHome() ? AS_Committed : AS_Partial;
        else if (AllHome())
        {
            m_eState = AS_Prop;
            m_bSelf = false;
        }
        m_seen.nNotified += m_bNotify;
        return S_OK;
    }

    DWORD m_eState = AS_Init;
    ALLOCATOR_PROPERTIES m_rg = {}, m_rgStore = {};
    std::vector<bool> m_free; ///< from the bottom: whether the slot holds memory
    LONG m_nBlocks = 0;
    bool m_bSelf = false, m_bNotify = false, m_bType = false;
    Seen m_seen;
};

/// The allocator, driven and looked at in the same way.
class Driven
{
public:
    Driven() { EXPECT_EQ(DSTLCreateObject(&m_spAlloc.p), S_OK); }
    ~Driven()
    {
        m_samples.clear();
        m_spAlloc->SetNotify(nullptr);
        // Slots that are lost keep the allocator alive for ever: they are brought home.
        if (m_spAlloc->m_eState >= AS_Committed)
        {
            CGreedAllocatorBuffers<CGreedArrayOnVirtualAlloc>& buffers = m_spAlloc->m_buffers;
            while (!buffers.IsAllReturn())
                buffers.m_stackFree[buffers.m_nFree++] = {};
            m_spAlloc->Decommit();
        }
    }
    Seen Do(const Op& op)
    {
        m_nOut = 0;
        const HRESULT hr = Act(op);
        const HeldPages pages = GetHeldPages();
        return {hr,
                m_nOut,
                m_spAlloc->m_eState.load(),
                static_cast<LONG>(m_spAlloc->FreeCount()),
                m_spAlloc->m_dwRef,
                static_cast<LONG>(m_spAlloc->m_samples.m_nAll),
                static_cast<LONG>(m_spAlloc->m_samples.m_nBusy),
                pages.nBlocks,
                pages.cbCommitted,
                m_notify.m_nCalls,
                m_asserts.Reports().size()};
    }

private:
    HRESULT GetBuffer()
    {
        CComPtr<IMediaSample> spSample;
        const HRESULT hr = m_spAlloc->GetBuffer(&spSample, nullptr, nullptr, AM_GBF_NOWAIT);
        if (hr == S_OK)
        {
            AM_MEDIA_TYPE* pmt = nullptr;
            m_nOut = spSample->GetSize() + (spSample->GetMediaType(&pmt) == S_OK);
            MTDelete(pmt);
            m_samples.push_back(std::move(spSample));
        }
        return hr;
    }
    HRESULT Act(const Op& op)
    {
        ALLOCATOR_PROPERTIES rg = {}, rgActual = {};
        HRESULT hr = S_OK;
        switch (op.eKind)
        {
        case eOp_SetProperties:
            rg = rgRequests[op.n % std::size(rgRequests)];
            hr = m_spAlloc->SetProperties(&rg, &rgActual);
            m_nOut = rgActual.cbBuffer;
            return hr;
        case eOp_GetProperties:
            hr = m_spAlloc->GetProperties(&rg);
            m_nOut = rg.cbBuffer;
            return hr;
        case eOp_Commit:
            return m_spAlloc->Commit();
        case eOp_CommitWithoutMemory:
        {
            const FailingMemory failing(eMC_VirtualAlloc, op.n % 2);
            return m_spAlloc->Commit();
        }
        case eOp_Decommit:
            return m_spAlloc->Decommit();
        case eOp_GetBuffer:
            return GetBuffer();
        case eOp_GetBufferWithoutMemory:
        {
            const FailingMemory failing(eMC_VirtualAlloc, 0);
            return GetBuffer();
        }
        case eOp_ReleaseSample:
            if (!m_samples.empty())
            {
                const size_t i = op.n % m_samples.size();
                m_nOut = static_cast<LONG>(m_samples[i]->Release());
                if (m_nOut == 0)
                {
                    m_samples[i].Detach();
                    m_samples.erase(m_samples.begin() + static_cast<ptrdiff_t>(i));
                }
            }
            return S_OK;
        case eOp_HoldSample:
            if (!m_samples.empty())
                m_nOut = static_cast<LONG>(m_samples[op.n % m_samples.size()]->AddRef());
            return S_OK;
        case eOp_ReleaseBuffer:
            return m_spAlloc->ReleaseBuffer(reinterpret_cast<IMediaSample*>(1)); // which is not looked at
        case eOp_SetNotify:
            return m_spAlloc->SetNotify(op.n % 2 != 0 ? &m_notify : nullptr);
        case eOp_GetFreeCount:
            return m_spAlloc->GetFreeCount(&m_nOut);
        case eOp_SetMediaType:
            return m_spAlloc->SetMediaType(op.n % 3 != 0 ? &m_mt : nullptr);
        case eOp_Count:
            break;
        }
        return E_UNEXPECTED;
    }

    /// Samples may be held several times: all of their references go.
    struct Samples : std::vector<CComPtr<IMediaSample>>
    {
        void clear()
        {
            for (CComPtr<IMediaSample>& spSample : *this)
            {
                IMediaSample* const p = spSample.Detach();
                while (p->Release() != 0)
                {
                }
            }
            std::vector<CComPtr<IMediaSample>>::clear();
        }
    };

    AssertCapture m_asserts;
    CountedNotify m_notify;
    const CMType m_mt{MEDIATYPE_Video, MEDIASUBTYPE_RGB24};
    CComPtr<Greedy> m_spAlloc;
    Samples m_samples;
    LONG m_nOut = 0;
};

/// \return the step after which the two differ, and how; nothing when they agree to the end
std::optional<std::pair<size_t, std::string>> FindDifference(const Sequence& sequence)
{
    Model model;
    Driven driven;
    for (size_t i = 0; i < sequence.size(); ++i)
    {
        const Seen expected = model.Do(sequence[i]);
        const Seen seen = driven.Do(sequence[i]);
        if (!(seen == expected))
            return std::pair(i, "  expected " + expected.Text() + "\n  seen     " + seen.Text());
    }
    return std::nullopt;
}

/// Leaves out of a sequence that shows a difference whatever is not needed for one.
Sequence Shrink(Sequence sequence)
{
    sequence.resize(FindDifference(sequence)->first + 1);
    for (size_t n = sequence.size() / 2; n > 0; n /= 2)
    {
        for (size_t i = 0; i + n <= sequence.size();)
        {
            Sequence shorter = sequence;
            shorter.erase(shorter.begin() + static_cast<ptrdiff_t>(i),
                          shorter.begin() + static_cast<ptrdiff_t>(i + n));
            if (FindDifference(shorter))
                sequence = shorter;
            else
                i += n;
        }
    }
    return sequence;
}

std::string Text(const Sequence& sequence)
{
    std::string s;
    for (const Op& op : sequence)
        s += std::string("  ") + rgOpNames[op.eKind] + " (" + std::to_string(op.n) + ")\n";
    return s;
}

Sequence RandomSequence(unsigned nSeed, size_t nOps)
{
    std::mt19937 random(nSeed);
    std::discrete_distribution<int> kinds(std::begin(rgWeights), std::end(rgWeights));
    Sequence sequence(nOps);
    for (Op& op : sequence)
        op = {static_cast<eOp>(kinds(random)), static_cast<unsigned>(random() % 1000)};
    return sequence;
}

/// A million operations; QX_MODEL_OPERATIONS asks for another number.
TEST(AllocatorModel, RandomSequences)
{
    const char* const pszOps = std::getenv("QX_MODEL_OPERATIONS");
    const size_t nAll = pszOps != nullptr ? std::strtoull(pszOps, nullptr, 10) : 1000000;
    constexpr size_t nOps = 200; // of one allocator
    std::string sShortest;
    size_t nFailed = 0;
    for (unsigned nSeed = 0; nSeed * nOps < nAll && nFailed < 3; ++nSeed)
    {
        const Sequence sequence = RandomSequence(nSeed, nOps);
        if (!FindDifference(sequence))
            continue;
        ++nFailed;
        const Sequence shortest = Shrink(sequence);
        const std::string sText =
            "seed " + std::to_string(nSeed) + ", after\n" + Text(shortest) + FindDifference(shortest)->second;
        if (sShortest.empty() || sText.size() < sShortest.size())
            sShortest = sText;
    }
    EXPECT_EQ(nFailed, 0u) << sShortest;
    EXPECT_EQ(_Module.GetLockCount(), 0);
    EXPECT_EQ(GetHeldPages().nBlocks, 0);
}
} // namespace
