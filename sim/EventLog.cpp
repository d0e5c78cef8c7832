#include "EventLog.h"

#include <cstdio>
#include <ostream>
#include <string>

namespace strelosim {

EventLog::EventLog(std::ostream *trace, std::ostream *errors)
    : m_trace(trace)
    , m_errors(errors)
{
}

std::string EventLog::Timestamp(TimePoint when)
{
    const auto us = std::chrono::duration_cast<std::chrono::microseconds>(when.time_since_epoch()).count();
    char text[32];
    std::snprintf(text, sizeof text, "%lld.%03lld", static_cast<long long>(us / 1000), static_cast<long long>(us % 1000));
    return text;
}

void EventLog::Write(TimePoint when, std::string_view channel, std::string_view text)
{
    if (!m_trace)
        return;
    *m_trace << Timestamp(when) << ' ' << channel << ' ' << text << '\n';
    m_trace->flush();
}

void EventLog::Error(std::string_view text)
{
    Say(text);
}

void EventLog::Summary(std::string_view text)
{
    Say("summary " + std::string(text));
}

void EventLog::Say(std::string_view text)
{
    if (!m_errors)
        return;
    *m_errors << "strelo-sim: " << text << '\n';
    m_errors->flush();
}

} // namespace strelosim
