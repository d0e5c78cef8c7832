// The answer and time-out handling of the boot-loader protocol, driven by an arbitrary script of
// requests, answer batches (empty ones included), time-outs and failing writes. A model of the
// stop-and-wait rules checks every step: a request is taken only when the protocol is idle; each
// taken request ends in exactly one result; an ACK first in a batch is success, anything else is
// repeated while retries are left and is a bad answer after; a time-out repeats while retries are
// left and is no answer after; every repetition is the frame of the request (0xAA for any erase)
// with its own time-out, and the frames are well formed.

#include "BootLoaderProbe.h"
#include "firmware/FirmwareAddressSpace.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>

namespace {

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

class Script
{
public:
    Script(const std::uint8_t *data, std::size_t size) : m_data(data), m_size(size) {}
    bool AtEnd() const { return m_at >= m_size; }
    std::uint8_t Next() { return m_at < m_size ? m_data[m_at++] : 0; }

private:
    const std::uint8_t *m_data;
    std::size_t m_size;
    std::size_t m_at = 0;
};

// What the protocol should be doing, kept beside it.
struct Model
{
    COSLProtocol::State state = COSLProtocol::StateIdle;
    std::uint32_t retries = 0;
    ByteVector repetition;
    int timeout = 0;
    std::size_t results = 0;
};

int TimeoutFor(COSLProtocol::State state)
{
    return state == COSLProtocol::StateEnquiry ? COSLProtocol::kEnquiryTimeoutMs
        : state == COSLProtocol::StateErase    ? COSLProtocol::kEraseTimeoutMs
                                               : COSLProtocol::kWriteTimeoutMs;
}

void CheckWriteFrame(const ByteVector &frame, std::uint8_t command, std::size_t fieldSize)
{
    Check(frame.size() == fieldSize + 5);
    Check(frame[0] == COSLProtocol::kStx && frame[1] == static_cast<std::uint8_t>(fieldSize));
    Check(frame[2] == command && frame.back() == COSLProtocol::kEtx);
    std::uint8_t sum = 0;
    for (std::size_t i = 3; i < 3 + fieldSize + 1; ++i)
        sum = static_cast<std::uint8_t>(sum + frame[i]);
    Check(sum == 0);
}

// Makes one request from the script; true when the protocol took it.
bool Request(BootLoaderProbe &protocol, Model &model, Script &script, bool writesFail)
{
    const std::uint8_t kind = script.Next() % 4;
    const std::uint32_t retries = script.Next() % 6;
    const std::size_t framesBefore = protocol.frames.size();
    bool taken = false;
    COSLProtocol::State state = COSLProtocol::StateEnquiry;
    std::uint8_t writeCommand = 0;
    std::size_t fieldSize = 0;
    if (kind == 0) {
        taken = protocol.Connect(retries);
    } else if (kind == 1 || kind == 2) {
        state = COSLProtocol::StateErase;
        taken = kind == 1 ? protocol.EraseFlashA(retries) : protocol.EraseFlashB(retries);
    } else {
        state = COSLProtocol::StateWrite;
        const bool wide = (script.Next() & 1) != 0;
        std::uint32_t address = 0;
        for (int i = 0; i < 4; ++i)
            address = address << 8 | script.Next();
        ByteVector bytes(script.Next() % 40);
        for (std::uint8_t &octet : bytes)
            octet = script.Next();
        taken = protocol.WriteBlock(address, bytes, wide, retries);
        // Nothing to write, or a block running past the top of its address space: refused unsent.
        if (bytes.empty() || !FirmwareAddressSpace::Holds(address, bytes.size(), wide)) {
            Check(!taken && protocol.frames.size() == framesBefore);
            return false;
        }
        writeCommand = wide ? COSLProtocol::kCmdWrite32 : COSLProtocol::kCmdWrite24;
        fieldSize = bytes.size() + (wide ? 4 : 3);
    }
    const bool idle = model.state == COSLProtocol::StateIdle;
    Check(taken == (idle && !writesFail));
    Check(protocol.frames.size() == framesBefore + (idle ? 1 : 0));
    if (idle && writeCommand != 0)
        CheckWriteFrame(protocol.frames.back(), writeCommand, fieldSize);
    if (!taken)
        return false;
    model.state = state;
    model.retries = retries;
    model.timeout = TimeoutFor(state);
    model.repetition = state == COSLProtocol::StateEnquiry ? ByteVector {COSLProtocol::kEnquiry}
        : state == COSLProtocol::StateErase                ? COSLProtocol::Frame(COSLProtocol::kCmdEraseA, {})
                                                           : protocol.frames.back();
    Check(protocol.timeouts.back() == model.timeout);
    return true;
}

// A bad answer or a time-out: repeated while retries are left, else the request ends with `last`.
void Repeat(BootLoaderProbe &protocol, Model &model, COSLProtocol::OSL_RESULT last)
{
    if (model.retries == 0) {
        model.state = COSLProtocol::StateIdle;
        ++model.results;
        Check(protocol.results.size() == model.results && protocol.results.back() == last);
        return;
    }
    --model.retries;
    Check(protocol.frames.back() == model.repetition);
    Check(protocol.timeouts.back() == model.timeout);
}

void Answer(BootLoaderProbe &protocol, Model &model, Script &script)
{
    ByteVector batch(script.Next() % 4);
    for (std::uint8_t &octet : batch)
        octet = script.Next();
    const int stopsBefore = protocol.stops;
    try {
        protocol.OnReceive(batch);
    } catch (const std::out_of_range &) {
        // The first byte is read with a range-checked access: an empty batch is an error, but
        // only while an answer is awaited, and it changes nothing.
        Check(batch.empty() && model.state != COSLProtocol::StateIdle);
        return;
    }
    Check(!batch.empty() || model.state == COSLProtocol::StateIdle);
    if (model.state == COSLProtocol::StateIdle)
        return;
    if (batch[0] == COSLProtocol::kAck) {
        model.state = COSLProtocol::StateIdle;
        ++model.results;
        Check(protocol.stops == stopsBefore + 1);
        Check(protocol.results.size() == model.results && protocol.results.back() == COSLProtocol::OSL_SUCCESS);
        return;
    }
    Repeat(protocol, model, COSLProtocol::OSL_BAD_ANSWER);
}

void TimeOut(BootLoaderProbe &protocol, Model &model)
{
    const std::size_t framesBefore = protocol.frames.size();
    protocol.OnTimeout();
    if (model.state == COSLProtocol::StateIdle) {
        Check(protocol.frames.size() == framesBefore);
        return;
    }
    Repeat(protocol, model, COSLProtocol::OSL_NO_ANSWER);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // One protocol for the whole run: each one starts a timer thread of its own.
    // Each input leaves it idle: its last request has run out of time-outs.
    static BootLoaderProbe protocol;
    protocol.SetWritesFail(false);
    Check(protocol.CurrentState() == COSLProtocol::StateIdle);
    protocol.frames.clear();
    protocol.timeouts.clear();
    protocol.results.clear();
    protocol.stops = 0;

    Model model;
    std::size_t requests = 0;
    bool writesFail = false;
    Script script(data, size);
    while (!script.AtEnd()) {
        switch (script.Next() % 5) {
        case 0:
            requests += Request(protocol, model, script, writesFail) ? 1 : 0;
            break;
        case 1:
            Answer(protocol, model, script);
            break;
        case 2:
            TimeOut(protocol, model);
            break;
        case 3: {
            const std::size_t framesBefore = protocol.frames.size();
            const bool started = protocol.StartApplication();
            const bool idle = model.state == COSLProtocol::StateIdle;
            Check(started == (idle && !writesFail));
            Check(protocol.frames.size() == framesBefore + (idle ? 1 : 0));
            if (idle)
                Check(protocol.frames.back() == COSLProtocol::Frame(COSLProtocol::kCmdStart, {}));
            break;
        }
        default:
            writesFail = !writesFail;
            protocol.SetWritesFail(writesFail);
            break;
        }
        Check(protocol.CurrentState() == model.state);
    }
    // Every taken request ends in exactly one result once its time-outs have run out.
    while (model.state != COSLProtocol::StateIdle)
        TimeOut(protocol, model);
    Check(protocol.results.size() == model.results && model.results == requests);
    return 0;
}
