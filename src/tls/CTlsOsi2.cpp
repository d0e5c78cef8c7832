#include "CTlsOsi2.h"

#include <array>
#include <cstdio>
#include <utility>

namespace {

constexpr auto kRelaxed = std::memory_order_relaxed;

// Function-code names by the PRM bit, five characters each, as decode lines show them.
constexpr std::array<const char *, 16> kPrimaryDecodeNames = {
    "RES0 ", "RES1 ", "N/A  ", "D    ", "DNR  ", "N/A  ", "N/A  ", "(TD2)",
    "RQD3 ", "RQS  ", "RQD1 ", "RQD2 ", "N/A  ", "N/A  ", "N/A  ", "RQT  "};
constexpr std::array<const char *, 16> kSecondaryDecodeNames = {
    "ANR1 ", "REJ1 ", "N/A  ", "N/A  ", "N/A  ", "N/A  ", "N/A  ", "N/A  ",
    "D    ", "ANR2 ", "REJ2 ", "S1   ", "N/A  ", "N/A  ", "N/A  ", "(TD1)"};

// The same names for the structured record, chosen by direction; null where a code has none.
constexpr std::array<const char *, 16> kSentTraceNames = {
    "RES0", "RES1", nullptr, "D",    "DNR",  nullptr, nullptr, "TD2",
    "RQD3", "RQS",  "RQD1",  "RQD2", nullptr, nullptr, nullptr, "RQT"};
constexpr std::array<const char *, 16> kReceivedTraceNames = {
    "ANR1", "REJ1", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    "D",    "ANR2", "REJ2",  "S1",    nullptr, nullptr, nullptr, "TD1"};

std::uint8_t Checksum(std::uint8_t control, std::uint8_t address, const ByteVector &userData)
{
    unsigned sum = control + address;
    for (std::uint8_t octet : userData)
        sum += octet;
    return static_cast<std::uint8_t>(sum);
}

std::string Format(const char *format, int value)
{
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

const char *Bit(std::uint8_t control, std::uint8_t mask)
{
    return (control & mask) ? "1 " : "0 ";
}

int OctetOrZero(const ByteVector &data, std::size_t index)
{
    return index < data.size() ? data[index] : 0;
}

} // namespace

CTlsOsi2::CTlsOsi2() = default;

CTlsOsi2::~CTlsOsi2()
{
    // The reader thread calls into this object; it must end before the object goes.
    Close();
}

bool CTlsOsi2::OpenLink(const std::string &port, int baudIndex, bool decode)
{
    m_decode = decode;
    if (!Open(port))
        return false;
    if (!Configure(baudIndex, kDataBits8, kStopBits1, kParityEven))
        return false;
    SetRTS(false);
    m_state = kIdle;
    m_type = kStartLong;
    return true;
}

bool CTlsOsi2::SendShort(std::uint8_t control, std::uint8_t address)
{
    std::lock_guard lock(m_txLock);
    if (DecodeLinesWanted())
        TraceDecode(DecodeLine("CTlsOsi2::Decode: Tx short: ", control, address));
    const std::uint8_t checksum = Checksum(control, address, {});
    m_txBuffer.clear();
    m_txBuffer.insert(m_txBuffer.end(), {kStartShort, control, address, checksum, kEnd});
    return TransmitBuilt(kFrameShort, control, address, checksum, {});
}

bool CTlsOsi2::SendLong(std::uint8_t control, std::uint8_t address, const ByteVector &userData)
{
    std::lock_guard lock(m_txLock);
    if (DecodeLinesWanted()) {
        TraceDecode(DecodeLine("CTlsOsi2::Decode: Tx long:  ", control, address,
                               static_cast<int>(userData.size()), userData));
    }
    // The length octet is one byte; the sender does not refuse more than 253 data octets, the
    // length simply wraps.
    const auto length = static_cast<std::uint8_t>(userData.size() + 2);
    const std::uint8_t checksum = Checksum(control, address, userData);
    m_txBuffer.clear();
    m_txBuffer.insert(m_txBuffer.end(), {kStartLong, length, length, kStartLong, control, address});
    m_txBuffer.insert(m_txBuffer.end(), userData.begin(), userData.end());
    m_txBuffer.insert(m_txBuffer.end(), {checksum, kEnd});
    return TransmitBuilt(kFrameLong, control, address, checksum, userData);
}

bool CTlsOsi2::SendAck()
{
    std::lock_guard lock(m_txLock);
    if (DecodeLinesWanted())
        TraceDecode("CTlsOsi2::Decode: Tx ack");
    m_txBuffer.clear();
    m_txBuffer.push_back(kAck);
    return TransmitBuilt(kFrameAck, 0, 0, 0, {});
}

bool CTlsOsi2::TransmitBuilt(int frameType, std::uint8_t control, std::uint8_t address, std::uint8_t checksum,
                             const ByteVector &userData)
{
    Record(kDirectionSent, frameType, control, address, checksum, userData);
    return Tx(m_txBuffer);
}

void CTlsOsi2::OnReceive(const ByteVector &data)
{
    Assemble(data, std::chrono::steady_clock::now());
}

void CTlsOsi2::Assemble(const ByteVector &data, ArrivalTime arrival)
{
    DropStalledTelegram(arrival);
    for (std::uint8_t byte : data)
        AssembleByte(byte);
}

void CTlsOsi2::DropStalledTelegram(ArrivalTime arrival)
{
    const ArrivalTime previous = std::exchange(m_lastArrival, arrival);
    if (m_state.load() == kIdle || arrival - previous <= kCharacterTimeout)
        return;
    ReportAssemblyError(kLineIdle);
    m_state = kIdle;
}

void CTlsOsi2::AssembleByte(std::uint8_t byte)
{
    switch (m_state.load()) {
    case kIdle:
        OnIdleByte(byte);
        break;
    case kWaitFirstLength:
        s_length.store(byte, kRelaxed);
        m_state = kWaitRepeatedLength;
        break;
    case kWaitRepeatedLength:
        // A mismatch does not abandon the telegram: the first length stays in force.
        if (byte != s_length.load(kRelaxed))
            ReportAssemblyError(kLengthMismatch);
        m_state = kWaitRepeatedStart;
        break;
    case kWaitRepeatedStart:
        if (byte != kStartLong)
            ReportAssemblyError(kSecondStartMissing);
        m_state = kWaitCommand;
        break;
    case kWaitCommand:
        s_control.store(byte, kRelaxed);
        s_checksum.store(byte, kRelaxed);
        m_state = kWaitAddress;
        break;
    case kWaitAddress:
        OnAddressByte(byte);
        break;
    case kMoreData:
        OnDataByte(byte);
        break;
    case kWaitChecksum:
        OnChecksumByte(byte);
        break;
    case kWaitEnd:
        OnEndByte(byte);
        break;
    default:
        ReportAssemblyError(kOutOfSync);
        break;
    }
}

void CTlsOsi2::OnIdleByte(std::uint8_t byte)
{
    switch (byte) {
    case kStartLong:
        m_type = kStartLong;
        m_state = kWaitFirstLength;
        break;
    case kStartShort:
        // A short telegram has no length octets.
        m_type = kStartShort;
        m_state = kWaitCommand;
        break;
    case kAck:
        m_type = kAck;
        Record(kDirectionReceived, kFrameAck, 0, 0, 0, {});
        if (DecodeLinesWanted())
            TraceDecode("CTlsOsi2::Decode: Rx ack");
        OnAck();
        break;
    default:
        ReportError(AssmblyError(kOutOfSync, byte));
        break;
    }
}

void CTlsOsi2::OnAddressByte(std::uint8_t byte)
{
    s_address.store(byte, kRelaxed);
    s_checksum.fetch_add(byte, kRelaxed);
    if (m_type == kStartLong) {
        m_rxData.clear();
        m_state = kMoreData;
    } else if (m_type == kStartShort) {
        m_state = kWaitChecksum;
    } else {
        ReportError("CTlsOsi2::Assemble: Telegram type can not have an address");
        m_state = kIdle;
    }
}

void CTlsOsi2::OnDataByte(std::uint8_t byte)
{
    s_checksum.fetch_add(byte, kRelaxed);
    m_rxData.push_back(byte);
    // Unsigned on purpose: a length of 0 or 1 wraps to a huge count, and the telegram then takes
    // every later byte as data until the link is opened again. A length of 2 announces no data,
    // so its checksum octet is taken as data and the telegram is rejected.
    const std::uint32_t expected = static_cast<std::uint32_t>(s_length.load(kRelaxed)) - 2u;
    if (expected == m_rxData.size()) {
        m_state = kWaitChecksum;
    } else if (expected < m_rxData.size()) {
        ReportAssemblyError(kDataCountMismatch);
        m_state = kIdle;
    }
}

void CTlsOsi2::OnChecksumByte(std::uint8_t byte)
{
    const std::uint32_t checksum = s_checksum.load(kRelaxed) % 256u;
    s_checksum.store(checksum, kRelaxed);
    if (byte == checksum) {
        m_state = kWaitEnd;
    } else {
        ReportAssemblyError(kWrongChecksum);
        m_state = kIdle;
    }
}

void CTlsOsi2::OnEndByte(std::uint8_t byte)
{
    const std::uint8_t control = s_control.load(kRelaxed);
    const std::uint8_t address = s_address.load(kRelaxed);
    const auto checksum = static_cast<std::uint8_t>(s_checksum.load(kRelaxed));
    if (byte != kEnd) {
        ReportAssemblyError(kEndMissing);
    } else if (m_type == kStartLong) {
        Record(kDirectionReceived, kFrameLong, control, address, checksum, m_rxData);
        if (DecodeLinesWanted()) {
            TraceDecode(DecodeLine("CTlsOsi2::Decode: Rx long:  ", control, address,
                                   s_length.load(kRelaxed) - 2, m_rxData));
        }
        OnLongTelegram(control, address, m_rxData);
    } else if (m_type == kStartShort) {
        Record(kDirectionReceived, kFrameShort, control, address, checksum, {});
        if (DecodeLinesWanted())
            TraceDecode(DecodeLine("CTlsOsi2::Decode: Rx short: ", control, address));
        OnShortTelegram(control, address);
    } else {
        ReportError("CTlsOsi2::Assemble: Telegram type can not have any data at all");
    }
    m_state = kIdle;
}

void CTlsOsi2::ReportAssemblyError(int error)
{
    ReportError("CTlsOsi2::AssemblyError: " + ErrorText(error));
}

std::string CTlsOsi2::AssmblyError(int error, std::uint8_t byte) const
{
    return "CTlsOsi2::AssmblyError:" + ErrorText(error) + " / Assembler state: " + StateName(m_state.load())
        + " / byte processed: " + Format("0x%02X", byte);
}

std::string CTlsOsi2::StateName(unsigned state)
{
    switch (state) {
    case kIdle: return "Idle";
    case kWaitFirstLength: return "Wait first LEN byte";
    case kWaitRepeatedLength: return "Wait repeated LEN byte";
    case kWaitRepeatedStart: return "Wait reapeaded START byte";
    case kWaitCommand: return "Wait COMMAND byte";
    case kWaitAddress: return "Wait ADRESS byte";
    case kMoreData: return "More date expected";
    case kWaitChecksum: return "Wait CHECKSUM byte";
    case kWaitEnd: return "Wait END byte";
    default: return "Unknown assembler state!";
    }
}

std::string CTlsOsi2::ErrorText(int error)
{
    switch (error) {
    case kLengthMismatch: return "The 2 length indicators do not match";
    case kSecondStartMissing: return "Second start byte of long telegram not found";
    case kDataCountMismatch: return "Effective numer of data bytes does not match header";
    case kWrongChecksum: return "Wrong checksum";
    case kEndMissing: return "Telegram end byte missing";
    case kOutOfSync: return "Data stream out of sync";
    case kLineIdle: return "Line idle within telegram";
    default: return "Unknown error";
    }
}

std::string CTlsOsi2::DecodeFunctionName(int functionCode, bool primary)
{
    const auto &names = primary ? kPrimaryDecodeNames : kSecondaryDecodeNames;
    return names[static_cast<std::size_t>(functionCode) & kFunctionMask];
}

std::string CTlsOsi2::TraceFunctionName(int functionCode, int direction)
{
    if (direction != kDirectionSent && direction != kDirectionReceived)
        return "Invalid Direction !";
    if (functionCode < 0 || functionCode > kFunctionMask)
        return "Invalid Function !";
    const auto &names = direction == kDirectionSent ? kSentTraceNames : kReceivedTraceNames;
    const char *name = names[static_cast<std::size_t>(functionCode)];
    return name ? name : "Invalid Function !";
}

std::string CTlsOsi2::ControlFieldText(std::uint8_t control)
{
    // "%#04X" writes 0x49 as 0X49: upper-case digits with the base prefix, four characters.
    std::string text = "CMD(" + Format("%#04X", control) + ") ";
    const bool primary = (control & kPrm) != 0;
    if (primary)
        text += std::string("P->S: FCB=") + Bit(control, kFcbOrAcd) + "FCV=" + Bit(control, kFcvOrDfc);
    else
        text += std::string("S->P: ACD=") + Bit(control, kFcbOrAcd) + "DFC= " + Bit(control, kFcvOrDfc);
    const int functionCode = control & kFunctionMask;
    return text + "Function (" + std::to_string(functionCode) + ") =" + DecodeFunctionName(functionCode, primary);
}

std::string CTlsOsi2::DecodeLine(const char *prefix, std::uint8_t control, std::uint8_t address)
{
    return prefix + ControlFieldText(control) + " ADR=" + Format("%3d", address);
}

std::string CTlsOsi2::DecodeLine(const char *prefix, std::uint8_t control, std::uint8_t address, int count,
                                 const ByteVector &userData)
{
    std::string line = DecodeLine(prefix, control, address) + " - Data(" + Format("%3d", count) + "): ";
    for (std::uint8_t octet : userData)
        line += Format("%02Xh ", octet);
    return line;
}

void CTlsOsi2::Record(int direction, int frameType, std::uint8_t control, std::uint8_t address,
                      std::uint8_t checksum, const ByteVector &userData)
{
    // An acknowledgement carries no control octet; its record shows control 0, the positive
    // acknowledgement of the function table.
    TraceTelegram(kTraceLevelTelegram, direction, frameType, OctetOrZero(userData, 0), OctetOrZero(userData, 1),
                  (control & kPrm) != 0, (control & kFcbOrAcd) != 0, (control & kFcvOrDfc) != 0,
                  TraceFunctionName(control & kFunctionMask, direction), address, checksum, userData);
}
