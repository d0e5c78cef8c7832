#pragma once

#include "CAsync.h"

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

// The serial port on POSIX systems. The reader thread blocks in poll() on the device and on a stop
// event, so an idle port uses no CPU; a hang-up (USB adapter pulled, far end of a pseudo-terminal
// closed) is reported once and ends the reader thread.
class CAsyncPosix : public CAsync
{
public:
    CAsyncPosix();
    ~CAsyncPosix() override;

    bool Tx(const ByteVector &data) override;
    bool Open(const std::string &portName) override;
    void Close() override;
    bool Configure(int baudIndex, int dataBits, int stopBits, int parity) override;
    void SetRTS(bool on) override;
    void SetDTR(bool on) override;

    // "COM3" -> /dev/ttyS2, "ttyUSB0" -> /dev/ttyUSB0, a name starting with '/' as it is.
    static std::string DevicePath(const std::string &portName);

    bool IsOpen() const { return m_fd.load() >= 0; }
    // True while the reader thread runs (after Configure, until Close or a hang-up).
    bool IsReading() const { return m_reading.load(); }

private:
    void ThreadProc();
    bool ReadAvailable(ByteVector &batch);
    bool WriteAll(const ByteVector &data);
    void SetModemLine(int line, bool on, const char *operation);
    bool IsPseudoTerminal() const;
    void ReleaseHandles();

    std::atomic<int> m_fd{-1};
    int m_stopFd = -1;
    std::thread m_reader;
    std::atomic<bool> m_reading{false};
    std::atomic<bool> m_configured{false}; // the reader was started: Tx may write
    std::mutex m_txMutex; // one writer at a time; Close waits for a write under way
};
