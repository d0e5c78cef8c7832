#include "FaultInjector.h"

#include "FrameCodec.h"

namespace strelosim {

FaultInjector::FaultInjector(double drop, double corrupt, std::uint64_t seed)
    : m_drop(drop)
    , m_corrupt(corrupt)
    , m_state(seed)
{
}

// splitmix64: small, fast and fully specified, so the fault pattern does not depend on the
// standard library's distributions.
std::uint64_t FaultInjector::Next()
{
    std::uint64_t z = (m_state += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

double FaultInjector::Uniform()
{
    return static_cast<double>(Next() >> 11) * 0x1.0p-53;
}

FaultInjector::Result FaultInjector::Apply(const Bytes &clean)
{
    Result result;
    if (Active()) {
        for (const std::uint8_t b : clean) {
            if (m_drop > 0.0 && Uniform() < m_drop) {
                ++result.dropped;
            } else if (m_corrupt > 0.0 && Uniform() < m_corrupt) {
                result.bytes.push_back(static_cast<std::uint8_t>(b ^ (1 + Next() % 255)));
                ++result.corrupted;
            } else {
                result.bytes.push_back(b);
            }
        }
        if ((result.dropped > 0 || result.corrupted > 0) && FrameCodec::ContainsLengthTrap(result.bytes, m_lastByte))
            result = Result {clean, 0, 0, true};
    } else {
        result.bytes = clean;
    }
    if (!result.bytes.empty())
        m_lastByte = result.bytes.back();
    return result;
}

} // namespace strelosim
