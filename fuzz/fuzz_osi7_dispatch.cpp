// The reading of OSI 7 replies, fed telegrams of every length, function group and type. The
// first input byte is the head's OSI 7 address, the rest one telegram. Every report the codec
// finds in it, in the order the device reports them, is compared with what the telegram's octets
// say it must report: the octets at the documented offsets, nothing for a reply too short to hold
// them, nothing for a signal reply with a foreign end point or for an unknown group or type.

#include "tls/CTlsOsi7Codec.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

// "name v1 v2 ...", the form in which a report is compared.
std::string Report(const char *name, std::initializer_list<int> values)
{
    std::string text = name;
    for (int value : values)
        text += " " + std::to_string(value);
    return text;
}

std::string Current(int image, int low, int high)
{
    char text[64];
    std::snprintf(text, sizeof text, "current %d %.1f", image, (high * 256 + low) / 10.0);
    return text;
}

std::string Hex(std::uint8_t octet)
{
    char text[3];
    std::snprintf(text, sizeof text, "%02X", octet);
    return text;
}

std::vector<std::string> SignalReports(const ByteVector &t)
{
    std::vector<std::string> expected;
    const std::size_t size = t.size();
    switch (t[8]) {
    case 0x37:
        if (size > 11)
            expected.push_back(Report("actual", {t[10], (t[11] & 3) != 0, (t[11] & 2) != 0}));
        break;
    case 0x02:
        if (size > 9 && size >= 10u + t[9]) {
            for (int image : {107, 108, 109, 110})
                expected.push_back(Report("defect", {image, 1}));
            for (std::size_t i = 0; i < t[9]; ++i)
                expected.push_back(Report("defect", {t[10 + i], 0}));
        }
        break;
    case 0x31:
        if (size > 9)
            expected.push_back(Report("luminosity", {t[9] > 50}));
        break;
    case 0x82:
        if (size > 14) {
            expected.push_back(Current(107, t[9], t[10]));
            expected.push_back(Current(108, t[11], t[12]));
            expected.push_back(Current(109, t[13], t[14]));
        }
        break;
    default:
        break;
    }
    return expected;
}

std::vector<std::string> SystemReports(const ByteVector &t)
{
    std::vector<std::string> expected;
    if (t[8] == 0x85 && t.size() > 14) {
        expected.push_back(Report("version", {t[9], t[10], t[11], t[12], t[13], t[14]}));
        expected.push_back(t[9] == 2 ? "device strelo-002" : t[9] == 3 ? "device strelo-003" : "device none");
    } else if (t[8] == 0x87) {
        // The block length counts the end point and type octets before the UID.
        const std::size_t count = t[6] > 2 ? t[6] - 2 : 0;
        if (t.size() >= 9 + count) {
            std::string uid;
            for (std::size_t i = 0; i < count; ++i)
                uid += Hex(t[9 + i]);
            if (t[6] == 14)
                uid = uid.substr(0, 8) + " - " + uid.substr(8, 8) + " - " + uid.substr(16);
            expected.push_back("uid " + uid);
        }
    }
    return expected;
}

std::vector<std::string> ExpectedReports(const ByteVector &t, std::uint8_t osi7Address)
{
    if (t.size() <= 8)
        return {};
    if (t[2] == 4 && t[7] == osi7Address)
        return SignalReports(t);
    if (t[2] == 254)
        return SystemReports(t);
    return {};
}

// The reports of a parsed reply, one text each, in the order in which the device reports them.
std::vector<std::string> Reports(const CTlsOsi7Codec::Reply &reply)
{
    using Kind = CTlsOsi7Codec::Reply::Kind;
    std::vector<std::string> reports;
    switch (reply.kind) {
    case Kind::ActualValue:
        reports.push_back(Report("actual", {reply.image, reply.on, reply.blink}));
        break;
    case Kind::Defects:
        for (const auto &[image, intact] : reply.defects)
            reports.push_back(Report("defect", {image, intact}));
        break;
    case Kind::Luminosity:
        reports.push_back(Report("luminosity", {reply.full}));
        break;
    case Kind::Currents:
        for (const auto &[image, milliAmps] : reply.currents) {
            char text[64];
            std::snprintf(text, sizeof text, "current %d %.1f", image, milliAmps);
            reports.push_back(text);
        }
        break;
    case Kind::Versions:
        reports.push_back(Report("version", {reply.versions[0], reply.versions[1], reply.versions[2],
                                             reply.versions[3], reply.versions[4], reply.versions[5]}));
        reports.push_back("device " + (reply.product != nullptr ? reply.product->id.toStdString() : std::string("none")));
        break;
    case Kind::Uid:
        reports.push_back("uid " + reply.uid);
        break;
    case Kind::None:
        break;
    }
    return reports;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const ByteVector telegram(data + 1, data + size);
    const CTlsOsi7Codec::Reply reply = CTlsOsi7Codec::ParseReply(telegram, data[0]);
    Check(Reports(reply) == ExpectedReports(telegram, data[0]));
    // Only a defect list without a defect asks for the actual value again.
    const bool noDefect = telegram.size() > 9 && telegram[2] == 4 && telegram[7] == data[0] && telegram[8] == 0x02
        && telegram[9] == 0;
    Check(reply.askActualValueAgain == noDefect);
    return 0;
}
