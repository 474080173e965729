#include "AviEnd.h"
#include "Failure.h"
#include "FrameSink.h"

HRESULT ConnectAviMux(FilterGraph& graph, IBaseFilter* source, StreamFile& file, CComPtr<IBaseFilter>& mux)
{
    Check(mux.CoCreateInstance(CLSID_AviDest, nullptr, CLSCTX_INPROC_SERVER), "the platform has no AVI mux");
    CComPtr<IConfigInterleaving> interleaving;
    Check(mux->QueryInterface(IID_IConfigInterleaving, reinterpret_cast<void**>(&interleaving)),
          "the AVI mux has no IConfigInterleaving");
    Check(interleaving->put_Mode(INTERLEAVE_FULL), "the AVI mux refuses to interleave");

    CComPtr<IBaseFilter> sink;
    Check(CreateFrameSink(file, sink), "no sink can be made");
    graph.Add(mux, L"AVI Mux");
    graph.Add(sink, L"File");
    // In this order: what the mux has to write to must be there before it takes a stream.
    Check(graph.Connect(mux, sink), "the AVI mux does not connect to the file");
    return graph.Connect(source, mux);
}
