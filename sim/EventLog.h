#pragma once

#include "SimTypes.h"

#include <iosfwd>
#include <string_view>

namespace strelosim {

// The simulator's stderr voice. Lines of the verbose trace are
//     <time> <channel> <event> [KEY=VALUE ...]
// with <time> the monotonic clock in milliseconds and three decimals; they are written only when
// a trace stream is given. Errors are written whenever an error stream is given.
class EventLog
{
public:
    explicit EventLog(std::ostream *trace = nullptr, std::ostream *errors = nullptr);

    bool Enabled() const { return m_trace != nullptr; }
    void Write(TimePoint when, std::string_view channel, std::string_view text);
    void Error(std::string_view text);
    // The one line at the end of a run, written whenever an error stream is given.
    void Summary(std::string_view text);

    static std::string Timestamp(TimePoint when);

private:
    void Say(std::string_view text);

    std::ostream *m_trace;
    std::ostream *m_errors;
};

} // namespace strelosim
