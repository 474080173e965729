#pragma once
/// The output pin: the picture state, the frame made from it, and the worker that pushes frames downstream.

#include "dstl/WinAPI/Atl.h"

#include <atlctl.h>
#include <strmif.h>

#include "PumpThread.h"
#include "QXStillSource.h"
#include "StillPicture.h"
#include "StreamConfig.h"
#include "StreamPosition.h"
#include "dstl/WinAPI/Wrappers.h"
#include "dstl/dshowx/DSPins.h"
#include "dstl/dshowx/DSQuality.h"
#include "dstl/dshowx/DSSeeking.h"

class CCoQXStillSource;
class CSampleT;

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
    /// it, the position for the numbers.
    /// \return S_OK; VFW_E_STATE_CHANGED within a call of the pin while another seek, or this one, flushes
    /// \param pCurrent,pStop null for a position that stays; times are cut to frames toward zero
    /// \param dwCurrentFlags,dwStopFlags only absolute and relative positioning have an effect
    STDMETHOD(SetPositions)
    (LONGLONG* pCurrent, DWORD dwCurrentFlags, LONGLONG* pStop, DWORD dwStopFlags) noexcept override;
    /// Times of the next and of the last frame; each pointer may be null. Takes the position.
    STDMETHOD(GetPositions)(LONGLONG* pCurrent, LONGLONG* pStop) noexcept override;

    /// Within a call of the worker, or of a seek that flushes.
    bool IsStreamCall() const noexcept { return m_pump.IsCurrent() || m_crsSeek.IsMine(); }

    // --- Picture and position

    /// What the pin shows. It guards itself.
    CStillPicture& Picture() noexcept { return m_picture; }
    /// Ends the stream behind this frame; 0 or less: it has no end. Takes the position.
    void SetStopFrame(LONGLONG nFrame) noexcept;

    // --- Output type

    /// Makes a type the current one: the frame is to be composed again, in its format. Called by a control
    /// thread and by the worker. Takes m_crsPicture: a frame that is being composed keeps its size.
    void ApplyOutputType(const AM_MEDIA_TYPE* pmt) noexcept;
    /// The same under m_lock, unless the pin is connected.
    /// \return S_OK; S_FALSE for a connected pin; VFW_E_STATE_CHANGED within a call of the pin while another
    /// thread has m_lock
    HRESULT ApplyUnconnected(const AM_MEDIA_TYPE* pmt) noexcept;

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

private:
    static DWORD ThreadProc(void* pv) noexcept;
    static DWORD Step(void* pv) noexcept;

    void AnnounceSegment() noexcept;
    HRESULT StampSample(CSampleT& sample, IMediaSample* pSample, LONG cbSize,
                        REFERENCE_TIME rtFrame) noexcept;

    friend struct PinProbe; // tests

    CStillPicture m_picture;
    CStreamPosition m_position;
    CCritSec m_crsSeek; ///< held by a seek while it flushes the peer; taken before the position
    CPumpThread m_pump; ///< the worker
    ULONG_PTR m_nGdiPlusToken = 0;
    bool m_bWorkerOwns = false;   ///< the worker has the last reference; the worker's alone
    bool m_bWorkerLeaves = false; ///< the worker gives it back; the worker's alone
};
