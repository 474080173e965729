#include "support/FakeGraph.h"

#include <vfwmsgs.h>

std::vector<FakeGraph::Reconnection> FakeGraph::Reconnections() const
{
    const std::lock_guard lock(m_lock);
    return m_reconnections;
}

STDMETHODIMP FakeGraph::QueryInterface(REFIID riid, void** ppv)
{
    *ppv = nullptr;
    if (IsEqualGUID(riid, IID_IUnknown) || IsEqualGUID(riid, IID_IFilterGraph))
        *ppv = static_cast<IFilterGraph2*>(this);
    else if (IsEqualGUID(riid, IID_IFilterGraph2) || IsEqualGUID(riid, IID_IGraphBuilder))
    {
        if (!m_bGraph2)
            return E_NOINTERFACE;
        *ppv = static_cast<IFilterGraph2*>(this);
    }
    else if (IsEqualGUID(riid, IID_IMediaEventSink))
    {
        if (m_hrEventSink != S_OK)
            return m_hrEventSink;
        *ppv = static_cast<IMediaEventSink*>(this);
    }
    else
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

STDMETHODIMP FakeGraph::AddFilter(IBaseFilter* pFilter, LPCWSTR pName)
{
    return pFilter->JoinFilterGraph(Graph(), pName);
}

STDMETHODIMP FakeGraph::RemoveFilter(IBaseFilter* pFilter)
{
    return pFilter->JoinFilterGraph(nullptr, nullptr);
}

STDMETHODIMP FakeGraph::ConnectDirect(IPin* ppinOut, IPin* ppinIn, const AM_MEDIA_TYPE* pmt)
{
    return ppinOut->Connect(ppinIn, pmt);
}

STDMETHODIMP FakeGraph::Disconnect(IPin* ppin)
{
    return ppin->Disconnect();
}

STDMETHODIMP FakeGraph::Reconnect(IPin* ppin)
{
    return DoReconnect(ppin, nullptr, false);
}

STDMETHODIMP FakeGraph::ReconnectEx(IPin* ppin, const AM_MEDIA_TYPE* pmt)
{
    return DoReconnect(ppin, pmt, true);
}

HRESULT FakeGraph::DoReconnect(IPin* pPin, const AM_MEDIA_TYPE* pmt, bool bEx)
{
    {
        const std::lock_guard lock(m_lock);
        m_reconnections.push_back({pPin, bEx, pmt != nullptr, pmt != nullptr ? CMType(pmt) : CMType()});
    }
    if (m_pLog != nullptr)
        m_pLog->Add(bEx ? "graph.ReconnectEx" : "graph.Reconnect");
    if (m_onReconnect)
        m_onReconnect(pPin);
    if (!m_bReallyReconnect)
        return m_hrReconnect;

    IPin* pPeer = nullptr;
    HRESULT hr = pPin->ConnectedTo(&pPeer);
    if (hr != S_OK)
        return hr;
    pPin->Disconnect();
    pPeer->Disconnect();
    PIN_DIRECTION eDir = PINDIR_OUTPUT;
    pPin->QueryDirection(&eDir);
    hr = eDir == PINDIR_OUTPUT ? pPin->Connect(pPeer, pmt) : pPeer->Connect(pPin, pmt);
    pPeer->Release();
    return hr;
}
