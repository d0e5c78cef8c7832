#pragma once

#include "CAsync.h"

#include <atomic>

#include <windows.h>

// The serial port on Windows: the device opened for overlapped I/O, with a reader thread that
// waits on a stop, a receive-complete and a transmit-complete event.
class CAsyncW32 : public CAsync
{
public:
    CAsyncW32();
    ~CAsyncW32() override;

    bool Tx(const ByteVector &data) override;
    bool Open(const std::string &portName) override;
    void Close() override;
    bool Configure(int baudIndex, int dataBits, int stopBits, int parity) override;
    void SetRTS(bool on) override;
    void SetDTR(bool on) override;

private:
    static DWORD WINAPI ThreadEntry(LPVOID self);
    DWORD ThreadProc();
    void ArmRx();
    void CancelArmedRead();
    void GetRxData();
    bool AwaitPendingRead(DWORD count);
    bool ArmingByteArrived();
    void EndUnstartedThread();
    bool FailOpen(const std::string &what);
    static PortOpenFailure::Step StepOfOpenError(DWORD code);
    static int PosixError(DWORD code);
    void ReleaseHandles();

    HANDLE m_thread = nullptr;
    DWORD m_threadId = 0;
    bool m_resumed = false; // Configure has started the reader thread
    std::atomic<bool> m_abandoned {false}; // the suspended reader thread is to end at once
    HANDLE m_stopEvent = nullptr;
    HANDLE m_rxEvent = nullptr;
    HANDLE m_txEvent = nullptr;
    HANDLE m_device = INVALID_HANDLE_VALUE;
    OVERLAPPED m_rxOverlapped {};
    OVERLAPPED m_txOverlapped {};
    ByteVector m_rxBuffer;
    bool m_rxArmed = false; // the one-byte arming read is under way; reader thread only
};
