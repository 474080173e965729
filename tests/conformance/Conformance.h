#pragma once
/// The filter as a host gets it: made through its registration, between scriptable neighbours. No code of the
/// filter is linked; the values of media types come from the library that the fakes use too.

#include "dstl/WinAPI/Atl.h"

#include <strmif.h>
#include <vfwmsgs.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "QXStillSource.h"
#include "picture/TempFiles.h"
#include "support/CallLog.h"
#include "support/FakeAllocator.h"
#include "support/FakeFilter.h"
#include "support/FakeGraph.h"
#include "support/LogCapture.h"

using Lines = std::vector<std::string>;

/// The count of an object's references, from what AddRef and Release answer.
template <class T>
ULONG Refs(T* p)
{
    p->AddRef();
    return p->Release();
}

/// Drops the last reference of a pointer. \return what Release answers
template <class T>
ULONG ReleaseLast(CComPtr<T>& sp)
{
    return sp.Detach()->Release();
}

/// Another interface of an object; null when it has none.
template <class T>
CComPtr<T> Interface(IUnknown* p)
{
    CComPtr<T> sp;
    p->QueryInterface(__uuidof(T), reinterpret_cast<void**>(&sp));
    return sp;
}

/// A format block with a picture's header, as a host builds it: rows of nRowWidth pixels, of which the first
/// nWidth show the picture. No call into the product or its libraries.
/// \param nRowWidth 0 for a width without padding \param biHeight with its sign
CMType HostType(const GUID& guidSub, LONG nWidth, LONG biHeight, LONG nRowWidth = 0,
                const GUID& guidFormat = FORMAT_VideoInfo, REFERENCE_TIME rtFrame = 400000);
BITMAPINFOHEADER& HeaderOf(AM_MEDIA_TYPE& mt);
const BITMAPINFOHEADER& HeaderOf(const AM_MEDIA_TYPE& mt);

/// The subtype of a format code.
GUID SubtypeOf(DWORD fcc);

/// The fixture. Every test ends with a stop, a disconnection and a release under a time limit; all counts end
/// at zero and the module could be unloaded.
class Conformance : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    IBaseFilter& Filter() const { return *m_spFilter; }
    IPin& Pin() const { return *m_spPin; }
    IQXStillSource& Control() const { return *m_spControl; }
    IAMStreamConfig& Config() const { return *m_spConfig; }

    /// DllCanUnloadNow of the registered DLL.
    static HRESULT CanUnloadNow();

    HRESULT SetPicture(const std::string& sName) const;
    HRESULT SetFormat(const char* pszFormat, int nWidth, int nHeight) const;

    /// Adds the filter to the fake graph and connects the pin to the sink, which offers m_pOffered.
    HRESULT Connect(const AM_MEDIA_TYPE* pmt = nullptr);
    /// Disconnects both sides.
    void Disconnect();
    IMemAllocator* m_pOffered = &m_alloc; ///< null: the sink has none, and the filter's own is used
    /// The type of the connection; empty without one.
    CMType Connected() const;

    /// Streams until nFrames have been looked at within Receive, and stops.
    /// \param fnLook answers an empty text, or what is wrong with the sample
    /// \return what was wrong, also a failure of the stream
    Lines Deliver(int nFrames, const std::function<std::string(IMediaSample&)>& fnLook);

    /// The type that the pin offers; empty for none.
    CMType Offered() const;
    /// What GetFormat gives.
    CMType Format() const;

    /// The expressions of the assertions that the DLL has reported.
    Lines Asserts() const;

    FILTER_STATE State() const;

    CallLog m_log;
    FakeGraph m_graph{&m_log};
    FakeFilter m_sink{&m_log};
    FakeAllocator m_alloc{&m_log};
    LogCapture m_trace;
    TempFolder m_folder;
    CComPtr<IBaseFilter> m_spFilter;
    CComPtr<IPin> m_spPin;
    CComPtr<IQXStillSource> m_spControl;
    CComPtr<IAMStreamConfig> m_spConfig;
};
