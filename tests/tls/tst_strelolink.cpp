// The primary station's link procedure against a far station played by the test on a
// pseudo-terminal: link-up, polling, repetitions, the recovery cycle, user data and broadcast.
#include "ScriptedLine.h"

#include <QTest>

#include <memory>

namespace {

constexpr int kOsi2Address = ScriptedLine::kOsi2Address;
constexpr int kOsi7Address = ScriptedLine::kOsi7Address;
constexpr int kWaitMs = ScriptedLine::kWaitMs;

using Line = ScriptedLine;

QByteArray Hex(const char *text)
{
    return QByteArray::fromHex(text);
}

QString Controls(const QList<PeerFrame> &frames, int from = 0)
{
    QStringList controls;
    for (int i = from; i < frames.size(); ++i)
        controls.append(QStringLiteral("%1").arg(frames.at(i).control, 2, 16, QLatin1Char('0')).toUpper());
    return controls.join(QLatin1Char(' '));
}

bool IsLong(const PeerFrame &frame)
{
    return frame.kind == PeerFrame::Long;
}

} // namespace

class TestStreloLink : public QObject
{
    Q_OBJECT

private slots:
    void linkUpAfterStatusResetAndFirstPoll();
    void pollsAlternateTheFrameCountBit();
    void repeatedPollKeepsItsFrameCountBit();
    void repeatedUserDataKeepsItsFrameCountBitAndData();
    void silentStationCyclesForEver();
    void recoveryAfterSilence();
    void nonAckAnswersIgnoredWhileResettingAndFirstPolling();
    void commandGoesOutAfterTheNextAnswer();
    void broadcastGoesOnceWithoutRepetition();
    void longAnswerIsTracedAndHandedUp();
    void unansweredUserDataLosesTheLink();
    void disconnectSilencesTheLine();
};

void TestStreloLink::linkUpAfterStatusResetAndFirstPoll()
{
    Line line;
    QVERIFY(line.BringUp());
    // Link-up happens on the answer to the third request; the first poll follows 250 ms later.
    QCOMPARE(line.peer.FrameCount(), 3);
    const QList<PeerFrame> frames = line.peer.Frames();
    QCOMPARE(frames.at(0).raw, Hex("1049054E16"));
    QCOMPARE(frames.at(1).raw, Hex("1040054516"));
    QCOMPARE(frames.at(2).raw, Hex("1078057D16"));
    QCOMPARE(line.device.EventsStartingWith("link"), (QStringList {"link 0", "link 1"}));
    QVERIFY(line.device.IsLinkUp());
    QCOMPARE(line.device.LinkState(), CStreloDevice::kEstablished);
}

void TestStreloLink::pollsAlternateTheFrameCountBit()
{
    Line line;
    QVERIFY(line.BringUp());
    QVERIFY(line.peer.WaitForFrames(8, kWaitMs));
    const QList<PeerFrame> frames = line.peer.Frames();
    QCOMPARE(Controls(frames).left(23), QStringLiteral("49 40 78 58 78 58 78 58"));
    QCOMPARE(frames.at(3).raw, Hex("1058055D16"));
    // Each answered poll is followed by the next one a poll interval later.
    for (int i = 3; i < 7; ++i) {
        const qint64 gap = frames.at(i + 1).atMs - frames.at(i).atMs;
        QVERIFY2(gap >= 200 && gap < 1500, qPrintable(QStringLiteral("poll gap %1 ms").arg(gap)));
    }
}

void TestStreloLink::repeatedPollKeepsItsFrameCountBit()
{
    bool dropped = false; // outlives the far station, which calls the responder
    Line line;
    line.peer.SetResponder([&dropped](const PeerFrame &frame) {
        // The first regular poll goes unanswered.
        if (frame.control == 0x58 && !dropped) {
            dropped = true;
            return QByteArray();
        }
        return ScriptedPeer::StandardAnswer(frame);
    });
    QVERIFY(line.BringUp());
    QVERIFY(line.peer.WaitForFrames(6, kWaitMs));
    const QList<PeerFrame> frames = line.peer.Frames();
    QCOMPARE(Controls(frames).left(17), QStringLiteral("49 40 78 58 58 78"));
    const qint64 repetition = frames.at(4).atMs - frames.at(3).atMs;
    QVERIFY2(repetition >= 70 && repetition < 1000, qPrintable(QStringLiteral("repeated after %1 ms").arg(repetition)));
    QVERIFY(line.device.IsLinkUp());
}

void TestStreloLink::repeatedUserDataKeepsItsFrameCountBitAndData()
{
    int longs = 0;
    Line line;
    line.peer.SetResponder([&longs](const PeerFrame &frame) {
        if (frame.kind == PeerFrame::Long && ++longs == 1)
            return QByteArray();
        return ScriptedPeer::StandardAnswer(frame);
    });
    QVERIFY(line.BringUp());
    QVERIFY(line.device.SetSetpoint(CTlsOsi7Codec::kImageRed, 1));
    const int first = line.peer.WaitForFrame(0, IsLong, kWaitMs);
    QVERIFY(first > 0);
    const int second = line.peer.WaitForFrame(first + 1, IsLong, kWaitMs);
    QCOMPARE(second, first + 1);
    QVERIFY(line.peer.WaitForFrames(second + 2, kWaitMs));
    const QList<PeerFrame> frames = line.peer.Frames();
    QCOMPARE(frames.at(second).raw, frames.at(first).raw);
    const qint64 repetition = frames.at(second).atMs - frames.at(first).atMs;
    QVERIFY2(repetition >= 70 && repetition < 1000, qPrintable(QStringLiteral("repeated after %1 ms").arg(repetition)));
    // Only a new request toggles the bit: the poll after the answered repetition.
    const PeerFrame &next = frames.at(second + 1);
    QCOMPARE(next.Function(), 8);
    QCOMPARE(next.Fcb(), !frames.at(second).Fcb());
    // The OSI 7 trace shows the telegram once, not its repetition.
    QCOMPARE(line.device.EventsStartingWith("osi7 13 1").size(), 1);
}

void TestStreloLink::silentStationCyclesForEver()
{
    Line line;
    line.peer.SetSilent(true);
    QVERIFY(line.Open());
    line.device.Connect(kOsi2Address, kOsi7Address);

    // The end of each cycle of five unanswered status requests is reported as a lost link.
    QVERIFY(line.device.WaitForEvent("link 0", 2, kWaitMs));
    QCOMPARE(line.peer.FrameCount(), 5);
    QVERIFY(line.device.WaitForEvent("link 0", 3, kWaitMs));
    QCOMPARE(line.peer.FrameCount(), 10);
    QVERIFY(line.peer.WaitForFrames(11, kWaitMs));

    const QList<PeerFrame> frames = line.peer.Frames();
    for (const PeerFrame &frame : frames)
        QCOMPARE(frame.raw, Hex("1049054E16"));
    for (int i = 0; i < 10; ++i) {
        const qint64 gap = frames.at(i + 1).atMs - frames.at(i).atMs;
        if (i % 5 == 4) {
            // The response time-out of the fifth plus a poll interval.
            QVERIFY2(gap >= 300 && gap < 2000, qPrintable(QStringLiteral("cycle gap %1 ms").arg(gap)));
        } else {
            QVERIFY2(gap >= 70 && gap < 300, qPrintable(QStringLiteral("repetition gap %1 ms").arg(gap)));
        }
    }
    QVERIFY(!line.device.IsLinkUp());
    QCOMPARE(line.device.EventsStartingWith("link 1").size(), 0);
}

void TestStreloLink::recoveryAfterSilence()
{
    Line line;
    line.peer.SetSilent(true);
    QVERIFY(line.Open());
    line.device.Connect(kOsi2Address, kOsi7Address);
    QVERIFY(line.device.WaitForEvent("link 0", 2, kWaitMs));
    line.peer.SetSilent(false);
    QVERIFY(line.device.WaitForEvent("link 1", 1, kWaitMs));
    QCOMPARE(line.device.EventsStartingWith("link"), (QStringList {"link 0", "link 0", "link 1"}));
    QCOMPARE(Controls(line.peer.Frames(), 5).left(8), QStringLiteral("49 40 78"));
    QVERIFY(line.peer.WaitForFrames(line.peer.FrameCount() + 1, kWaitMs));
    QCOMPARE(line.peer.Frames().last().control, std::uint8_t(0x58));
}

void TestStreloLink::nonAckAnswersIgnoredWhileResettingAndFirstPolling()
{
    int resets = 0;
    int firstPolls = 0;
    Line line;
    line.peer.SetResponder([&](const PeerFrame &frame) {
        if (frame.control == 0x40 && ++resets == 1)
            return ScriptedPeer::ShortFrame(ScriptedPeer::kStatusOfLink, frame.address);
        if (frame.control == 0x78 && ++firstPolls == 1)
            return ScriptedPeer::LongFrame(ScriptedPeer::kUserDataAnswer, frame.address, Hex("000304FE"));
        if (frame.control == 0x78 && firstPolls == 2)
            return ScriptedPeer::ShortFrame(0x00, frame.address);
        return ScriptedPeer::StandardAnswer(frame);
    });
    QVERIFY(line.BringUp());
    const QList<PeerFrame> frames = line.peer.Frames();
    QCOMPARE(Controls(frames), QStringLiteral("49 40 40 78 78 78"));
    for (int i : {1, 3, 4}) {
        const qint64 gap = frames.at(i + 1).atMs - frames.at(i).atMs;
        QVERIFY2(gap >= 70 && gap < 1000, qPrintable(QStringLiteral("repeated after %1 ms").arg(gap)));
    }
    // The long answer before link-up is neither traced nor handed up.
    QCOMPARE(line.device.EventsStartingWith("osi7").size(), 0);
}

void TestStreloLink::commandGoesOutAfterTheNextAnswer()
{
    Line line;
    QVERIFY(line.BringUp());
    QVERIFY(line.peer.WaitForFrames(4, kWaitMs));
    // Let the answer to the first poll arrive: the station now waits for its poll timer.
    QTest::qWait(60);
    const QList<PeerFrame> before = line.peer.Frames();
    QCOMPARE(before.size(), 4);
    const qint64 issuedAt = line.peer.ElapsedMs();
    QVERIFY(line.device.SetSetpoint(CTlsOsi7Codec::kImageGreen, 1));
    QVERIFY(line.peer.WaitForFrames(6, kWaitMs));
    const QList<PeerFrame> frames = line.peer.Frames();
    // The kick repeats the last poll unchanged; its answer lets the user data go out with a
    // fresh frame count bit.
    QCOMPARE(frames.at(4).raw, before.at(3).raw);
    QCOMPARE(frames.at(5).kind, PeerFrame::Long);
    QCOMPARE(frames.at(5).control, std::uint8_t(0x73));
    QCOMPARE(HexText(frames.at(5).userData), QStringLiteral("00 0A 04 05 01 01 05 07 37 01 6D 01"));
    QVERIFY2(frames.at(4).atMs - issuedAt < 150, "the kick is not a poll interval");
    QVERIFY2(frames.at(5).atMs - frames.at(4).atMs < 150, "the user data follows the answer at once");
}

void TestStreloLink::broadcastGoesOnceWithoutRepetition()
{
    Line line;
    QVERIFY(line.BringUp());
    QVERIFY(line.device.FlasherSynchronisation(true, true, 12, 0));
    const int index = line.peer.WaitForFrame(0, IsLong, kWaitMs);
    QVERIFY(index > 0);
    QVERIFY(line.peer.WaitForFrames(index + 3, kWaitMs));
    const QList<PeerFrame> frames = line.peer.Frames();
    const PeerFrame &broadcast = frames.at(index);
    QCOMPARE(broadcast.address, std::uint8_t(255));
    QCOMPARE(broadcast.Function(), 4);
    QVERIFY(broadcast.control == 0x54 || broadcast.control == 0x74);
    QCOMPARE(broadcast.Fcb(), !frames.at(index - 1).Fcb());
    QCOMPARE(HexText(broadcast.userData), QStringLiteral("00 09 04 05 01 01 04 FF 83 0C 00"));
    // No answer is awaited: the next poll follows a poll interval later, and the broadcast is
    // never repeated.
    const qint64 gap = frames.at(index + 1).atMs - broadcast.atMs;
    QVERIFY2(gap >= 200, qPrintable(QStringLiteral("next request after %1 ms").arg(gap)));
    for (int i = index + 1; i < frames.size(); ++i)
        QCOMPARE(frames.at(i).kind, PeerFrame::Short);
    QVERIFY(line.device.IsLinkUp());
}

void TestStreloLink::longAnswerIsTracedAndHandedUp()
{
    Line line;
    QVERIFY(line.BringUp());
    line.peer.QueueLongAnswer(Hex("000A048201010507370F6B01"));
    QVERIFY(line.device.WaitForEvent("actual", 1, kWaitMs));
    QCOMPARE(line.device.EventsStartingWith("actual"), QStringList {"actual 107 1 0"});
    QCOMPARE(line.device.EventsStartingWith("osi7 13 0"),
             QStringList {"osi7 13 0 10|Signal|Status info|1|1|05 07 37 0F 6B 01"});
    // Polling goes on after the answer.
    const int count = line.peer.FrameCount();
    QVERIFY(line.peer.WaitForFrames(count + 1, kWaitMs));
    QVERIFY(line.device.IsLinkUp());
}

void TestStreloLink::unansweredUserDataLosesTheLink()
{
    Line line;
    QVERIFY(line.BringUp());
    line.peer.SetResponder([](const PeerFrame &frame) {
        return frame.kind == PeerFrame::Long ? QByteArray() : ScriptedPeer::StandardAnswer(frame);
    });
    QVERIFY(line.device.RefreshCurrentMeters());
    QVERIFY(line.device.WaitForEvent("link 0", 2, kWaitMs));
    QVERIFY(!line.device.IsLinkUp());
    int longs = 0;
    for (const PeerFrame &frame : line.peer.Frames())
        longs += IsLong(frame) ? 1 : 0;
    QCOMPARE(longs, 5);
    // The lost link recovers by itself: status request, reset, first poll.
    QVERIFY(line.device.WaitForEvent("link 1", 2, kWaitMs));
}

void TestStreloLink::disconnectSilencesTheLine()
{
    Line line;
    QVERIFY(line.BringUp());
    QVERIFY(line.peer.WaitForFrames(5, kWaitMs));
    line.device.Disconnect();
    QCOMPARE(line.device.Events().last(), QStringLiteral("link 0"));
    QVERIFY(!line.device.IsLinkUp());
    QCOMPARE(line.device.LinkState(), CStreloDevice::kWaitingForStatus);
    QTest::qWait(50);
    const int count = line.peer.FrameCount();
    // A late status answer does not start the procedure again.
    line.pty.Write(ScriptedPeer::ShortFrame(ScriptedPeer::kStatusOfLink, kOsi2Address));
    line.pty.Write(ScriptedPeer::Ack());
    QTest::qWait(800);
    QCOMPARE(line.peer.FrameCount(), count);
    QCOMPARE(line.device.LinkState(), CStreloDevice::kWaitingForStatus);
}

QTEST_GUILESS_MAIN(TestStreloLink)
#include "tst_strelolink.moc"
