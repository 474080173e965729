#include "PlatformSink.h"
#include <qedit.h>
#include <atomic>
#include <new>

namespace
{
// No header of the compiler declares these two.
const CLSID g_sampleGrabber = {0xC1F400A0, 0x3F08, 0x11D3, {0x9F, 0x0B, 0x00, 0x60, 0x08, 0x03, 0x9E, 0x37}};
const CLSID g_nullRenderer = {0xC1F400A4, 0x3F08, 0x11D3, {0x9F, 0x0B, 0x00, 0x60, 0x08, 0x03, 0x9E, 0x37}};

constexpr LONG g_callSampleCB = 0; // which of its two operations the grabber is to call

class GrabberCallback final : public ISampleGrabberCB
{
public:
    explicit GrabberCallback(FrameReceiver& receiver) : m_receiver(receiver) {}

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override
    {
        if (!object)
            return E_POINTER;
        const bool known = IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, __uuidof(ISampleGrabberCB));
        *object = known ? this : nullptr;
        if (known)
            AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }
    STDMETHODIMP SampleCB(double, IMediaSample* sample) override { return m_receiver.OnFrame(sample); }
    STDMETHODIMP BufferCB(double, BYTE*, long) override { return E_NOTIMPL; }

private:
    ~GrabberCallback() = default;
    FrameReceiver& m_receiver;
    std::atomic<ULONG> m_references{1};
};
} // namespace

HRESULT CreatePlatformSink(FrameReceiver& receiver, PlatformSink& sink)
{
    HRESULT hr = sink.grabber.CoCreateInstance(g_sampleGrabber, nullptr, CLSCTX_INPROC_SERVER);
    if (FAILED(hr))
        return hr;
    hr = sink.renderer.CoCreateInstance(g_nullRenderer, nullptr, CLSCTX_INPROC_SERVER);
    if (FAILED(hr))
        return hr;
    CComPtr<ISampleGrabber> grabber;
    hr = sink.grabber->QueryInterface(__uuidof(ISampleGrabber), reinterpret_cast<void**>(&grabber));
    if (FAILED(hr))
        return hr;

    GrabberCallback* callback = new (std::nothrow) GrabberCallback(receiver);
    if (!callback)
        return E_OUTOFMEMORY;
    sink.callback.Attach(callback);
    return grabber->SetCallback(callback, g_callSampleCB);
}
