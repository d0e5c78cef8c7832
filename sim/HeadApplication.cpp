#include "HeadApplication.h"

#include "HexText.h"

#include <algorithm>

namespace strelosim {

namespace {

constexpr std::size_t kOffsetGroup = 2;
constexpr std::size_t kOffsetApplication = 3;
constexpr std::size_t kOffsetJob = 4;
constexpr std::size_t kOffsetBlockLength = 6;
constexpr std::size_t kOffsetEndPoint = 7;
constexpr std::size_t kOffsetType = 8;
constexpr std::size_t kHeaderSize = 9; // up to and including the type octet

// Actual-value state octet: bit 0 lit, bit 1 flashing.
constexpr std::uint8_t kStateOff = 0;
constexpr std::uint8_t kStateSteady = 1;
constexpr std::uint8_t kStateFlashing = 3;

// Setpoint value: the low nibble says off, steady or flashing; the high nibble of a flashing value
// carries the period.
constexpr std::uint8_t kValueOff = 0;
constexpr std::uint8_t kValueSteady = 1;
constexpr std::uint8_t kValueFlashing = 2;

// Lamp currents in 0.1 mA at full intensity, and what a dark or broken lamp still draws.
constexpr std::uint16_t kRedCurrent = 1240;
constexpr std::uint16_t kYellowCurrent = 1180;
constexpr std::uint16_t kGreenCurrent = 1310;
constexpr std::uint16_t kDarkCurrent = 2;
constexpr unsigned kFullIntensity = 100;

constexpr std::uint8_t kTrapOctet = 0x68;

bool IsImage(std::uint8_t code)
{
    return code == HeadApplication::kImageFlasher
        || (code >= HeadApplication::kImageRed && code <= HeadApplication::kImageRedYellow);
}

std::string Hex(std::uint8_t value)
{
    return HexText::Octet(value);
}

// A current whose low octet is 0x68 and high octet 0 or 1 would put the length trap on the line;
// a tenth of a milliampere more is as plausible.
std::uint16_t AvoidLengthTrap(std::uint16_t current)
{
    if ((current & 0xFF) == kTrapOctet && (current >> 8) <= 1)
        return static_cast<std::uint16_t>(current + 1);
    return current;
}

} // namespace

HeadApplication::HeadApplication(const HeadConfig &config, EventLog &log)
    : m_config(config)
    , m_log(log)
    , m_luminosity(config.luminosity)
{
}

std::optional<HeadApplication::Request> HeadApplication::Parse(const Bytes &telegram)
{
    if (telegram.size() < kHeaderSize)
        return std::nullopt;
    const std::size_t blockLength = telegram[kOffsetBlockLength];
    const std::size_t blockEnd = kOffsetEndPoint + blockLength;
    if (blockLength < 2 || blockEnd > telegram.size())
        return std::nullopt;
    Request request;
    request.group = telegram[kOffsetGroup];
    request.application = telegram[kOffsetApplication];
    request.endPoint = telegram[kOffsetEndPoint];
    request.type = telegram[kOffsetType];
    request.parameters.assign(telegram.begin() + kHeaderSize, telegram.begin() + static_cast<std::ptrdiff_t>(blockEnd));
    return request;
}

void HeadApplication::Receive(const Bytes &telegram, bool broadcast, TimePoint now)
{
    const std::optional<Request> request = Parse(telegram);
    if (!request) {
        m_log.Write(now, "app", "ignored REASON=malformed DATA=" + HexText::Compact(telegram));
        return;
    }
    if (request->group == kGroupSignal)
        ReceiveSignal(*request, broadcast, now);
    else if (request->group == kGroupSystem)
        ReceiveSystem(*request, now);
    else
        Ignore(*request, "group", now);
}

void HeadApplication::ReceiveSignal(const Request &request, bool broadcast, TimePoint now)
{
    if (request.endPoint != m_config.osi7Address && request.endPoint != kSystemEndPoint) {
        Ignore(request, "endpoint", now);
        return;
    }
    if (request.application >= kFirstRequest && request.application <= kLastRequest) {
        AnswerSignalRequest(request, now);
        return;
    }
    if (request.application != kAppCommand) {
        Ignore(request, "application", now);
        return;
    }
    switch (request.type) {
    case kTypeActualValue:
        SetSetpoint(request, now);
        break;
    case kTypeLuminosity:
        SetIntensity(request, now);
        break;
    case kTypeFlasherSync:
        m_log.Write(now, "app", "flasher-sync DE=" + std::to_string(request.endPoint) + " BROADCAST=" + (broadcast ? "1" : "0")
                + " PARAMS=" + HexText::Compact(request.parameters));
        break;
    default:
        Ignore(request, "type", now);
    }
}

void HeadApplication::AnswerSignalRequest(const Request &request, TimePoint now)
{
    const auto reply = static_cast<std::uint8_t>(request.application + kReplyOffset);
    const std::uint8_t de = m_config.osi7Address;
    switch (request.type) {
    case kTypeActualValue:
        QueueReply(kGroupSignal, reply, de, kTypeActualValue, ActualValueParameters());
        break;
    case kTypeLuminosity:
        QueueReply(kGroupSignal, reply, de, kTypeLuminosity, {m_luminosity});
        break;
    case kTypeDefects:
        QueueReply(kGroupSignal, reply, de, kTypeDefects, DefectParameters());
        break;
    case kTypeCurrents:
        QueueReply(kGroupSignal, reply, de, kTypeCurrents, CurrentParameters());
        break;
    default:
        Ignore(request, "type", now);
    }
}

void HeadApplication::ReceiveSystem(const Request &request, TimePoint now)
{
    if (request.application >= kFirstRequest && request.application <= kLastRequest) {
        AnswerSystemRequest(request, now);
    } else if (request.application == kAppAssignment && request.type == kTypeLinkAddress) {
        AssignLinkAddress(request, now);
    } else if (request.application == kAppAssignment && request.type == kTypeOsi7Assignment) {
        // The head keeps the OSI 7 address it was started with, so that a master configured for
        // another one can be shown replies with a foreign DE.
        m_log.Write(now, "app", "osi7-assignment DE=" + std::to_string(request.endPoint) + " PARAMS=" + HexText::Compact(request.parameters));
    } else if (request.application == kAppCommand && request.type == kTypeUploadMode) {
        StartUploadMode(request, now);
    } else {
        Ignore(request, "application", now);
    }
}

void HeadApplication::AnswerSystemRequest(const Request &request, TimePoint now)
{
    const auto reply = static_cast<std::uint8_t>(request.application + kReplyOffset);
    if (request.type == kTypeVersions) {
        QueueReply(kGroupSystem, reply, kSystemEndPoint, kTypeVersions, VersionOctets(m_config.hardware, m_config.software));
    } else if (request.type == kTypeUid) {
        QueueReply(kGroupSystem, reply, kSystemEndPoint, kTypeUid, m_config.uid);
    } else {
        Ignore(request, "type", now);
    }
}

void HeadApplication::SetSetpoint(const Request &request, TimePoint now)
{
    // Parameters: count (1), image, value.
    if (request.parameters.size() < 3 || !IsImage(request.parameters[1])) {
        Ignore(request, "setpoint", now);
        return;
    }
    const std::uint8_t image = request.parameters[1];
    const std::uint8_t value = request.parameters[2];
    switch (value & 0x0F) {
    case kValueOff:
        m_mode = LampMode::Off;
        break;
    case kValueSteady:
        m_mode = LampMode::Steady;
        break;
    case kValueFlashing:
        m_mode = LampMode::Flashing;
        break;
    default:
        Ignore(request, "setpoint", now);
        return;
    }
    m_image = image;
    m_log.Write(now, "app", "setpoint IMAGE=" + std::to_string(image) + " VALUE=" + Hex(value));
    QueueReply(kGroupSignal, kAppStatusInfo, m_config.osi7Address, kTypeActualValue, ActualValueParameters());
}

void HeadApplication::SetIntensity(const Request &request, TimePoint now)
{
    if (request.parameters.empty()) {
        Ignore(request, "intensity", now);
        return;
    }
    m_luminosity = request.parameters[0];
    m_log.Write(now, "app", "intensity VALUE=" + std::to_string(m_luminosity));
    QueueReply(kGroupSignal, kAppStatusInfo, m_config.osi7Address, kTypeLuminosity, {m_luminosity});
}

void HeadApplication::AssignLinkAddress(const Request &request, TimePoint now)
{
    if (request.parameters.empty() || request.parameters[0] == 0 || request.parameters[0] == 255) {
        Ignore(request, "address", now);
        return;
    }
    m_newLinkAddress = request.parameters[0];
    m_log.Write(now, "app", "link-address N=" + std::to_string(*m_newLinkAddress));
}

void HeadApplication::StartUploadMode(const Request &request, TimePoint now)
{
    if (request.parameters.size() < 3) {
        Ignore(request, "upload", now);
        return;
    }
    m_upload = UploadRequest {request.parameters[0], request.parameters[1], request.parameters[2]};
    m_log.Write(now, "app", "upload-mode PORT=" + std::to_string(m_upload->port) + " BAUD=" + std::to_string(m_upload->baudCode)
            + " FEATURES=" + std::to_string(m_upload->features));
}

void HeadApplication::Ignore(const Request &request, const char *reason, TimePoint now)
{
    m_log.Write(now, "app", std::string("ignored REASON=") + reason + " FG=" + std::to_string(request.group) + " APP="
            + std::to_string(request.application) + " DE=" + std::to_string(request.endPoint) + " TYPE=" + Hex(request.type));
}

void HeadApplication::QueueReply(std::uint8_t group, std::uint8_t application, std::uint8_t endPoint, std::uint8_t type,
                                 const Bytes &parameters)
{
    Bytes telegram {0x00, 0x00, group, application, 0x00, 0x01, static_cast<std::uint8_t>(parameters.size() + 2), endPoint, type};
    telegram.insert(telegram.end(), parameters.begin(), parameters.end());
    telegram[1] = static_cast<std::uint8_t>(telegram.size() - 2);
    m_replies.push_back(std::move(telegram));
}

void HeadApplication::DropReplies(TimePoint now)
{
    if (m_replies.empty())
        return;
    m_log.Write(now, "app", "replies dropped COUNT=" + std::to_string(m_replies.size()));
    m_replies.clear();
}

Bytes HeadApplication::TakeReply(const std::function<bool(const Bytes &)> &acceptable)
{
    if (m_replies.empty())
        return {};
    Bytes reply = std::move(m_replies.front());
    m_replies.pop_front();
    // The job number moves the checksum; among a few consecutive numbers one always frames cleanly.
    for (int attempt = 0; attempt < 255; ++attempt) {
        reply[kOffsetJob] = NextJobNumber();
        if (acceptable(reply))
            break;
    }
    return reply;
}

std::uint8_t HeadApplication::NextJobNumber()
{
    do {
        m_jobNumber = static_cast<std::uint8_t>(m_jobNumber == 255 ? 1 : m_jobNumber + 1);
    } while (m_jobNumber == kTrapOctet);
    return m_jobNumber;
}

Bytes HeadApplication::VersionOctets(const Version &hardware, const Version &software)
{
    Bytes octets = hardware.Octets();
    const Bytes second = software.Octets();
    octets.insert(octets.end(), second.begin(), second.end());
    return octets;
}

Bytes HeadApplication::ActualValueParameters() const
{
    std::uint8_t state = kStateOff;
    if (m_mode == LampMode::Steady)
        state = kStateSteady;
    else if (m_mode == LampMode::Flashing)
        state = kStateFlashing;
    return {0x01, m_image, state};
}

Bytes HeadApplication::DefectParameters() const
{
    Bytes parameters {static_cast<std::uint8_t>(m_config.defects.size())};
    parameters.insert(parameters.end(), m_config.defects.begin(), m_config.defects.end());
    return parameters;
}

bool HeadApplication::LampLit(std::uint8_t lampImage) const
{
    if (m_mode == LampMode::Off)
        return false;
    if (std::find(m_config.defects.begin(), m_config.defects.end(), lampImage) != m_config.defects.end())
        return false;
    switch (lampImage) {
    case kImageRed:
        return m_image == kImageRed || m_image == kImageRedYellow;
    case kImageYellow:
        return m_image == kImageYellow || m_image == kImageRedYellow || m_image == kImageFlasher;
    default:
        return m_image == lampImage;
    }
}

std::array<std::uint16_t, 3> HeadApplication::Currents() const
{
    const unsigned intensity = std::min<unsigned>(m_luminosity, kFullIntensity);
    const auto current = [&](std::uint8_t lampImage, std::uint16_t full) {
        const unsigned value = LampLit(lampImage) ? std::max<unsigned>(full * intensity / kFullIntensity, kDarkCurrent) : kDarkCurrent;
        return AvoidLengthTrap(static_cast<std::uint16_t>(value));
    };
    return {current(kImageRed, kRedCurrent), current(kImageYellow, kYellowCurrent), current(kImageGreen, kGreenCurrent)};
}

Bytes HeadApplication::CurrentParameters() const
{
    Bytes parameters;
    for (const std::uint16_t value : Currents()) {
        parameters.push_back(static_cast<std::uint8_t>(value & 0xFF));
        parameters.push_back(static_cast<std::uint8_t>(value >> 8));
    }
    return parameters;
}

} // namespace strelosim
