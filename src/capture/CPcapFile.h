#pragma once

#include "comm/CLineTap.h"

#include <cstdint>
#include <string>

struct pcap;
struct pcap_dumper;

// A capture file of the serial line: pcap with link type 250, RTAC serial line, written by libpcap.
// Each record is one chunk as the port moved it, behind the link type's 12-octet header: seconds
// and microseconds of the time the port saw it (big-endian), the event type (1 data sent by the
// master, 2 data received), the control lines (0: the program does not watch them) and two footer
// octets. Wireshark decodes such records as IEC 60870-5-101 link telegrams.
class CPcapFile
{
public:
    static constexpr int kLinkTypeRtacSerial = 250;
    static constexpr std::uint8_t kEventSent = 1;
    static constexpr std::uint8_t kEventReceived = 2;
    static constexpr std::size_t kEventHeaderSize = 12;
    static constexpr std::size_t kFileHeaderSize = 24;
    static constexpr std::size_t kRecordHeaderSize = 16;
    // The longest record; a longer chunk is split over several records, none of its octets lost.
    static constexpr std::size_t kSnapLength = 65535;
    static constexpr std::size_t kFileBufferSize = 256 * 1024;

    CPcapFile() = default;
    ~CPcapFile();
    CPcapFile(const CPcapFile &) = delete;
    CPcapFile &operator=(const CPcapFile &) = delete;

    // Creates (or empties) the file and writes the file header; false with Error() when it cannot.
    bool Open(const std::string &path);
    // Appends the chunk as one record (or several, beyond the snap length). Errors of the write
    // show at the next Flush.
    void Write(int direction, CLineTap::Clock::time_point seen, const ByteVector &data);
    // Hands everything written so far to the system; false with Error() when the file refused it.
    bool Flush();
    // True when the file has been deleted or moved away while it was open.
    bool Vanished() const;
    void Close();

    // The octets written so far, headers included.
    std::uint64_t Size() const { return m_size; }
    std::string Error() const { return m_error; }

    // The link type's header of a record.
    static ByteVector EventHeader(int direction, CLineTap::Clock::time_point seen);

private:
    void WriteRecord(int direction, CLineTap::Clock::time_point seen, const std::uint8_t *data, std::size_t size);

    pcap *m_dead = nullptr;
    pcap_dumper *m_dumper = nullptr;
    std::uint64_t m_size = 0;
    std::string m_error;
};
