#pragma once

#include <chrono>

#include <windows.h>

// Helpers of the Win32 test programs: the time since a point, waiting on an event, counting the
// threads of this process.
namespace W32Support {

using Clock = std::chrono::steady_clock;

double MillisecondsSince(Clock::time_point began);
// True when the event is signalled within the time; the tests use generous times, since the
// machine running them is loaded and wine adds its own latency.
bool WaitFor(HANDLE event, DWORD milliseconds);
// The number of threads this process has now.
int ThreadCount();
// Waits until the process has this many threads (threads end a little after they are told to).
bool WaitForThreadCount(int count, DWORD milliseconds);
// The thread count once it has stayed the same for a while: a thread of an earlier step may still
// be ending, and wine starts service threads of its own now and then.
int SettledThreadCount();
// True when the program runs under wine rather than on Windows.
bool RunningUnderWine();
// The CPU time (user + kernel) the process has used so far.
double ProcessCpuMilliseconds();

} // namespace W32Support
