#include "CTlsOsi7Codec.h"

#include "CStreloProductTable.h"

#include <cstdio>

namespace {

// Application ids of the telegrams the master sends.
constexpr std::uint8_t kParameterAssignment = 0x03;
constexpr std::uint8_t kCommand = 0x05;
constexpr std::uint8_t kErrorMessageRequest = 0x11;
constexpr std::uint8_t kStatusInfoRequest = 0x12;
constexpr std::uint8_t kParameterRequest = 0x13;
constexpr std::uint8_t kCommandStatusRequest = 0x15;

// Object types (octet 8 of a telegram).
constexpr std::uint8_t kTypeDefects = 0x02;
constexpr std::uint8_t kTypeAddressAssignment = 0x21;
constexpr std::uint8_t kTypeLuminosity = 0x31;
constexpr std::uint8_t kTypeActualValue = 0x37;
constexpr std::uint8_t kTypeCurrents = 0x82;
constexpr std::uint8_t kTypeFlasherSync = 0x83;
constexpr std::uint8_t kTypeOsi2Address = 0x84;
constexpr std::uint8_t kTypeVersions = 0x85;
constexpr std::uint8_t kTypeUid = 0x87;
constexpr std::uint8_t kTypeFirmwareUpload = 0xFE;

// Offsets inside an OSI 7 telegram.
constexpr std::size_t kOffsetLength = 1;
constexpr std::size_t kOffsetGroup = 2;
constexpr std::size_t kOffsetApplicationId = 3;
constexpr std::size_t kOffsetJobNumber = 4;
constexpr std::size_t kOffsetBlockCount = 5;
constexpr std::size_t kOffsetBlockLength = 6;
constexpr std::size_t kOffsetEndPoint = 7;
constexpr std::size_t kOffsetType = 8;
constexpr std::size_t kOffsetParameters = 9;

constexpr std::uint8_t kIntensityFull = 0x64;
constexpr std::uint8_t kIntensityDimmed = 0x0A;
constexpr int kLuminosityDimmedMax = 50;
constexpr int kFlasherParameterLimit = 256;
constexpr std::size_t kGroupedUidBlockLength = 14;
constexpr int kLastJobNumber = 255;

constexpr std::uint8_t Octet(int value)
{
    return static_cast<std::uint8_t>(value);
}

int OctetOrZero(const ByteVector &telegram, std::size_t offset)
{
    return offset < telegram.size() ? telegram[offset] : 0;
}

} // namespace

// ---- telegrams the master builds ---------------------------------------------------------------

std::optional<CTlsOsi7Codec::Command> CTlsOsi7Codec::Job(int jobCode, std::uint8_t endPoint)
{
    switch (jobCode) {
    case kJobActualValue:
        return Command {kGroupSignal, kCommandStatusRequest, {endPoint, kTypeActualValue}};
    case kJobLuminosity:
        return Command {kGroupSignal, kCommandStatusRequest, {endPoint, kTypeLuminosity}};
    case kJobDefects:
        return Command {kGroupSignal, kErrorMessageRequest, {endPoint, kTypeDefects}};
    case kJobVersions:
        return Command {kGroupSystem, kParameterRequest, {kSystemEndPoint, kTypeVersions}};
    case kJobUid:
        return Command {kGroupSystem, kParameterRequest, {kSystemEndPoint, kTypeUid}};
    default:
        return std::nullopt;
    }
}

CTlsOsi7Codec::Command CTlsOsi7Codec::Setpoint(std::uint8_t endPoint, int nTLSImageCode, int value)
{
    return {kGroupSignal, kCommand, {endPoint, kTypeActualValue, 0x01, Octet(nTLSImageCode), Octet(value)}};
}

CTlsOsi7Codec::Command CTlsOsi7Codec::Intensity(std::uint8_t endPoint, bool full)
{
    return {kGroupSignal, kCommand, {endPoint, kTypeLuminosity, full ? kIntensityFull : kIntensityDimmed, 0x00}};
}

CTlsOsi7Codec::Command CTlsOsi7Codec::CurrentMeters(std::uint8_t endPoint)
{
    return {kGroupSignal, kStatusInfoRequest, {endPoint, kTypeCurrents}};
}

std::optional<CTlsOsi7Codec::Command> CTlsOsi7Codec::FlasherSynchronisation(bool osi7Broadcast,
                                                                            std::uint8_t endPoint, int a, int b)
{
    if (a >= kFlasherParameterLimit || b >= kFlasherParameterLimit)
        return std::nullopt;
    return Command {kGroupSignal, kCommand,
                    {osi7Broadcast ? kSystemEndPoint : endPoint, kTypeFlasherSync, Octet(a), Octet(b)}};
}

CTlsOsi7Codec::Command CTlsOsi7Codec::Osi2Address(int address)
{
    return {kGroupSystem, kParameterAssignment, {kSystemEndPoint, kTypeOsi2Address, Octet(address)}};
}

CTlsOsi7Codec::Command CTlsOsi7Codec::FirmwareUploadMode(std::uint8_t endPoint, int port, int baudCode, int features)
{
    return {kGroupSystem, kCommand, {endPoint, kTypeFirmwareUpload, Octet(port), Octet(baudCode), Octet(features)}};
}

CTlsOsi7Codec::Command CTlsOsi7Codec::Osi7AddressAssignment(std::uint8_t linkAddress, int osi7Address)
{
    return {kGroupSystem, kParameterAssignment,
            {linkAddress, kTypeAddressAssignment, 0x01, 0x01, 0x04, Octet(osi7Address)}};
}

ByteVector CTlsOsi7Codec::Telegram(const Command &command, int jobNumber)
{
    const auto blockLength = Octet(static_cast<int>(command.block.size()));
    // Octet by octet into a reserved buffer: the same octets as a braced list, but GCC 12 sees a
    // false array-bounds overrun in the list's copy followed by the insert.
    ByteVector telegram;
    telegram.reserve(kOffsetEndPoint + command.block.size());
    for (std::uint8_t octet : {std::uint8_t {0x00}, Octet(5 + blockLength), command.group, command.applicationId,
                               Octet(jobNumber), std::uint8_t {0x01}, blockLength})
        telegram.push_back(octet);
    telegram.insert(telegram.end(), command.block.begin(), command.block.end());
    return telegram;
}

int CTlsOsi7Codec::NextJobNumber(int jobNumber)
{
    return jobNumber >= kLastJobNumber ? 1 : jobNumber + 1;
}

int CTlsOsi7Codec::FlashingValue(int cyclePeriodMs)
{
    // High nibble: the period in units of 200 ms; low nibble 2: flashing. Long periods wrap.
    return ((cyclePeriodMs / 200) * 16 + 2) & 0xFF;
}

// ---- replies -----------------------------------------------------------------------------------

CTlsOsi7Codec::Reply CTlsOsi7Codec::ParseReply(const ByteVector &telegram, int osi7Address)
{
    // A reply too short to hold the octets its type is read from reports nothing.
    if (telegram.size() <= kOffsetType)
        return {};
    if (telegram[kOffsetGroup] == kGroupSignal && telegram[kOffsetEndPoint] == osi7Address)
        return ParseSignalReply(telegram);
    // The system end point answers from any DE.
    if (telegram[kOffsetGroup] == kGroupSystem)
        return ParseSystemReply(telegram);
    return {};
}

std::optional<int> CTlsOsi7Codec::ActualValueEndPoint(const ByteVector &telegram)
{
    if (telegram.size() > kOffsetType && telegram[kOffsetGroup] == kGroupSignal
        && telegram[kOffsetType] == kTypeActualValue)
        return telegram[kOffsetEndPoint];
    return std::nullopt;
}

CTlsOsi7Codec::Reply CTlsOsi7Codec::ParseSignalReply(const ByteVector &telegram)
{
    const std::size_t size = telegram.size();
    const std::uint8_t *o = telegram.data();
    Reply reply;
    switch (o[kOffsetType]) {
    case kTypeActualValue:
        if (size > 11) {
            reply.kind = Reply::Kind::ActualValue;
            reply.image = o[10];
            reply.on = (o[11] & 0x03) != 0;
            reply.blink = (o[11] & 0x02) != 0;
        }
        return reply;
    case kTypeDefects:
        return ParseDefects(telegram);
    case kTypeLuminosity:
        if (size > 9) {
            reply.kind = Reply::Kind::Luminosity;
            reply.full = o[9] > kLuminosityDimmedMax;
        }
        return reply;
    case kTypeCurrents:
        return ParseCurrents(telegram);
    default:
        return reply;
    }
}

CTlsOsi7Codec::Reply CTlsOsi7Codec::ParseDefects(const ByteVector &telegram)
{
    if (telegram.size() <= kOffsetParameters)
        return {};
    const std::size_t count = telegram[kOffsetParameters];
    if (telegram.size() < kOffsetParameters + 1 + count)
        return {};
    // Every lamp image is reported intact first, then each one the head lists as defective.
    Reply reply;
    reply.kind = Reply::Kind::Defects;
    for (int image : {kImageRed, kImageYellow, kImageGreen, kImageRedYellow})
        reply.defects.emplace_back(image, true);
    for (std::size_t i = 0; i < count; ++i)
        reply.defects.emplace_back(telegram[kOffsetParameters + 1 + i], false);
    // Nothing defective: the actual value is asked for once more.
    reply.askActualValueAgain = count == 0;
    return reply;
}

CTlsOsi7Codec::Reply CTlsOsi7Codec::ParseCurrents(const ByteVector &telegram)
{
    if (telegram.size() <= 14)
        return {};
    // Little-endian values in tenths of a milliampere: red, yellow, green.
    Reply reply;
    reply.kind = Reply::Kind::Currents;
    const int images[] = {kImageRed, kImageYellow, kImageGreen};
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t low = kOffsetParameters + 2 * i;
        reply.currents.emplace_back(images[i], (telegram[low + 1] * 256 + telegram[low]) / 10.0);
    }
    return reply;
}

CTlsOsi7Codec::Reply CTlsOsi7Codec::ParseSystemReply(const ByteVector &telegram)
{
    if (telegram[kOffsetType] == kTypeVersions)
        return ParseVersions(telegram);
    if (telegram[kOffsetType] == kTypeUid)
        return ParseUid(telegram);
    return {};
}

CTlsOsi7Codec::Reply CTlsOsi7Codec::ParseVersions(const ByteVector &telegram)
{
    if (telegram.size() <= 14)
        return {};
    Reply reply;
    reply.kind = Reply::Kind::Versions;
    for (std::size_t i = 0; i < reply.versions.size(); ++i)
        reply.versions[i] = telegram[kOffsetParameters + i];
    reply.product = CStreloProductTable::FindByHardwareMajor(reply.versions[0]);
    return reply;
}

CTlsOsi7Codec::Reply CTlsOsi7Codec::ParseUid(const ByteVector &telegram)
{
    // The block length counts the DE and type octets, which are not part of the UID.
    const std::size_t blockLength = telegram[kOffsetBlockLength];
    const std::size_t count = blockLength > 2 ? blockLength - 2 : 0;
    if (telegram.size() < kOffsetParameters + count)
        return {};
    Reply reply;
    reply.kind = Reply::Kind::Uid;
    char digits[3];
    for (std::size_t i = 0; i < count; ++i) {
        std::snprintf(digits, sizeof digits, "%02X", telegram[kOffsetParameters + i]);
        reply.uid += digits;
    }
    // A twelve-octet UID is shown as three groups of eight digits.
    if (blockLength == kGroupedUidBlockLength) {
        reply.uid.insert(16, " - ");
        reply.uid.insert(8, " - ");
    }
    return reply;
}

// ---- trace -------------------------------------------------------------------------------------

CTlsOsi7Codec::TraceRecord CTlsOsi7Codec::Describe(const ByteVector &telegram)
{
    TraceRecord record;
    record.length = OctetOrZero(telegram, kOffsetLength);
    record.functionGroup = FunctionGroupName(OctetOrZero(telegram, kOffsetGroup));
    record.applicationId = ApplicationIdName(OctetOrZero(telegram, kOffsetApplicationId));
    record.jobNumber = OctetOrZero(telegram, kOffsetJobNumber);
    record.blockCount = OctetOrZero(telegram, kOffsetBlockCount);
    if (telegram.size() > kOffsetBlockLength)
        record.block.assign(telegram.begin() + kOffsetBlockLength, telegram.end());
    return record;
}

std::string CTlsOsi7Codec::FunctionGroupName(int functionGroup)
{
    switch (functionGroup) {
    case 1: return "Traffic";
    case 4: return "Signal";
    case 254: return "System";
    default: return "unknown (" + std::to_string(functionGroup) + ")";
    }
}

std::string CTlsOsi7Codec::ApplicationIdName(int applicationId)
{
    switch (applicationId) {
    case 2: return "Status info";
    case 3: return "Parameter assignment";
    case 5: return "Command";
    case 17: return "Error message request";
    case 18: return "Status info request";
    case 19: return "Parameter request";
    case 20: return "Result message request";
    case 21: return "Command status request";
    case 129: return "Error message";
    case 130: return "Status info";
    case 131: return "Parameter message";
    case 132: return "Result message";
    case 133: return "Command reply";
    case 161: return "Error message from buffer";
    case 162: return "Status info from buffer";
    case 164: return "Result message from buffer";
    case 165: return "Command repy from buffer";
    default: return "unknown (" + std::to_string(applicationId) + ")";
    }
}
