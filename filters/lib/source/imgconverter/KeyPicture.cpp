#include "imgconverter/KeyPicture.h"

#include "dstl/WinAPI/Perf_only.h"
#include "imgconverter/ImgConverter.h"

#include <cstring>
#include <new>

HRESULT CKeyPicture::Open(const BYTE* pbInput, const PicProps& pic, BYTE* pTemp) noexcept
{
    DWORD arrShift[3];
    DWORD arrStep[3];
    if (!GetPicPlanes(&pic, arrShift, arrStep, &m_bMirror, false) || pic.nWidth <= 0 || pic.nHeight == 0)
        return E_INVALIDARG;
    m_nWidth = pic.nWidth;
    m_nHeight = AbsHeight(pic.nHeight);
    m_cbPitch = int64_t{pic.nRowWidth} * 4;
    m_pRows = pbInput;
    if (pic.fccType == FOURCC_RGB32 || pic.fccType == FOURCC_ARGB32)
        return S_OK;

    if (pic.nRowWidth <= 0)
        return E_INVALIDARG; // the converted rows would have no length
    const auto cbPicture = static_cast<size_t>(m_cbPitch * m_nHeight);
    if (!pTemp)
    {
        m_memory.reset(new (std::nothrow) BYTE[cbPicture]);
        pTemp = m_memory.get();
    }
    if (!pTemp)
        return E_OUTOFMEMORY;
    // Some formats have no path to RGB32 and leave the output as it is: such a picture counts as black.
    std::memset(pTemp, 0, cbPicture);
    // A YUV picture becomes a top-down one, an RGB picture keeps its order.
    const LONG nHeight = IsRGBFormat(pic.fccType) ? pic.nHeight : static_cast<LONG>(-m_nHeight);
    const PicProps picRGB = {FOURCC_RGB32, pic.nWidth, nHeight, pic.nRowWidth};
    static CPerf perf(L"[YUV->RGB]"); // also of RGB to RGB
    const CPerfScope scope(&perf);
    // With a mirror to the buffer the input is only read.
    const HRESULT hr =
        Img_Convert(const_cast<BYTE*>(pbInput), pTemp, &pic, &picRGB, nullptr, nullptr, true, nullptr);
    m_pRows = pTemp;
    return hr;
}
