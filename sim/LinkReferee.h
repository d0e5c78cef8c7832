#pragma once

#include "EventLog.h"
#include "LinkFrame.h"

#include <array>
#include <optional>
#include <string>

namespace strelosim {

// Watches the master from the head's side of the line and counts the telegrams no head may ever
// receive, whatever the head then does with them:
// - a short telegram with a user-data function (3 or 4): user data always travels long;
// - a telegram to the broadcast address that asks for an answer: only user data without reply
//   (function 4, long) may go to 255, since every head on the line would answer at once;
// - a frame-count violation: the first counted telegram after a link reset carries FCB 0; a
//   telegram with the FCB of the one before (a repetition) follows a broadcast, which nothing
//   answers and the master never repeats; a repetition carries another function than the
//   telegram it repeats; a broadcast carries the FCB of the telegram before it.
// A repeated user-data telegram may carry other data than the first: the master repeats whatever
// its buffer holds, and that is allowed.
class LinkReferee
{
public:
    enum class Kind { ShortUserData, BroadcastAnswer, FrameCount };

    explicit LinkReferee(EventLog &log);

    // Judges one telegram from the master; `address` is the head's link address at that moment.
    void Judge(const LinkFrame &frame, std::uint8_t address, TimePoint now);
    // The head restarted: it knows nothing of the frame count bit any more.
    void Forget();

    int Count() const;
    int Count(Kind kind) const { return m_counts[static_cast<std::size_t>(kind)]; }
    // "violations=N short-user-data=N broadcast-answer=N frame-count=N"
    std::string Summary() const;

private:
    // The reason a counted telegram breaks the frame count, or nothing.
    std::optional<std::string> FrameCountFault(const LinkFrame &frame, bool broadcast) const;
    void Remember(const LinkFrame &frame, bool broadcast);
    void Report(Kind kind, const LinkFrame &frame, TimePoint now, const std::string &why);

    EventLog &m_log;
    std::array<int, 3> m_counts {};
    bool m_afterReset = false;
    std::optional<bool> m_lastFcb;
    std::uint8_t m_lastFunction = 0;
    bool m_lastWasBroadcast = false;
};

} // namespace strelosim
