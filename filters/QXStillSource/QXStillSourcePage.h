#pragma once
/// The property page that the output pin names.

#include "dstl/WinAPI/Atl.h"

#include <atlctl.h>
#include <atlwin.h>

#include "QXStillSource.h"
#include "resource.h"

/// An empty frame: one line of text, and nothing that reads or changes the filter. It stands so that a host
/// which shows property pages finds one. It belongs to the thread of its apartment.
class ATL_NO_VTABLE CQXStillSourcePage : public CComObjectRootEx<CComSingleThreadModel>,
                                         public CComCoClass<CQXStillSourcePage, &CLSID_QXStillSourcePage>,
                                         public IPropertyPageImpl<CQXStillSourcePage>,
                                         public CDialogImpl<CQXStillSourcePage>
{
public:
    enum
    {
        IDD = IDD_QXSTILLSOURCEPAGE
    };

    DECLARE_REGISTRY_RESOURCEID(IDR_QXSTILLSOURCEPAGE)

    BEGIN_COM_MAP(CQXStillSourcePage)
    COM_INTERFACE_ENTRY(IPropertyPage)
    END_COM_MAP()

    BEGIN_MSG_MAP(CQXStillSourcePage)
    END_MSG_MAP()

    CQXStillSourcePage() noexcept;

    /// Changes nothing in the objects. \return S_OK
    STDMETHOD(Apply)() noexcept override;
};
