#pragma once

#include "W32Support.h"

#include <windows.h>

namespace W32Support {

// An auto-reset event that is closed with its owner.
class Event
{
public:
    Event()
        : m_handle(CreateEventA(nullptr, FALSE, FALSE, nullptr))
    {
    }
    ~Event() { CloseHandle(m_handle); }
    Event(const Event &) = delete;
    Event &operator=(const Event &) = delete;

    HANDLE Handle() const { return m_handle; }
    void Set() { SetEvent(m_handle); }
    bool Wait(DWORD milliseconds) { return WaitFor(m_handle, milliseconds); }

private:
    HANDLE m_handle;
};

} // namespace W32Support
