#include "PtyPair.h"
#include "RecordingProtocol.h"

#include <QTest>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace {

using Result = COSLProtocol::OSL_RESULT;

QByteArray Bytes(const ByteVector &data)
{
    return QByteArray(reinterpret_cast<const char *>(data.data()), static_cast<qsizetype>(data.size()));
}

ByteVector Counting(std::uint8_t first, int count)
{
    ByteVector data;
    for (int i = 0; i < count; ++i)
        data.push_back(static_cast<std::uint8_t>(first + i));
    return data;
}

bool OpenOn(RecordingProtocol &protocol, const PtyPair &pty)
{
    return protocol.OpenPort(pty.SlavePath().toStdString(), CAsync::BaudIndexForRate(115200));
}

const QByteArray kEraseA = QByteArray::fromHex("0200aa0003");
const QByteArray kEraseB = QByteArray::fromHex("0200ab0003");

} // namespace

class TestCOSLProtocol : public QObject
{
    Q_OBJECT

private slots:
    void resultTypeIsRegistered();
    void framesOfTheCommands();
    void invalidFramesAreEmpty();
    void connectWithoutDeviceSendsFourEnquiries();
    void ackEndsTheEnquiry();
    void writeFrameAt0x4000IsByteExact();
    void writeFrameWithWideAddresses();
    void firstByteOfTheBatchCounts();
    void badAnswerWithRetriesRepeats();
    void requestWhileBusySendsNothing();
    void eraseBIsRepeatedAsEraseA();
    void eraseTimeOutRepeatsAsEraseA();
    void writeIsRepeatedWithTheSameFrame();
    void startApplicationLeavesProtocolIdle();
    void bytesWhileIdleAreIgnored();
    void emptyBatchIsOutOfRange();
    void requestOnClosedPortSendsNothing();
    void openMissingDeviceFails();
    void emptyWriteIsRefused();
    void writePastTopOfAddressSpaceIsRefused();
    void writeEndingAtTopOfAddressSpaceIsSent();
    void ackMeetingTheTimeOutGivesOneResult();
    void ackAroundTheTimeOutOnTheLine();
    void lostDeviceStillEndsTheRequest();
};

void TestCOSLProtocol::resultTypeIsRegistered()
{
    RecordingProtocol protocol;
    QCOMPARE(QMetaType::fromName("COSLProtocol::OSL_RESULT"), QMetaType::fromType<Result>());
    QCOMPARE(int(COSLProtocol::OSL_SUCCESS), 0);
    QCOMPARE(int(COSLProtocol::OSL_BAD_ANSWER), 1);
    QCOMPARE(int(COSLProtocol::OSL_NO_ANSWER), 2);
}

void TestCOSLProtocol::framesOfTheCommands()
{
    QCOMPARE(Bytes(COSLProtocol::Frame(0xAA, {})), kEraseA);
    QCOMPARE(Bytes(COSLProtocol::Frame(0xAB, {})), kEraseB);
    QCOMPARE(Bytes(COSLProtocol::Frame(0xCC, {})), QByteArray::fromHex("0200cc0003"));
    // The checksum makes the data bytes sum to zero; 01 02 03 sum to 06.
    QCOMPARE(Bytes(COSLProtocol::Frame(0x24, {0x01, 0x02, 0x03})), QByteArray::fromHex("0203240102" "03fa03"));
}

void TestCOSLProtocol::invalidFramesAreEmpty()
{
    QVERIFY(COSLProtocol::Frame(0x24, {}).empty());
    QVERIFY(COSLProtocol::Frame(0x32, {}).empty());
    QVERIFY(COSLProtocol::Frame(0xAA, {0x01}).empty());
    QVERIFY(COSLProtocol::Frame(0xCC, {0x00}).empty());
}

void TestCOSLProtocol::connectWithoutDeviceSendsFourEnquiries()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    QVERIFY(protocol.Connect(3));
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateEnquiry);
    QVERIFY(protocol.WaitForResults(1, 10000));
    QCOMPARE(protocol.Results(), std::vector<Result> {COSLProtocol::OSL_NO_ANSWER});
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateIdle);
    QCOMPARE(pty.ReadFor(300), QByteArray::fromHex("05050505"));

    const auto sent = protocol.SentFrames();
    QCOMPARE(sent.size(), std::size_t(4));
    for (std::size_t i = 1; i < sent.size(); ++i) {
        const auto gap = std::chrono::duration_cast<std::chrono::milliseconds>(sent[i].at - sent[i - 1].at);
        QVERIFY2(gap.count() >= 95, qPrintable(QString("enquiry %1 after %2 ms").arg(i).arg(gap.count())));
    }
    // No further result follows the one that ended the request.
    QTest::qWait(300);
    QCOMPARE(protocol.Results().size(), std::size_t(1));
}

void TestCOSLProtocol::ackEndsTheEnquiry()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    QVERIFY(protocol.Connect(150));
    QCOMPARE(pty.Read(1, 2000), QByteArray::fromHex("05"));
    QVERIFY(pty.Write(QByteArray::fromHex("06")));
    QVERIFY(protocol.WaitForResults(1, 5000));
    QCOMPARE(protocol.Results(), std::vector<Result> {COSLProtocol::OSL_SUCCESS});
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateIdle);
    // The time-out was stopped: no repetition follows.
    QCOMPARE(pty.ReadFor(400), QByteArray());
}

void TestCOSLProtocol::writeFrameAt0x4000IsByteExact()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    const ByteVector data = Counting(0x10, 32);
    QVERIFY(protocol.WriteBlock(0x4000, data, false, 3));
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateWrite);

    // 0x40 plus the bytes 0x10 to 0x2F sum to 0x430; the checksum 0xD0 brings the low byte to 0.
    const QByteArray expected = QByteArray::fromHex("022324004000") + Bytes(data) + QByteArray::fromHex("d003");
    const QByteArray frame = pty.Read(40, 3000);
    QCOMPARE(frame.toHex(' '), expected.toHex(' '));
    unsigned sum = 0;
    for (int i = 3; i < 3 + 35 + 1; ++i)
        sum += std::uint8_t(frame.at(i));
    QCOMPARE(sum % 256, 0u);

    QVERIFY(pty.Write(QByteArray::fromHex("06")));
    QVERIFY(protocol.WaitForResults(1, 5000));
    QCOMPARE(protocol.Results(), std::vector<Result> {COSLProtocol::OSL_SUCCESS});
}

void TestCOSLProtocol::writeFrameWithWideAddresses()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    const ByteVector data = Counting(0x10, 32);
    QVERIFY(protocol.WriteBlock(0x12345678, data, true, 3));
    // 0x12 + 0x34 + 0x56 + 0x78 = 0x114, plus 0x3F0 of the data gives 0x504: checksum 0xFC.
    const QByteArray expected = QByteArray::fromHex("02243212345678") + Bytes(data) + QByteArray::fromHex("fc03");
    QCOMPARE(pty.Read(41, 3000), expected);
    QVERIFY(pty.Write(QByteArray::fromHex("06")));
    QVERIFY(protocol.WaitForResults(1, 5000));
}

void TestCOSLProtocol::firstByteOfTheBatchCounts()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    QVERIFY(protocol.Connect(0));
    QCOMPARE(pty.Read(1, 2000), QByteArray::fromHex("05"));
    // A NAK followed by an ACK in one batch is a bad answer: only the first byte counts.
    QVERIFY(pty.Write(QByteArray::fromHex("1506")));
    QVERIFY(protocol.WaitForResults(1, 5000));
    QCOMPARE(protocol.Results(), std::vector<Result> {COSLProtocol::OSL_BAD_ANSWER});
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateIdle);
    QTest::qWait(300);
    QCOMPARE(protocol.Results().size(), std::size_t(1));
}

void TestCOSLProtocol::badAnswerWithRetriesRepeats()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    QVERIFY(protocol.Connect(2));
    QCOMPARE(pty.Read(1, 2000), QByteArray::fromHex("05"));
    QVERIFY(pty.Write(QByteArray::fromHex("15")));
    QCOMPARE(pty.Read(1, 2000), QByteArray::fromHex("05"));
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateEnquiry);
    QVERIFY(pty.Write(QByteArray::fromHex("06")));
    QVERIFY(protocol.WaitForResults(1, 5000));
    QCOMPARE(protocol.Results(), std::vector<Result> {COSLProtocol::OSL_SUCCESS});
}

void TestCOSLProtocol::requestWhileBusySendsNothing()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    QVERIFY(protocol.Connect(150));
    QCOMPARE(pty.Read(1, 2000), QByteArray::fromHex("05"));
    QVERIFY(!protocol.Connect(3));
    QVERIFY(!protocol.EraseFlashA(3));
    QVERIFY(!protocol.EraseFlashB(3));
    QVERIFY(!protocol.WriteBlock(0x4000, Counting(0, 32), false, 3));
    QVERIFY(!protocol.StartApplication());
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateEnquiry);
    QVERIFY(pty.Write(QByteArray::fromHex("06")));
    QVERIFY(protocol.WaitForResults(1, 5000));
    // Only the one enquiry went out; the refused requests sent nothing.
    QCOMPARE(protocol.SentFrames().size(), std::size_t(1));
    QCOMPARE(pty.ReadFor(200), QByteArray());
}

void TestCOSLProtocol::eraseBIsRepeatedAsEraseA()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    QVERIFY(protocol.EraseFlashB(3));
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateErase);
    QCOMPARE(pty.Read(5, 2000), kEraseB);
    // The erase time-out is 10 s; its expiries are delivered here directly, three with retries
    // left and one that ends the request.
    for (int i = 0; i < 3; ++i) {
        protocol.OnTimeout();
        QCOMPARE(pty.Read(5, 2000), kEraseA);
        QCOMPARE(protocol.CurrentState(), COSLProtocol::StateErase);
        QVERIFY(protocol.Results().empty());
    }
    protocol.OnTimeout();
    QVERIFY(protocol.WaitForResults(1, 2000));
    QCOMPARE(protocol.Results(), std::vector<Result> {COSLProtocol::OSL_NO_ANSWER});
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateIdle);
    QCOMPARE(pty.ReadFor(200), QByteArray());

    // The same rule holds for repetitions caused by bad answers.
    QVERIFY(protocol.EraseFlashB(1));
    QCOMPARE(pty.Read(5, 2000), kEraseB);
    QVERIFY(pty.Write(QByteArray::fromHex("15")));
    QCOMPARE(pty.Read(5, 2000), kEraseA);
    QVERIFY(pty.Write(QByteArray::fromHex("15")));
    QVERIFY(protocol.WaitForResults(2, 5000));
    QCOMPARE(protocol.Results().back(), COSLProtocol::OSL_BAD_ANSWER);
}

void TestCOSLProtocol::eraseTimeOutRepeatsAsEraseA()
{
    // The erase waits 10 s for its answer; the repetition after the time-out is 0xAA, and the
    // request ends 10 s after that.
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    QVERIFY(protocol.EraseFlashB(1));
    QCOMPARE(pty.Read(5, 2000), kEraseB);
    QCOMPARE(pty.Read(5, 15000), kEraseA);
    QVERIFY(protocol.WaitForResults(1, 15000));
    QCOMPARE(protocol.Results(), std::vector<Result> {COSLProtocol::OSL_NO_ANSWER});
    const auto sent = protocol.SentFrames();
    QCOMPARE(sent.size(), std::size_t(2));
    const auto gap = std::chrono::duration_cast<std::chrono::milliseconds>(sent[1].at - sent[0].at);
    QVERIFY2(gap.count() >= 9950, qPrintable(QString("repeated after %1 ms").arg(gap.count())));
}

void TestCOSLProtocol::writeIsRepeatedWithTheSameFrame()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    QVERIFY(protocol.WriteBlock(0x2000, Counting(1, 4), false, 1));
    // 0x20 + 1 + 2 + 3 + 4 = 0x2A, checksum 0xD6.
    const QByteArray expected = QByteArray::fromHex("02072400200001020304d603");
    QCOMPARE(pty.Read(12, 2000), expected);
    // The write time-out is 1000 ms; without an answer the same frame goes out once more.
    QCOMPARE(pty.Read(12, 5000), expected);
    QVERIFY(protocol.WaitForResults(1, 5000));
    QCOMPARE(protocol.Results(), std::vector<Result> {COSLProtocol::OSL_NO_ANSWER});
    const auto sent = protocol.SentFrames();
    QCOMPARE(sent.size(), std::size_t(2));
    const auto gap = std::chrono::duration_cast<std::chrono::milliseconds>(sent[1].at - sent[0].at);
    QVERIFY2(gap.count() >= 995, qPrintable(QString("repeated after %1 ms").arg(gap.count())));
}

void TestCOSLProtocol::startApplicationLeavesProtocolIdle()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    QVERIFY(protocol.StartApplication());
    QCOMPARE(pty.Read(5, 2000), QByteArray::fromHex("0200cc0003"));
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateIdle);
    QTest::qWait(300);
    QVERIFY(protocol.Results().empty());
}

void TestCOSLProtocol::bytesWhileIdleAreIgnored()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    QVERIFY(pty.Write(QByteArray::fromHex("0615")));
    QTest::qWait(300);
    QVERIFY(protocol.Results().empty());
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateIdle);
    QVERIFY(protocol.SentFrames().empty());
}

void TestCOSLProtocol::emptyBatchIsOutOfRange()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    protocol.OnReceive({}); // idle: ignored without looking at the batch
    QVERIFY(protocol.Connect(150));
    QVERIFY_THROWS_EXCEPTION(std::out_of_range, protocol.OnReceive({}));
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateEnquiry);
    QVERIFY(pty.Write(QByteArray::fromHex("06")));
    QVERIFY(protocol.WaitForResults(1, 5000));
}

void TestCOSLProtocol::requestOnClosedPortSendsNothing()
{
    RecordingProtocol protocol;
    QVERIFY(!protocol.Connect(3));
    QVERIFY(!protocol.EraseFlashA(3));
    QVERIFY(!protocol.WriteBlock(0, {1, 2}, false, 3));
    QVERIFY(!protocol.StartApplication());
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateIdle);
    QTest::qWait(300);
    QVERIFY(protocol.Results().empty());
}

void TestCOSLProtocol::openMissingDeviceFails()
{
    RecordingProtocol protocol;
    QVERIFY(!protocol.OpenPort("/dev/lichtwart-no-such-device", 6));
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateIdle);
    QVERIFY(!protocol.Connect(150));
}

void TestCOSLProtocol::emptyWriteIsRefused()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    QVERIFY(!protocol.WriteBlock(0x4000, {}, false, 3));
    QVERIFY(!protocol.WriteBlock(0x4000, {}, true, 3));
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateIdle);
    QCOMPARE(pty.ReadFor(200), QByteArray());
}

// The address field keeps only the low bits: a write crossing the top would land at the bottom of
// the flash, so it is not sent at all.
void TestCOSLProtocol::writePastTopOfAddressSpaceIsRefused()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    QVERIFY(!protocol.WriteBlock(0xFFFFF0, Counting(0, 32), false, 3));
    QVERIFY(!protocol.WriteBlock(0x1000000, Counting(0, 2), false, 3));
    QVERIFY(!protocol.WriteBlock(0xFFFFFFF0, Counting(0, 32), true, 3));
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateIdle);
    QCOMPARE(pty.ReadFor(200), QByteArray());
}

void TestCOSLProtocol::writeEndingAtTopOfAddressSpaceIsSent()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    const ByteVector data = Counting(0, 32);
    QVERIFY(protocol.WriteBlock(0xFFFFE0, data, false, 3));
    // 0xFF + 0xFF + 0xE0 = 0x2DE, plus 0x1F0 of the data gives 0x4CE: checksum 0x32.
    const QByteArray expected = QByteArray::fromHex("022324ffffe0") + Bytes(data) + QByteArray::fromHex("3203");
    QCOMPARE(pty.Read(40, 3000).toHex(' '), expected.toHex(' '));
    QVERIFY(pty.Write(QByteArray::fromHex("06")));
    QVERIFY(protocol.WaitForResults(1, 5000));
}

void TestCOSLProtocol::ackMeetingTheTimeOutGivesOneResult()
{
    // The answer on the reader thread and the expiry on the timer thread hit the same request;
    // whichever comes first decides, and the other finds the protocol idle.
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    constexpr int kRounds = 200;
    for (int round = 0; round < kRounds; ++round) {
        QVERIFY(protocol.Connect(0));
        std::atomic<bool> go {false};
        std::thread answer([&] {
            while (!go.load()) {
            }
            protocol.OnReceive({COSLProtocol::kAck});
        });
        std::thread expiry([&] {
            while (!go.load()) {
            }
            protocol.OnTimeout();
        });
        go = true;
        answer.join();
        expiry.join();
        QVERIFY(protocol.WaitForResults(std::size_t(round + 1), 2000));
        QCOMPARE(protocol.CurrentState(), COSLProtocol::StateIdle);
    }
    pty.ReadFor(300);
    QCOMPARE(protocol.Results().size(), std::size_t(kRounds));
}

void TestCOSLProtocol::ackAroundTheTimeOutOnTheLine()
{
    // The far end answers close to the 100 ms time-out, sometimes before and sometimes after it.
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    constexpr int kRounds = 20;
    for (int round = 0; round < kRounds; ++round) {
        QVERIFY(protocol.Connect(0));
        QCOMPARE(pty.Read(1, 2000), QByteArray::fromHex("05"));
        std::this_thread::sleep_for(std::chrono::milliseconds(90 + round % 5 * 5));
        QVERIFY(pty.Write(QByteArray::fromHex("06")));
        QVERIFY(protocol.WaitForResults(std::size_t(round + 1), 2000));
        QTest::qWait(150); // a late ACK must meet an idle protocol before the next round
    }
    QCOMPARE(protocol.Results().size(), std::size_t(kRounds));
}

void TestCOSLProtocol::lostDeviceStillEndsTheRequest()
{
    PtyPair pty;
    RecordingProtocol protocol;
    QVERIFY(OpenOn(protocol, pty));
    QVERIFY(protocol.WriteBlock(0x4000, Counting(0, 32), false, 2));
    QCOMPARE(pty.Read(40, 2000).size(), 40);
    // The far end vanishes: the repetitions cannot be written, yet the request ends.
    pty.CloseMaster();
    QVERIFY(protocol.WaitForResults(1, 10000));
    QCOMPARE(protocol.Results(), std::vector<Result> {COSLProtocol::OSL_NO_ANSWER});
    QCOMPARE(protocol.CurrentState(), COSLProtocol::StateIdle);
}

QTEST_GUILESS_MAIN(TestCOSLProtocol)
#include "tst_coslprotocol.moc"
