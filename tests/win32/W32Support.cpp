#include "W32Support.h"

#include <tlhelp32.h>

namespace W32Support {

double MillisecondsSince(Clock::time_point began)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - began).count();
}

bool WaitFor(HANDLE event, DWORD milliseconds)
{
    return WaitForSingleObject(event, milliseconds) == WAIT_OBJECT_0;
}

int ThreadCount()
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE)
        return -1;
    const DWORD process = GetCurrentProcessId();
    THREADENTRY32 entry {};
    entry.dwSize = sizeof entry;
    int count = 0;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == process ? 1 : 0;
    CloseHandle(snapshot);
    return count;
}

bool WaitForThreadCount(int count, DWORD milliseconds)
{
    const auto began = Clock::now();
    while (ThreadCount() != count) {
        if (MillisecondsSince(began) > milliseconds)
            return false;
        Sleep(10);
    }
    return true;
}

int SettledThreadCount()
{
    constexpr DWORD kStableMs = 200;
    constexpr DWORD kLongestMs = 5000;
    const auto began = Clock::now();
    int count = ThreadCount();
    auto since = Clock::now();
    while (MillisecondsSince(since) < kStableMs && MillisecondsSince(began) < kLongestMs) {
        Sleep(10);
        const int now = ThreadCount();
        if (now != count) {
            count = now;
            since = Clock::now();
        }
    }
    return count;
}

bool RunningUnderWine()
{
    const HMODULE ntdll = GetModuleHandleA("ntdll.dll");
    return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

double ProcessCpuMilliseconds()
{
    FILETIME created, exited, kernel, user;
    GetProcessTimes(GetCurrentProcess(), &created, &exited, &kernel, &user);
    const auto units = [](const FILETIME &time) {
        return (static_cast<unsigned long long>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
    };
    return (units(kernel) + units(user)) / 10000.0;
}

} // namespace W32Support
