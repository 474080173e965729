#pragma once
/// The output pin: the picture state, the frame made from it, and the worker that pushes frames downstream.

#include "dstl/WinAPI/Atl.h"

#include <atlctl.h>
#include <strmif.h>

#include <atomic>

#include "Common/Common.h"
#include "PictureNames.h"
#include "PumpThread.h"
#include "QXStillSource.h"
#include "StreamConfig.h"
#include "dstl/Old/GDIPlusHelpers.h"
#include "dstl/WinAPI/Blob.h"
#include "dstl/WinAPI/Wrappers.h"
#include "dstl/dshowx/DSPins.h"
#include "dstl/dshowx/DSQuality.h"
#include "dstl/dshowx/DSSeeking.h"

class CCoQXStillSource;

/// The pin, "Video Out". Locks: see CCoQXStillSource. No lock is held across GetBuffer or Receive.
class ATL_NO_VTABLE CCoQXStillSourceOut : public CComObjectRootEx<CComMultiThreadModel>,
                                          public CComCoClass<CCoQXStillSourceOut>,
                                          public COutputPin<CCoQXStillSourceOut, CCoQXStillSource>,
                                          public IPinImpl<CCoQXStillSourceOut>,
                                          public IQualityControlImpl<CCoQXStillSourceOut>,
                                          public CStdAllocator<CCoQXStillSourceOut, 0>,
                                          public IMediaSeekingImpl<CCoQXStillSourceOut>,
                                          public ISpecifyPropertyPagesImpl<CCoQXStillSourceOut>,
                                          public IAMStreamConfigWrapper<CCoQXStillSourceOut>,
                                          public CMTSingle
{
public:
    BEGIN_COM_MAP(CCoQXStillSourceOut)
    COM_INTERFACE_ENTRY(IPin)
    COM_INTERFACE_ENTRY(IQualityControl)
    COM_INTERFACE_ENTRY(IMediaSeeking)
    COM_INTERFACE_ENTRY(ISpecifyPropertyPages)
    COM_INTERFACE_ENTRY(IAMStreamConfig)
    END_COM_MAP()

    BEGIN_PROP_MAP(CCoQXStillSourceOut)
    PROP_PAGE(CLSID_QXStillSourcePage)
    END_PROP_MAP()

    /// Starts GDI+ and the worker, which sleeps. The pin stands even if the worker could not be started.
    HRESULT FinalConstruct() noexcept;
    /// Stops GDI+ and then the worker, deliberately in this order: no picture is being loaded any more, as
    /// the filter has waited for the worker's last step, and without a filter there is no other. On the
    /// worker itself all that is behind it.
    void FinalRelease() noexcept;

    /// The last reference may go within a call of the worker, which stands below on the stack and goes on
    /// with the pin when the call returns: the worker then takes the reference over and gives it back with
    /// its last step.
    ULONG InternalRelease() noexcept;

    LPCWSTR GetClassName() const noexcept override { return L"[CCoQXStillSourceOut]"; }

    // IMediaSeeking: what touches the stream. In every state, connected or not. Products wrap at 64 bits.

    /// Time of the last frame; a frame length of 0 gives 0. Takes no lock.
    STDMETHOD(GetDuration)(LONGLONG* pDuration) noexcept override;
    /// Flushes the peer, sets the next and the last frame, and begins a segment. Takes m_crsSeek for all of
    /// it, m_crsPosition for the numbers.
    /// \return S_OK; VFW_E_STATE_CHANGED within a call of the pin while another seek, or this one, flushes
    /// \param pCurrent,pStop null for a position that stays; times are cut to frames toward zero
    /// \param dwCurrentFlags,dwStopFlags only absolute and relative positioning have an effect
    STDMETHOD(SetPositions)
    (LONGLONG* pCurrent, DWORD dwCurrentFlags, LONGLONG* pStop, DWORD dwStopFlags) noexcept override;
    /// Times of the next and of the last frame; each pointer may be null. Takes m_crsPosition.
    STDMETHOD(GetPositions)(LONGLONG* pCurrent, LONGLONG* pStop) noexcept override;

    /// Within a call of the worker, or of a seek that flushes.
    bool HookIsStreamCall() const noexcept override { return m_pump.IsCurrent() || m_crsSeek.IsMine(); }

    // --- Picture selection

    /// Selects a built-in picture, a colour or a file. Takes m_crsPicture.
    /// \param pFilter its m_VidProps decide whether alpha is kept \param pszName null counts as empty
    /// \return S_OK, or what the loader answers
    HRESULT SelectPictureByName(const CCoQXStillSource* pFilter, LPCWSTR pszName) noexcept;

    // --- Output type

    /// A copy of m_picSource.
    PicProps GetSourceProps() noexcept;

    /// Makes a type the current one: m_picOutput is read from it, and the frame is to be composed again.
    /// Called by a control thread and by the worker. Takes m_crsPicture: a frame that is being composed keeps
    /// its size.
    void ApplyOutputType(const AM_MEDIA_TYPE* pmt) noexcept;
    /// The same under m_lock, unless the pin is connected.
    /// \return S_OK; S_FALSE for a connected pin; VFW_E_STATE_CHANGED within a call of the pin while another
    /// thread has m_lock
    HRESULT ApplyUnconnected(const AM_MEDIA_TYPE* pmt) noexcept;

    // --- Composition

    /// Copies the finished frame to a buffer, composing it first where there is none. Takes m_crsPicture.
    /// \param pbBuf as large as the frame of m_picOutput \param cbBuf bytes of it: the copy ends there
    HRESULT FillSampleBuffer(BYTE* pbBuf, DWORD cbBuf) noexcept;

    // --- Pump

    /// Called on the way from stopped to paused: a new segment begins, the frame number goes on.
    HRESULT StreamStart() noexcept;
    /// Waits without a limit until the worker has finished its step. Without a worker it returns at once, and
    /// so it does within a call of the pin: the worker then rests when its step is over.
    void StreamStop() noexcept;
    /// Ends what is left of the pump when the filter goes without having been stopped. Within a call of the
    /// worker it only says so, as the worker cannot wait for itself.
    void StreamAbandon() noexcept;

    /// One step of the pump. \return milliseconds until the next one: 0 or INFINITE
    DWORD Send() noexcept;
    /// Fills and stamps a sample. \return S_OK, S_FALSE at the end of the stream, or a failure
    HRESULT PrepareSample(IMediaSample* pSample) noexcept;

    /// AvgTimePerFrame of the current type, or the default where it has none.
    REFERENCE_TIME GetFrameTime() const noexcept;

    // --- Picture state, guarded by m_crsPicture

    LONG m_nPictureId = ePI_Bars; ///< ePictureId
    DWORD m_nSolidColor = 0;      ///< 0xAABBGGRR
    /// Format of the loaded picture, or of the built-in one that was composed last.
    PicProps m_picSource = {FOURCC_UYVY, 720, 576, 720};
    CBLOBHolder<CTaskMemory> m_blobSource; ///< pixels of the loaded picture; they outrank m_nPictureId
    CBLOBHolder<CTaskMemory> m_blobFrame;  ///< the finished frame; size 0: to be composed
    PicProps m_picOutput{};                ///< format of the frames, from the current media type
    CCritSec m_crsPicture;

    // --- Stream state, guarded by m_crsPosition; GetDuration, StreamStart and GetPositions of the worker go
    // without it

    std::atomic<REFERENCE_TIME> m_rtCurrent = 0;       ///< start of the next sample; 0 also begins a segment
    std::atomic<LONGLONG> m_nFrame = 0;                ///< number of the next frame; it survives a stop
    std::atomic<LONGLONG> m_nStopFrame = nNoStopFrame; ///< the last frame; 0 or less means no end
    CCritSec m_crsPosition;

    /// 90000 times the highest 32-bit count.
    static constexpr LONGLONG nNoStopFrame = 90000LL * 2147483647LL;

    CCritSec m_crsSeek; ///< held by a seek while it flushes the peer; taken before m_crsPosition
    CPumpThread m_pump; ///< the worker

private:
    static DWORD ThreadProc(void* pv) noexcept;
    static DWORD Step(void* pv) noexcept;

    HRESULT ComposeFrame() noexcept;
    HRESULT MakeSolidPicture(CBLOBHolder<CTaskMemory>& blobImage) noexcept;
    HRESULT MakeBuiltInPicture(CBLOBHolder<CTaskMemory>& blobImage) noexcept;

    ULONG_PTR m_nGdiPlusToken = 0;
    bool m_bWorkerOwns = false;   ///< the worker has the last reference; the worker's alone
    bool m_bWorkerLeaves = false; ///< the worker gives it back; the worker's alone
};
