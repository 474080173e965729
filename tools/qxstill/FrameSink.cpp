#include "FrameSink.h"
#include "dstl/WinAPI/Wrappers.h"
#include "dstl/dshowx/DSEnums.h"
#include <atomic>
#include <mutex>
#include <utility>

namespace
{
const wchar_t g_pinName[] = L"In";

class FrameSink;

class SinkPin : public IPin, public IMemInputPin, public CComObjectRootEx<CComMultiThreadModel>
{
public:
    BEGIN_COM_MAP(SinkPin)
    COM_INTERFACE_ENTRY(IPin)
    COM_INTERFACE_ENTRY(IMemInputPin)
    COM_INTERFACE_ENTRY_FUNC_BLIND(&SinkPin::QueryStream)
    END_COM_MAP()

    SinkPin(FrameSink& filter, SampleReceiver*& receiver) : m_filter(filter), m_receiver(receiver) {}

    // An input pin is asked.
    STDMETHODIMP Connect(IPin*, const AM_MEDIA_TYPE*) override { return E_UNEXPECTED; }
    STDMETHODIMP ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type) override;
    STDMETHODIMP Disconnect() override;
    STDMETHODIMP ConnectedTo(IPin** peer) override;
    STDMETHODIMP ConnectionMediaType(AM_MEDIA_TYPE* type) override;
    STDMETHODIMP QueryPinInfo(PIN_INFO* info) override;
    STDMETHODIMP QueryDirection(PIN_DIRECTION* direction) override;
    STDMETHODIMP QueryId(LPWSTR* id) override;
    STDMETHODIMP QueryAccept(const AM_MEDIA_TYPE* type) override;
    STDMETHODIMP EnumMediaTypes(IEnumMediaTypes** types) override;
    STDMETHODIMP QueryInternalConnections(IPin**, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP EndOfStream() override;
    STDMETHODIMP BeginFlush() override;
    STDMETHODIMP EndFlush() override;
    STDMETHODIMP NewSegment(REFERENCE_TIME, REFERENCE_TIME, double) override { return S_OK; }

    STDMETHODIMP GetAllocator(IMemAllocator** allocator) override;
    STDMETHODIMP NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) override;
    STDMETHODIMP GetAllocatorRequirements(ALLOCATOR_PROPERTIES*) override { return E_NOTIMPL; }
    STDMETHODIMP Receive(IMediaSample* sample) override;
    STDMETHODIMP ReceiveMultiple(IMediaSample** samples, long count, long* processed) override;
    STDMETHODIMP ReceiveCanBlock() override { return S_FALSE; }

    // Waits until a Receive on another thread has come back.
    void Drain() { const std::lock_guard<std::mutex> receiving(m_receiving); }

protected:
    FrameSink& m_filter;

private:
    static HRESULT QueryStream(void* pin, REFIID riid, void** object);

    SampleReceiver*& m_receiver; // the filter's
    std::mutex m_lock;           // guards the members below
    std::mutex m_receiving;      // held while a sample is taken
    CComPtr<IPin> m_peer;
    CComPtr<IMemAllocator> m_allocator;
    CMType m_type;
    std::atomic<bool> m_flushing{false};
};

// The pin lives inside the filter and shares its life.
class SharedLifePin final : public SinkPin
{
public:
    using SinkPin::SinkPin;

    STDMETHODIMP QueryInterface(REFIID riid, void** object) noexcept override
    {
        return _InternalQueryInterface(riid, object);
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override;
    STDMETHODIMP_(ULONG) Release() noexcept override;
};

class FrameSink : public IBaseFilter, public IAMFilterMiscFlags, public CComObjectRootEx<CComMultiThreadModel>
{
public:
    BEGIN_COM_MAP(FrameSink)
    COM_INTERFACE_ENTRY(IBaseFilter)
    COM_INTERFACE_ENTRY(IPersist)
    COM_INTERFACE_ENTRY(IMediaFilter)
    COM_INTERFACE_ENTRY(IAMFilterMiscFlags)
    END_COM_MAP()

    STDMETHODIMP GetClassID(CLSID* clsid) override;
    STDMETHODIMP Stop() override;
    STDMETHODIMP Pause() override;
    STDMETHODIMP Run(REFERENCE_TIME) override;
    STDMETHODIMP GetState(DWORD, FILTER_STATE* state) override;
    STDMETHODIMP SetSyncSource(IReferenceClock* clock) override;
    STDMETHODIMP GetSyncSource(IReferenceClock** clock) override;
    STDMETHODIMP EnumPins(IEnumPins** pins) override;
    STDMETHODIMP FindPin(LPCWSTR id, IPin** pin) override;
    STDMETHODIMP QueryFilterInfo(FILTER_INFO* info) override;
    STDMETHODIMP JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) override;
    STDMETHODIMP QueryVendorInfo(LPWSTR*) override { return E_NOTIMPL; }

    // The graph counts on an event from each filter that says so.
    STDMETHODIMP_(ULONG) GetMiscFlags() override { return AM_FILTER_MISC_FLAGS_IS_RENDERER; }

    bool IsStopped() const { return m_state == State_Stopped; }
    // The stream has ended. A graph forgets at its start what came before, so a paused sink waits with its
    // word.
    void OnEndOfStream();
    // A flush takes back the end of the stream.
    void OnFlush();
    SinkPin& Pin() { return m_pin; }

    SampleReceiver* m_receiver = nullptr; // set before the filter is handed out

private:
    void NotifyComplete();

    std::atomic<FILTER_STATE> m_state{State_Stopped}; // written under m_lock
    std::mutex m_lock;                                // guards the members below
    bool m_completeDue = false;                       // the stream has ended before the graph ran
    CComPtr<IReferenceClock> m_clock;
    IFilterGraph* m_graph = nullptr; // not counted: the graph holds the filter
    wchar_t m_name[MAX_FILTER_NAME] = {};
    SharedLifePin m_pin{*this, m_receiver};
};

// The filter's one pin.
class SinkPinAccessor
{
public:
    using Element = IPin*;
    using Source = FrameSink;

    HRESULT Get(ULONG index, IPin** pin)
    {
        return index == 0 ? CComPtr<IPin>(&m_pSource->Pin()).CopyTo(pin) : S_FALSE;
    }
    void Free(IPin* pin) { CComPtr<IPin>().Attach(pin); }

    CComPtr<FrameSink> m_pSource;
};

// The pin names no media types: it waits for proposals.
class NoTypesAccessor
{
public:
    using Element = AM_MEDIA_TYPE*;
    using Source = SinkPin;

    HRESULT Get(ULONG, AM_MEDIA_TYPE**) { return S_FALSE; }
    void Free(AM_MEDIA_TYPE*) {}

    CComPtr<SinkPin> m_pSource;
};

// --- The pin

STDMETHODIMP_(ULONG) SharedLifePin::AddRef() noexcept
{
    return m_filter.AddRef();
}

STDMETHODIMP_(ULONG) SharedLifePin::Release() noexcept
{
    return m_filter.Release();
}

HRESULT SinkPin::QueryStream(void* pin, REFIID riid, void** object)
{
    IStream* const stream = static_cast<SinkPin*>(pin)->m_receiver->Stream();
    return stream != nullptr ? stream->QueryInterface(riid, object) : E_NOINTERFACE;
}

STDMETHODIMP SinkPin::ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type)
{
    if (peer == nullptr || type == nullptr)
        return E_POINTER;
    const std::lock_guard<std::mutex> lock(m_lock);
    if (m_peer)
        return VFW_E_ALREADY_CONNECTED;
    if (!m_receiver->Accepts(*type))
        return VFW_E_TYPE_NOT_ACCEPTED;
    const HRESULT hr = m_type.Set(type);
    if (FAILED(hr))
        return hr;
    m_receiver->OnConnected(*type);
    m_peer = peer;
    return S_OK;
}

STDMETHODIMP SinkPin::Disconnect()
{
    const std::lock_guard<std::mutex> lock(m_lock);
    if (!m_filter.IsStopped())
        return VFW_E_NOT_STOPPED;
    if (!m_peer)
        return S_FALSE;
    m_peer.Release();
    m_allocator.Release();
    m_type.Clear();
    return S_OK;
}

STDMETHODIMP SinkPin::ConnectedTo(IPin** peer)
{
    if (peer == nullptr)
        return E_POINTER;
    const std::lock_guard<std::mutex> lock(m_lock);
    m_peer.CopyTo(peer);
    return *peer ? S_OK : VFW_E_NOT_CONNECTED;
}

STDMETHODIMP SinkPin::ConnectionMediaType(AM_MEDIA_TYPE* type)
{
    if (type == nullptr)
        return E_POINTER;
    const std::lock_guard<std::mutex> lock(m_lock);
    if (!m_peer)
    {
        *type = {};
        return VFW_E_NOT_CONNECTED;
    }
    return MTCopy(type, &m_type);
}

STDMETHODIMP SinkPin::QueryPinInfo(PIN_INFO* info)
{
    if (info == nullptr)
        return E_POINTER;
    info->pFilter = &m_filter;
    info->pFilter->AddRef();
    info->dir = PINDIR_INPUT;
    lstrcpynW(info->achName, g_pinName, MAX_PIN_NAME);
    return S_OK;
}

STDMETHODIMP SinkPin::QueryDirection(PIN_DIRECTION* direction)
{
    if (direction == nullptr)
        return E_POINTER;
    *direction = PINDIR_INPUT;
    return S_OK;
}

STDMETHODIMP SinkPin::QueryId(LPWSTR* id)
{
    if (id == nullptr)
        return E_POINTER;
    *id = static_cast<LPWSTR>(CoTaskMemAlloc(sizeof(g_pinName)));
    if (*id == nullptr)
        return E_OUTOFMEMORY;
    lstrcpyW(*id, g_pinName);
    return S_OK;
}

STDMETHODIMP SinkPin::QueryAccept(const AM_MEDIA_TYPE* type)
{
    return type != nullptr && m_receiver->Accepts(*type) ? S_OK : S_FALSE;
}

STDMETHODIMP SinkPin::EnumMediaTypes(IEnumMediaTypes** types)
{
    return types != nullptr ? CComDSEnum<NoTypesAccessor, IEnumMediaTypes>::Create(types, this, 0)
                            : E_POINTER;
}

STDMETHODIMP SinkPin::EndOfStream()
{
    m_filter.OnEndOfStream();
    return S_OK;
}

STDMETHODIMP SinkPin::BeginFlush()
{
    m_flushing = true;
    m_filter.OnFlush();
    return S_OK;
}

STDMETHODIMP SinkPin::EndFlush()
{
    m_flushing = false;
    return S_OK;
}

// Before an agreement the platform's allocator is offered; afterwards this tells what was agreed.
STDMETHODIMP SinkPin::GetAllocator(IMemAllocator** allocator)
{
    if (allocator == nullptr)
        return E_POINTER;
    *allocator = nullptr;
    const std::lock_guard<std::mutex> lock(m_lock);
    if (!m_allocator)
    {
        const HRESULT hr = m_allocator.CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER);
        if (FAILED(hr))
            return hr;
    }
    return m_allocator.CopyTo(allocator);
}

STDMETHODIMP SinkPin::NotifyAllocator(IMemAllocator* allocator, BOOL)
{
    if (allocator == nullptr)
        return E_POINTER;
    const std::lock_guard<std::mutex> lock(m_lock);
    m_allocator = allocator;
    return S_OK;
}

STDMETHODIMP SinkPin::Receive(IMediaSample* sample)
{
    if (sample == nullptr)
        return E_POINTER;
    const std::lock_guard<std::mutex> receiving(m_receiving);
    if (m_filter.IsStopped())
        return VFW_E_WRONG_STATE;
    return m_flushing ? S_FALSE : m_receiver->OnFrame(sample);
}

STDMETHODIMP SinkPin::ReceiveMultiple(IMediaSample** samples, long count, long* processed)
{
    if (samples == nullptr || processed == nullptr)
        return E_POINTER;
    HRESULT hr = S_OK;
    for (*processed = 0; hr == S_OK && *processed < count;)
    {
        hr = Receive(samples[*processed]);
        if (hr == S_OK)
            ++*processed;
    }
    return hr;
}

// --- The filter

STDMETHODIMP FrameSink::GetClassID(CLSID* clsid)
{
    if (clsid == nullptr)
        return E_POINTER;
    *clsid = CLSID_NULL; // the filter cannot be made by anybody else
    return S_OK;
}

STDMETHODIMP FrameSink::Stop()
{
    {
        const std::lock_guard<std::mutex> lock(m_lock);
        m_state = State_Stopped;
        m_completeDue = false;
    }
    m_pin.Drain();
    return S_OK;
}

STDMETHODIMP FrameSink::Pause()
{
    const std::lock_guard<std::mutex> lock(m_lock);
    m_state = State_Paused;
    return S_OK;
}

STDMETHODIMP FrameSink::Run(REFERENCE_TIME)
{
    bool due = false;
    {
        const std::lock_guard<std::mutex> lock(m_lock);
        m_state = State_Running;
        due = std::exchange(m_completeDue, false);
    }
    if (due)
        NotifyComplete();
    return S_OK;
}

STDMETHODIMP FrameSink::GetState(DWORD, FILTER_STATE* state)
{
    if (state == nullptr)
        return E_POINTER;
    *state = m_state;
    return S_OK;
}

STDMETHODIMP FrameSink::SetSyncSource(IReferenceClock* clock)
{
    const std::lock_guard<std::mutex> lock(m_lock);
    m_clock = clock;
    return S_OK;
}

STDMETHODIMP FrameSink::GetSyncSource(IReferenceClock** clock)
{
    if (clock == nullptr)
        return E_POINTER;
    const std::lock_guard<std::mutex> lock(m_lock);
    return m_clock.CopyTo(clock);
}

STDMETHODIMP FrameSink::EnumPins(IEnumPins** pins)
{
    return pins != nullptr ? CComDSEnum<SinkPinAccessor, IEnumPins>::Create(pins, this, 0) : E_POINTER;
}

STDMETHODIMP FrameSink::FindPin(LPCWSTR id, IPin** pin)
{
    if (id == nullptr || pin == nullptr)
        return E_POINTER;
    *pin = nullptr;
    if (lstrcmpW(id, g_pinName) != 0)
        return VFW_E_NOT_FOUND;
    return CComPtr<IPin>(&m_pin).CopyTo(pin);
}

STDMETHODIMP FrameSink::QueryFilterInfo(FILTER_INFO* info)
{
    if (info == nullptr)
        return E_POINTER;
    const std::lock_guard<std::mutex> lock(m_lock);
    lstrcpynW(info->achName, m_name, MAX_FILTER_NAME);
    info->pGraph = m_graph;
    if (info->pGraph != nullptr)
        info->pGraph->AddRef();
    return S_OK;
}

STDMETHODIMP FrameSink::JoinFilterGraph(IFilterGraph* graph, LPCWSTR name)
{
    const std::lock_guard<std::mutex> lock(m_lock);
    m_graph = graph;
    lstrcpynW(m_name, name != nullptr ? name : L"", MAX_FILTER_NAME);
    return S_OK;
}

void FrameSink::OnEndOfStream()
{
    {
        const std::lock_guard<std::mutex> lock(m_lock);
        m_completeDue = m_state == State_Paused; // the end of a stream that was stopped concerns nobody
        if (m_state != State_Running)
            return;
    }
    NotifyComplete();
}

void FrameSink::OnFlush()
{
    const std::lock_guard<std::mutex> lock(m_lock);
    m_completeDue = false;
}

void FrameSink::NotifyComplete()
{
    CComPtr<IMediaEventSink> events;
    {
        const std::lock_guard<std::mutex> lock(m_lock);
        if (m_graph != nullptr)
            m_graph->QueryInterface(IID_IMediaEventSink, reinterpret_cast<void**>(&events));
    }
    if (events)
        events->Notify(EC_COMPLETE, S_OK, reinterpret_cast<LONG_PTR>(static_cast<IBaseFilter*>(this)));
}
} // namespace

HRESULT CreateFrameSink(SampleReceiver& receiver, CComPtr<IBaseFilter>& filter)
{
    CComPtr<CComObject<FrameSink>> sink;
    const HRESULT hr = DSTLCreateObject(&sink);
    if (FAILED(hr))
        return hr;
    sink->m_receiver = &receiver;
    filter = static_cast<IBaseFilter*>(sink.p);
    return S_OK;
}
