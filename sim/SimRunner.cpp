#include "SimRunner.h"

#include <algorithm>
#include <cerrno>
#include <ostream>
#include <poll.h>

namespace strelosim {

namespace {

constexpr std::size_t kReadChunk = 4096;

} // namespace

SimRunner::SimRunner(const SimOptions &options, std::ostream &out, std::ostream &err)
    : m_options(options)
    , m_out(out)
    , m_err(err)
    , m_log(options.verbose ? &err : nullptr, &err)
    , m_faults(options.drop, options.corrupt, options.seed)
{
}

SimRunner::~SimRunner() = default;

int SimRunner::Run()
{
    if (!SetUp())
        return 1;
    Serve();
    return Judgement();
}

int SimRunner::Judgement()
{
    const LinkReferee &referee = m_head->Referee();
    m_log.Summary(referee.Summary());
    return m_options.strict && referee.Count() > 0 ? kExitViolations : 0;
}

bool SimRunner::SetUp()
{
    std::string error;
    if (!m_stop.Install(error) || !m_transport.Open(error)
        || (!m_options.link.empty() && !m_link.Create(m_options.link, m_transport.TerminalPath(), error))) {
        m_log.Error(error);
        return false;
    }
    m_head = std::make_unique<StreloHead>(m_options.head, m_log);
    m_out << "device: " << m_transport.TerminalPath() << std::endl;
    // On stderr, where the log goes: scripts read stdout's first line and may close the pipe
    // after it. Without --baud the head hears every rate and the log's format stays as it was.
    if (m_options.baud != 0)
        m_err << "listening: " << m_options.baud << " baud, OSI 2 address " << int(m_options.head.linkAddress) << std::endl;
    return true;
}

void SimRunner::Serve()
{
    for (;;) {
        pollfd fds[3] {
            {m_stop.Fd(), POLLIN, 0},
            {m_transport.WatchFd(), POLLIN, 0},
            {m_transport.ControlFd(), static_cast<short>(POLLIN | (m_outputBlocked ? POLLOUT : 0)), 0},
        };
        const std::optional<std::chrono::nanoseconds> wait = PollTimeout(Clock::now());
        timespec timeout {};
        if (wait) {
            timeout.tv_sec = static_cast<time_t>(wait->count() / 1'000'000'000);
            timeout.tv_nsec = static_cast<long>(wait->count() % 1'000'000'000);
        }
        if (ppoll(fds, 3, wait ? &timeout : nullptr, nullptr) < 0 && errno != EINTR)
            return;
        if (fds[0].revents & POLLIN)
            return;
        const TimePoint now = Clock::now();
        // The close is looked at before the bytes: what the master writes after reopening the
        // port must not be thrown away with the old session.
        if (m_transport.TakeCloseEvents())
            OnPortClosed(now);
        ReadInput(now);
        DeliverInput(now);
        ReleaseAnswers(now);
        WriteOutput(now);
    }
}

std::optional<std::chrono::nanoseconds> SimRunner::PollTimeout(TimePoint now) const
{
    std::optional<TimePoint> next = m_input.NextDue();
    const auto consider = [&](std::optional<TimePoint> candidate) {
        if (candidate && (!next || *candidate < *next))
            next = candidate;
    };
    if (!m_scheduled.empty())
        consider(m_scheduled.front().due);
    if (!m_outputBlocked)
        consider(m_output.NextDue());
    if (!next)
        return std::nullopt;
    return std::max(std::chrono::nanoseconds(0), std::chrono::duration_cast<std::chrono::nanoseconds>(*next - now));
}

void SimRunner::OnPortClosed(TimePoint now)
{
    // Nobody listens any more: answers still waiting would reach the next session as garbage.
    m_log.Write(now, "port", "closed");
    m_head->PortClosed(now);
    m_scheduled.clear();
    m_output.Clear();
    m_outputBlocked = false;
    m_faults.ForgetLastByte();
}

std::chrono::nanoseconds SimRunner::CharacterTime(bool parityBit) const
{
    return m_options.pace ? m_transport.CharacterTime(parityBit) : std::chrono::nanoseconds(0);
}

void SimRunner::ReadInput(TimePoint now)
{
    Bytes chunk(kReadChunk);
    for (;;) {
        const std::size_t n = m_transport.Read(chunk.data(), chunk.size());
        if (n == 0)
            return;
        if (!HearsLine(n, now))
            continue;
        m_input.Push(Bytes(chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(n)), now,
                     CharacterTime(!m_head->InBootLoader()));
    }
}

bool SimRunner::HearsLine(std::size_t count, TimePoint now)
{
    // A UART set to another rate than the line's sees only garbage: framing errors and octets
    // that never form a telegram. The head therefore answers nothing until the rates agree.
    const unsigned lineRate = m_transport.BaudRate();
    if (m_options.baud == 0 || lineRate == m_options.baud)
        return true;
    m_log.Write(now, "port", "rate-mismatch LINE=" + std::to_string(lineRate) + " HEAD="
                    + std::to_string(m_options.baud) + " IGNORED=" + std::to_string(count));
    return false;
}

void SimRunner::DeliverInput(TimePoint now)
{
    const Bytes due = m_input.Due(now);
    if (due.empty())
        return;
    // The head answers from the moment the last byte arrived on the line, not from the moment
    // this loop woke up, so the simulator's own wake-up latency does not slow the line down.
    const TimePoint arrived = m_input.Pop(due.size());
    if (m_options.pace)
        m_head->SetCharacterTime(CharacterTime(!m_head->InBootLoader()));
    Schedule(m_head->Receive(due.data(), due.size(), now), arrived);
}

void SimRunner::Schedule(std::vector<Transmission> answers, TimePoint from)
{
    for (Transmission &answer : answers) {
        const TimePoint due = std::max(from + m_options.latency + answer.delay, m_lastScheduled);
        m_lastScheduled = due;
        m_scheduled.push_back(Scheduled {due, std::move(answer)});
    }
}

void SimRunner::ReleaseAnswers(TimePoint now)
{
    while (!m_scheduled.empty() && m_scheduled.front().due <= now) {
        const TimePoint due = m_scheduled.front().due;
        const Transmission answer = std::move(m_scheduled.front().transmission);
        m_scheduled.pop_front();
        if (m_options.silent)
            continue;
        const FaultInjector::Result sent = m_faults.Apply(answer.bytes);
        std::string line = answer.description;
        if (m_faults.Active()) {
            line += " DROPPED=" + std::to_string(sent.dropped) + " CORRUPTED=" + std::to_string(sent.corrupted)
                + " GUARD=" + (sent.guarded ? "1" : "0");
        }
        m_log.Write(now, answer.channel, line);
        m_output.Push(sent.bytes, due, CharacterTime(answer.parityBit));
    }
}

void SimRunner::WriteOutput(TimePoint now)
{
    const Bytes due = m_output.Due(now);
    if (due.empty()) {
        m_outputBlocked = false;
        return;
    }
    const std::size_t written = m_transport.Write(due);
    m_output.Pop(written);
    // The master is not reading: wait until the terminal takes bytes again.
    m_outputBlocked = written < due.size();
}

} // namespace strelosim
