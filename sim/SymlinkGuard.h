#pragma once

#include <string>

namespace strelosim {

// A symbolic link to the simulator's terminal, removed again when the simulator ends (if it still
// points there).
class SymlinkGuard
{
public:
    SymlinkGuard() = default;
    ~SymlinkGuard();
    SymlinkGuard(const SymlinkGuard &) = delete;
    SymlinkGuard &operator=(const SymlinkGuard &) = delete;

    // A stale symbolic link at `linkPath` is replaced; any other file there is left alone and
    // reported as an error.
    bool Create(const std::string &linkPath, const std::string &target, std::string &error);

private:
    std::string m_linkPath;
    std::string m_target;
};

} // namespace strelosim
