// Exercises the Win32 port, timer and lock classes so the cross compiler checks them against the
// real Win32 API. Run on Windows (or under wine) it opens the port named on the command line,
// sends one status request at 9600 8E1 and prints what comes back within a second.
#include "comm/CAsyncW32.h"
#include "comm/CCriticalSectionW32.h"
#include "comm/CTimerW32.h"

#include <atomic>
#include <cstdio>

namespace {

class SmokePort : public CAsyncW32
{
public:
    ~SmokePort() override { Close(); }
    void OnReceive(const ByteVector &data) override
    {
        lock.Enter();
        for (std::uint8_t octet : data)
            std::printf("%02X ", octet);
        std::printf("\n");
        lock.Leave();
    }
    void ReportError(const std::string &text) override { std::printf("%s\n", text.c_str()); }
    CCriticalSectionW32 lock;
};

class SmokeTimer : public CTimerW32
{
public:
    ~SmokeTimer() override { StopThread(); }
    void OnExpired() override { expired = true; }
    std::atomic<bool> expired {false};
};

} // namespace

int main(int argc, char **argv)
{
    const ULONGLONG began = GetTickCount64();
    SmokeTimer timer;
    timer.Start(1000);
    SmokePort port;
    if (argc > 1 && port.Open(argv[1]) && port.Configure(6, CAsync::kDataBits8, CAsync::kStopBits1, CAsync::kParityEven)) {
        port.SetRTS(false);
        port.SetDTR(true);
        port.Tx({0x10, 0x49, 0x01, 0x4A, 0x16});
    }
    while (!timer.expired)
        Sleep(10);
    port.Close();
    std::printf("smoke: done after %llu ms\n", GetTickCount64() - began);
    return timer.IsBusy() ? 1 : 0;
}
