#pragma once
/// The state behind the interfaces of the pin and the filter, for tests of that state. No test reaches in
/// elsewhere.

#include "CoQXStillSource.h"

struct PinProbe
{
    explicit PinProbe(CCoQXStillSourceOut& pin) noexcept : PinProbe(pin, pin.m_picture, pin.m_position) {}

    CMType& m_theMediaType;
    PicProps& m_picType;

    CFileNames& m_arrFiles;
    LONG& m_nPictureId;
    DWORD& m_nSolidColor;
    PicProps& m_picSource;
    CBLOBHolder<CTaskMemory>& m_blobSource;
    CBLOBHolder<CTaskMemory>& m_blobFrame;
    PicProps& m_picOutput;
    CCritSec& m_crsPicture;

    std::atomic<int64_t>& m_rtCurrent;
    std::atomic<int64_t>& m_nFrame;
    std::atomic<int64_t>& m_nStopFrame;
    CCritSec& m_crsPosition;

    CCritSec& m_lock;
    CCritSec& m_crsLink;
    CCritSec& m_crsSeek;
    CPumpThread& m_pump;

private:
    PinProbe(CCoQXStillSourceOut& pin, CStillPicture& picture, CStreamPosition& position) noexcept
        : m_theMediaType(pin.m_theMediaType), m_picType(pin.m_picType), m_arrFiles(picture.m_arrFiles),
          m_nPictureId(picture.m_nPictureId), m_nSolidColor(picture.m_nSolidColor),
          m_picSource(picture.m_picSource), m_blobSource(picture.m_blobSource),
          m_blobFrame(picture.m_blobFrame), m_picOutput(picture.m_picOutput),
          m_crsPicture(picture.m_crsPicture), m_rtCurrent(position.m_rtCurrent), m_nFrame(position.m_nFrame),
          m_nStopFrame(position.m_nStopFrame), m_crsPosition(position.m_crsPosition), m_lock(pin.m_lock),
          m_crsLink(pin.m_crsLink), m_crsSeek(pin.m_crsSeek), m_pump(pin.m_pump)
    {
    }
};

struct FilterProbe
{
    explicit FilterProbe(CCoQXStillSource& filter) noexcept
        : m_lock(filter.m_lock), m_eState(filter.m_eState), m_VidProps(filter.m_VidProps),
          m_bsFileName(filter.m_bsFileName), m_arrSupport(filter.m_arrSupport)
    {
    }

    CCritSec& m_lock;
    std::atomic<FILTER_STATE>& m_eState;
    QG_VID_PROPS& m_VidProps;
    CComBSTR& m_bsFileName;
    CSimpleArray2<CMType>& m_arrSupport;
};
