#pragma once

#include "SimTypes.h"

namespace strelosim {

// Spoils the head's answers on their way to the line: each byte is dropped with probability
// `drop`, otherwise replaced by another value with probability `corrupt`. The draws come from a
// seeded generator of our own, so a seed gives the same faults on every machine and library.
//
// A spoiled answer that would show the master an octet 0x68 directly followed by 0x00 or 0x01
// (counting the last byte sent before it) goes out clean instead: the master's receive assembler
// would take that 0x68 for a long telegram of length 0 or 1 and keep every later byte as its data.
class FaultInjector
{
public:
    struct Result
    {
        Bytes bytes;
        int dropped = 0;
        int corrupted = 0;
        bool guarded = false; // the spoiled form was refused and the answer sent clean
    };

    static constexpr std::uint64_t kDefaultSeed = 20240611;

    FaultInjector(double drop = 0.0, double corrupt = 0.0, std::uint64_t seed = kDefaultSeed);

    bool Active() const { return m_drop > 0.0 || m_corrupt > 0.0; }
    Result Apply(const Bytes &clean);
    // A new line session: nothing was sent before.
    void ForgetLastByte() { m_lastByte = -1; }

private:
    std::uint64_t Next();
    double Uniform();

    double m_drop;
    double m_corrupt;
    std::uint64_t m_state;
    int m_lastByte = -1;
};

} // namespace strelosim
