#pragma once

#include "PtyPair.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QList>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

// One frame the master wrote, as the far station read it.
struct PeerFrame
{
    enum Kind { Ack, Short, Long, Stray };

    qint64 atMs = 0;        // since the peer started
    qint64 atUs = 0;        // the same, in microseconds
    qint64 answeredUs = -1; // when the answer had been written; -1: not answered
    Kind kind = Stray;
    std::uint8_t control = 0;
    std::uint8_t address = 0;
    QByteArray userData; // long telegrams
    QByteArray raw;      // every octet of the frame

    int Function() const { return control & 0x0F; }
    bool Fcb() const { return (control & 0x20) != 0; }
};

// The far station on a pseudo-terminal, played by a thread of the test: it reads the master's
// frames from the master end of the pty, records them with their arrival times and answers each
// through a responder. The default responder is a well-behaved secondary at any address: "S1"
// to the status request, 0xE5 to the reset, polls and confirmed user data, nothing to a
// broadcast; a long answer queued with QueueLongAnswer replaces the 0xE5 of the next poll or
// confirmed user data.
class ScriptedPeer
{
public:
    // Returns the octets to write back for one frame (empty: stay silent).
    using Responder = std::function<QByteArray(const PeerFrame &)>;

    explicit ScriptedPeer(PtyPair &pty);
    ~ScriptedPeer();
    ScriptedPeer(const ScriptedPeer &) = delete;
    ScriptedPeer &operator=(const ScriptedPeer &) = delete;

    void SetSilent(bool silent);
    void SetResponder(Responder responder); // an empty function restores the default
    void QueueLongAnswer(const QByteArray &userData);

    // Waits until `count` frames in all have been recorded.
    bool WaitForFrames(int count, int timeoutMs);
    // Waits until a frame after the first `from` ones satisfies `match`; returns its index or -1.
    int WaitForFrame(int from, const std::function<bool(const PeerFrame &)> &match, int timeoutMs);
    QList<PeerFrame> Frames() const;
    int FrameCount() const;
    qint64 ElapsedMs() const;

    // The frames the secondary sends.
    static QByteArray ShortFrame(std::uint8_t control, std::uint8_t address);
    static QByteArray LongFrame(std::uint8_t control, std::uint8_t address, const QByteArray &userData);
    static QByteArray Ack() { return QByteArray(1, char(0xE5)); }
    // The answer of a well-behaved secondary without queued long answers.
    static QByteArray StandardAnswer(const PeerFrame &frame);
    static constexpr std::uint8_t kStatusOfLink = 0x0B;
    static constexpr std::uint8_t kUserDataAnswer = 0x08;

private:
    void Run();
    void Parse(QByteArray &pending);
    void Handle(PeerFrame frame);
    QByteArray DefaultAnswer(const PeerFrame &frame);

    PtyPair &m_pty;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    QElapsedTimer m_clock;
    std::vector<PeerFrame> m_frames; // not implicitly shared: Frames() hands out deep copies
    QList<QByteArray> m_longAnswers;
    Responder m_responder;
    bool m_silent = false;
    std::atomic<bool> m_quit {false};
    std::thread m_thread;
};
