#include "CStreloSetpoints.h"

#include "CTlsOsi7Codec.h"

#include <array>

namespace {

constexpr int kOff = 0;
constexpr int kSteady = 1;
constexpr int kFlashing = -1; // the value follows the flasher cycle period

struct Row
{
    CStreloSetpoints::Lamp lamp;
    const char *name;
    int image;
    int value;
};

constexpr std::array<Row, 7> kRows = {{
    {CStreloSetpoints::Lamp::Red, "red", CTlsOsi7Codec::kImageRed, kSteady},
    {CStreloSetpoints::Lamp::Green, "green", CTlsOsi7Codec::kImageGreen, kSteady},
    {CStreloSetpoints::Lamp::Yellow, "yellow", CTlsOsi7Codec::kImageYellow, kFlashing},
    {CStreloSetpoints::Lamp::YellowSteady, "yellow-steady", CTlsOsi7Codec::kImageYellow, kSteady},
    {CStreloSetpoints::Lamp::YellowFlasher, "yellow-flasher", CTlsOsi7Codec::kImageYellowFlasher, kFlashing},
    {CStreloSetpoints::Lamp::RedYellow, "red-yellow", CTlsOsi7Codec::kImageRedYellow, kSteady},
    {CStreloSetpoints::Lamp::Off, "off", CTlsOsi7Codec::kImageRed, kOff},
}};

} // namespace

CStreloSetpoints::Setpoint CStreloSetpoints::For(Lamp lamp, int cyclePeriodMs)
{
    for (const Row &row : kRows) {
        if (row.lamp == lamp)
            return {row.image, row.value == kFlashing ? CTlsOsi7Codec::FlashingValue(cyclePeriodMs) : row.value};
    }
    return {};
}

std::optional<CStreloSetpoints::Lamp> CStreloSetpoints::FromName(const std::string &name)
{
    for (const Row &row : kRows) {
        if (name == row.name)
            return row.lamp;
    }
    return std::nullopt;
}

std::vector<std::string> CStreloSetpoints::Names()
{
    std::vector<std::string> names;
    for (const Row &row : kRows)
        names.emplace_back(row.name);
    return names;
}
