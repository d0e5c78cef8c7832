#include "ScriptedPeer.h"

namespace {

constexpr int kReadSliceMs = 20;

std::uint8_t Sum(const QByteArray &octets)
{
    unsigned sum = 0;
    for (char octet : octets)
        sum += static_cast<std::uint8_t>(octet);
    return static_cast<std::uint8_t>(sum);
}

std::uint8_t At(const QByteArray &bytes, qsizetype index)
{
    return static_cast<std::uint8_t>(bytes.at(index));
}

} // namespace

ScriptedPeer::ScriptedPeer(PtyPair &pty)
    : m_pty(pty)
{
    m_clock.start();
    m_thread = std::thread([this] { Run(); });
}

ScriptedPeer::~ScriptedPeer()
{
    m_quit = true;
    m_thread.join();
}

void ScriptedPeer::SetSilent(bool silent)
{
    std::lock_guard lock(m_mutex);
    m_silent = silent;
}

void ScriptedPeer::SetResponder(Responder responder)
{
    std::lock_guard lock(m_mutex);
    m_responder = std::move(responder);
}

void ScriptedPeer::QueueLongAnswer(const QByteArray &userData)
{
    std::lock_guard lock(m_mutex);
    m_longAnswers.append(userData);
}

bool ScriptedPeer::WaitForFrames(int count, int timeoutMs)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                              [&] { return m_frames.size() >= std::size_t(count); });
}

int ScriptedPeer::WaitForFrame(int from, const std::function<bool(const PeerFrame &)> &match, int timeoutMs)
{
    std::unique_lock lock(m_mutex);
    int found = -1;
    m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
        for (std::size_t i = std::size_t(from); i < m_frames.size(); ++i) {
            if (match(m_frames[i])) {
                found = int(i);
                return true;
            }
        }
        return false;
    });
    return found;
}

QList<PeerFrame> ScriptedPeer::Frames() const
{
    std::lock_guard lock(m_mutex);
    return QList<PeerFrame>(m_frames.begin(), m_frames.end());
}

int ScriptedPeer::FrameCount() const
{
    std::lock_guard lock(m_mutex);
    return static_cast<int>(m_frames.size());
}

qint64 ScriptedPeer::ElapsedMs() const
{
    std::lock_guard lock(m_mutex);
    return m_clock.elapsed();
}

QByteArray ScriptedPeer::ShortFrame(std::uint8_t control, std::uint8_t address)
{
    QByteArray frame;
    frame.append(char(0x10)).append(char(control)).append(char(address));
    frame.append(char(std::uint8_t(control + address))).append(char(0x16));
    return frame;
}

QByteArray ScriptedPeer::LongFrame(std::uint8_t control, std::uint8_t address, const QByteArray &userData)
{
    const char length = char(userData.size() + 2);
    QByteArray body;
    body.append(char(control)).append(char(address)).append(userData);
    QByteArray frame;
    frame.append(char(0x68)).append(length).append(length).append(char(0x68)).append(body);
    frame.append(char(Sum(body))).append(char(0x16));
    return frame;
}

void ScriptedPeer::Run()
{
    QByteArray pending;
    while (!m_quit) {
        const QByteArray chunk = m_pty.Read(1, kReadSliceMs);
        if (chunk.isEmpty())
            continue;
        pending.append(chunk);
        Parse(pending);
    }
}

void ScriptedPeer::Parse(QByteArray &pending)
{
    while (!pending.isEmpty()) {
        PeerFrame frame;
        const std::uint8_t start = At(pending, 0);
        qsizetype size = 1;
        if (start == 0xE5) {
            frame.kind = PeerFrame::Ack;
        } else if (start == 0x10) {
            if (pending.size() < 5)
                return;
            size = 5;
            frame.kind = PeerFrame::Short;
            frame.control = At(pending, 1);
            frame.address = At(pending, 2);
        } else if (start == 0x68) {
            if (pending.size() < 4)
                return;
            size = At(pending, 1) + 6;
            if (pending.size() < size)
                return;
            frame.kind = PeerFrame::Long;
            frame.control = At(pending, 4);
            frame.address = At(pending, 5);
            frame.userData = pending.mid(6, size - 8);
        }
        frame.raw = pending.left(size);
        pending.remove(0, size);
        Handle(frame);
    }
}

void ScriptedPeer::Handle(PeerFrame frame)
{
    QByteArray answer;
    std::size_t index = 0;
    {
        std::lock_guard lock(m_mutex);
        frame.atUs = m_clock.nsecsElapsed() / 1000;
        frame.atMs = frame.atUs / 1000;
        index = m_frames.size();
        m_frames.push_back(frame);
        if (!m_silent)
            answer = m_responder ? m_responder(frame) : DefaultAnswer(frame);
    }
    // Recorded before the answer goes out, so a test that sees the frame never misses what the
    // answer causes.
    m_changed.notify_all();
    if (answer.isEmpty())
        return;
    m_pty.Write(answer);
    std::lock_guard lock(m_mutex);
    m_frames[index].answeredUs = m_clock.nsecsElapsed() / 1000;
}

QByteArray ScriptedPeer::DefaultAnswer(const PeerFrame &frame)
{
    const bool request = frame.kind == PeerFrame::Short || frame.kind == PeerFrame::Long;
    if (request && (frame.Function() == 8 || frame.Function() == 3) && !m_longAnswers.isEmpty())
        return LongFrame(kUserDataAnswer, frame.address, m_longAnswers.takeFirst());
    return StandardAnswer(frame);
}

QByteArray ScriptedPeer::StandardAnswer(const PeerFrame &frame)
{
    if (frame.kind != PeerFrame::Short && frame.kind != PeerFrame::Long)
        return {};
    switch (frame.Function()) {
    case 9: // status request
        return ShortFrame(kStatusOfLink, frame.address);
    case 0: // reset
    case 8: // poll
    case 3: // confirmed user data
        return Ack();
    default: // a broadcast is not answered
        return {};
    }
}
