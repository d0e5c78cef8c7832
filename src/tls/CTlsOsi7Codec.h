#pragma once

#include "StreloProduct.h"
#include "comm/ByteVector.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// The TLS application layer (OSI 7) as the master speaks it, without a link: how every job and
// command telegram is built, what a reply says, and the names under which function groups and
// application ids appear in the trace. Everything here is a pure function of its arguments; the
// job counter, the addresses and the locks belong to the device that calls it (CStreloDevice).
// To change a telegram, change it here: the GUI, the CLI and the head search all send through it.
class CTlsOsi7Codec
{
public:
    // Function groups and the system end point (DE 255).
    static constexpr std::uint8_t kGroupSignal = 4;
    static constexpr std::uint8_t kGroupSystem = 254;
    static constexpr std::uint8_t kSystemEndPoint = 255;

    // TLS image codes.
    static constexpr int kImageRed = 107;
    static constexpr int kImageYellow = 108;
    static constexpr int kImageGreen = 109;
    static constexpr int kImageRedYellow = 110;
    static constexpr int kImageYellowFlasher = 61;

    // The start-up jobs, queued in this order at every link-up.
    static constexpr int kJobActualValue = 0;
    static constexpr int kJobLuminosity = 1;
    static constexpr int kJobDefects = 2;
    static constexpr int kJobVersions = 3;
    static constexpr int kJobUid = 4;
    static constexpr std::array<int, 5> kStartUpJobs = {kJobActualValue, kJobLuminosity, kJobDefects, kJobVersions,
                                                        kJobUid};

    // What a telegram asks for, before it is given its job number: function group, application
    // id and the one data block (DE, type, parameters).
    struct Command
    {
        std::uint8_t group = 0;
        std::uint8_t applicationId = 0;
        ByteVector block;
    };

    // What a reply reports. `kind` says which fields are filled; reports that come as a series
    // (defects, currents) are listed in the order in which they are to be reported.
    struct Reply
    {
        enum class Kind { None, ActualValue, Defects, Luminosity, Currents, Versions, Uid };

        Kind kind = Kind::None;
        int image = 0; // actual value
        bool on = false;
        bool blink = false;
        std::vector<std::pair<int, bool>> defects;    // (image, intact)
        bool askActualValueAgain = false;             // a defect list without a defect
        bool full = false;                            // luminosity
        std::vector<std::pair<int, double>> currents; // (image, mA)
        std::array<int, 6> versions {};               // hardware major, minor, revision; software ditto
        const STRELO_PRODUCT *product = nullptr;      // by hardware major; null when unknown
        std::string uid;
    };

    // The fields of an OSI 7 trace record.
    struct TraceRecord
    {
        int length = 0;
        std::string functionGroup;
        std::string applicationId;
        int jobNumber = 0;
        int blockCount = 0;
        ByteVector block; // from the block length octet to the end
    };

    // Start-up job 0..4 for the head at `endPoint`; no command for any other code.
    static std::optional<Command> Job(int jobCode, std::uint8_t endPoint);
    static Command Setpoint(std::uint8_t endPoint, int nTLSImageCode, int value);
    static Command Intensity(std::uint8_t endPoint, bool full);
    static Command CurrentMeters(std::uint8_t endPoint);
    // No command when a or b does not fit an octet.
    static std::optional<Command> FlasherSynchronisation(bool osi7Broadcast, std::uint8_t endPoint, int a, int b);
    static Command Osi2Address(int address);
    static Command FirmwareUploadMode(std::uint8_t endPoint, int port, int baudCode, int features);
    // The configuration frame that ties the link address (its DE) to the OSI 7 address.
    static Command Osi7AddressAssignment(std::uint8_t linkAddress, int osi7Address);

    // The whole telegram: OSI 3 address id, length, group, application id, job number, one block.
    static ByteVector Telegram(const Command &command, int jobNumber);
    // The job number after `jobNumber`: 1..255, then 1 again; 0 is never sent.
    static int NextJobNumber(int jobNumber);
    // The setpoint value of a flashing image for a flasher cycle period.
    static int FlashingValue(int cyclePeriodMs);

    // What a received telegram reports to a master whose head has OSI 7 address `osi7Address`.
    static Reply ParseReply(const ByteVector &telegram, int osi7Address);
    // The DE of an actual-value reply: the head's own OSI 7 address, whatever end point the
    // request named. None for any other telegram.
    static std::optional<int> ActualValueEndPoint(const ByteVector &telegram);

    static TraceRecord Describe(const ByteVector &telegram);
    static std::string FunctionGroupName(int functionGroup);
    static std::string ApplicationIdName(int applicationId);

private:
    static Reply ParseSignalReply(const ByteVector &telegram);
    static Reply ParseSystemReply(const ByteVector &telegram);
    static Reply ParseDefects(const ByteVector &telegram);
    static Reply ParseCurrents(const ByteVector &telegram);
    static Reply ParseVersions(const ByteVector &telegram);
    static Reply ParseUid(const ByteVector &telegram);
};
