#include "CStreloDevice.h"

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

constexpr std::uint8_t Octet(int value)
{
    return static_cast<std::uint8_t>(value);
}

int OctetOrZero(const ByteVector &telegram, std::size_t offset)
{
    return offset < telegram.size() ? telegram[offset] : 0;
}

// A lock guard for the critical section, which is not a standard lockable.
class PendingGuard
{
public:
    explicit PendingGuard(CCriticalSectionBase &lock) : m_lock(lock) { m_lock.Enter(); }
    ~PendingGuard() { m_lock.Leave(); }
    PendingGuard(const PendingGuard &) = delete;
    PendingGuard &operator=(const PendingGuard &) = delete;

private:
    CCriticalSectionBase &m_lock;
};

} // namespace

CStreloDevice::CStreloDevice() = default;

CStreloDevice::~CStreloDevice()
{
    ShutDown();
}

void CStreloDevice::ShutDown()
{
    // Neither call may wait under the procedure lock: the thread being ended may need it.
    CStreloComMonitorTimer::StopThread();
    CStreloPollTimer::StopThread();
    Close();
}

// ---- link procedure ----------------------------------------------------------------------------

void CStreloDevice::Connect(int osi2Address, int deviceAddress)
{
    std::lock_guard procedure(m_procedure);
    m_active = true;
    StopResponseTimer();
    StopPollTimer();
    ResetLinkVariables();
    LinkChanged(false);
    m_address = Octet(osi2Address);
    m_deviceAddress = deviceAddress;
    ClearSendPending();
    SendRequest(kRequestStatus);
    StartResponseTimer(kResponseTimeoutMs);
}

void CStreloDevice::Disconnect()
{
    std::lock_guard procedure(m_procedure);
    m_active = false;
    StopResponseTimer();
    StopPollTimer();
    ResetLinkVariables();
    LinkChanged(false);
}

unsigned CStreloDevice::LinkState() const
{
    std::lock_guard procedure(m_procedure);
    return m_linkState;
}

void CStreloDevice::ResetLinkVariables()
{
    m_retries = kTransmissions;
    m_linkState = kWaitingForStatus;
    m_fcb = false;
    m_linkUp = false;
}

void CStreloDevice::OnAck()
{
    std::lock_guard procedure(m_procedure);
    if (!m_active)
        return;
    switch (m_linkState) {
    case kResetSent:
        StopPollTimer();
        m_fcb = true;
        SendRequest(kFirstPoll);
        StartResponseTimer(kResponseTimeoutMs);
        m_retries = kTransmissions;
        m_linkState = kFirstPollSent;
        break;
    case kFirstPollSent:
        StopResponseTimer();
        m_retries = kTransmissions;
        m_linkState = kEstablished;
        // Only the jobs queued after this link-up are sent.
        ClearJobs();
        m_linkUp = true;
        LinkChanged(true);
        StartPollTimer();
        break;
    case kEstablished:
        CompleteExchange();
        break;
    default:
        break;
    }
}

void CStreloDevice::OnShortTelegram(std::uint8_t control, std::uint8_t address)
{
    std::lock_guard procedure(m_procedure);
    if (!m_active)
        return;
    if (m_linkState == kWaitingForStatus) {
        // Only the status of link answers the status request; the reset follows at once.
        if ((control & kFunctionMask) != kFunctionStatusOfLink)
            return;
        StopResponseTimer();
        StopPollTimer();
        SendRequest(kResetLink);
        StartResponseTimer(kResponseTimeoutMs);
        m_retries = kTransmissions;
        m_linkState = kResetSent;
    } else if (m_linkState == kEstablished) {
        CompleteExchange();
    }
    // While the reset or the first poll is outstanding only 0xE5 counts; the request is
    // repeated when the response timer expires.
}

void CStreloDevice::OnLongTelegram(std::uint8_t control, std::uint8_t address, const ByteVector &userData)
{
    std::lock_guard procedure(m_procedure);
    if (!m_active || m_linkState != kEstablished)
        return;
    // The access demand and data flow control bits of the answer are not examined.
    StopResponseTimer();
    m_retries = kTransmissions;
    TraceUserData(kDirectionReceived, userData);
    OnUserData(userData);
    if (IsSendPending())
        SendUserData();
    else
        StartPollTimer();
}

void CStreloDevice::CompleteExchange()
{
    StopResponseTimer();
    m_retries = kTransmissions;
    if (IsSendPending())
        SendUserData();
    else
        StartPollTimer();
}

void CStreloDevice::OnResponseTimeout()
{
    std::lock_guard procedure(m_procedure);
    if (!m_active || !Claim(m_responseSchedule, static_cast<CStreloComMonitorTimer &>(*this)))
        return;
    StopPollTimer();
    if ((m_control & kFunctionMask) == kFunctionUserDataNoReply) {
        // Nothing answers a broadcast, so it is never repeated: the kick after a command lets the
        // command out at once, as the poll timer's expiry would have.
        SendNextRequest();
        return;
    }
    if (--m_retries < 1) {
        LoseLink();
        return;
    }
    RepeatRequest();
    StartResponseTimer(kResponseTimeoutMs);
}

void CStreloDevice::LoseLink()
{
    // Nothing is sent now: the next poll expiry sends the status request, and a silent station
    // goes through this cycle again and again, each time reported as a lost link.
    m_control = kRequestStatus;
    ResetLinkVariables();
    StartPollTimer();
    LinkChanged(false);
}

void CStreloDevice::OnPollTimeout()
{
    std::lock_guard procedure(m_procedure);
    if (!m_active || !Claim(m_pollSchedule, static_cast<CStreloPollTimer &>(*this)))
        return;
    if (m_linkState == kWaitingForStatus) {
        SendShort(m_control, m_address);
        StartResponseTimer(kResponseTimeoutMs);
    } else if (m_linkState == kEstablished) {
        SendNextRequest();
    }
}

void CStreloDevice::SendNextRequest()
{
    if (IsSendPending() || TakeJob()) {
        SendUserData();
    } else {
        m_fcb = !m_fcb;
        SendRequest(m_fcb ? kPoll | kFcbOrAcd : kPoll);
        StartResponseTimer(kResponseTimeoutMs);
    }
}

void CStreloDevice::SendRequest(std::uint8_t control)
{
    m_control = control;
    SendShort(m_control, m_address);
}

void CStreloDevice::RepeatRequest()
{
    // The repetition carries the same frame count bit; user data goes out again with whatever
    // the buffer holds now.
    if ((m_control & kFunctionMask) == kFunctionUserData) {
        ByteVector userData;
        {
            std::lock_guard data(m_dataLock);
            userData = m_userData;
        }
        SendLong(m_control, m_address, userData);
    } else {
        SendShort(m_control, m_address);
    }
}

void CStreloDevice::SendUserData()
{
    ByteVector userData;
    bool broadcast = false;
    {
        // Taking the telegram and clearing the flag in one step keeps a command built meanwhile
        // from being lost or sent twice.
        PendingGuard pending(m_pendingLock);
        m_sendPending = false;
        std::lock_guard data(m_dataLock);
        userData = m_userData;
        broadcast = m_broadcast;
        m_broadcast = false;
    }
    m_fcb = !m_fcb;
    m_control = (broadcast ? kUserDataBroadcast : kUserDataConfirmed) | (m_fcb ? kFcbOrAcd : 0);
    TraceUserData(kDirectionSent, userData);
    if (broadcast) {
        // A broadcast is not answered: no repetition, the next poll follows.
        SendLong(m_control, kBroadcastAddress, userData);
        StartPollTimer();
    } else {
        SendLong(m_control, m_address, userData);
        StartResponseTimer(kResponseTimeoutMs);
    }
}

bool CStreloDevice::IsSendPending()
{
    PendingGuard pending(m_pendingLock);
    return m_sendPending;
}

void CStreloDevice::ClearSendPending()
{
    PendingGuard pending(m_pendingLock);
    m_sendPending = false;
}

// ---- timers ------------------------------------------------------------------------------------

void CStreloDevice::StartResponseTimer(int milliseconds)
{
    Arm(m_responseSchedule, milliseconds);
    CStreloComMonitorTimer::Start(milliseconds);
}

void CStreloDevice::StopResponseTimer()
{
    m_responseSchedule.armed = false;
    CStreloComMonitorTimer::Stop();
}

void CStreloDevice::StartPollTimer()
{
    Arm(m_pollSchedule, kPollIntervalMs);
    CStreloPollTimer::Start(kPollIntervalMs);
}

void CStreloDevice::StopPollTimer()
{
    m_pollSchedule.armed = false;
    CStreloPollTimer::Stop();
}

void CStreloDevice::Arm(TimerSchedule &schedule, int milliseconds)
{
    // Taken before the timer is started, so the timer's own deadline is never earlier.
    schedule.due = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    schedule.armed = true;
}

bool CStreloDevice::Claim(TimerSchedule &schedule, CTimer &timer)
{
    // An expiry that had already fired when the timer was stopped finds it disarmed; one that
    // had fired when it was started again comes before the new time. Both are stale: the answer
    // they would repeat a request for has arrived.
    if (!schedule.armed)
        return false;
    const auto now = std::chrono::steady_clock::now();
    if (now < schedule.due) {
        // A clock that fires a little early is given the rest of its time.
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(schedule.due - now);
        timer.Start(static_cast<int>(rest.count()));
        return false;
    }
    schedule.armed = false;
    return true;
}

// ---- jobs and commands -------------------------------------------------------------------------

void CStreloDevice::QueueJob(int jobCode)
{
    std::lock_guard data(m_dataLock);
    m_jobs.push_back(jobCode);
}

void CStreloDevice::ClearJobs()
{
    std::lock_guard data(m_dataLock);
    m_jobs.clear();
}

bool CStreloDevice::TakeJob()
{
    PendingGuard pending(m_pendingLock);
    if (!m_linkUp || m_sendPending)
        return false;
    std::lock_guard data(m_dataLock);
    if (m_jobs.empty())
        return false;
    const int jobCode = m_jobs.front();
    m_jobs.pop_front();
    if (jobCode < kJobActualValue || jobCode > kJobUid)
        return false;
    m_broadcast = false;
    BuildJob(jobCode);
    // Marked pending until SendUserData takes it, so a command cannot overwrite it meanwhile.
    m_sendPending = true;
    return true;
}

void CStreloDevice::BuildJob(int jobCode)
{
    const std::uint8_t endPoint = DeviceEndPoint();
    switch (jobCode) {
    case kJobActualValue:
        BuildTelegram(kGroupSignal, kCommandStatusRequest, {endPoint, kTypeActualValue});
        break;
    case kJobLuminosity:
        BuildTelegram(kGroupSignal, kCommandStatusRequest, {endPoint, kTypeLuminosity});
        break;
    case kJobDefects:
        BuildTelegram(kGroupSignal, kErrorMessageRequest, {endPoint, kTypeDefects});
        break;
    case kJobVersions:
        BuildTelegram(kGroupSystem, kParameterRequest, {kSystemEndPoint, kTypeVersions});
        break;
    case kJobUid:
        BuildTelegram(kGroupSystem, kParameterRequest, {kSystemEndPoint, kTypeUid});
        break;
    default:
        break;
    }
}

void CStreloDevice::BuildTelegram(std::uint8_t group, std::uint8_t applicationId, const ByteVector &block)
{
    // One counter for every telegram of the device; it runs 1..255 and never sends 0.
    m_jobNumber = m_jobNumber >= 255 ? 1 : m_jobNumber + 1;
    const auto blockLength = Octet(static_cast<int>(block.size()));
    m_userData = {0x00, Octet(5 + blockLength), group, applicationId, Octet(m_jobNumber), 0x01, blockLength};
    m_userData.insert(m_userData.end(), block.begin(), block.end());
}

bool CStreloDevice::SubmitCommand(std::uint8_t group, std::uint8_t applicationId, const ByteVector &block,
                                  bool broadcast)
{
    {
        PendingGuard pending(m_pendingLock);
        // A command while the link is down or another telegram waits is dropped, not queued.
        if (!m_linkUp || m_sendPending)
            return false;
        std::lock_guard data(m_dataLock);
        // The flag describes the telegram waiting in the buffer, so every build sets it.
        m_broadcast = broadcast;
        BuildTelegram(group, applicationId, block);
        m_sendPending = true;
    }
#ifdef LICHTWART_TEST_SEAMS
    if (s_beforeKick)
        s_beforeKick();
#endif
    KickResponseTimer();
    return true;
}

void CStreloDevice::KickResponseTimer()
{
    // The early expiry repeats the last request; its answer lets the new telegram go out with a
    // fresh frame count bit. The guard was meant to leave a running time-out alone, but the
    // busy flag it tests is never set by the timer, so the kick always happens.
    //
    // Between placing the command and this lock the reader thread may have handled an answer
    // and sent the telegram already, or lost the link. Whether to kick is therefore decided here,
    // under the lock every step that sends a pending telegram holds: a kick that finds its
    // telegram gone would repeat the telegram that has only just left (or send a broadcast's
    // control octet as a short telegram), one on a link that is down would disturb its recovery.
    std::lock_guard procedure(m_procedure);
    if (!m_active || m_linkState != kEstablished || !IsSendPending())
        return;
    if (!CStreloComMonitorTimer::IsBusy())
        StartResponseTimer(kKickMs);
}

bool CStreloDevice::SetSetpoint(int nTLSImageCode, int value)
{
    return SubmitCommand(kGroupSignal, kCommand,
                         {DeviceEndPoint(), kTypeActualValue, 0x01, Octet(nTLSImageCode), Octet(value)});
}

bool CStreloDevice::SetIntensity(bool full)
{
    return SubmitCommand(kGroupSignal, kCommand,
                         {DeviceEndPoint(), kTypeLuminosity, full ? kIntensityFull : kIntensityDimmed, 0x00});
}

bool CStreloDevice::RefreshCurrentMeters()
{
    return SubmitCommand(kGroupSignal, kStatusInfoRequest, {DeviceEndPoint(), kTypeCurrents});
}

bool CStreloDevice::FlasherSynchronisation(bool osi7Broadcast, bool osi2Broadcast, int a, int b)
{
    if (a >= kFlasherParameterLimit || b >= kFlasherParameterLimit)
        return false;
    const std::uint8_t endPoint = osi7Broadcast ? kSystemEndPoint : DeviceEndPoint();
    return SubmitCommand(kGroupSignal, kCommand, {endPoint, kTypeFlasherSync, Octet(a), Octet(b)}, osi2Broadcast);
}

bool CStreloDevice::SetOSI2Address(int address)
{
    return SubmitCommand(kGroupSystem, kParameterAssignment, {kSystemEndPoint, kTypeOsi2Address, Octet(address)});
}

bool CStreloDevice::SwitchToFirmwareUploadMode(int port, int baudCode, int features)
{
    return SubmitCommand(kGroupSystem, kCommand,
                         {DeviceEndPoint(), kTypeFirmwareUpload, Octet(port), Octet(baudCode), Octet(features)});
}

bool CStreloDevice::AssignOSI7Address(int osi7Address)
{
    // The configuration frame is addressed by the link address: it ties the physical channel to
    // the OSI 7 address.
    return SubmitCommand(kGroupSystem, kParameterAssignment,
                         {m_address.load(), kTypeAddressAssignment, 0x01, 0x01, 0x04, Octet(osi7Address)});
}

int CStreloDevice::FlashingValue(int cyclePeriodMs)
{
    // High nibble: the period in units of 200 ms; low nibble 2: flashing. Long periods wrap.
    return ((cyclePeriodMs / 200) * 16 + 2) & 0xFF;
}

// ---- replies -----------------------------------------------------------------------------------

void CStreloDevice::DispatchReply(const ByteVector &telegram)
{
    // A reply too short to hold the octets its type is read from is ignored.
    if (telegram.size() <= kOffsetType)
        return;
    if (telegram[kOffsetGroup] == kGroupSignal)
        DispatchSignalReply(telegram);
    else if (telegram[kOffsetGroup] == kGroupSystem)
        DispatchSystemReply(telegram);
}

void CStreloDevice::DispatchSignalReply(const ByteVector &telegram)
{
    if (telegram[kOffsetEndPoint] != m_deviceAddress.load())
        return;
    const std::size_t size = telegram.size();
    const std::uint8_t *o = telegram.data();
    switch (o[kOffsetType]) {
    case kTypeActualValue:
        if (size > 11)
            OnActualValue(o[10], (o[11] & 0x03) != 0, (o[11] & 0x02) != 0);
        break;
    case kTypeDefects:
        ReportDefects(telegram);
        break;
    case kTypeLuminosity:
        if (size > 9)
            OnLuminosity(o[9] > kLuminosityDimmedMax);
        break;
    case kTypeCurrents:
        ReportCurrents(telegram);
        break;
    default:
        break;
    }
}

void CStreloDevice::ReportDefects(const ByteVector &telegram)
{
    if (telegram.size() <= kOffsetParameters)
        return;
    const std::size_t count = telegram[kOffsetParameters];
    if (telegram.size() < kOffsetParameters + 1 + count)
        return;
    for (int image : {kImageRed, kImageYellow, kImageGreen, kImageRedYellow})
        OnDefectValue(image, true);
    if (count == 0) {
        // Nothing defective: the actual value is asked for once more.
        QueueJob(kJobActualValue);
        return;
    }
    for (std::size_t i = 0; i < count; ++i)
        OnDefectValue(telegram[kOffsetParameters + 1 + i], false);
}

void CStreloDevice::ReportCurrents(const ByteVector &telegram)
{
    if (telegram.size() <= 14)
        return;
    // Little-endian values in tenths of a milliampere: red, yellow, green.
    const int images[] = {kImageRed, kImageYellow, kImageGreen};
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t low = kOffsetParameters + 2 * i;
        OnCurrentDrain(images[i], (telegram[low + 1] * 256 + telegram[low]) / 10.0);
    }
}

void CStreloDevice::DispatchSystemReply(const ByteVector &telegram)
{
    // The system end point answers from any DE.
    if (telegram[kOffsetType] == kTypeVersions)
        ReportVersions(telegram);
    else if (telegram[kOffsetType] == kTypeUid)
        ReportUid(telegram);
}

void CStreloDevice::ReportVersions(const ByteVector &telegram)
{
    if (telegram.size() <= 14)
        return;
    const std::uint8_t *o = telegram.data();
    OnVersion(o[9], o[10], o[11], o[12], o[13], o[14]);
    OnDevice(CStreloProductTable::FindByHardwareMajor(o[9]));
}

void CStreloDevice::ReportUid(const ByteVector &telegram)
{
    // The block length counts the DE and type octets, which are not part of the UID.
    const std::size_t blockLength = telegram[kOffsetBlockLength];
    const std::size_t count = blockLength > 2 ? blockLength - 2 : 0;
    if (telegram.size() < kOffsetParameters + count)
        return;
    std::string uid;
    char digits[3];
    for (std::size_t i = 0; i < count; ++i) {
        std::snprintf(digits, sizeof digits, "%02X", telegram[kOffsetParameters + i]);
        uid += digits;
    }
    // A twelve-octet UID is shown as three groups of eight digits.
    if (blockLength == kGroupedUidBlockLength) {
        uid.insert(16, " - ");
        uid.insert(8, " - ");
    }
    OnUID(uid);
}

// ---- trace -------------------------------------------------------------------------------------

void CStreloDevice::TraceUserData(int direction, const ByteVector &telegram)
{
    const ByteVector block = telegram.size() > kOffsetBlockLength
        ? ByteVector(telegram.begin() + kOffsetBlockLength, telegram.end())
        : ByteVector();
    TraceOsi7(kTraceLevelOsi7, direction, OctetOrZero(telegram, kOffsetLength),
              FunctionGroupName(OctetOrZero(telegram, kOffsetGroup)),
              ApplicationIdName(OctetOrZero(telegram, kOffsetApplicationId)), OctetOrZero(telegram, kOffsetJobNumber),
              OctetOrZero(telegram, kOffsetBlockCount), block);
}

std::string CStreloDevice::FunctionGroupName(int functionGroup)
{
    switch (functionGroup) {
    case 1: return "Traffic";
    case 4: return "Signal";
    case 254: return "System";
    default: return "unknown (" + std::to_string(functionGroup) + ")";
    }
}

std::string CStreloDevice::ApplicationIdName(int applicationId)
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
