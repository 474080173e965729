#include "Interrupt.h"
#include <mutex>
#include <utility>

namespace
{
// The handler is a plain function on a thread of the system's, so what it sets is found here.
std::mutex g_lock;
HANDLE g_event = nullptr;

bool SetTheEvent()
{
    const std::lock_guard<std::mutex> lock(g_lock);
    const HANDLE event = std::exchange(g_event, nullptr);
    return event && SetEvent(event);
}

BOOL WINAPI OnInterrupt(DWORD kind)
{
    if (!SetTheEvent())
        return FALSE; // the second one: the system's own handler ends the program
    // The system ends the program when this returns, unless it was a key: the main thread ends it before.
    if (kind != CTRL_C_EVENT && kind != CTRL_BREAK_EVENT)
        Sleep(INFINITE);
    return TRUE;
}
} // namespace

Interrupt::Interrupt() : m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    {
        const std::lock_guard<std::mutex> lock(g_lock);
        g_event = m_event.Get();
    }
    SetConsoleCtrlHandler(OnInterrupt, TRUE);
}

Interrupt::~Interrupt()
{
    SetConsoleCtrlHandler(OnInterrupt, FALSE);
    const std::lock_guard<std::mutex> lock(g_lock);
    g_event = nullptr;
}
