#pragma once
/// Ctrl+C, and the other ways in which a console asks a program to end.

#include "dstl/WinAPI/Owner.h"

/// For the length of a scope, an interruption sets an event instead of ending the program. A second one ends
/// it. One such scope at a time.
class Interrupt
{
public:
    Interrupt();
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    /// Set once there was an interruption. Owned by the object.
    HANDLE Event() const { return m_event.Get(); }

private:
    const COwnedHandle m_event;
};
