#pragma once
/// The DLL's filter, made through its class factory, and a downstream pin that keeps nothing of what it
/// receives.

#include "dstl/WinAPI/Atl.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "QXStillSource.h"
#include "dstl/WinAPI/Wrappers.h"
#include "dstl/dshowx/DSTypes.h"
#include "module/LoadedModule.h"
#include "support/CallLog.h"
#include "support/FakePin.h"

/// COM in the multithreaded apartment for the length of a scope.
class HardCom
{
public:
    HardCom() { CoInitializeEx(nullptr, COINIT_MULTITHREADED); }
    ~HardCom() { CoUninitialize(); }
    HardCom(const HardCom&) = delete;
    HardCom& operator=(const HardCom&) = delete;
};

/// A downstream pin that calls the test back and remembers no sample. Its lock is the platform's, as those of
/// the standard library here keep a handle each time that two threads have met at them.
class HardPin : public FakeInputPin
{
public:
    explicit HardPin(CallLog* pLog = nullptr) : FakeInputPin(pLog) {}

    std::function<HRESULT(IMediaSample*)> m_fnReceive; ///< without it Receive answers S_OK
    std::function<void()> m_fnNewSegment, m_fnEndOfStream, m_fnBeginFlush;

    STDMETHOD(ReceiveConnection)(IPin* pConnector, const AM_MEDIA_TYPE* pmt) override;
    STDMETHOD(Disconnect)() override;
    STDMETHOD(ConnectedTo)(IPin** ppPin) override;
    STDMETHOD(ConnectionMediaType)(AM_MEDIA_TYPE* pmt) override;
    STDMETHOD(Receive)(IMediaSample* pSample) override { return m_fnReceive ? m_fnReceive(pSample) : S_OK; }
    STDMETHOD(NewSegment)(REFERENCE_TIME, REFERENCE_TIME, double) override { return Call(m_fnNewSegment); }
    STDMETHOD(EndOfStream)() override { return Call(m_fnEndOfStream); }
    STDMETHOD(BeginFlush)() override { return Call(m_fnBeginFlush); }
    STDMETHOD(EndFlush)() override { return S_OK; }

private:
    static HRESULT Call(const std::function<void()>& fn)
    {
        if (fn)
            fn();
        return S_OK;
    }

    CCritSec m_crsConnection;
    CComPtr<IPin> m_spConnector;
    CMType m_mtOfConnection;
};

/// A filter with the interfaces that a host asks for. Copies hold references of their own.
struct HardSource
{
    /// A new filter of the DLL; empty on failure.
    explicit HardSource(const LoadedModule& module);
    HardSource() = default;

    /// Gives all references back, the filter's before the pin's.
    void Release();

    HRESULT SetPicture(const std::wstring& sName) const
    {
        return spControl->SetPicture(CComBSTR(sName.c_str()));
    }
    /// Frames of a format; only with the filter stopped.
    HRESULT SetFormat(const wchar_t* pszFourcc, int nWidth, int nHeight) const
    {
        return spControl->SetOutputFormat(CComBSTR(pszFourcc), nWidth, nHeight);
    }

    CComPtr<IBaseFilter> spFilter;
    CComPtr<IQXStillSource> spControl;
    CComPtr<IPin> spPin;
};

/// Waits until no object of the module lives. \return false when the time is over
bool WaitUntilUnloadable(const LoadedModule& module);

/// A DIB section, bottom-up, every byte the same.
class HardBitmap
{
public:
    HardBitmap(LONG nWidth, LONG nHeight, WORD nBits, BYTE byValue);
    ~HardBitmap();
    HardBitmap(const HardBitmap&) = delete;
    HardBitmap& operator=(const HardBitmap&) = delete;

    /// As the interface takes it.
    int Handle() const { return static_cast<int>(reinterpret_cast<INT_PTR>(m_hBitmap)); }

private:
    HBITMAP m_hBitmap = nullptr;
};

/// Calls every query that a peer may make of pin and filter, and counts those that answer otherwise than they
/// have to.
int CallEveryQuery(const HardSource& source, IPin* pPeer);

/// A number from the environment, or the default.
long long NumberFromEnvironment(const char* pszName, long long nDefault);
