#pragma once
/// IQualityControl of an output pin.
///
/// What the concrete pin T supplies: a CPinBase with the name accessor. What the filter supplies:
/// `HRESULT Filter_Notify(IBaseFilter* pSelf, const Quality& q) noexcept`, see CSourceFilter.

#include "dstl/WinAPI/Atl.h"

#include <strmif.h>

#include "dstl/dshowx/dumps/TimeText.h"
#include "dstl/dshowx/DSTrace.h"

/// Quality messages go on to the filter, and nowhere else. \tparam T the pin
template <class T>
class IQualityControlImpl : public IQualityControl
{
public:
    /// \param pSelf the renderer or transform that sends the message, not counted
    STDMETHOD(Notify)(IBaseFilter* pSelf, Quality q) noexcept override
    {
        T* const pPin = static_cast<T*>(this);
        if (IsTraced(eTL_Frame))
        {
            trace(atlTraceGeneral, eTL_Frame, L"%s IQualityControl::Notify( 0x%X, %s, %i, %s, %s )\n",
                  pPin->GetClassName(), TracePtr(pSelf), q.Type == Famine ? L"Famine" : L"Flood",
                  q.Proportion, RefTimeText(q.Late, CTimeText().sz),
                  RefTimeText(q.TimeStamp, CTimeText().sz));
        }
        const auto pFilter = pPin->GetFilter();
        DSASSERT_TEXT(pFilter != nullptr, "pPin->m_pFilter != NULL");
        return pFilter != nullptr ? pFilter->Filter_Notify(pSelf, q) : S_OK;
    }
    /// Messages arrive at the pin; there is nobody to send them on to.
    STDMETHOD(SetSink)(IQualityControl*) noexcept override
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### %s IQualityControl::SetSink\n",
              static_cast<T*>(this)->GetClassName());
        DSASSERT_TEXT(false, "IQualityControl::SetSink() called on an output pin");
        return E_NOTIMPL;
    }
};
