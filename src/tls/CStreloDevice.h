#pragma once

#include "CStreloComMonitorTimer.h"
#include "CStreloPollTimer.h"
#include "CTlsOsi2.h"
#include "CTlsOsi7Codec.h"
#include "StreloProduct.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>

// One Strelo head seen from the master: the primary station of the link (status request, reset,
// polling with an alternating frame count bit, five transmissions per request, the endless
// recovery cycle of a silent station, confirmed and broadcast user data) and the TLS application
// layer on top of it: when jobs and commands go out and where the replies are reported. What the
// telegrams hold and what a reply says is the business of CTlsOsi7Codec.
//
// Threads: the link callbacks run on the serial reader thread, the two timer expiries on the
// timers' own threads, Connect, Disconnect and the commands on the caller's thread. Each step
// of the link procedure runs whole under the procedure lock, so the link variables only change
// between steps. The pending flag is guarded by the critical section; the user data buffer, the
// broadcast flag, the job queue and the job number by a small lock of their own, taken after the
// critical section where both are needed. The kick after a command is decided under the procedure
// lock as well, so it never acts on a telegram that an answer has already let out; a broadcast is
// never repeated.
class CStreloDevice : public CTlsOsi2, public CStreloComMonitorTimer, public CStreloPollTimer
{
public:
    static constexpr int kResponseTimeoutMs = 100;
    static constexpr int kPollIntervalMs = 250;
    static constexpr int kKickMs = 1;
    static constexpr int kTransmissions = 5;
    static constexpr std::uint8_t kBroadcastAddress = 255;
    static constexpr int kTraceLevelOsi7 = 13;

    // States of the link procedure; 1 is never used.
    static constexpr unsigned kWaitingForStatus = 0;
    static constexpr unsigned kResetSent = 2;
    static constexpr unsigned kFirstPollSent = 3;
    static constexpr unsigned kEstablished = 4;

    // Control octets of the requests, with the frame count bit clear.
    static constexpr std::uint8_t kRequestStatus = 0x49;
    static constexpr std::uint8_t kResetLink = 0x40;
    static constexpr std::uint8_t kFirstPoll = 0x78;
    static constexpr std::uint8_t kPoll = 0x58;
    static constexpr std::uint8_t kUserDataConfirmed = 0x53;
    static constexpr std::uint8_t kUserDataBroadcast = 0x54;

    // Link function codes.
    static constexpr int kFunctionUserData = 3;
    static constexpr int kFunctionUserDataNoReply = 4;
    static constexpr int kFunctionStatusOfLink = 11;

    CStreloDevice();
    ~CStreloDevice() override;

    // Starts the link procedure with the station at `osi2Address`; `deviceAddress` is the head's
    // OSI 7 address (its data end point).
    void Connect(int osi2Address, int deviceAddress);
    // Stops the link procedure; nothing more is sent until the next Connect.
    void Disconnect();
    bool IsLinkUp() const { return m_linkUp.load(); }
    unsigned LinkState() const;

    // Commands. Each returns false, sending nothing, while the link is down or a telegram is
    // still pending; otherwise the telegram goes out after the next answer of the station.
    bool SetSetpoint(int nTLSImageCode, int value);
    bool SetIntensity(bool full);
    bool RefreshCurrentMeters();
    bool FlasherSynchronisation(bool osi7Broadcast, bool osi2Broadcast, int a, int b);
    bool SetOSI2Address(int address);
    bool SwitchToFirmwareUploadMode(int port, int baudCode, int features);
    bool AssignOSI7Address(int osi7Address);

    // Queues a start-up job (0..4); the queue is drained one job per poll cycle.
    void QueueJob(int jobCode);
    // The start-up sequence of every link-up: the OSI 7 address assignment when
    // `assignOsi7Address` (the setting "address/assign"), then jobs 0 to 4 in this order.
    void QueueStartUpSequence(bool assignOsi7Address, int osi7Address);
    // Reads a reply of function group 4 or 254 and reports it through the hooks below.
    void DispatchReply(const ByteVector &telegram);

protected:
    // Runs on the commanding thread after a command has been placed and before its kick; does
    // nothing here. The window between the two is where an answer may let the telegram out
    // first, and a test device widens it through this hook.
    virtual void BeforeKick() {}
    // Hooks for the layer above; the base does nothing.
    virtual void LinkChanged(bool up) {}
    // A received OSI 7 telegram; a subclass that wants the replies calls DispatchReply.
    virtual void OnUserData(const ByteVector &telegram) {}
    virtual void OnActualValue(int image, bool on, bool blink) {}
    virtual void OnDefectValue(int image, bool ok) {}
    virtual void OnLuminosity(bool full) {}
    virtual void OnCurrentDrain(int image, double milliAmps) {}
    virtual void OnVersion(int hwMajor, int hwMinor, int hwRevision, int swMajor, int swMinor, int swRelease) {}
    virtual void OnDevice(const STRELO_PRODUCT *product) {}
    virtual void OnUID(const std::string &uid) {}
    // One record per OSI 7 telegram sent (first transmission only) or received.
    virtual void TraceOsi7(int level, int direction, int length, const std::string &fgName,
                           const std::string &appIdName, int jobNumber, int blockCount, const ByteVector &block)
    {
    }
    // Errors of the port and the link are not the user's business.
    void ReportError(const std::string &text) override {}

    void OnAck() override;
    void OnShortTelegram(std::uint8_t control, std::uint8_t address) override;
    void OnLongTelegram(std::uint8_t control, std::uint8_t address, const ByteVector &userData) override;
    void OnResponseTimeout() override;
    void OnPollTimeout() override;

    // The pause between exchanges (kPollIntervalMs unless set). Only a device outside the ordinary
    // link, such as the head search's, sets another one.
    void SetPollInterval(int milliseconds) { m_pollIntervalMs = milliseconds; }

    // Ends both timer threads and closes the port. A subclass that overrides hooks calls this
    // first in its own destructor, so that no thread reaches an object that is being destroyed.
    void ShutDown();

private:
    // What the device knows about a timer it armed: a stopped or re-armed timer may still
    // deliver the expiry that had already fired, and that expiry must change nothing.
    struct TimerSchedule
    {
        bool armed = false;
        std::chrono::steady_clock::time_point due;
    };

    void StartResponseTimer(int milliseconds);
    void StopResponseTimer();
    void StartPollTimer();
    void StopPollTimer();
    static void Arm(TimerSchedule &schedule, int milliseconds);
    static bool Claim(TimerSchedule &schedule, CTimer &timer);

    void ResetLinkVariables();
    void LoseLink();
    void CompleteExchange();
    void SendRequest(std::uint8_t control);
    void SendNextRequest();
    void RepeatRequest();
    void SendUserData();
    bool IsSendPending();
    void ClearSendPending();
    bool TakeJob();
    void ClearJobs();

    bool SubmitCommand(const CTlsOsi7Codec::Command &command, bool broadcast = false);
    void KickResponseTimer();
    void BuildTelegram(const CTlsOsi7Codec::Command &command);
    void TraceUserData(int direction, const ByteVector &telegram);
    std::uint8_t DeviceEndPoint() const { return static_cast<std::uint8_t>(m_deviceAddress.load()); }

    // The procedure lock: held for each whole step of the link procedure.
    mutable std::recursive_mutex m_procedure;
    bool m_active = false; // between Connect and Disconnect; a late timer expiry does nothing after
    unsigned m_linkState = kWaitingForStatus;
    int m_retries = kTransmissions;
    bool m_fcb = false;
    std::uint8_t m_control = kRequestStatus;
    TimerSchedule m_responseSchedule;
    TimerSchedule m_pollSchedule;
    std::atomic<int> m_pollIntervalMs {kPollIntervalMs};

    std::atomic<std::uint8_t> m_address {0};
    std::atomic<int> m_deviceAddress {0};
    std::atomic<bool> m_linkUp {false};

    CCriticalSectionNative m_pendingLock;
    std::atomic<bool> m_sendPending {false};

    std::mutex m_dataLock;
    ByteVector m_userData;
    bool m_broadcast = false;
    std::deque<int> m_jobs;
    int m_jobNumber = 0;
};
