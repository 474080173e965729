#pragma once
/// The still-picture source filter: control interface, what was asked for, and the types that follow from it.

#include "dstl/WinAPI/Atl.h"

#include <strmif.h>

#include "CoQXStillSourceOut.h"
#include "QXStillSource.h"
#include "Registration.h"
#include "dstl/dshowx/DSFilters.h"

/// The filter. Locks that a thread waits for, always in this order: this object's m_lock, the pin's m_lock,
/// m_crsSeek, that of CStreamPosition, that of CStillPicture. A thread within a call of the filter or its
/// pin, the worker above all, waits for none of the first three.
class ATL_NO_VTABLE CCoQXStillSource : public CComObjectRootEx<CComMultiThreadModel>,
                                       public CComCoClass<CCoQXStillSource, &CLSID_CoQXStillSource>,
                                       public CSourceFilter<CCoQXStillSource, CCoQXStillSourceOut>,
                                       public IFileSourceFilter,
                                       public IQXStillSource
{
public:
    BEGIN_COM_MAP(CCoQXStillSource)
    COM_INTERFACE_ENTRY(IBaseFilter)
    COM_INTERFACE_ENTRY(IMediaFilter)
    COM_INTERFACE_ENTRY(IPersist)
    COM_INTERFACE_ENTRY(IFileSourceFilter)
    COM_INTERFACE_ENTRY(IQXStillSource)
    END_COM_MAP()

    CCoQXStillSource() noexcept;

    static HRESULT WINAPI UpdateRegistry(BOOL bRegister) noexcept
    {
        return QXUpdateFilterRegistry(bRegister);
    }

    /// Makes the pin and its first media type.
    HRESULT FinalConstruct() noexcept;
    void FinalRelease() noexcept;

    /// The last reference and the pin's pointer go in one step: nobody gets a new reference through the pin.
    ULONG InternalRelease() noexcept;

    LPCWSTR GetClassName() const noexcept override { return L"CCoQXStillSource"; }

    // IMediaFilter: the base's operations with the pump around them. See CStateChange.
    STDMETHOD(Stop)() noexcept override;
    STDMETHOD(Pause)() noexcept override;

    // IFileSourceFilter
    STDMETHOD(Load)(LPCOLESTR pszFileName, const AM_MEDIA_TYPE* pmt) noexcept override;
    STDMETHOD(GetCurFile)(LPOLESTR* ppszFileName, AM_MEDIA_TYPE* pmt) noexcept override;

    // IQXStillSource
    STDMETHOD(SetOutputFormat)(BSTR _bsFourcc, int _nWidth, int _nHeight) noexcept override;
    STDMETHOD(GetOutputFormat)(BSTR* _pbsFourcc, int* _pnWidth, int* _pnHeight) noexcept override;
    STDMETHOD(SetFrameRate)(double _dblFrameRate) noexcept override;
    STDMETHOD(GetFrameRate)(double* _pdblFrameRate) noexcept override;
    STDMETHOD(SetPicture)(BSTR _bsFileName) noexcept override;
    STDMETHOD(SetPictureHandle)(int _hBitmap) noexcept override;
    STDMETHOD(SetOutputProps)(QG_VID_PROPS* _pVidProps) noexcept override;
    STDMETHOD(GetOutputProps)(QG_VID_PROPS* _pVidProps) noexcept override;

    /// Whether the pin accepts a type: format, width and absolute height are those of its frames.
    bool QueryAcceptMT(const AM_MEDIA_TYPE* pmt) noexcept;

    /// Builds the type that m_VidProps and the picture ask for, and brings it to the pin: at once when it is
    /// not connected, through the graph when it is and the filter is stopped, not at all in a running graph.
    /// No lock is held when the graph is called.
    /// \return S_OK, what Reconnect returns, or VFW_E_STATE_CHANGED within a call of the pin while another
    /// thread makes or breaks the connection
    HRESULT UpdateOutputType() noexcept;
    /// Lets the graph connect the pin anew with a type. Does nothing unless the filter is stopped, nor within
    /// a call of the filter or its pin: the graph may be waiting for that call.
    HRESULT Reconnect(const AM_MEDIA_TYPE* pmt) noexcept;

    /// Makes the type that m_VidProps asks for.
    /// \param mt out: unchanged on failure \param picBase gives what m_VidProps leaves open
    HRESULT BuildOutputType(CMType& mt, const PicProps& picBase) noexcept;

    /// Makes m_arrSupport from a type. Null only empties it.
    void RebuildSupportedTypes(const AM_MEDIA_TYPE* mt) noexcept;

    /// A copy of what was asked for; any thread.
    QG_VID_PROPS GetProps() const noexcept;
    /// Changes what was asked for in one step. \param fnChange gets the record
    template <class TChange>
    void ChangeProps(TChange fnChange) noexcept
    {
        CScopedLock crs(&m_crsNames);
        fnChange(m_VidProps);
    }

private:
    friend struct FilterProbe; // tests

    /// What was asked for. It starts with eQGKA_Crop, deliberately not with the default. Guarded by
    /// m_crsNames.
    QG_VID_PROPS m_VidProps{};
    CComBSTR m_bsFileName; ///< the name last accepted, whole; guarded by m_crsNames

    /// The current type in the other formats, kept in step with it. Nothing reads it. Guarded by m_crsNames.
    CSimpleArray2<CMType> m_arrSupport;
    mutable CCritSec m_crsNames; ///< leaf, held to exchange or copy a value
};
