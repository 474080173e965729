#include "HardSupport.h"

#include <vfwmsgs.h>

#include <cstdlib>
#include <cstring>
#include <utility>

STDMETHODIMP HardPin::ReceiveConnection(IPin* pConnector, const AM_MEDIA_TYPE* pmt)
{
    CScopedLock lock(&m_crsConnection);
    if (m_spConnector)
        return VFW_E_ALREADY_CONNECTED;
    m_spConnector = pConnector;
    m_mtOfConnection = pmt;
    return S_OK;
}

STDMETHODIMP HardPin::Disconnect()
{
    CComPtr<IPin> spConnector; // released outside the lock
    CScopedLock lock(&m_crsConnection);
    std::swap(spConnector.p, m_spConnector.p);
    lock.Unlock();
    return spConnector ? S_OK : S_FALSE;
}

STDMETHODIMP HardPin::ConnectedTo(IPin** ppPin)
{
    CScopedLock lock(&m_crsConnection);
    *ppPin = CComPtr<IPin>(m_spConnector).Detach();
    return *ppPin != nullptr ? S_OK : VFW_E_NOT_CONNECTED;
}

STDMETHODIMP HardPin::ConnectionMediaType(AM_MEDIA_TYPE* pmt)
{
    CScopedLock lock(&m_crsConnection);
    return m_spConnector ? MTCopy(pmt, &m_mtOfConnection) : VFW_E_NOT_CONNECTED;
}

HardSource::HardSource(const LoadedModule& module)
{
    CComPtr<IClassFactory> spFactory;
    if (FAILED(module.GetClassObject(CLSID_CoQXStillSource, IID_IClassFactory,
                                     reinterpret_cast<void**>(&spFactory))))
        return;
    if (FAILED(spFactory->CreateInstance(nullptr, IID_IBaseFilter, reinterpret_cast<void**>(&spFilter))))
        return;
    spFilter->QueryInterface(IID_IQXStillSource, reinterpret_cast<void**>(&spControl));
    spFilter->FindPin(L"Video Out", &spPin);
}

void HardSource::Release()
{
    spControl.Release();
    spFilter.Release();
    spPin.Release();
}

bool WaitUntilUnloadable(const LoadedModule& module)
{
    const DWORD dwStart = GetTickCount();
    while (module.CanUnloadNow() != S_OK)
    {
        if (GetTickCount() - dwStart > static_cast<DWORD>(nTestLimitMs))
            return false;
        Sleep(1);
    }
    return true;
}

HardBitmap::HardBitmap(LONG nWidth, LONG nHeight, WORD nBits, BYTE byValue)
{
    BITMAPINFO bmi{};
    bmi.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    bmi.bmiHeader.biWidth = nWidth;
    bmi.bmiHeader.biHeight = nHeight;
    bmi.bmiHeader.biPlanes = 1;
    bmi.bmiHeader.biBitCount = nBits;
    void* pvBits = nullptr;
    m_hBitmap = CreateDIBSection(nullptr, &bmi, DIB_RGB_COLORS, &pvBits, nullptr, 0);
    if (pvBits != nullptr)
        memset(pvBits, byValue,
               static_cast<size_t>((nWidth * nBits / 8 + 3) & ~3) * static_cast<size_t>(nHeight));
}

HardBitmap::~HardBitmap()
{
    DeleteObject(m_hBitmap);
}

int CallEveryQuery(const HardSource& source, IPin* pPeer)
{
    int nWrong = 0;
    const auto expect = [&](bool bRight) { nWrong += bRight ? 0 : 1; };

    CMType mt;
    expect(source.spPin->ConnectionMediaType(&mt) == S_OK);
    expect(source.spPin->QueryAccept(&mt) == S_OK);
    CComPtr<IPin> spPeer;
    expect(source.spPin->ConnectedTo(&spPeer) == S_OK && spPeer.p == pPeer);
    PIN_INFO pin{};
    expect(source.spPin->QueryPinInfo(&pin) == S_OK && pin.pFilter == source.spFilter.p);
    CComPtr<IBaseFilter>().Attach(pin.pFilter);
    PIN_DIRECTION eDir = PINDIR_INPUT;
    expect(source.spPin->QueryDirection(&eDir) == S_OK && eDir == PINDIR_OUTPUT);
    LPWSTR pszId = nullptr;
    expect(source.spPin->QueryId(&pszId) == S_OK && wcscmp(pszId, L"Video Out") == 0);
    CoTaskMemFree(pszId);
    CComPtr<IEnumMediaTypes> spTypes;
    expect(source.spPin->EnumMediaTypes(&spTypes) == S_OK);
    AM_MEDIA_TYPE* pmt = nullptr;
    expect(spTypes && spTypes->Next(1, &pmt, nullptr) == S_OK);
    MTDelete(pmt);

    CLSID clsid{};
    expect(source.spFilter->GetClassID(&clsid) == S_OK && IsEqualGUID(clsid, CLSID_CoQXStillSource));
    FILTER_STATE eState{};
    expect(source.spFilter->GetState(INFINITE, &eState) == S_OK);
    CComPtr<IReferenceClock> spClock;
    expect(source.spFilter->GetSyncSource(&spClock) == S_OK);
    FILTER_INFO info{};
    expect(source.spFilter->QueryFilterInfo(&info) == S_OK);
    CComPtr<IFilterGraph>().Attach(info.pGraph);
    CComPtr<IEnumPins> spPins;
    expect(source.spFilter->EnumPins(&spPins) == S_OK);
    CComPtr<IPin> spPin;
    expect(source.spFilter->FindPin(L"Video Out", &spPin) == S_OK && spPin.p == source.spPin.p);

    CComPtr<IAMStreamConfig> spConfig;
    expect(source.spPin->QueryInterface(IID_IAMStreamConfig, reinterpret_cast<void**>(&spConfig)) == S_OK);
    expect(spConfig && spConfig->GetFormat(&pmt) == S_OK);
    MTDelete(pmt);
    QG_VID_PROPS props{};
    expect(source.spControl->GetOutputProps(&props) == S_OK);
    double dblRate = 0;
    expect(source.spControl->GetFrameRate(&dblRate) == S_OK);
    CComPtr<IFileSourceFilter> spFile;
    expect(source.spFilter->QueryInterface(IID_IFileSourceFilter, reinterpret_cast<void**>(&spFile)) == S_OK);
    LPOLESTR pszFile = nullptr;
    expect(spFile && spFile->GetCurFile(&pszFile, nullptr) == S_OK);
    CoTaskMemFree(pszFile);

    CComPtr<IMediaSeeking> spSeeking;
    if (source.spPin->QueryInterface(IID_IMediaSeeking, reinterpret_cast<void**>(&spSeeking)) == S_OK)
    {
        LONGLONG llCurrent = -1, llStop = -1;
        expect(spSeeking->GetPositions(&llCurrent, &llStop) == S_OK);
        expect(spSeeking->GetCurrentPosition(&llCurrent) == S_OK);
        expect(spSeeking->GetStopPosition(&llStop) == S_OK);
    }
    return nWrong;
}

long long NumberFromEnvironment(const char* pszName, long long nDefault)
{
    const char* const psz = std::getenv(pszName);
    return psz != nullptr && *psz != '\0' ? std::atoll(psz) : nDefault;
}
