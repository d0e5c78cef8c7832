#include "SimOptions.h"

#include "FrameCodec.h"
#include "HeadApplication.h"
#include "HexText.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <functional>
#include <limits>
#include <map>

namespace strelosim {

namespace {

constexpr std::size_t kLongestUid = 32;
constexpr long long kLongestDelayMs = 600000;

using Handler = std::function<bool(const std::string &value, SimOptions &options, std::string &error)>;

struct Option
{
    bool takesValue;
    Handler handler;
};

bool ParseInteger(const std::string &text, long long low, long long high, long long &value)
{
    const char *end = text.data() + text.size();
    const auto [next, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && next == end && !text.empty() && value >= low && value <= high;
}

Handler Integer(long long low, long long high, std::function<void(SimOptions &, long long)> store)
{
    return [=](const std::string &value, SimOptions &options, std::string &error) {
        long long number = 0;
        if (!ParseInteger(value, low, high, number)) {
            error = "needs a whole number from " + std::to_string(low) + " to " + std::to_string(high);
            return false;
        }
        store(options, number);
        return true;
    };
}

Handler Probability(double SimOptions::*field)
{
    return [=](const std::string &value, SimOptions &options, std::string &error) {
        char *end = nullptr;
        const double p = std::strtod(value.c_str(), &end);
        if (value.empty() || *end != '\0' || !(p >= 0.0 && p <= 1.0)) {
            error = "needs a probability from 0 to 1";
            return false;
        }
        options.*field = p;
        return true;
    };
}

template <typename Field>
Handler VersionOf(Field HeadConfig::*field)
{
    return [=](const std::string &value, SimOptions &options, std::string &error) {
        const std::optional<Version> version = Version::Parse(value);
        if (!version) {
            error = "needs a version A.B.C with parts from 0 to 255";
            return false;
        }
        options.head.*field = *version;
        return true;
    };
}

Handler Flag(bool SimOptions::*field)
{
    return [=](const std::string &, SimOptions &options, std::string &) {
        options.*field = true;
        return true;
    };
}

bool ParseUid(const std::string &value, SimOptions &options, std::string &error)
{
    const std::optional<Bytes> uid = HexText::Parse(value);
    if (!uid || uid->empty() || uid->size() > kLongestUid) {
        error = "needs 1 to " + std::to_string(kLongestUid) + " octets as hexadecimal digits";
        return false;
    }
    options.head.uid = *uid;
    return true;
}

// The rates of a serial port's rate table, 110 to 115200 baud.
bool ParseBaud(const std::string &value, SimOptions &options, std::string &error)
{
    static constexpr long long kRates[] = {110, 300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};
    long long rate = 0;
    if (!ParseInteger(value, 1, kRates[std::size(kRates) - 1], rate)
        || std::find(std::begin(kRates), std::end(kRates), rate) == std::end(kRates)) {
        error = "needs one of the rates 110, 300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200";
        return false;
    }
    options.baud = static_cast<unsigned>(rate);
    return true;
}

bool ParseDefects(const std::string &value, SimOptions &options, std::string &error)
{
    static const std::map<std::string, std::uint8_t> kLamps {
        {"red", HeadApplication::kImageRed},
        {"yellow", HeadApplication::kImageYellow},
        {"green", HeadApplication::kImageGreen},
        {"red-yellow", HeadApplication::kImageRedYellow},
    };
    options.head.defects.clear();
    if (value.empty())
        return true;
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = value.find(',', start);
        const std::string name = value.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        const auto lamp = kLamps.find(name);
        if (lamp == kLamps.end()) {
            error = "takes a list of red, yellow, green and red-yellow, not '" + name + "'";
            return false;
        }
        auto &defects = options.head.defects;
        if (std::find(defects.begin(), defects.end(), lamp->second) == defects.end())
            defects.push_back(lamp->second);
        if (comma == std::string::npos)
            break;
        start = comma + 1;
    }
    return true;
}

const std::map<std::string, Option> &Options()
{
    static const std::map<std::string, Option> kOptions {
        {"--link", {true, [](const std::string &v, SimOptions &o, std::string &) { o.link = v; return !v.empty(); }}},
        {"--osi2", {true, Integer(1, 254, [](SimOptions &o, long long n) { o.head.linkAddress = static_cast<std::uint8_t>(n); })}},
        {"--osi7", {true, Integer(1, 254, [](SimOptions &o, long long n) { o.head.osi7Address = static_cast<std::uint8_t>(n); })}},
        {"--hardware", {true, VersionOf(&HeadConfig::hardware)}},
        {"--software", {true, VersionOf(&HeadConfig::software)}},
        {"--software-after", {true, VersionOf(&HeadConfig::softwareAfter)}},
        {"--uid", {true, ParseUid}},
        {"--defect", {true, ParseDefects}},
        {"--luminosity", {true, Integer(0, 255, [](SimOptions &o, long long n) { o.head.luminosity = static_cast<std::uint8_t>(n); })}},
        {"--latency", {true, Integer(0, kLongestDelayMs, [](SimOptions &o, long long n) { o.latency = std::chrono::milliseconds(n); })}},
        {"--erase-ms", {true, Integer(0, kLongestDelayMs, [](SimOptions &o, long long n) { o.head.eraseTime = std::chrono::milliseconds(n); })}},
        {"--silent", {false, Flag(&SimOptions::silent)}},
        {"--drop", {true, Probability(&SimOptions::drop)}},
        {"--corrupt", {true, Probability(&SimOptions::corrupt)}},
        {"--seed", {true, Integer(0, std::numeric_limits<long long>::max(), [](SimOptions &o, long long n) { o.seed = static_cast<std::uint64_t>(n); })}},
        {"--pace", {false, Flag(&SimOptions::pace)}},
        {"--baud", {true, ParseBaud}},
        {"--image-out", {true, [](const std::string &v, SimOptions &o, std::string &) { o.head.imageOut = v; return !v.empty(); }}},
        {"--verbose", {false, Flag(&SimOptions::verbose)}},
        {"--strict", {false, Flag(&SimOptions::strict)}},
    };
    return kOptions;
}

// The identity the head reports must not itself carry the octet pair that traps the master's
// receive assembler (see FrameCodec::ContainsLengthTrap).
bool CheckIdentity(const SimOptions &options, std::string &error)
{
    const HeadConfig &head = options.head;
    if (head.linkAddress == FrameCodec::kLongStart) {
        error = "--osi2 104 cannot be used: every long reply would carry 0x68 followed by the OSI 3 id 0x00";
        return false;
    }
    if (FrameCodec::ContainsLengthTrap(HeadApplication::VersionOctets(head.hardware, head.software))) {
        error = "--hardware/--software: the versions reply would carry 0x68 followed by 0x00 or 0x01";
        return false;
    }
    if (head.softwareAfter && FrameCodec::ContainsLengthTrap(HeadApplication::VersionOctets(head.hardware, *head.softwareAfter))) {
        error = "--hardware/--software-after: the versions reply would carry 0x68 followed by 0x00 or 0x01";
        return false;
    }
    if (FrameCodec::ContainsLengthTrap(head.uid)) {
        error = "--uid must not contain the octet 68 followed by 00 or 01";
        return false;
    }
    return true;
}

} // namespace

SimOptions::Outcome SimOptions::Parse(const std::vector<std::string> &arguments, SimOptions &options, std::string &error)
{
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string &argument = arguments[i];
        if (argument == "--help" || argument == "-h")
            return Outcome::Help;
        if (argument == "--version")
            return Outcome::Version;
        const std::size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        const auto option = Options().find(name);
        if (option == Options().end()) {
            error = "unknown option '" + argument + "'";
            return Outcome::Error;
        }
        std::string value;
        if (equals != std::string::npos) {
            if (!option->second.takesValue) {
                error = name + " takes no value";
                return Outcome::Error;
            }
            value = argument.substr(equals + 1);
        } else if (option->second.takesValue) {
            if (i + 1 >= arguments.size()) {
                error = name + " needs a value";
                return Outcome::Error;
            }
            value = arguments[++i];
        }
        std::string reason;
        if (!option->second.handler(value, options, reason)) {
            error = name + " " + (reason.empty() ? "needs a value" : reason) + " (got '" + value + "')";
            return Outcome::Error;
        }
    }
    return CheckIdentity(options, error) ? Outcome::Run : Outcome::Error;
}

std::string SimOptions::Usage()
{
    return "Usage: strelo-sim [options]\n"
           "Simulates one Strelo traffic-light head on a pseudo-terminal. The first line on stdout is\n"
           "'device: <terminal path>'; with --baud, stderr's first is\n"
           "'listening: <rate> baud, OSI 2 address <n>'. The simulator serves until SIGINT or SIGTERM.\n"
           "\n"
           "  --link PATH          make PATH a symbolic link to the terminal (removed on exit)\n"
           "  --osi2 N             link address, 1..254 (default 1)\n"
           "  --osi7 N             OSI 7 address (DE), 1..254 (default 1)\n"
           "  --hardware A.B.C     hardware version (default 2.1.0)\n"
           "  --software A.B.C     software version (default 1.4.2)\n"
           "  --software-after A.B.C  software version reported once an upgrade has started the\n"
           "                       flashed image (default: the image's STRELO-SWV marker, else unchanged)\n"
           "  --uid HEX            unique identifier, 1..32 octets (default 12 octets)\n"
           "  --defect LIST        broken lamps: red,yellow,green,red-yellow\n"
           "  --luminosity N       intensity reported at power-up (100 full, 10 dimmed; default 100)\n"
           "  --latency MS         delay every answer by MS milliseconds\n"
           "  --erase-ms MS        time the boot loader takes to erase the flash (default 300)\n"
           "  --silent             answer nothing\n"
           "  --drop P             drop each sent byte with probability P\n"
           "  --corrupt P          corrupt each sent byte with probability P\n"
           "  --seed N             seed of the fault generator\n"
           "  --baud RATE          listen at RATE only: at any other rate the line is garbage and the\n"
           "                       head answers nothing (default: whatever rate the master sets)\n"
           "  --pace               let every byte take its time on a real line at the configured rate\n"
           "  --image-out FILE     write the flashed image (S-records) when the boot loader starts it\n"
           "  --verbose            log every telegram and boot-loader event on stderr\n"
           "  --strict             exit with 3 when the head received a telegram no head may receive\n"
           "  --help, --version\n"
           "\n"
           "At exit one line on stderr counts the telegrams no head may receive (short telegrams with\n"
           "user data, telegrams to 255 that ask for an answer, frame-count violations):\n"
           "'strelo-sim: summary violations=N short-user-data=N broadcast-answer=N frame-count=N'.\n"
           "--verbose logs each one as a 'link violation' line.\n";
}

} // namespace strelosim
