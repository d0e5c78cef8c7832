#pragma once

#include <string>

namespace strelosim {

// Turns SIGINT and SIGTERM into a readable descriptor, so that the main loop, blocked in poll,
// wakes up and ends cleanly. One instance per process.
class StopSignal
{
public:
    StopSignal() = default;
    ~StopSignal();
    StopSignal(const StopSignal &) = delete;
    StopSignal &operator=(const StopSignal &) = delete;

    bool Install(std::string &error);
    int Fd() const { return m_readFd; }

private:
    int m_readFd = -1;
};

} // namespace strelosim
