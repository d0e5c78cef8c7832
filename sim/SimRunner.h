#pragma once

#include "EventLog.h"
#include "FaultInjector.h"
#include "PacedQueue.h"
#include "PtyTransport.h"
#include "SimOptions.h"
#include "StopSignal.h"
#include "StreloHead.h"
#include "SymlinkGuard.h"

#include <deque>
#include <iosfwd>
#include <memory>

namespace strelosim {

// The simulator's main loop: one thread blocked in poll on the terminal, the file watch and the
// stop signal, waking only for bytes, for a due answer or for the next paced byte.
//
// Received bytes pass through an input queue (paced at the line's character time with --pace) to
// the head. Its answers wait for the latency and the head's own delay, leave in the order they
// were made, pass the fault injector and an output queue (paced as well) onto the line.
class SimRunner
{
public:
    SimRunner(const SimOptions &options, std::ostream &out, std::ostream &err);
    ~SimRunner();

    // With --strict: the exit code when the head received telegrams no head may receive.
    static constexpr int kExitViolations = 3;

    // Sets up the terminal, prints the device line and serves until stopped; the exit code.
    int Run();

private:
    struct Scheduled
    {
        TimePoint due;
        Transmission transmission;
    };

    bool SetUp();
    void Serve();
    // Writes the referee's summary line; the exit code it calls for.
    int Judgement();
    // How long poll may sleep: until the next input byte, answer or output byte is due.
    std::optional<std::chrono::nanoseconds> PollTimeout(TimePoint now) const;
    void OnPortClosed(TimePoint now);
    void ReadInput(TimePoint now);
    // False when the master's rate differs from the one the head listens at (--baud).
    bool HearsLine(std::size_t count, TimePoint now);
    void DeliverInput(TimePoint now);
    // Queues the answers, each due its latency after `from`.
    void Schedule(std::vector<Transmission> answers, TimePoint from);
    void ReleaseAnswers(TimePoint now);
    void WriteOutput(TimePoint now);
    std::chrono::nanoseconds CharacterTime(bool parityBit) const;

    SimOptions m_options;
    std::ostream &m_out;
    std::ostream &m_err;
    EventLog m_log;
    PtyTransport m_transport;
    StopSignal m_stop;
    SymlinkGuard m_link;
    std::unique_ptr<StreloHead> m_head;
    FaultInjector m_faults;
    PacedQueue m_input;
    PacedQueue m_output;
    std::deque<Scheduled> m_scheduled;
    TimePoint m_lastScheduled {};
    bool m_outputBlocked = false;
};

} // namespace strelosim
