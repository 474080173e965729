#include "CoQXStillSource.h"

#include <algorithm>
#include <utility>

#include "AlphaPolicy.h"
#include "PictureNames.h"
#include "dstl/dshowx/dumps/FourccText.h"
#include "dstl/Old/GDIPlusHelpers.h"
#include "dstl/dshowx/DSVideo.h"

namespace
{

/// Characters of a name that GetCurFile hands out, terminator included.
constexpr int cchCurFile = MAX_PATH;

/// A format code from its name: one of the table, else the first four characters of the name.
DWORD FourccFromName(BSTR _bsFCC) noexcept
{
    DSASSERT(_bsFCC);
    DWORD fcc = 0;
    if (_bsFCC == nullptr || FindFourccName(_bsFCC, &lstrcmpiW, &fcc))
        return fcc;

    // Four bytes are needed, and eight characters give as many, even where two of them make one.
    constexpr int nEnough = 8;
    char szNarrow[nEnough * 8];
    const int cchName = std::min(static_cast<int>(wcsnlen(_bsFCC, nEnough)), nEnough);
    const int cch =
        WideCharToMultiByte(CP_THREAD_ACP, 0, _bsFCC, cchName, szNarrow, sizeof(szNarrow), nullptr, nullptr);
    return FourccFromBytes(szNarrow, static_cast<size_t>(std::max(cch, 0)));
}

} // namespace

CCoQXStillSource::CCoQXStillSource() noexcept
{
    m_VidProps.eKeepAspect = eQGKA_Crop;
}

HRESULT CCoQXStillSource::FinalConstruct() noexcept
{
    trace(atlTraceGeneral, eTL_Error, L"CCoQXStillSource::FinalConstruct\n");
    const HRESULT hr = CSourceFilter::FinalConstruct();
    if (FAILED(hr))
        return hr;
    UpdateOutputType();
    return S_OK;
}

void CCoQXStillSource::FinalRelease() noexcept
{
    if (m_apOut)
    {
        m_apOut->SetFilter(nullptr); // an aggregated object has not been through InternalRelease
        m_apOut->StreamAbandon();
    }
    CSourceFilter::FinalRelease();
}

ULONG CCoQXStillSource::InternalRelease() noexcept
{
    const auto fnRelease = [this] { return CComObjectRootEx::InternalRelease(); };
    return m_apOut ? m_apOut->ReleaseFilter(fnRelease) : fnRelease();
}

// --- IMediaFilter

STDMETHODIMP CCoQXStillSource::Stop() noexcept
{
    CStateChange change(*this, State_Stopped);
    if (change.IsRefused())
        return change.Refusal();
    const HRESULT hr = IBaseFilterImpl::Stop();
    // Whatever came of it: the allocator may be gone already, and the worker has to rest all the same.
    if (m_apOut)
        m_apOut->StreamStop();
    return change.Stopped(hr);
}

STDMETHODIMP CCoQXStillSource::Pause() noexcept
{
    CStateChange change(*this, State_Paused);
    if (change.IsRefused())
        return change.Refusal();
    const bool bWasStopped = m_eState == State_Stopped;
    HRESULT hr = IBaseFilterImpl::Pause();
    if (hr == S_OK && !change.WriteGraph())
        return VFW_E_STATE_CHANGED;
    if (hr == S_OK && bWasStopped && !change.IsStopWanted())
        hr = m_apOut->StreamStart();
    return change.Started(hr);
}

QG_VID_PROPS CCoQXStillSource::GetProps() const noexcept
{
    CScopedLock crs(&m_crsNames);
    return m_VidProps;
}

// --- IFileSourceFilter

STDMETHODIMP CCoQXStillSource::Load(LPCOLESTR pszFileName, const AM_MEDIA_TYPE* /*pmt*/) noexcept
{
    CComBSTR bsFileName(pszFileName);
    if (pszFileName != nullptr && bsFileName.m_str == nullptr)
        return E_OUTOFMEMORY;
    return static_cast<IQXStillSource*>(this)->SetPicture(bsFileName);
}

STDMETHODIMP CCoQXStillSource::GetCurFile(LPOLESTR* ppszFileName, AM_MEDIA_TYPE* /*pmt*/) noexcept
{
    DSASSERT(ppszFileName);
    if (ppszFileName == nullptr)
        return E_POINTER;
    *ppszFileName = static_cast<LPOLESTR>(CoTaskMemAlloc(cchCurFile * sizeof(OLECHAR)));
    if (*ppszFileName == nullptr)
        return E_OUTOFMEMORY;
    CScopedLock crs(&m_crsNames);
    lstrcpynW(*ppszFileName, m_bsFileName.m_str != nullptr ? m_bsFileName.m_str : L"", cchCurFile);
    return S_OK;
}

// --- IQXStillSource

STDMETHODIMP CCoQXStillSource::SetPicture(BSTR _bsFileName) noexcept
{
    CCoQXStillSourceOut* const pOut = OutPin();
    if (pOut == nullptr)
        return E_UNEXPECTED;
    int nEntries = 0;
    HRESULT hr = pOut->Picture().SetList(_bsFileName, KeepsAlpha(GetProps()), nEntries);
    if (FAILED(hr))
        return hr;
    if (nEntries > 1)
        pOut->SetStopFrame(nEntries);
    hr = pOut->Picture().ClassifyAlpha();
    if (FAILED(hr))
        return hr;
    {
        CComBSTR bsFileName(_bsFileName);
        CScopedLock crs(&m_crsNames);
        std::swap(m_bsFileName.m_str, bsFileName.m_str);
    }
    return UpdateOutputType();
}

STDMETHODIMP CCoQXStillSource::SetPictureHandle(int _hBitmap) noexcept
{
    CCoQXStillSourceOut* const pOut = OutPin();
    if (_hBitmap == 0)
        return E_INVALIDARG;
    if (pOut == nullptr)
        return E_UNEXPECTED;

    BITMAPINFOHEADER biImage{};
    DSTLBLOB blobPicture{};
    const HBITMAP hBitmap =
        reinterpret_cast<HBITMAP>(static_cast<INT_PTR>(_hBitmap)); // widened with its sign
    HRESULT hr = CPicturePersist::LoadFromHBITMAP(hBitmap, &biImage, &blobPicture.pbData);
    blobPicture.cbData = biImage.biSizeImage;
    CBLOBHolder<CTaskMemory> blobImage;
    blobImage.Attach(&blobPicture); // frees the pixels wherever this ends, also those of a failed call
    if (FAILED(hr))
        return hr;

    CMType mtTemp;
    hr = MTHelp::MTCreateVideo(&mtTemp, FORMAT_VideoInfo, reinterpret_cast<const BITMAPINFO*>(&biImage));
    if (FAILED(hr))
        return hr;
    if (biImage.biBitCount == 32)
    {
        bool bAlpha = false;
        hr = ClassifyHandleAlpha(biImage, blobImage.GetPtr(), blobImage.GetSize(), bAlpha);
        if (FAILED(hr))
            return hr;
        if (bAlpha)
            mtTemp.subtype = MEDIASUBTYPE_ARGB32;
    }

    PicProps picImage{};
    const int nFormat = MTGetPicProps(&mtTemp, &picImage);
    DSASSERT(nFormat != -1);
    if (nFormat < 0)
        return E_INVALIDARG;
    pOut->Picture().SetPixels(std::move(blobImage), picImage);
    return UpdateOutputType();
}

STDMETHODIMP CCoQXStillSource::SetOutputFormat(BSTR _bsFourcc, int _nWidth, int _nHeight) noexcept
{
    if (FilterState() != State_Stopped)
        return VFW_E_NOT_STOPPED;
    const bool bDefault = _bsFourcc == nullptr || *_bsFourcc == 0;
    const eQGFCC fccType = bDefault ? eQGFCC_Default : static_cast<eQGFCC>(FourccFromName(_bsFourcc));
    ChangeProps(
        [=](QG_VID_PROPS& props)
        {
            props.fccType = fccType;
            props.nWidth = _nWidth;
            props.nHeight = _nHeight;
        });
    return UpdateOutputType();
}

STDMETHODIMP CCoQXStillSource::GetOutputFormat(BSTR* _pbsFourcc, int* _pnWidth, int* _pnHeight) noexcept
{
    const QG_VID_PROPS props = GetProps();
    if (_pbsFourcc != nullptr)
    {
        wchar_t szName[cchFourccName] = L"";
        if (props.fccType != eQGFCC_Default)
            Fourcc2Name(props.fccType, szName);
        *_pbsFourcc = SysAllocString(szName);
        if (*_pbsFourcc == nullptr)
            return E_OUTOFMEMORY;
    }
    if (_pnWidth != nullptr)
        *_pnWidth = props.nWidth;
    if (_pnHeight != nullptr)
        *_pnHeight = props.nHeight;
    return S_OK;
}

STDMETHODIMP CCoQXStillSource::SetFrameRate(double _dblFrameRate) noexcept
{
    if (FilterState() != State_Stopped)
        return VFW_E_NOT_STOPPED;
    ChangeProps([=](QG_VID_PROPS& props) { props.dblRate = _dblFrameRate; });
    return UpdateOutputType();
}

STDMETHODIMP CCoQXStillSource::GetFrameRate(double* _pdblFrameRate) noexcept
{
    if (_pdblFrameRate == nullptr)
        return E_POINTER;
    *_pdblFrameRate = GetProps().dblRate;
    return S_OK;
}

STDMETHODIMP CCoQXStillSource::SetOutputProps(QG_VID_PROPS* _pVidProps) noexcept
{
    if (_pVidProps == nullptr)
        return E_POINTER;
    // Deliberately without a test of the state: a running graph goes on in its type.
    ChangeProps([propsNew = *_pVidProps](QG_VID_PROPS& props) { props = propsNew; });
    return UpdateOutputType();
}

STDMETHODIMP CCoQXStillSource::GetOutputProps(QG_VID_PROPS* _pVidProps) noexcept
{
    if (_pVidProps == nullptr)
        return E_POINTER;
    *_pVidProps = GetProps();
    return S_OK;
}
