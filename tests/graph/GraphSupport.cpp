#include "GraphSupport.h"
#include "Failure.h"
#include "FrameSink.h"
#include "support/NewFolder.h"
#include <gtest/gtest.h>
#include <fstream>

namespace
{
FARPROC ExportOf(HMODULE module, const char* name)
{
    const FARPROC function = GetProcAddress(module, name);
    if (!function)
        throw Failure(std::string("no export ") + name);
    return function;
}
} // namespace

FilterModule::FilterModule()
{
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::filesystem::path path = std::filesystem::path(program).parent_path() / L"QXStillSource.dll";
    m_module = LoadLibraryW(path.c_str());
    if (!m_module)
        throw Failure("the DLL does not load", DSTLLastError());
}

FilterModule::~FilterModule()
{
    FreeLibrary(m_module);
}

CComPtr<IBaseFilter> FilterModule::CreateSource() const
{
    using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    const auto getClassObject =
        reinterpret_cast<GetClassObject>(reinterpret_cast<void*>(ExportOf(m_module, "DllGetClassObject")));
    CComPtr<IClassFactory> factory;
    Check(getClassObject(CLSID_CoQXStillSource, IID_IClassFactory, reinterpret_cast<void**>(&factory)),
          "no class factory");
    CComPtr<IBaseFilter> source;
    Check(factory->CreateInstance(nullptr, IID_IBaseFilter, reinterpret_cast<void**>(&source)), "no filter");
    return source;
}

HRESULT FilterModule::CanUnloadNow() const
{
    using CanUnload = HRESULT(STDAPICALLTYPE*)();
    return reinterpret_cast<CanUnload>(reinterpret_cast<void*>(ExportOf(m_module, "DllCanUnloadNow")))();
}

TempFolder::TempFolder() : m_path(MakeNewFolder(L"qx \u00FC\u0416\u4E2D ")) {}

TempFolder::~TempFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::wstring TempFolder::Write(const std::wstring& name, const Bytes& bytes) const
{
    const std::filesystem::path path = m_path / name;
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file)
        throw Failure("a test file cannot be written");
    return path.wstring();
}

FrameKeeper::FrameKeeper(size_t wanted)
    : m_wanted(wanted), m_done(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
}

FrameKeeper::~FrameKeeper()
{
    CloseHandle(m_done);
}

HRESULT FrameKeeper::OnFrame(IMediaSample* sample)
{
    if (m_frames.size() >= m_wanted)
        return S_FALSE;
    BYTE* bits = nullptr;
    const HRESULT hr = sample->GetPointer(&bits);
    if (FAILED(hr))
        return hr;
    ReceivedFrame frame;
    frame.bytes.assign(bits, bits + sample->GetActualDataLength());
    sample->GetTime(&frame.start, &frame.end);
    sample->GetMediaTime(&frame.mediaStart, &frame.mediaEnd);
    frame.isSyncPoint = sample->IsSyncPoint() == S_OK;
    frame.isDiscontinuity = sample->IsDiscontinuity() == S_OK;
    m_frames.push_back(std::move(frame));
    if (m_frames.size() == m_wanted)
        SetEvent(m_done);
    return S_OK;
}

HRESULT SetPicture(IBaseFilter* source, const std::wstring& name)
{
    CComPtr<IQXStillSource> control;
    Check(source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&control)),
          "no control interface");
    return control->SetPicture(CComBSTR(name.c_str()));
}

std::wstring CurrentFile(IBaseFilter* source)
{
    CComPtr<IFileSourceFilter> file;
    Check(source->QueryInterface(IID_IFileSourceFilter, reinterpret_cast<void**>(&file)),
          "no file interface");
    LPOLESTR name = nullptr;
    Check(file->GetCurFile(&name, nullptr), "no current file");
    const std::wstring result = name;
    CoTaskMemFree(name);
    return result;
}

std::vector<ReceivedFrame> GrabFrames(IBaseFilter* source, size_t count, VideoFormat* format)
{
    FrameKeeper keeper(count);
    {
        FilterGraph graph;
        CComPtr<IBaseFilter> sink;
        Check(CreateFrameSink(keeper, sink), "no sink");
        graph.Add(source, L"Source");
        graph.Add(sink, L"Sink");
        Check(graph.Connect(source, sink), "no connection");
        graph.Run();
        EXPECT_TRUE(keeper.Wait()) << "the frames did not come";
        graph.Stop();
    }
    if (format)
        *format = keeper.Format();
    return keeper.Frames();
}

void WaitForTheEnd(FilterGraph& graph)
{
    long code = 0;
    HRESULT result = S_OK;
    while (code != EC_COMPLETE && WaitForSingleObject(graph.EventHandle(), g_limit) == WAIT_OBJECT_0)
    {
        while (graph.NextEvent(code, result) && code != EC_COMPLETE)
            continue;
    }
    EXPECT_EQ(code, EC_COMPLETE) << "the stream did not end";
}

std::vector<ReceivedFrame> PlayToEnd(FilterGraph& graph, IBaseFilter* source, size_t limit)
{
    FrameKeeper keeper(limit);
    CComPtr<IBaseFilter> sink;
    Check(CreateFrameSink(keeper, sink), "no sink");
    graph.Add(source, L"Source");
    graph.Add(sink, L"Sink");
    Check(graph.Connect(source, sink), "no connection");
    graph.Run();
    WaitForTheEnd(graph);
    graph.Stop();
    graph.Remove(sink);
    graph.Remove(source);
    return keeper.Frames();
}
