#pragma once

#include "FaultInjector.h"
#include "HeadConfig.h"

#include <string>
#include <vector>

namespace strelosim {

// The command line of strelo-sim.
struct SimOptions
{
    enum class Outcome { Run, Help, Version, Error };

    HeadConfig head;
    std::string link;
    std::chrono::milliseconds latency {0};
    bool silent = false;
    double drop = 0.0;
    double corrupt = 0.0;
    std::uint64_t seed = FaultInjector::kDefaultSeed;
    bool pace = false;
    unsigned baud = 0; // the only rate the head hears; 0: whatever rate the master sets
    bool verbose = false;
    bool strict = false;

    // `arguments` without the program name. On Error, `error` holds one sentence naming the option.
    static Outcome Parse(const std::vector<std::string> &arguments, SimOptions &options, std::string &error);
    static std::string Usage();
};

} // namespace strelosim
