#pragma once

#include "EventLog.h"
#include "FlashMemory.h"
#include "Transmission.h"

#include <string>

namespace strelosim {

// The head's boot loader ("firmware flasher"). It answers the enquiry 0x05 with ACK 0x06 and reads
// frames 02 LEN CMD data... CKS 03:
//   0xAA / 0xAB  erase the flash; ACK once the erase time has passed
//   0x24 / 0x32  write: a 3- or 4-octet address (most significant first), then the bytes; ACK when
//                the data octets and CKS sum to 0 modulo 256, else NAK 0x15 and nothing is stored
//   0xCC         start the application: the flashed image is written to the image file (if one is
//                configured) and the boot loader is done; no answer
// Any other command, and a frame whose end octet is not 0x03, is answered with NAK. A frame that
// stays incomplete while the line is quiet for longer than `staleAfter` is dropped.
class BootLoader
{
public:
    static constexpr std::uint8_t kEnquiry = 0x05;
    static constexpr std::uint8_t kAck = 0x06;
    static constexpr std::uint8_t kNak = 0x15;
    static constexpr std::uint8_t kStx = 0x02;
    static constexpr std::uint8_t kEtx = 0x03;
    static constexpr std::uint8_t kEraseA = 0xAA;
    static constexpr std::uint8_t kEraseB = 0xAB;
    static constexpr std::uint8_t kWrite24 = 0x24;
    static constexpr std::uint8_t kWrite32 = 0x32;
    static constexpr std::uint8_t kStart = 0xCC;
    static constexpr std::chrono::milliseconds kDefaultStaleAfter {50};

    BootLoader(std::chrono::milliseconds eraseTime, std::string imageOut, EventLog &log,
               Clock::duration staleAfter = kDefaultStaleAfter);

    // Takes received bytes up to and including a start command; returns how many it took.
    std::size_t Receive(const std::uint8_t *data, std::size_t size, TimePoint now, std::vector<Transmission> &answers);
    // The master closed the line: a frame in progress is dropped.
    void Reset(TimePoint now);
    void SetStaleAfter(Clock::duration staleAfter) { m_staleAfter = staleAfter; }

    bool Started() const { return m_started; }
    const FlashMemory &Memory() const { return m_memory; }

private:
    enum class State { Idle, Length, Command, Data, Checksum, End };

    void Take(std::uint8_t b, TimePoint now, std::vector<Transmission> &answers);
    void Complete(std::uint8_t end, TimePoint now, std::vector<Transmission> &answers);
    Transmission Execute(TimePoint now);
    Transmission Write(std::size_t addressOctets, TimePoint now);
    void Start(TimePoint now);
    void FlushNoise(TimePoint now);
    static Transmission Answer(std::uint8_t code, std::chrono::milliseconds delay = std::chrono::milliseconds(0));

    std::chrono::milliseconds m_eraseTime;
    std::string m_imageOut;
    EventLog &m_log;
    Clock::duration m_staleAfter;
    FlashMemory m_memory;
    State m_state = State::Idle;
    std::uint8_t m_length = 0;
    std::uint8_t m_command = 0;
    std::uint8_t m_checksum = 0;
    Bytes m_data;
    Bytes m_frame; // the raw octets of the frame in progress, for the log
    Bytes m_noise;
    TimePoint m_lastByte {};
    bool m_started = false;
};

} // namespace strelosim
