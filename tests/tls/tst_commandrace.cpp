// A command meets the answer that lets it out. The kick after a command is held by the device's
// test seam until the far station's answer has arrived and the telegram has left, which is the
// interleaving the commanding thread and the reader thread produce when a command is placed while
// an answer is being handled. The kick must then do nothing: no short telegram with the
// broadcast's control octet, no repetition of user data that has only just left.
#include "ScriptedLine.h"

#include <QTest>

#include <atomic>
#include <memory>

namespace {

constexpr int kOsi2Address = ScriptedLine::kOsi2Address;
constexpr int kWaitMs = ScriptedLine::kWaitMs;

bool IsPoll(const PeerFrame &frame)
{
    return frame.kind == PeerFrame::Short && frame.Function() == 8;
}

bool IsLong(const PeerFrame &frame)
{
    return frame.kind == PeerFrame::Long;
}

// A short telegram carrying a user-data function: no station may ever receive one.
bool IsShortUserData(const PeerFrame &frame)
{
    return frame.kind == PeerFrame::Short && (frame.Function() == 3 || frame.Function() == 4);
}

QString Describe(const QList<PeerFrame> &frames, int from)
{
    QStringList texts;
    for (int i = from; i < frames.size(); ++i)
        texts << QStringLiteral("%1 ms: %2").arg(frames.at(i).atMs).arg(HexText(frames.at(i).raw));
    return texts.join(QStringLiteral(", "));
}

// The far station holds back its answer to one poll when asked to; confirmed user data is not
// answered at all, so that its repetitions show when the master makes them.
class HoldingStation
{
public:
    explicit HoldingStation(ScriptedPeer &peer) : m_peer(peer)
    {
        peer.SetResponder([this](const PeerFrame &frame) -> QByteArray {
            if (IsPoll(frame) && m_holdNextPoll.exchange(false)) {
                m_holding = true;
                return {};
            }
            if (IsLong(frame) && frame.Function() == 3)
                return {};
            return ScriptedPeer::StandardAnswer(frame);
        });
    }

    // Waits until a poll is left unanswered; the master waits for its answer from now on.
    bool HoldPoll()
    {
        m_holding = false;
        m_holdNextPoll = true;
        return m_peer.WaitForFrame(0, [this](const PeerFrame &) { return m_holding.load(); }, kWaitMs) >= 0;
    }

private:
    ScriptedPeer &m_peer;
    std::atomic<bool> m_holdNextPoll {false};
    std::atomic<bool> m_holding {false};
};

// The scripted line with the kick of a command held (see CStreloDevice::BeforeKick).
struct Line : ScriptedLine
{
    // Holds the kick of the next command until the station has answered the held poll and the
    // telegram that answer lets out has reached the station; returns that telegram's index.
    void HoldKickUntilSent(std::atomic<int> &sentIndex)
    {
        device.SetBeforeKick([this, &sentIndex] {
            const int from = peer.FrameCount();
            pty.Write(ScriptedPeer::Ack());
            sentIndex = peer.WaitForFrame(from, IsLong, kWaitMs);
        });
    }
};

} // namespace

class TestCommandRace : public QObject
{
    Q_OBJECT

private slots:
    void broadcastSentBeforeItsKickIsNotRepeated();
    void userDataSentBeforeItsKickIsNotRepeatedEarly();
    void commandRightAfterBroadcastGoesOutAtOnce();
    void kickAfterTheLinkWasLostDoesNothing();
};

void TestCommandRace::broadcastSentBeforeItsKickIsNotRepeated()
{
    Line line;
    HoldingStation station(line.peer);
    QVERIFY(line.BringUp());
    QVERIFY(station.HoldPoll());
    std::atomic<int> sent {-1};
    line.HoldKickUntilSent(sent);
    QVERIFY(line.device.FlasherSynchronisation(true, true, 12, 0));
    QVERIFY2(sent > 0, "the answer to the held poll let the broadcast out before the kick");

    // The next request is the poll a poll interval later, with the frame count bit toggled again.
    QVERIFY(line.peer.WaitForFrames(sent + 2, kWaitMs));
    const QList<PeerFrame> frames = line.peer.Frames();
    const PeerFrame &broadcast = frames.at(sent);
    QCOMPARE(broadcast.address, std::uint8_t(255));
    QCOMPARE(broadcast.Function(), 4);
    QCOMPARE(HexText(broadcast.userData), QStringLiteral("00 09 04 05 01 01 04 FF 83 0C 00"));
    const PeerFrame &next = frames.at(sent + 1);
    QVERIFY2(!IsShortUserData(next), qPrintable(QStringLiteral("after the broadcast: ") + Describe(frames, sent)));
    QVERIFY2(IsPoll(next), qPrintable(Describe(frames, sent)));
    QCOMPARE(next.Fcb(), !broadcast.Fcb());
    QVERIFY(line.device.IsLinkUp());
}

void TestCommandRace::userDataSentBeforeItsKickIsNotRepeatedEarly()
{
    Line line;
    HoldingStation station(line.peer);
    QVERIFY(line.BringUp());
    QVERIFY(station.HoldPoll());
    std::atomic<int> sent {-1};
    line.HoldKickUntilSent(sent);
    QVERIFY(line.device.SetSetpoint(CTlsOsi7Codec::kImageGreen, 1));
    QVERIFY2(sent > 0, "the answer to the held poll let the user data out before the kick");

    // The station does not answer, so the user data is repeated: first when the response time-out
    // has passed, not at once. Half the time-out leaves room for a slow reader on a loaded machine.
    QVERIFY(line.peer.WaitForFrames(sent + 3, kWaitMs));
    const QList<PeerFrame> frames = line.peer.Frames();
    const PeerFrame &userData = frames.at(sent);
    QCOMPARE(userData.address, std::uint8_t(kOsi2Address));
    QCOMPARE(HexText(userData.userData), QStringLiteral("00 0A 04 05 01 01 05 07 37 01 6D 01"));
    QCOMPARE(frames.at(sent + 1).raw, userData.raw);
    const qint64 firstGapMs = frames.at(sent + 1).atMs - userData.atMs;
    QVERIFY2(firstGapMs >= CStreloDevice::kResponseTimeoutMs / 2,
             qPrintable(QStringLiteral("repeated after %1 ms: %2").arg(firstGapMs).arg(Describe(frames, sent))));
}

void TestCommandRace::commandRightAfterBroadcastGoesOutAtOnce()
{
    Line line;
    QVERIFY(line.BringUp());
    QVERIFY(line.device.FlasherSynchronisation(true, true, 12, 0));
    const int broadcastIndex = line.peer.WaitForFrame(0, IsLong, kWaitMs);
    QVERIFY(broadcastIndex > 0);
    // Nothing answers a broadcast, so the kick cannot repeat it: its expiry lets the command out at
    // once, as the poll timer would have, with a fresh frame count bit.
    QVERIFY(line.device.SetSetpoint(CTlsOsi7Codec::kImageRed, 1));
    QVERIFY(line.peer.WaitForFrames(broadcastIndex + 2, kWaitMs));
    const QList<PeerFrame> frames = line.peer.Frames();
    const PeerFrame &broadcast = frames.at(broadcastIndex);
    const PeerFrame &command = frames.at(broadcastIndex + 1);
    QVERIFY2(IsLong(command) && command.address == kOsi2Address, qPrintable(Describe(frames, broadcastIndex)));
    QCOMPARE(command.Function(), 3);
    QCOMPARE(command.Fcb(), !broadcast.Fcb());
    QCOMPARE(HexText(command.userData), QStringLiteral("00 0A 04 05 02 01 05 07 37 01 6B 01"));
    QVERIFY2(command.atMs - broadcast.atMs < CStreloDevice::kPollIntervalMs,
             qPrintable(Describe(frames, broadcastIndex)));
}

void TestCommandRace::kickAfterTheLinkWasLostDoesNothing()
{
    Line line;
    QVERIFY(line.BringUp());
    const int lossesBefore = int(line.device.EventsStartingWith(QStringLiteral("link 0")).size());
    bool linkLost = false;
    qint64 lostAtMs = 0;
    int framesAtLoss = 0;
    // The station falls silent while the command waits for its kick: the command goes out with the
    // next poll cycle, is never answered, and the link is declared lost before the kick comes.
    line.device.SetBeforeKick([&] {
        line.peer.SetSilent(true);
        linkLost = line.device.WaitForEvent(QStringLiteral("link 0"), lossesBefore + 1, kWaitMs);
        lostAtMs = line.peer.ElapsedMs();
        framesAtLoss = line.peer.FrameCount();
    });
    QVERIFY(line.device.SetSetpoint(CTlsOsi7Codec::kImageRed, 1));
    QVERIFY(linkLost);

    // The recovery cycle starts with the status request a poll interval after the loss; the late
    // kick does not hurry it.
    QVERIFY(line.peer.WaitForFrames(framesAtLoss + 1, kWaitMs));
    const PeerFrame first = line.peer.Frames().at(framesAtLoss);
    QCOMPARE(first.control, std::uint8_t(CStreloDevice::kRequestStatus));
    QVERIFY2(first.atMs - lostAtMs >= CStreloDevice::kPollIntervalMs / 2,
             qPrintable(QStringLiteral("status request %1 ms after the loss").arg(first.atMs - lostAtMs)));
}

QTEST_GUILESS_MAIN(TestCommandRace)
#include "tst_commandrace.moc"
