#pragma once

#include "comm/ByteVector.h"

#include <QByteArray>
#include <QString>

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <termios.h>
#include <thread>
#include <vector>

// A boot loader played by a test on the master end of a pseudo-terminal: a thread of its own
// reads the enquiries and command frames the master sends, records them and answers as the
// test's policy says (ACK by default).
class ScriptedBootLoader
{
public:
    struct Frame
    {
        bool enquiry = false;
        std::uint8_t length = 0;
        std::uint8_t command = 0;
        ByteVector data;
        std::uint8_t checksum = 0;
    };
    // The answer to the frame with the given index (counted from 0 over all frames received);
    // an empty answer is silence.
    using Policy = std::function<QByteArray(const Frame &frame, int index)>;

    static QByteArray Ack() { return QByteArray(1, '\x06'); }
    static QByteArray Nak() { return QByteArray(1, '\x15'); }

    // masterFd stays owned by the caller; slavePath is opened once more to read the line settings
    // the master applied.
    ScriptedBootLoader(int masterFd, const QString &slavePath);
    ~ScriptedBootLoader();
    ScriptedBootLoader(const ScriptedBootLoader &) = delete;
    ScriptedBootLoader &operator=(const ScriptedBootLoader &) = delete;

    void SetPolicy(Policy policy);
    // Ends the reading thread: the boot loader hears nothing more (the test may then close the line).
    void Stop();
    std::vector<Frame> Frames();
    // The output rate of the line when the first enquiry arrived (B0 before).
    speed_t RateAtFirstEnquiry();
    // The address and the bytes to program of a write frame (24-bit or 32-bit address).
    static std::uint32_t Address(const Frame &frame);
    static ByteVector Payload(const Frame &frame);

private:
    void Run();
    void Feed(std::uint8_t byte);
    void Complete(const Frame &frame);

    int m_master;
    int m_spy = -1;
    std::atomic<bool> m_stop {false};
    std::thread m_thread;

    std::mutex m_mutex;
    Policy m_policy;
    std::vector<Frame> m_frames;
    speed_t m_rate = B0;

    // The frame being assembled (reader thread only).
    ByteVector m_partial;
};
