#include "WaitForFrames.h"
#include "Failure.h"
#include <cstdio>

bool WaitForFrames(FilterGraph& graph, FrameCollector& collector, double timeout)
{
    const HANDLE handles[] = {collector.DoneEvent(), graph.EventHandle()};
    for (long before = 0;;)
    {
        const DWORD wait = WaitForMultipleObjects(2, handles, FALSE, static_cast<DWORD>(timeout * 1000));
        if (wait == WAIT_OBJECT_0)
            return true;
        long code = 0;
        HRESULT result = S_OK;
        while (wait == WAIT_OBJECT_0 + 1 && graph.NextEvent(code, result))
        {
            if (code == EC_COMPLETE)
                return false;
            if (code == EC_ERRORABORT)
                throw Failure("the graph aborts", result);
        }
        const long count = collector.Count();
        if (wait == WAIT_TIMEOUT && count == before)
        {
            char text[128] = {};
            std::snprintf(text, sizeof(text),
                          "only %ld of %ld frames came, and no further one within %g seconds", count,
                          collector.Wanted(), timeout);
            throw Failure(text);
        }
        before = count;
    }
}
