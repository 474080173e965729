#pragma once
/// A client of an allocator that counts what it is told.

#include "dstl/WinAPI/Platform.h"

#include <strmif.h>

#include <atomic>
#include <functional>

/// A callback that counts its calls. The test owns it.
class CountedNotify final : public IMemAllocatorNotifyCallbackTemp
{
public:
    STDMETHOD(QueryInterface)(REFIID, void** ppv) override
    {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++m_nRefs); }
    STDMETHOD_(ULONG, Release)() override { return static_cast<ULONG>(--m_nRefs); }
    STDMETHOD(NotifyRelease)() override
    {
        ++m_nCalls;
        if (m_onRelease)
            m_onRelease();
        return S_OK;
    }
    std::function<void()> m_onRelease; ///< called within NotifyRelease
    std::atomic<long> m_nRefs = 0, m_nCalls = 0;
};
