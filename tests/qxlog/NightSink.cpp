#include "qxlog/NightSink.h"

namespace
{

class OnePinEnum final : public IEnumPins
{
public:
    explicit OnePinEnum(IPin* pPin, bool bDone) : m_pPin(pPin), m_bDone(bDone) {}

    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) override
    {
        *ppv = nullptr;
        if (!IsEqualGUID(riid, IID_IUnknown) && !IsEqualGUID(riid, IID_IEnumPins))
            return E_NOINTERFACE;
        *ppv = this;
        AddRef();
        return S_OK;
    }
    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++m_nRefs); }
    STDMETHOD_(ULONG, Release)() override
    {
        const ULONG nRefs = static_cast<ULONG>(--m_nRefs);
        if (nRefs == 0)
            delete this;
        return nRefs;
    }
    STDMETHOD(Next)(ULONG cPins, IPin** ppPins, ULONG* pcFetched) override
    {
        const ULONG cFetched = m_bDone || cPins == 0 ? 0 : 1;
        if (cFetched != 0)
        {
            m_pPin->AddRef();
            *ppPins = m_pPin;
            m_bDone = true;
        }
        if (pcFetched != nullptr)
            *pcFetched = cFetched;
        return cFetched == cPins ? S_OK : S_FALSE;
    }
    STDMETHOD(Skip)(ULONG cPins) override
    {
        const bool bAll = cPins == 0 || (cPins == 1 && !m_bDone);
        m_bDone = m_bDone || cPins != 0;
        return bAll ? S_OK : S_FALSE;
    }
    STDMETHOD(Reset)() override
    {
        m_bDone = false;
        return S_OK;
    }
    STDMETHOD(Clone)(IEnumPins** ppEnum) override
    {
        *ppEnum = new OnePinEnum(m_pPin, m_bDone);
        return S_OK;
    }

private:
    ~OnePinEnum() = default;

    IPin* const m_pPin; ///< of the test, which outlives this
    bool m_bDone;
    std::atomic<long> m_nRefs = 1;
};

} // namespace

STDMETHODIMP NightSink::EnumPins(IEnumPins** ppEnum)
{
    *ppEnum = new OnePinEnum(&m_pin, false);
    return S_OK;
}
