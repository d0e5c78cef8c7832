#pragma once

#include "comm/ByteVector.h"
#include "comm/NativeAliases.h"

#include <QMetaType>

#include <cstdint>
#include <mutex>
#include <string>

// The boot loader's stop-and-wait protocol. The master sends one enquiry byte or one framed command,
// starts a time-out and waits for a one-byte acknowledgement; a bad answer or a time-out repeats the
// request until its retry count runs out, and every request that was sent ends in exactly one
// CommandResult, called on the reader or the timer thread.
class COSLProtocol : public CAsyncNative, public CTimerNative
{
public:
    enum OSL_RESULT : std::int32_t {
        OSL_SUCCESS = 0,    // the device answered with ACK
        OSL_BAD_ANSWER = 1, // the device answered something else, and no retry was left
        OSL_NO_ANSWER = 2,  // the time-out ran out, and no retry was left
    };

    // What the protocol waits for.
    enum State : std::int32_t {
        StateIdle = 0,
        StateEnquiry = 1,
        StateErase = 2,
        StateWrite = 3,
    };

    static constexpr std::uint8_t kEnquiry = 0x05;
    static constexpr std::uint8_t kAck = 0x06;
    static constexpr std::uint8_t kStx = 0x02;
    static constexpr std::uint8_t kEtx = 0x03;
    static constexpr std::uint8_t kCmdEraseA = 0xAA;
    static constexpr std::uint8_t kCmdEraseB = 0xAB;
    static constexpr std::uint8_t kCmdWrite24 = 0x24;
    static constexpr std::uint8_t kCmdWrite32 = 0x32;
    static constexpr std::uint8_t kCmdStart = 0xCC;

    static constexpr int kEnquiryTimeoutMs = 100;
    static constexpr int kEraseTimeoutMs = 10000;
    static constexpr int kWriteTimeoutMs = 1000;

    COSLProtocol();
    ~COSLProtocol() override;

    // Opens and configures the port (8 data bits, one stop bit, no parity) and makes the protocol
    // idle. Nothing is sent and no result follows; false when the port could not be opened or set.
    bool OpenPort(const std::string &portName, int baudIndex);

    // The requests: false means nothing was sent (not idle, invalid data, or the write failed);
    // true means exactly one CommandResult follows.
    bool Connect(std::uint32_t retries);
    bool EraseFlashA(std::uint32_t retries);
    bool EraseFlashB(std::uint32_t retries);
    // A write whose data would reach past the top of its address space (24 or 32 bits) is invalid.
    bool WriteBlock(std::uint32_t address, const ByteVector &data, bool wideAddresses, std::uint32_t retries);
    // Starts the programmed firmware. The boot loader does not answer, so no result follows.
    bool StartApplication();

    // The frame of a command: STX, LEN, CMD, data, CKS, ETX. Only the write commands carry data
    // and a checksum; an empty write command or a data-carrying other command is invalid (empty
    // result).
    static ByteVector Frame(std::uint8_t command, const ByteVector &data);

    State CurrentState() const;

    void OnReceive(const ByteVector &data) override;
    // Port errors are not reported by the boot-loader protocol.
    void ReportError(const std::string &text) override;
    void OnExpired() override;
    // The time-out handler, reached from the timer's expiry on the timer's thread.
    virtual void OnTimeout();

protected:
    // Called exactly once per request when it ends, on the reader or the timer thread.
    virtual void CommandResult(OSL_RESULT result) = 0;

private:
    bool Request(State state, std::uint8_t command, const ByteVector &data, std::uint32_t retries);
    void Repeat();
    ByteVector RepetitionFor(State state) const;
    static int TimeoutFor(State state);
    void Finish(OSL_RESULT result, std::unique_lock<std::mutex> &lock);

    // The reader thread (answers) and the timer thread (time-outs) can meet on one request; the
    // lock lets exactly one of them decide what happens to it.
    mutable std::mutex m_lock;
    State state = StateIdle;
    std::uint32_t retries = 0;
    ByteVector lastData;
    std::int32_t lastCommand = 0;
};

Q_DECLARE_METATYPE(COSLProtocol::OSL_RESULT)
