/// What a host sees in the platform's graph: which call takes effect when, and what it answers.

#include "Failure.h"
#include "FrameSink.h"
#include "GraphSupport.h"
#include "dstl/dshowx/DSTypes.h"
#include <dvdmedia.h>
#include <gtest/gtest.h>
#include <functional>

namespace
{
constexpr int g_width = 32;
constexpr int g_height = 16;
constexpr size_t g_many = 100; // frames that no stream of these tests reaches

class Host : public testing::Test
{
protected:
    Host() : m_source(m_module.CreateSource()), m_pin(FindPin(m_source, PINDIR_OUTPUT))
    {
        EXPECT_EQ(m_source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&m_control)),
                  S_OK);
        EXPECT_EQ(m_pin->QueryInterface(IID_IAMStreamConfig, reinterpret_cast<void**>(&m_config)), S_OK);
        EXPECT_EQ(m_pin->QueryInterface(IID_IMediaSeeking, reinterpret_cast<void**>(&m_seeking)), S_OK);
    }
    ~Host() override
    {
        m_seeking.Release();
        m_config.Release();
        m_control.Release();
        m_pin.Release();
        m_source.Release();
        EXPECT_EQ(m_module.CanUnloadNow(), S_OK);
    }

    std::wstring File(const wchar_t* name, int width, int height, unsigned seed)
    {
        return m_folder.Write(name, PlainTga("host", width, height, seed).file);
    }
    Bytes Frame(unsigned seed) const { return PlainTga("host", g_width, g_height, seed).frame; }

    // A picture of the usual size.
    void ShowPicture(unsigned seed)
    {
        ASSERT_EQ(SetPicture(m_source, File(L"picture.tga", g_width, g_height, seed)), S_OK);
    }

    HRESULT SetFormat(const wchar_t* format, int width, int height)
    {
        return m_control->SetOutputFormat(CComBSTR(format), width, height);
    }

    bool IsConnected() const
    {
        CComPtr<IPin> peer;
        const HRESULT hr = m_pin->ConnectedTo(&peer);
        EXPECT_EQ(hr, peer ? S_OK : VFW_E_NOT_CONNECTED);
        return hr == S_OK;
    }

    // The type that the pin has, connected or not.
    VideoFormat Format() const
    {
        VideoFormat format;
        COwnedMediaType type;
        EXPECT_EQ(m_config->GetFormat(type.Out()), S_OK);
        EXPECT_TRUE(ReadVideoFormat(*type.Get(), format));
        return format;
    }

    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
    CComPtr<IBaseFilter> m_source;
    CComPtr<IPin> m_pin;
    CComPtr<IQXStillSource> m_control;
    CComPtr<IAMStreamConfig> m_config;
    CComPtr<IMediaSeeking> m_seeking;
};

// A graph of the source and a sink that keeps frames.
struct SmallGraph
{
    SmallGraph(IBaseFilter* source, size_t wanted) : keeper(wanted)
    {
        EXPECT_EQ(CreateFrameSink(keeper, sink), S_OK);
        graph.Add(source, L"Source");
        graph.Add(sink, L"Sink");
        connected = graph.Connect(source, sink);
    }
    void RunUntilKept()
    {
        graph.Run();
        EXPECT_TRUE(keeper.Wait());
        graph.Stop();
    }

    FrameKeeper keeper;
    CComPtr<IBaseFilter> sink;
    FilterGraph graph;
    HRESULT connected = E_FAIL;
};

// Runs a graph that has kept its frames once more, on the same connection. Gives the first frame that comes
// then.
Bytes RunAgain(SmallGraph& small)
{
    small.keeper.Forget();
    small.RunUntilKept();
    return small.keeper.Frames()[0].bytes;
}

// Calls something from inside Receive, once.
class CallingReceiver final : public FrameReceiver
{
public:
    explicit CallingReceiver(std::function<void()> call) : m_call(std::move(call)) {}
    ~CallingReceiver() { CloseHandle(m_done); }
    CallingReceiver(const CallingReceiver&) = delete;
    CallingReceiver& operator=(const CallingReceiver&) = delete;

    void SetFormat(const VideoFormat&) override {}
    HRESULT OnFrame(IMediaSample*) override
    {
        if (m_call)
        {
            m_call();
            m_call = nullptr;
            SetEvent(m_done);
        }
        return S_OK;
    }
    bool Wait() const { return WaitForSingleObject(m_done, g_limit) == WAIT_OBJECT_0; }

private:
    std::function<void()> m_call;
    const HANDLE m_done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};
} // namespace

// --- Connected and stopped

TEST_F(Host, RateAspectAndFieldsReachAConnectionThatStands)
{
    ShowPicture(1);
    SmallGraph small(m_source, 1);
    ASSERT_EQ(small.connected, S_OK);
    EXPECT_EQ(m_control->SetFrameRate(50), S_OK);
    EXPECT_TRUE(IsConnected());
    EXPECT_EQ(Format().frameTime, 200000);

    QG_VID_PROPS properties = {};
    ASSERT_EQ(m_control->GetOutputProps(&properties), S_OK);
    properties.eInterlace = eQGI_Field1First;
    EXPECT_EQ(m_control->SetOutputProps(&properties), S_OK);
    EXPECT_TRUE(IsConnected());
    EXPECT_TRUE(IsEqualGUID(Format().formatType, FORMAT_VideoInfo2));
    small.RunUntilKept();
    EXPECT_EQ(small.keeper.Frames()[0].bytes, Frame(1));
}

TEST_F(Host, AnotherSizeOrFormatBreaksAConnectionThatStands)
{
    const std::function<HRESULT()> calls[] = {
        [this] { return SetFormat(L"RGB32", 64, 32); },
        [this] { return SetFormat(L"UYVY", 0, 0); },
        [this] { return SetPicture(m_source, File(L"large.tga", 64, 32, 2)); },
    };
    for (const auto& call : calls)
    {
        ASSERT_EQ(SetFormat(L"", 0, 0), S_OK);
        ShowPicture(1);
        SmallGraph small(m_source, 1);
        ASSERT_EQ(small.connected, S_OK);
        EXPECT_EQ(call(), VFW_E_TYPE_NOT_ACCEPTED);
        EXPECT_FALSE(IsConnected());
        EXPECT_EQ(Format().width, g_width) << "the pin keeps its old type";
        EXPECT_TRUE(IsEqualGUID(Format().subtype, MEDIASUBTYPE_RGB32));
        // Now that the pin is not connected, the same call takes effect.
        EXPECT_EQ(call(), S_OK);
        EXPECT_EQ(small.graph.Connect(m_source, small.sink), S_OK);
        EXPECT_TRUE(Format().width == 64 || IsEqualGUID(Format().subtype, MEDIASUBTYPE_UYVY));
    }
}

TEST_F(Host, APictureInAFixedFormatAndSizeKeepsTheConnection)
{
    ASSERT_EQ(SetFormat(L"RGB32", g_width, g_height), S_OK);
    ShowPicture(1);
    SmallGraph small(m_source, 1);
    ASSERT_EQ(small.connected, S_OK);
    EXPECT_EQ(SetPicture(m_source, File(L"large.tga", 2 * g_width, 2 * g_height, 2)), S_OK);
    EXPECT_TRUE(IsConnected());
    EXPECT_EQ(SetPicture(m_source, File(L"same.tga", g_width, g_height, 3)), S_OK);
    small.RunUntilKept();
    EXPECT_EQ(small.keeper.Frames()[0].bytes, Frame(3));
}

// The composition leaves the format of the test picture behind, which then counts as the picture's own.
TEST_F(Host, BarsChangeTheirFormatOnceTheyWereShown)
{
    EXPECT_TRUE(IsEqualGUID(Format().subtype, MEDIASUBTYPE_UYVY));
    {
        SmallGraph small(m_source, 1);
        ASSERT_EQ(small.connected, S_OK);
        small.RunUntilKept();
        EXPECT_EQ(m_control->SetFrameRate(50), VFW_E_TYPE_NOT_ACCEPTED);
        EXPECT_FALSE(IsConnected());
    }
    EXPECT_EQ(m_control->SetFrameRate(50), S_OK);
    EXPECT_FALSE(IsEqualGUID(Format().subtype, MEDIASUBTYPE_UYVY));

    // With format and size set, everything stays.
    ASSERT_EQ(SetFormat(L"UYVY", 720, 576), S_OK);
    SmallGraph small(m_source, 1);
    ASSERT_EQ(small.connected, S_OK);
    small.RunUntilKept();
    EXPECT_EQ(m_control->SetFrameRate(30), S_OK);
    EXPECT_TRUE(IsConnected());
    EXPECT_EQ(Format().frameTime, 333333);
}

TEST_F(Host, AColourOnAConnectedPinShowsAfterTheNextConnection)
{
    ASSERT_EQ(SetFormat(L"RGB32", g_width, g_height), S_OK);
    ASSERT_EQ(SetPicture(m_source, L"red"), S_OK);
    {
        SmallGraph small(m_source, 2);
        ASSERT_EQ(small.connected, S_OK);
        small.RunUntilKept();
        const Bytes red = small.keeper.Frames()[0].bytes;
        EXPECT_EQ(red[0], 0);
        ASSERT_EQ(SetPicture(m_source, L"blue"), S_OK);
        EXPECT_TRUE(IsConnected());
        EXPECT_EQ(RunAgain(small), red);
    }
    EXPECT_EQ(GrabFrames(m_source, 1)[0].bytes[0], 255);
    // And nothing of the kind shows after a file.
    ShowPicture(1);
    ASSERT_EQ(SetPicture(m_source, L"green"), S_OK);
    EXPECT_EQ(GrabFrames(m_source, 1)[0].bytes, Frame(1));
    EXPECT_EQ(CurrentFile(m_source), L"green");
}

// The type stays the same, so the graph is not asked, and the finished frame is sent on.
TEST_F(Host, AnotherAspectModeOnAConnectedPinWaitsForTheNextComposition)
{
    ASSERT_EQ(SetFormat(L"RGB32", 64, 16), S_OK);
    ShowPicture(1);
    const auto setAspect = [this](eQGKeepAspect mode)
    {
        QG_VID_PROPS properties = {};
        EXPECT_EQ(m_control->GetOutputProps(&properties), S_OK);
        properties.eKeepAspect = mode;
        EXPECT_EQ(m_control->SetOutputProps(&properties), S_OK);
    };
    SmallGraph small(m_source, 2);
    ASSERT_EQ(small.connected, S_OK);
    small.RunUntilKept();
    const Bytes cropped = small.keeper.Frames()[0].bytes;
    setAspect(eQGKA_LetterBox);
    EXPECT_TRUE(IsConnected());
    EXPECT_EQ(RunAgain(small), cropped);
    // A new connection composes the frame anew.
    small.graph.Remove(m_source);
    const Bytes letterBoxed = GrabFrames(m_source, 1)[0].bytes;
    EXPECT_NE(letterBoxed, cropped);
    EXPECT_EQ(letterBoxed[0] | letterBoxed[1] | letterBoxed[2], 0);
}

// --- Not stopped

TEST_F(Host, CallsOnARunningFilter)
{
    ShowPicture(1);
    HRESULT format = S_OK, rate = S_OK, properties = E_FAIL, setFormat = S_OK, disconnect = S_OK,
            picture = E_FAIL, position = E_FAIL, seek = E_FAIL, accept = E_FAIL, state = E_FAIL;
    CallingReceiver receiver(
        [&]
        {
            format = SetFormat(L"UYVY", 64, 32);
            rate = m_control->SetFrameRate(50);
            QG_VID_PROPS record = {};
            m_control->GetOutputProps(&record);
            record.dblRate = 50;
            properties = m_control->SetOutputProps(&record);
            COwnedMediaType type;
            m_config->GetFormat(type.Out());
            setFormat = m_config->SetFormat(type.Get());
            accept = m_pin->QueryAccept(type.Get());
            disconnect = m_pin->Disconnect();
            picture = SetPicture(m_source, File(L"next.tga", g_width, g_height, 2));
            LONGLONG current = 0, stop = 0;
            position = m_seeking->GetPositions(&current, &stop);
            current = 400000 * 5;
            seek = m_seeking->SetPositions(&current, AM_SEEKING_AbsolutePositioning, nullptr, 0);
            FILTER_STATE found = State_Stopped;
            state = m_source->GetState(INFINITE, &found);
        });
    FilterGraph graph;
    CComPtr<IBaseFilter> sink;
    ASSERT_EQ(CreateFrameSink(receiver, sink), S_OK);
    graph.Add(m_source, L"Source");
    graph.Add(sink, L"Sink");
    ASSERT_EQ(graph.Connect(m_source, sink), S_OK);
    graph.Run();
    ASSERT_TRUE(receiver.Wait()) << "a call from inside Receive does not come back";
    graph.Stop();

    EXPECT_EQ(format, VFW_E_NOT_STOPPED);
    EXPECT_EQ(rate, VFW_E_NOT_STOPPED);
    EXPECT_EQ(setFormat, VFW_E_NOT_STOPPED);
    EXPECT_EQ(disconnect, VFW_E_NOT_STOPPED);
    EXPECT_EQ(properties, S_OK);
    EXPECT_EQ(accept, S_OK);
    EXPECT_EQ(picture, S_OK);
    EXPECT_EQ(position, S_OK);
    EXPECT_EQ(seek, S_OK);
    EXPECT_EQ(state, S_OK);
    // The record is replaced, the type stays, also after the stop; the next call that sets something takes it
    // up.
    EXPECT_EQ(Format().frameTime, 400000);
    double asked = 0;
    EXPECT_EQ(m_control->GetFrameRate(&asked), S_OK);
    EXPECT_EQ(asked, 50);
    EXPECT_EQ(SetPicture(m_source, m_folder.Name(L"next.tga")), S_OK);
    EXPECT_EQ(Format().frameTime, 200000);
    EXPECT_TRUE(IsConnected());
}

TEST_F(Host, AnUnconnectedFilterKeepsTheGraphFromRunning)
{
    FilterGraph graph;
    graph.Add(m_source, L"Source");
    EXPECT_EQ(m_source->Pause(), VFW_E_WRONG_STATE);
    EXPECT_EQ(m_source->Run(0), VFW_E_WRONG_STATE);
    EXPECT_THROW(graph.Run(), Failure);
}

// --- Lists, length and position

TEST_F(Host, TheLengthOfAListStaysForTheNextPicture)
{
    const std::wstring a = File(L"a.tga", g_width, g_height, 1), b = File(L"b.tga", g_width, g_height, 2);
    ASSERT_EQ(SetPicture(m_source, a + L"|" + b), S_OK);
    ASSERT_EQ(SetPicture(m_source, b), S_OK);
    FilterGraph graph;
    const std::vector<ReceivedFrame> frames = PlayToEnd(graph, m_source, g_many);
    ASSERT_EQ(frames.size(), 3u);
    for (const ReceivedFrame& frame : frames)
        EXPECT_EQ(frame.bytes, Frame(2));

    // After the end there are no more frames until a seek. Zero as the stop position is no end at all.
    EXPECT_TRUE(PlayToEnd(graph, m_source, g_many).empty());
    LONGLONG start = 0, stop = 0;
    ASSERT_EQ(m_seeking->SetPositions(&start, AM_SEEKING_AbsolutePositioning, &stop,
                                      AM_SEEKING_AbsolutePositioning),
              S_OK);
    EXPECT_EQ(GrabFrames(m_source, 20).size(), 20u);
}

TEST_F(Host, ARefusedListIsPlayedAllTheSame)
{
    const std::wstring a = File(L"a.tga", g_width, g_height, 1), b = File(L"b.tga", g_width, g_height, 2),
                       c = File(L"c.tga", g_width, g_height, 3);
    ASSERT_EQ(SetPicture(m_source, a + L"|" + b), S_OK);
    const std::wstring missing = m_folder.Name(L"none\\x.tga");
    EXPECT_EQ(SetPicture(m_source, missing + L"|" + c), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(CurrentFile(m_source), a + L"|" + b);
    FilterGraph graph;
    const std::vector<ReceivedFrame> frames = PlayToEnd(graph, m_source, g_many);
    ASSERT_EQ(frames.size(), 3u);
    EXPECT_EQ(frames[0].bytes, Frame(1)) << "the entry that cannot be read leaves the picture";
    EXPECT_EQ(frames[1].bytes, Frame(3));
    EXPECT_EQ(frames[2].bytes, Frame(3));
}

TEST_F(Host, AListOutranksABitmapHandle)
{
    const std::wstring a = File(L"a.tga", g_width, g_height, 1), b = File(L"b.tga", g_width, g_height, 2);
    ASSERT_EQ(SetPicture(m_source, a + L"|" + b), S_OK);
    const HBITMAP bitmap = CreateBitmap(g_width, g_height, 1, 32, nullptr);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(m_control->SetPictureHandle(static_cast<int>(reinterpret_cast<INT_PTR>(bitmap))), S_OK);
    EXPECT_TRUE(DeleteObject(bitmap)) << "the filter has a copy";
    FilterGraph graph;
    const std::vector<ReceivedFrame> frames = PlayToEnd(graph, m_source, g_many);
    ASSERT_EQ(frames.size(), 3u);
    EXPECT_EQ(frames[0].bytes, Frame(1));
    EXPECT_EQ(frames[1].bytes, Frame(2));
}

TEST_F(Host, ThePositionSurvivesStopAndTheTimesBeginAnew)
{
    ShowPicture(1);
    EXPECT_EQ(GrabFrames(m_source, 10).size(), 10u);
    LONGLONG current = 0;
    ASSERT_EQ(m_seeking->GetCurrentPosition(&current), S_OK);
    EXPECT_GE(current, 10 * 400000);
    const std::vector<ReceivedFrame> next = GrabFrames(m_source, 1);
    ASSERT_EQ(next.size(), 1u);
    EXPECT_EQ(next[0].start, 0);
    EXPECT_EQ(next[0].mediaStart * 400000, current);
    EXPECT_TRUE(next[0].isDiscontinuity);
}

TEST_F(Host, AStopPositionOfASecondGivesTwentySixFrames)
{
    ShowPicture(1);
    LONGLONG stop = 10000000;
    ASSERT_EQ(m_seeking->SetPositions(nullptr, 0, &stop, AM_SEEKING_AbsolutePositioning), S_OK);
    FilterGraph graph;
    EXPECT_EQ(PlayToEnd(graph, m_source, g_many).size(), 26u);
}

// --- Formats that do not exist

TEST_F(Host, AFormatThatDoesNotFitShowsAtTheConnection)
{
    ShowPicture(1);
    for (const auto& [format, width, height] :
         {std::tuple(L"YUY2", 33, 16), std::tuple(L"I420", 32, 17), std::tuple(L"XXXX", 0, 0)})
    {
        EXPECT_EQ(SetFormat(format, width, height), S_OK);
        CComPtr<IEnumMediaTypes> types;
        ASSERT_EQ(m_pin->EnumMediaTypes(&types), S_OK);
        AM_MEDIA_TYPE* type = nullptr;
        EXPECT_EQ(types->Next(1, &type, nullptr), S_FALSE);
        const SmallGraph small(m_source, 1);
        EXPECT_EQ(small.connected, VFW_E_NO_ACCEPTABLE_TYPES);
    }
    // Known to the table of formats, and not to the conversions.
    EXPECT_EQ(SetFormat(L"NV12", 0, 0), S_OK);
    const SmallGraph small(m_source, 1);
    EXPECT_EQ(small.connected, S_OK);
}
