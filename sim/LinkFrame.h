#pragma once

#include "SimTypes.h"

namespace strelosim {

// One telegram of the link layer: the single character 0xE5, a short telegram (C, A) or a long
// telegram (C, A, user data).
struct LinkFrame
{
    enum class Form { Ack, Short, Long };

    Form form = Form::Ack;
    std::uint8_t control = 0;
    std::uint8_t address = 0;
    Bytes data;

    static constexpr std::uint8_t kPrm = 0x40;
    static constexpr std::uint8_t kBit5 = 0x20; // FCB from the primary, ACD from the secondary
    static constexpr std::uint8_t kBit4 = 0x10; // FCV from the primary, DFC from the secondary

    std::uint8_t Function() const { return control & 0x0F; }
    bool FromPrimary() const { return (control & kPrm) != 0; }
    bool Bit5() const { return (control & kBit5) != 0; }
    bool Bit4() const { return (control & kBit4) != 0; }

    static LinkFrame Ack() { return {}; }
    static LinkFrame Short(std::uint8_t c, std::uint8_t a) { return {Form::Short, c, a, {}}; }
    static LinkFrame Long(std::uint8_t c, std::uint8_t a, Bytes d) { return {Form::Long, c, a, std::move(d)}; }

    bool operator==(const LinkFrame &) const = default;
};

} // namespace strelosim
