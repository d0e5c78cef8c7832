#include "CPcapFile.h"

#include "comm/CAsync.h"

#include <pcap/pcap.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

namespace {

// The file is not handed on to programs this one starts: "e" (close-on-exec) on POSIX; the
// Windows runtime ends the program on a mode letter it does not know and spells it "N".
#ifdef _WIN32
constexpr const char *kWriteMode = "wbN";
#else
constexpr const char *kWriteMode = "wbe";
#endif

struct Moment
{
    std::uint32_t seconds;
    std::uint32_t microseconds;
};

Moment Split(CLineTap::Clock::time_point seen)
{
    const auto since = std::chrono::duration_cast<std::chrono::microseconds>(seen.time_since_epoch()).count();
    return {static_cast<std::uint32_t>(since / 1000000), static_cast<std::uint32_t>(since % 1000000)};
}

void AppendBigEndian(ByteVector &out, std::uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        out.push_back(static_cast<std::uint8_t>(value >> shift));
}

} // namespace

CPcapFile::~CPcapFile()
{
    Close();
}

bool CPcapFile::Open(const std::string &path)
{
    Close();
    m_error.clear();
    m_dead = pcap_open_dead(kLinkTypeRtacSerial, static_cast<int>(kSnapLength));
    if (m_dead == nullptr) {
        m_error = "libpcap cannot write this link type";
        return false;
    }
    FILE *file = std::fopen(path.c_str(), kWriteMode);
    if (file == nullptr) {
        m_error = std::strerror(errno);
        Close();
        return false;
    }
    // A buffer that holds well over one flush interval of a busy line: the file is then written
    // only by Flush, which learns the system's reason when the write fails.
    std::setvbuf(file, nullptr, _IOFBF, kFileBufferSize);
    m_dumper = pcap_dump_fopen(m_dead, file);
    if (m_dumper == nullptr) {
        m_error = pcap_geterr(m_dead);
        std::fclose(file);
        Close();
        return false;
    }
    m_size = kFileHeaderSize;
    return true;
}

ByteVector CPcapFile::EventHeader(int direction, CLineTap::Clock::time_point seen)
{
    const Moment moment = Split(seen);
    ByteVector header;
    header.reserve(kEventHeaderSize);
    AppendBigEndian(header, moment.seconds);
    AppendBigEndian(header, moment.microseconds);
    header.push_back(direction == CAsync::kDirectionSent ? kEventSent : kEventReceived);
    header.insert(header.end(), {0, 0, 0}); // control lines, footer
    return header;
}

void CPcapFile::Write(int direction, CLineTap::Clock::time_point seen, const ByteVector &data)
{
    constexpr std::size_t kMostOctets = kSnapLength - kEventHeaderSize;
    std::size_t done = 0;
    do {
        const std::size_t part = std::min(kMostOctets, data.size() - done);
        WriteRecord(direction, seen, data.data() + done, part);
        done += part;
    } while (done < data.size());
}

void CPcapFile::WriteRecord(int direction, CLineTap::Clock::time_point seen, const std::uint8_t *data,
                            std::size_t size)
{
    if (m_dumper == nullptr)
        return;
    ByteVector record = EventHeader(direction, seen);
    record.insert(record.end(), data, data + size);
    const Moment moment = Split(seen);
    pcap_pkthdr header {};
    header.ts.tv_sec = moment.seconds;
    header.ts.tv_usec = moment.microseconds;
    header.caplen = static_cast<bpf_u_int32>(record.size());
    header.len = header.caplen;
    pcap_dump(reinterpret_cast<u_char *>(m_dumper), &header, record.data());
    m_size += kRecordHeaderSize + record.size();
}

bool CPcapFile::Flush()
{
    if (m_dumper == nullptr)
        return false;
    errno = 0;
    if (pcap_dump_flush(m_dumper) == 0 && ferror(pcap_dump_file(m_dumper)) == 0)
        return true;
    m_error = std::strerror(errno != 0 ? errno : EIO);
    return false;
}

bool CPcapFile::Vanished() const
{
    if (m_dumper == nullptr)
        return false;
    struct stat st {};
    // A regular file whose last name is gone can still be written, but nobody will ever read it.
    return fstat(fileno(pcap_dump_file(m_dumper)), &st) != 0 || ((st.st_mode & S_IFMT) == S_IFREG && st.st_nlink == 0);
}

void CPcapFile::Close()
{
    if (m_dumper != nullptr)
        pcap_dump_close(m_dumper);
    m_dumper = nullptr;
    if (m_dead != nullptr)
        pcap_close(m_dead);
    m_dead = nullptr;
}
