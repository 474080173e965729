#pragma once
/// A graph whose filters, pins and enumerators answer what a test says, failures included. The test owns the
/// objects; reference counts are only kept.

#include "dstl/dshowx/DSTypes.h"

#include <strmif.h>

#include <deque>
#include <optional>
#include <string>
#include <vector>

/// Kept counts and the interfaces that an object answers to. \tparam I its main interface
template <class I>
class Scripted : public I
{
public:
    long m_nRefs = 0;

    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++m_nRefs); }
    STDMETHOD_(ULONG, Release)() override { return static_cast<ULONG>(--m_nRefs); }
    STDMETHOD(QueryInterface)(REFIID, void** ppv) override
    {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
};

/// One answer of an enumerator's Next.
template <class T>
struct Answer
{
    HRESULT hr = S_OK;
    T* p = nullptr;
    ULONG cFetched = 1;
};

/// Gives its answers in order, then S_FALSE; or the last one for ever.
template <class IEnum, class T>
class ScriptEnum : public Scripted<IEnum>
{
public:
    std::vector<Answer<T>> m_answers;
    bool m_bEndless = false;
    size_t m_nNext = 0;
    int m_nAsked = 0;

    STDMETHOD(Next)(ULONG c, T** pp, ULONG* pcFetched) override
    {
        m_nAsked++;
        *pp = nullptr;
        *pcFetched = 0;
        if (c != 1 || m_answers.empty() || (m_nNext >= m_answers.size() && !m_bEndless))
            return S_FALSE;
        const Answer<T>& answer = m_answers[m_nNext < m_answers.size() ? m_nNext++ : m_answers.size() - 1];
        *pp = answer.p;
        if (*pp != nullptr)
            (*pp)->AddRef();
        *pcFetched = answer.cFetched;
        return answer.hr;
    }
    STDMETHOD(Skip)(ULONG) override { return E_NOTIMPL; }
    STDMETHOD(Reset)() override
    {
        m_nNext = 0;
        return S_OK;
    }
    STDMETHOD(Clone)(IEnum**) override { return E_NOTIMPL; }
};

using ScriptEnumFilters = ScriptEnum<IEnumFilters, IBaseFilter>;
using ScriptEnumPins = ScriptEnum<IEnumPins, IPin>;

/// Copies a name of at most 127 characters.
inline void CopyName(wchar_t* psz, const std::wstring& s)
{
    const size_t n = s.copy(psz, 127);
    psz[n] = 0;
}

/// What is asked of a graph: its filters.
class ScriptGraph : public Scripted<IFilterGraph>
{
public:
    ScriptEnumFilters m_enum;
    HRESULT m_hrEnum = S_OK;
    bool m_bNullEnum = false;

    STDMETHOD(EnumFilters)(IEnumFilters** pp) override
    {
        *pp = FAILED(m_hrEnum) || m_bNullEnum ? nullptr : &m_enum;
        if (*pp != nullptr)
            m_enum.AddRef();
        return m_hrEnum;
    }
    STDMETHOD(AddFilter)(IBaseFilter*, LPCWSTR) override { return E_NOTIMPL; }
    STDMETHOD(RemoveFilter)(IBaseFilter*) override { return E_NOTIMPL; }
    STDMETHOD(FindFilterByName)(LPCWSTR, IBaseFilter**) override { return E_NOTIMPL; }
    STDMETHOD(ConnectDirect)(IPin*, IPin*, const AM_MEDIA_TYPE*) override { return E_NOTIMPL; }
    STDMETHOD(Reconnect)(IPin*) override { return E_NOTIMPL; }
    STDMETHOD(Disconnect)(IPin*) override { return E_NOTIMPL; }
    STDMETHOD(SetDefaultSyncSource)() override { return E_NOTIMPL; }
};

/// A file interface. \tparam I IFileSourceFilter, IFileSinkFilter
template <class I>
class ScriptFile : public Scripted<I>
{
public:
    HRESULT m_hr = S_OK;
    std::optional<std::wstring> m_sName; ///< none: a null pointer

    STDMETHOD(GetCurFile)(LPOLESTR* ppsz, AM_MEDIA_TYPE* pmt) override
    {
        *ppsz = nullptr;
        if (FAILED(m_hr))
            return m_hr;
        if (pmt != nullptr)
            MTInit(pmt);
        if (m_sName)
        {
            const size_t cb = (m_sName->size() + 1) * sizeof(wchar_t);
            *ppsz = static_cast<LPOLESTR>(CoTaskMemAlloc(cb));
            memcpy(*ppsz, m_sName->c_str(), cb);
        }
        return m_hr;
    }
};

class ScriptSource : public ScriptFile<IFileSourceFilter>
{
public:
    STDMETHOD(Load)(LPCOLESTR, const AM_MEDIA_TYPE*) override { return E_NOTIMPL; }
};

class ScriptSink : public ScriptFile<IFileSinkFilter>
{
public:
    STDMETHOD(SetFileName)(LPCOLESTR, const AM_MEDIA_TYPE*) override { return E_NOTIMPL; }
};

class ScriptFilter : public Scripted<IBaseFilter>
{
public:
    explicit ScriptFilter(std::wstring sName = L"") : m_sName(std::move(sName)) {}

    std::wstring m_sName;
    CLSID m_clsid = {};
    IFilterGraph* m_pGraph = nullptr;
    HRESULT m_hrInfo = S_OK, m_hrClassId = S_OK, m_hrEnum = S_OK;
    bool m_bEndlessName = false; ///< a name without a terminator
    bool m_bNullEnum = false;
    ScriptEnumPins m_enum;
    ScriptSource m_source;
    ScriptSink m_sink;
    bool m_bSource = false, m_bSink = false;

    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) override
    {
        *ppv = nullptr;
        if (m_bSource && IsEqualGUID(riid, IID_IFileSourceFilter))
        {
            m_source.AddRef();
            *ppv = static_cast<IFileSourceFilter*>(&m_source);
        }
        else if (m_bSink && IsEqualGUID(riid, IID_IFileSinkFilter))
        {
            m_sink.AddRef();
            *ppv = static_cast<IFileSinkFilter*>(&m_sink);
        }
        return *ppv != nullptr ? S_OK : E_NOINTERFACE;
    }
    STDMETHOD(GetClassID)(CLSID* pClassID) override
    {
        if (SUCCEEDED(m_hrClassId))
            *pClassID = m_clsid;
        return m_hrClassId;
    }
    STDMETHOD(QueryFilterInfo)(FILTER_INFO* pInfo) override
    {
        if (FAILED(m_hrInfo))
            return m_hrInfo;
        CopyName(pInfo->achName, m_sName);
        if (m_bEndlessName)
            std::fill(std::begin(pInfo->achName), std::end(pInfo->achName), L'x');
        pInfo->pGraph = m_pGraph;
        if (m_pGraph != nullptr)
            m_pGraph->AddRef();
        return m_hrInfo;
    }
    STDMETHOD(EnumPins)(IEnumPins** pp) override
    {
        *pp = FAILED(m_hrEnum) || m_bNullEnum ? nullptr : &m_enum;
        if (*pp != nullptr)
            m_enum.AddRef();
        return m_hrEnum;
    }
    STDMETHOD(Stop)() override { return E_NOTIMPL; }
    STDMETHOD(Pause)() override { return E_NOTIMPL; }
    STDMETHOD(Run)(REFERENCE_TIME) override { return E_NOTIMPL; }
    STDMETHOD(GetState)(DWORD, FILTER_STATE*) override { return E_NOTIMPL; }
    STDMETHOD(SetSyncSource)(IReferenceClock*) override { return E_NOTIMPL; }
    STDMETHOD(GetSyncSource)(IReferenceClock**) override { return E_NOTIMPL; }
    STDMETHOD(FindPin)(LPCWSTR, IPin**) override { return E_NOTIMPL; }
    STDMETHOD(JoinFilterGraph)(IFilterGraph*, LPCWSTR) override { return E_NOTIMPL; }
    STDMETHOD(QueryVendorInfo)(LPWSTR*) override { return E_NOTIMPL; }
};

class ScriptPin : public Scripted<IPin>
{
public:
    explicit ScriptPin(std::wstring sName = L"", int eDir = PINDIR_OUTPUT)
        : m_sName(std::move(sName)), m_eDir(eDir)
    {
    }

    std::wstring m_sName;
    int m_eDir; ///< any number, as a broken pin may answer
    IBaseFilter* m_pFilter = nullptr;
    IPin* m_pPeer = nullptr;
    CMType m_mt;
    HRESULT m_hrInfo = S_OK, m_hrConnectedTo = S_OK, m_hrType = S_OK;
    bool m_bEndlessName = false; ///< a name without a terminator
    int m_nConnectedTo = 0;

    STDMETHOD(QueryPinInfo)(PIN_INFO* pInfo) override
    {
        if (FAILED(m_hrInfo))
            return m_hrInfo;
        CopyName(pInfo->achName, m_sName);
        if (m_bEndlessName)
            std::fill(std::begin(pInfo->achName), std::end(pInfo->achName), L'y');
        memcpy(&pInfo->dir, &m_eDir, sizeof(m_eDir));
        pInfo->pFilter = m_pFilter;
        if (m_pFilter != nullptr)
            m_pFilter->AddRef();
        return m_hrInfo;
    }
    STDMETHOD(ConnectedTo)(IPin** pp) override
    {
        m_nConnectedTo++;
        *pp = FAILED(m_hrConnectedTo) ? nullptr : m_pPeer;
        if (*pp != nullptr)
            m_pPeer->AddRef();
        return m_pPeer == nullptr && m_hrConnectedTo == S_OK ? VFW_E_NOT_CONNECTED : m_hrConnectedTo;
    }
    STDMETHOD(ConnectionMediaType)(AM_MEDIA_TYPE* pmt) override
    {
        return FAILED(m_hrType) ? m_hrType : MTCopy(pmt, &m_mt);
    }
    STDMETHOD(Connect)(IPin*, const AM_MEDIA_TYPE*) override { return E_NOTIMPL; }
    STDMETHOD(ReceiveConnection)(IPin*, const AM_MEDIA_TYPE*) override { return E_NOTIMPL; }
    STDMETHOD(Disconnect)() override { return E_NOTIMPL; }
    STDMETHOD(QueryDirection)(PIN_DIRECTION*) override { return E_NOTIMPL; }
    STDMETHOD(QueryId)(LPWSTR*) override { return E_NOTIMPL; }
    STDMETHOD(QueryAccept)(const AM_MEDIA_TYPE*) override { return E_NOTIMPL; }
    STDMETHOD(EnumMediaTypes)(IEnumMediaTypes**) override { return E_NOTIMPL; }
    STDMETHOD(QueryInternalConnections)(IPin**, ULONG*) override { return E_NOTIMPL; }
    STDMETHOD(EndOfStream)() override { return E_NOTIMPL; }
    STDMETHOD(BeginFlush)() override { return E_NOTIMPL; }
    STDMETHOD(EndFlush)() override { return E_NOTIMPL; }
    STDMETHOD(NewSegment)(REFERENCE_TIME, REFERENCE_TIME, double) override { return E_NOTIMPL; }
};
