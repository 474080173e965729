#include "FrameSink.h"
#include "MediaType.h"
#include <atomic>
#include <mutex>
#include <new>
#include <utility>

namespace
{
const wchar_t g_pinName[] = L"In";

class FrameSink;

// An enumerator of no media types: the sink waits for proposals.
class NoMediaTypes final : public IEnumMediaTypes
{
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** object) override
    {
        if (!object)
            return E_POINTER;
        const bool known = IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IEnumMediaTypes);
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
    STDMETHODIMP Next(ULONG, AM_MEDIA_TYPE**, ULONG* fetched) override
    {
        if (fetched)
            *fetched = 0;
        return S_FALSE;
    }
    STDMETHODIMP Skip(ULONG) override { return S_FALSE; }
    STDMETHODIMP Reset() override { return S_OK; }
    STDMETHODIMP Clone(IEnumMediaTypes** clone) override
    {
        if (!clone)
            return E_POINTER;
        *clone = new (std::nothrow) NoMediaTypes;
        return *clone ? S_OK : E_OUTOFMEMORY;
    }

private:
    ~NoMediaTypes() = default;
    std::atomic<ULONG> m_references{1};
};

// The pin lives inside the filter and shares its life.
class SinkPin final : public IPin, public IMemInputPin
{
public:
    SinkPin(FrameSink& filter, SampleReceiver& receiver) : m_filter(filter), m_receiver(receiver) {}

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP Connect(IPin*, const AM_MEDIA_TYPE*) override
    {
        return E_UNEXPECTED;
    } // an input pin is asked
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

private:
    FrameSink& m_filter;
    SampleReceiver& m_receiver;
    std::mutex m_lock;      // guards the members below
    std::mutex m_receiving; // held while a sample is taken
    CComPtr<IPin> m_peer;
    CComPtr<IMemAllocator> m_allocator;
    MediaType m_type;
    std::atomic<bool> m_flushing{false};
};

class FrameSink final : public IBaseFilter, public IAMFilterMiscFlags
{
public:
    explicit FrameSink(SampleReceiver& receiver) : m_pin(*this, receiver) {}

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override;

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

private:
    ~FrameSink() = default;
    void NotifyComplete();

    std::atomic<ULONG> m_references{1};
    std::atomic<FILTER_STATE> m_state{State_Stopped}; // written under m_lock
    std::mutex m_lock;                                // guards the members below
    bool m_completeDue = false;                       // the stream has ended before the graph ran
    CComPtr<IReferenceClock> m_clock;
    IFilterGraph* m_graph = nullptr; // not counted: the graph holds the filter
    wchar_t m_name[MAX_FILTER_NAME] = {};
    SinkPin m_pin;
};

class OnePin final : public IEnumPins
{
public:
    OnePin(FrameSink& filter, bool atEnd) : m_filter(&filter), m_atEnd(atEnd) {}

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override
    {
        if (!object)
            return E_POINTER;
        const bool known = IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IEnumPins);
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
    STDMETHODIMP Next(ULONG count, IPin** pins, ULONG* fetched) override
    {
        if (!pins || (count > 1 && !fetched))
            return E_POINTER;
        const ULONG given = count > 0 && !m_atEnd ? 1 : 0;
        if (given == 1)
        {
            *pins = &m_filter->Pin();
            (*pins)->AddRef();
            m_atEnd = true;
        }
        if (fetched)
            *fetched = given;
        return given == count ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG count) override
    {
        const bool enough = count == 0 || (count == 1 && !m_atEnd);
        m_atEnd = m_atEnd || count > 0;
        return enough ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override
    {
        m_atEnd = false;
        return S_OK;
    }
    STDMETHODIMP Clone(IEnumPins** clone) override
    {
        if (!clone)
            return E_POINTER;
        *clone = new (std::nothrow) OnePin(*m_filter, m_atEnd);
        return *clone ? S_OK : E_OUTOFMEMORY;
    }

private:
    ~OnePin() = default;
    CComPtr<FrameSink> m_filter;
    bool m_atEnd;
    std::atomic<ULONG> m_references{1};
};

// --- The pin

STDMETHODIMP SinkPin::QueryInterface(REFIID riid, void** object)
{
    if (!object)
        return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IPin))
        *object = static_cast<IPin*>(this);
    else if (IsEqualIID(riid, IID_IMemInputPin))
        *object = static_cast<IMemInputPin*>(this);
    else if (IStream* const stream = m_receiver.Stream())
        return stream->QueryInterface(riid, object);
    else
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) SinkPin::AddRef()
{
    return m_filter.AddRef();
}

STDMETHODIMP_(ULONG) SinkPin::Release()
{
    return m_filter.Release();
}

STDMETHODIMP SinkPin::ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type)
{
    if (!peer || !type)
        return E_POINTER;
    const std::lock_guard<std::mutex> lock(m_lock);
    if (m_peer)
        return VFW_E_ALREADY_CONNECTED;
    if (!m_receiver.Accepts(*type))
        return VFW_E_TYPE_NOT_ACCEPTED;
    const HRESULT hr = m_type.Assign(*type);
    if (FAILED(hr))
        return hr;
    m_receiver.OnConnected(*type);
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
    if (!peer)
        return E_POINTER;
    const std::lock_guard<std::mutex> lock(m_lock);
    *peer = m_peer;
    if (!*peer)
        return VFW_E_NOT_CONNECTED;
    (*peer)->AddRef();
    return S_OK;
}

STDMETHODIMP SinkPin::ConnectionMediaType(AM_MEDIA_TYPE* type)
{
    if (!type)
        return E_POINTER;
    const std::lock_guard<std::mutex> lock(m_lock);
    if (!m_peer)
    {
        *type = {};
        return VFW_E_NOT_CONNECTED;
    }
    return MediaType::Copy(m_type.Get(), *type);
}

STDMETHODIMP SinkPin::QueryPinInfo(PIN_INFO* info)
{
    if (!info)
        return E_POINTER;
    info->pFilter = &m_filter;
    info->pFilter->AddRef();
    info->dir = PINDIR_INPUT;
    lstrcpynW(info->achName, g_pinName, MAX_PIN_NAME);
    return S_OK;
}

STDMETHODIMP SinkPin::QueryDirection(PIN_DIRECTION* direction)
{
    if (!direction)
        return E_POINTER;
    *direction = PINDIR_INPUT;
    return S_OK;
}

STDMETHODIMP SinkPin::QueryId(LPWSTR* id)
{
    if (!id)
        return E_POINTER;
    *id = static_cast<LPWSTR>(CoTaskMemAlloc(sizeof(g_pinName)));
    if (!*id)
        return E_OUTOFMEMORY;
    lstrcpyW(*id, g_pinName);
    return S_OK;
}

STDMETHODIMP SinkPin::QueryAccept(const AM_MEDIA_TYPE* type)
{
    return type && m_receiver.Accepts(*type) ? S_OK : S_FALSE;
}

STDMETHODIMP SinkPin::EnumMediaTypes(IEnumMediaTypes** types)
{
    if (!types)
        return E_POINTER;
    *types = new (std::nothrow) NoMediaTypes;
    return *types ? S_OK : E_OUTOFMEMORY;
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
    if (!allocator)
        return E_POINTER;
    *allocator = nullptr;
    const std::lock_guard<std::mutex> lock(m_lock);
    if (!m_allocator)
    {
        const HRESULT hr = m_allocator.CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER);
        if (FAILED(hr))
            return hr;
    }
    *allocator = m_allocator;
    (*allocator)->AddRef();
    return S_OK;
}

STDMETHODIMP SinkPin::NotifyAllocator(IMemAllocator* allocator, BOOL)
{
    if (!allocator)
        return E_POINTER;
    const std::lock_guard<std::mutex> lock(m_lock);
    m_allocator = allocator;
    return S_OK;
}

STDMETHODIMP SinkPin::Receive(IMediaSample* sample)
{
    if (!sample)
        return E_POINTER;
    const std::lock_guard<std::mutex> receiving(m_receiving);
    if (m_filter.IsStopped())
        return VFW_E_WRONG_STATE;
    return m_flushing ? S_FALSE : m_receiver.OnFrame(sample);
}

STDMETHODIMP SinkPin::ReceiveMultiple(IMediaSample** samples, long count, long* processed)
{
    if (!samples || !processed)
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

STDMETHODIMP FrameSink::QueryInterface(REFIID riid, void** object)
{
    if (!object)
        return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IPersist) ||
        IsEqualIID(riid, IID_IMediaFilter) || IsEqualIID(riid, IID_IBaseFilter))
        *object = static_cast<IBaseFilter*>(this);
    else if (IsEqualIID(riid, IID_IAMFilterMiscFlags))
        *object = static_cast<IAMFilterMiscFlags*>(this);
    else
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) FrameSink::Release()
{
    const ULONG left = --m_references;
    if (left == 0)
        delete this;
    return left;
}

STDMETHODIMP FrameSink::GetClassID(CLSID* clsid)
{
    if (!clsid)
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
    if (!state)
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
    if (!clock)
        return E_POINTER;
    const std::lock_guard<std::mutex> lock(m_lock);
    *clock = m_clock;
    if (*clock)
        (*clock)->AddRef();
    return S_OK;
}

STDMETHODIMP FrameSink::EnumPins(IEnumPins** pins)
{
    if (!pins)
        return E_POINTER;
    *pins = new (std::nothrow) OnePin(*this, false);
    return *pins ? S_OK : E_OUTOFMEMORY;
}

STDMETHODIMP FrameSink::FindPin(LPCWSTR id, IPin** pin)
{
    if (!id || !pin)
        return E_POINTER;
    *pin = nullptr;
    if (lstrcmpW(id, g_pinName) != 0)
        return VFW_E_NOT_FOUND;
    *pin = &m_pin;
    (*pin)->AddRef();
    return S_OK;
}

STDMETHODIMP FrameSink::QueryFilterInfo(FILTER_INFO* info)
{
    if (!info)
        return E_POINTER;
    const std::lock_guard<std::mutex> lock(m_lock);
    lstrcpynW(info->achName, m_name, MAX_FILTER_NAME);
    info->pGraph = m_graph;
    if (info->pGraph)
        info->pGraph->AddRef();
    return S_OK;
}

STDMETHODIMP FrameSink::JoinFilterGraph(IFilterGraph* graph, LPCWSTR name)
{
    const std::lock_guard<std::mutex> lock(m_lock);
    m_graph = graph;
    lstrcpynW(m_name, name ? name : L"", MAX_FILTER_NAME);
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
        if (m_graph)
            m_graph->QueryInterface(IID_IMediaEventSink, reinterpret_cast<void**>(&events));
    }
    if (events)
        events->Notify(EC_COMPLETE, S_OK, reinterpret_cast<LONG_PTR>(static_cast<IBaseFilter*>(this)));
}
} // namespace

HRESULT CreateFrameSink(SampleReceiver& receiver, CComPtr<IBaseFilter>& filter)
{
    filter.Attach(new (std::nothrow) FrameSink(receiver));
    return filter ? S_OK : E_OUTOFMEMORY;
}
