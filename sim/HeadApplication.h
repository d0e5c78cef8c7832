#pragma once

#include "EventLog.h"
#include "HeadConfig.h"

#include <array>
#include <deque>
#include <functional>
#include <optional>
#include <utility>

namespace strelosim {

// The head's application layer: it reads the master's OSI 7 telegrams, keeps the lamp state, and
// queues the replies that the link hands out one per poll.
//
// Telegram layout, offsets from the first user-data octet:
//   0 OSI 3 id (0), 1 length of what follows, 2 function group, 3 application id, 4 job number,
//   5 block count (1), 6 block length, 7 DE, 8 type, 9... parameters.
class HeadApplication
{
public:
    enum class LampMode { Off, Steady, Flashing };

    struct UploadRequest
    {
        std::uint8_t port = 0;
        std::uint8_t baudCode = 0;
        std::uint8_t features = 0;
    };

    // Function groups, application ids and object types the head understands.
    static constexpr std::uint8_t kGroupSignal = 4;
    static constexpr std::uint8_t kGroupSystem = 254;
    static constexpr std::uint8_t kAppStatusInfo = 2;
    static constexpr std::uint8_t kAppAssignment = 3;
    static constexpr std::uint8_t kAppCommand = 5;
    static constexpr std::uint8_t kFirstRequest = 17; // 17..21 are requests, answered with id + 112
    static constexpr std::uint8_t kLastRequest = 21;
    static constexpr std::uint8_t kReplyOffset = 112;
    static constexpr std::uint8_t kTypeDefects = 0x02;
    static constexpr std::uint8_t kTypeOsi7Assignment = 0x21;
    static constexpr std::uint8_t kTypeLuminosity = 0x31;
    static constexpr std::uint8_t kTypeActualValue = 0x37;
    static constexpr std::uint8_t kTypeCurrents = 0x82;
    static constexpr std::uint8_t kTypeFlasherSync = 0x83;
    static constexpr std::uint8_t kTypeLinkAddress = 0x84;
    static constexpr std::uint8_t kTypeVersions = 0x85;
    static constexpr std::uint8_t kTypeUid = 0x87;
    static constexpr std::uint8_t kTypeUploadMode = 0xFE;
    static constexpr std::uint8_t kSystemEndPoint = 255;

    static constexpr std::uint8_t kImageRed = 107;
    static constexpr std::uint8_t kImageYellow = 108;
    static constexpr std::uint8_t kImageGreen = 109;
    static constexpr std::uint8_t kImageRedYellow = 110;
    static constexpr std::uint8_t kImageFlasher = 61;

    HeadApplication(const HeadConfig &config, EventLog &log);

    // One telegram from the master; `broadcast` when it came to the link's broadcast address.
    void Receive(const Bytes &telegram, bool broadcast, TimePoint now);

    bool HasReply() const { return !m_replies.empty(); }
    // A reset of the link starts the exchange with the master afresh: replies it has not fetched
    // yet are dropped (see SecondaryStation's reset).
    void DropReplies(TimePoint now);
    // Hands out the oldest reply with a fresh job number. Job numbers run 1..255 and skip 0x68;
    // a number that would let `acceptable` refuse the framed reply is skipped as well.
    Bytes TakeReply(const std::function<bool(const Bytes &)> &acceptable);

    // A new link address assigned by the master, once, after the telegram was taken.
    std::optional<std::uint8_t> TakeLinkAddressChange() { return std::exchange(m_newLinkAddress, std::nullopt); }
    // The order to start the boot loader, once.
    std::optional<UploadRequest> TakeUploadRequest() { return std::exchange(m_upload, std::nullopt); }

    std::uint8_t Image() const { return m_image; }
    LampMode Mode() const { return m_mode; }
    std::uint8_t Luminosity() const { return m_luminosity; }

    // The six octets of the versions reply: hardware major, minor, revision, software major, minor,
    // release.
    static Bytes VersionOctets(const Version &hardware, const Version &software);

    // The lamp currents in 0.1 mA for red, yellow and green as the head measures them now.
    std::array<std::uint16_t, 3> Currents() const;

private:
    struct Request
    {
        std::uint8_t group = 0;
        std::uint8_t application = 0;
        std::uint8_t endPoint = 0;
        std::uint8_t type = 0;
        Bytes parameters;
    };

    static std::optional<Request> Parse(const Bytes &telegram);
    void ReceiveSignal(const Request &request, bool broadcast, TimePoint now);
    void ReceiveSystem(const Request &request, TimePoint now);
    void AnswerSignalRequest(const Request &request, TimePoint now);
    void AnswerSystemRequest(const Request &request, TimePoint now);
    void SetSetpoint(const Request &request, TimePoint now);
    void SetIntensity(const Request &request, TimePoint now);
    void AssignLinkAddress(const Request &request, TimePoint now);
    void StartUploadMode(const Request &request, TimePoint now);
    void Ignore(const Request &request, const char *reason, TimePoint now);

    void QueueReply(std::uint8_t group, std::uint8_t application, std::uint8_t endPoint, std::uint8_t type, const Bytes &parameters);
    Bytes ActualValueParameters() const;
    Bytes CurrentParameters() const;
    Bytes DefectParameters() const;
    bool LampLit(std::uint8_t lampImage) const;
    std::uint8_t NextJobNumber();

    HeadConfig m_config;
    EventLog &m_log;
    std::uint8_t m_image = kImageRed;
    LampMode m_mode = LampMode::Off;
    std::uint8_t m_luminosity;
    std::uint8_t m_jobNumber = 0;
    std::deque<Bytes> m_replies;
    std::optional<std::uint8_t> m_newLinkAddress;
    std::optional<UploadRequest> m_upload;
};

} // namespace strelosim
