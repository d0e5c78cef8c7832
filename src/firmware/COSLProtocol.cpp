#include "COSLProtocol.h"

#include "FirmwareAddressSpace.h"

COSLProtocol::COSLProtocol()
{
    // Results cross from the reader and timer threads to the user-interface thread in queued
    // signals, which need the type under the name the connections use.
    qRegisterMetaType<COSLProtocol::OSL_RESULT>("COSLProtocol::OSL_RESULT");
}

COSLProtocol::~COSLProtocol()
{
    StopThread();
    Close();
}

bool COSLProtocol::OpenPort(const std::string &portName, int baudIndex)
{
    const bool opened = Open(portName) && Configure(baudIndex, kDataBits8, kStopBits1, kParityNone);
    std::lock_guard lock(m_lock);
    state = StateIdle;
    return opened;
}

bool COSLProtocol::Connect(std::uint32_t retries)
{
    return Request(StateEnquiry, kEnquiry, {}, retries);
}

bool COSLProtocol::EraseFlashA(std::uint32_t retries)
{
    return Request(StateErase, kCmdEraseA, {}, retries);
}

bool COSLProtocol::EraseFlashB(std::uint32_t retries)
{
    return Request(StateErase, kCmdEraseB, {}, retries);
}

bool COSLProtocol::WriteBlock(std::uint32_t address, const ByteVector &data, bool wideAddresses,
                              std::uint32_t retries)
{
    // A write that would run past the top of its address space is not sent at all: its address field
    // would lose the high bits and the data would land at the bottom of the flash.
    if (data.empty() || !FirmwareAddressSpace::Holds(address, data.size(), wideAddresses))
        return false;
    ByteVector field;
    for (int shift = wideAddresses ? 24 : 16; shift >= 0; shift -= 8)
        field.push_back(static_cast<std::uint8_t>(address >> shift));
    field.insert(field.end(), data.begin(), data.end());
    return Request(StateWrite, wideAddresses ? kCmdWrite32 : kCmdWrite24, field, retries);
}

bool COSLProtocol::StartApplication()
{
    std::lock_guard lock(m_lock);
    if (state != StateIdle)
        return false;
    return Tx(Frame(kCmdStart, {}));
}

ByteVector COSLProtocol::Frame(std::uint8_t command, const ByteVector &data)
{
    const bool isWrite = command == kCmdWrite24 || command == kCmdWrite32;
    if (isWrite == data.empty())
        return {};
    // The checksum makes the data bytes sum to zero; frame bytes, length and command are outside it.
    std::uint8_t sum = 0;
    for (std::uint8_t byte : data)
        sum = static_cast<std::uint8_t>(sum + byte);
    ByteVector frame {kStx, static_cast<std::uint8_t>(data.size()), command};
    frame.insert(frame.end(), data.begin(), data.end());
    frame.push_back(static_cast<std::uint8_t>(-sum));
    frame.push_back(kEtx);
    return frame;
}

COSLProtocol::State COSLProtocol::CurrentState() const
{
    std::lock_guard lock(m_lock);
    return state;
}

bool COSLProtocol::Request(State newState, std::uint8_t command, const ByteVector &data, std::uint32_t count)
{
    const ByteVector frame = newState == StateEnquiry ? ByteVector {kEnquiry} : Frame(command, data);
    if (frame.empty())
        return false;
    // The lock is held across the write, so an answer that arrives at once finds the new state.
    std::lock_guard lock(m_lock);
    if (state != StateIdle || !Tx(frame))
        return false;
    if (newState == StateWrite) {
        lastCommand = command;
        lastData = data;
    }
    state = newState;
    retries = count;
    Start(TimeoutFor(newState));
    return true;
}

ByteVector COSLProtocol::RepetitionFor(State current) const
{
    switch (current) {
    case StateEnquiry:
        return {kEnquiry};
    case StateErase:
        // Whichever erase was asked for, the boot loader is asked again with 0xAA.
        return Frame(kCmdEraseA, {});
    case StateWrite:
        return Frame(static_cast<std::uint8_t>(lastCommand), lastData);
    case StateIdle:
        break;
    }
    return {};
}

int COSLProtocol::TimeoutFor(State current)
{
    switch (current) {
    case StateEnquiry:
        return kEnquiryTimeoutMs;
    case StateErase:
        return kEraseTimeoutMs;
    case StateWrite:
        return kWriteTimeoutMs;
    case StateIdle:
        break;
    }
    return 0;
}

void COSLProtocol::Repeat()
{
    --retries;
    Tx(RepetitionFor(state));
    // A repetition that cannot be written (the adapter was pulled) is treated like one the device
    // did not hear: the state stays and the time-out runs again, so the remaining retries run out
    // and the request still ends in a result instead of waiting for ever.
    Start(TimeoutFor(state));
}

void COSLProtocol::Finish(OSL_RESULT result, std::unique_lock<std::mutex> &lock)
{
    state = StateIdle;
    // The decision is made; the result is delivered outside the lock, so a handler may start the
    // next request at once.
    lock.unlock();
    CommandResult(result);
}

void COSLProtocol::OnReceive(const ByteVector &data)
{
    std::unique_lock lock(m_lock);
    if (state == StateIdle)
        return;
    // Only the first byte of a batch is the answer; the rest is ignored.
    const std::uint8_t answer = data.at(0);
    if (answer == kAck) {
        Stop();
        Finish(OSL_SUCCESS, lock);
    } else if (retries == 0) {
        Finish(OSL_BAD_ANSWER, lock);
    } else {
        Repeat();
    }
}

void COSLProtocol::OnTimeout()
{
    std::unique_lock lock(m_lock);
    if (state == StateIdle)
        return;
    if (retries == 0)
        Finish(OSL_NO_ANSWER, lock);
    else
        Repeat();
}

void COSLProtocol::OnExpired()
{
    OnTimeout();
}

void COSLProtocol::ReportError(const std::string &)
{
}
