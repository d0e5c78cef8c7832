#include "CStreloDevice.h"


namespace {

constexpr std::uint8_t Octet(int value)
{
    return static_cast<std::uint8_t>(value);
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
    const int milliseconds = m_pollIntervalMs.load();
    Arm(m_pollSchedule, milliseconds);
    CStreloPollTimer::Start(milliseconds);
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
    const auto job = CTlsOsi7Codec::Job(jobCode, DeviceEndPoint());
    if (!job)
        return false;
    m_broadcast = false;
    BuildTelegram(*job);
    // Marked pending until SendUserData takes it, so a command cannot overwrite it meanwhile.
    m_sendPending = true;
    return true;
}

void CStreloDevice::QueueStartUpSequence(bool assignOsi7Address, int osi7Address)
{
    if (assignOsi7Address)
        AssignOSI7Address(osi7Address);
    for (int job : CTlsOsi7Codec::kStartUpJobs)
        QueueJob(job);
}

void CStreloDevice::BuildTelegram(const CTlsOsi7Codec::Command &command)
{
    // One counter for every telegram of the device.
    m_jobNumber = CTlsOsi7Codec::NextJobNumber(m_jobNumber);
    m_userData = CTlsOsi7Codec::Telegram(command, m_jobNumber);
}

bool CStreloDevice::SubmitCommand(const CTlsOsi7Codec::Command &command, bool broadcast)
{
    {
        PendingGuard pending(m_pendingLock);
        // A command while the link is down or another telegram waits is dropped, not queued.
        if (!m_linkUp || m_sendPending)
            return false;
        std::lock_guard data(m_dataLock);
        // The flag describes the telegram waiting in the buffer, so every build sets it.
        m_broadcast = broadcast;
        BuildTelegram(command);
        m_sendPending = true;
    }
    BeforeKick();
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
    return SubmitCommand(CTlsOsi7Codec::Setpoint(DeviceEndPoint(), nTLSImageCode, value));
}

bool CStreloDevice::SetIntensity(bool full)
{
    return SubmitCommand(CTlsOsi7Codec::Intensity(DeviceEndPoint(), full));
}

bool CStreloDevice::RefreshCurrentMeters()
{
    return SubmitCommand(CTlsOsi7Codec::CurrentMeters(DeviceEndPoint()));
}

bool CStreloDevice::FlasherSynchronisation(bool osi7Broadcast, bool osi2Broadcast, int a, int b)
{
    const auto command = CTlsOsi7Codec::FlasherSynchronisation(osi7Broadcast, DeviceEndPoint(), a, b);
    return command && SubmitCommand(*command, osi2Broadcast);
}

bool CStreloDevice::SetOSI2Address(int address)
{
    return SubmitCommand(CTlsOsi7Codec::Osi2Address(address));
}

bool CStreloDevice::SwitchToFirmwareUploadMode(int port, int baudCode, int features)
{
    return SubmitCommand(CTlsOsi7Codec::FirmwareUploadMode(DeviceEndPoint(), port, baudCode, features));
}

bool CStreloDevice::AssignOSI7Address(int osi7Address)
{
    return SubmitCommand(CTlsOsi7Codec::Osi7AddressAssignment(m_address.load(), osi7Address));
}

// ---- replies -----------------------------------------------------------------------------------

void CStreloDevice::DispatchReply(const ByteVector &telegram)
{
    using Kind = CTlsOsi7Codec::Reply::Kind;
    const CTlsOsi7Codec::Reply reply = CTlsOsi7Codec::ParseReply(telegram, m_deviceAddress.load());
    switch (reply.kind) {
    case Kind::ActualValue:
        OnActualValue(reply.image, reply.on, reply.blink);
        break;
    case Kind::Defects:
        for (const auto &[image, intact] : reply.defects)
            OnDefectValue(image, intact);
        if (reply.askActualValueAgain)
            QueueJob(CTlsOsi7Codec::kJobActualValue);
        break;
    case Kind::Luminosity:
        OnLuminosity(reply.full);
        break;
    case Kind::Currents:
        for (const auto &[image, milliAmps] : reply.currents)
            OnCurrentDrain(image, milliAmps);
        break;
    case Kind::Versions: {
        const auto &v = reply.versions;
        OnVersion(v[0], v[1], v[2], v[3], v[4], v[5]);
        OnDevice(reply.product);
        break;
    }
    case Kind::Uid:
        OnUID(reply.uid);
        break;
    case Kind::None:
        break;
    }
}

// ---- trace -------------------------------------------------------------------------------------

void CStreloDevice::TraceUserData(int direction, const ByteVector &telegram)
{
    const CTlsOsi7Codec::TraceRecord record = CTlsOsi7Codec::Describe(telegram);
    TraceOsi7(kTraceLevelOsi7, direction, record.length, record.functionGroup, record.applicationId,
              record.jobNumber, record.blockCount, record.block);
}
