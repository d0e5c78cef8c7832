#include "CaptureFile.h"
#include "capture/CLineCapture.h"
#include "comm/CAsync.h"

#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

ByteVector Bytes(std::initializer_list<int> values)
{
    ByteVector bytes;
    for (int v : values)
        bytes.push_back(static_cast<std::uint8_t>(v));
    return bytes;
}

QByteArray Array(const ByteVector &bytes)
{
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), static_cast<int>(bytes.size()));
}

CLineTap::Clock::time_point At(qint64 seconds, qint64 microseconds)
{
    return CLineTap::Clock::time_point(std::chrono::seconds(seconds) + std::chrono::microseconds(microseconds));
}

} // namespace

// The capture writer: what it writes, and how it ends when the file fails.
// Takes a capture's signals the way the window and the CLI do: queued to the test's thread. A
// QSignalSpy on the capture itself would record on the writer thread, beside the test's own reads.
class QueuedRelay : public QObject
{
    Q_OBJECT

public:
    explicit QueuedRelay(CLineCapture &capture)
    {
        connect(&capture, &CLineCapture::Failed, this, &QueuedRelay::Failed, Qt::QueuedConnection);
        connect(&capture, &CLineCapture::SizeChanged, this, &QueuedRelay::SizeChanged, Qt::QueuedConnection);
    }

signals:
    void Failed(const QString &message);
    void SizeChanged(qint64 bytes);
};

class TestCLineCapture : public QObject
{
    Q_OBJECT

private slots:
    void recordsEveryChunkWithItsTimeAndDirection();
    void aLongChunkIsSplitNotCut();
    void aFileThatCannotBeCreatedIsRefused();
    void aFullDiskEndsTheCapture();
    void aDeletedFileEndsTheCapture();
    void theFileIsFlushedWithinASecond();
    void chunksAfterStopAreDropped();
};

void TestCLineCapture::recordsEveryChunkWithItsTimeAndDirection()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("line.pcap"));
    CLineCapture capture;
    QVERIFY(capture.Start(path));
    QVERIFY(capture.IsRunning());
    const ByteVector request = Bytes({0x10, 0x49, 0x01, 0x4A, 0x16});
    const ByteVector garbage = Bytes({0x3F, 0x68, 0x00});
    capture.Record(CAsync::kDirectionSent, At(1700000000, 123456), request);
    capture.Record(CAsync::kDirectionReceived, At(1700000001, 7), garbage);
    capture.Stop();
    QVERIFY(!capture.IsRunning());

    CaptureFile file;
    QVERIFY2(file.Read(path), qPrintable(file.Error()));
    QCOMPARE(file.Records().size(), 2);
    const CaptureFile::Record &sent = file.Records().at(0);
    QCOMPARE(sent.seconds, 1700000000);
    QCOMPARE(sent.microseconds, 123456);
    // Seconds and microseconds big-endian, event type 1 (sent), no control lines, empty footer.
    QCOMPARE(sent.event, QByteArray::fromHex("6553F100" "0001E240" "01" "00" "0000"));
    QCOMPARE(sent.octets, Array(request));
    const CaptureFile::Record &received = file.Records().at(1);
    QCOMPARE(received.event, QByteArray::fromHex("6553F101" "00000007" "02" "00" "0000"));
    QCOMPARE(received.octets, Array(garbage));
    QCOMPARE(capture.Size(), QFileInfo(path).size());
    QCOMPARE(capture.Size(), qint64(24 + 2 * (16 + 12) + 5 + 3));
}

void TestCLineCapture::aLongChunkIsSplitNotCut()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("long.pcap"));
    CLineCapture capture;
    QVERIFY(capture.Start(path));
    ByteVector chunk(70000);
    for (std::size_t i = 0; i < chunk.size(); ++i)
        chunk[i] = static_cast<std::uint8_t>(i * 7);
    capture.Record(CAsync::kDirectionReceived, At(5, 0), chunk);
    capture.Stop();
    CaptureFile file;
    QVERIFY(file.Read(path));
    QCOMPARE(file.Records().size(), 2);
    QCOMPARE(file.Octets(false), Array(chunk));
}

void TestCLineCapture::aFileThatCannotBeCreatedIsRefused()
{
    CLineCapture capture;
    QVERIFY(!capture.Start(QStringLiteral("/nonexistent-folder/line.pcap")));
    QVERIFY(!capture.IsRunning());
    QCOMPARE(capture.ErrorText(), QStringLiteral("The capture file /nonexistent-folder/line.pcap could not be "
                                                 "created (No such file or directory). Choose a folder you may "
                                                 "write to."));
}

void TestCLineCapture::aFullDiskEndsTheCapture()
{
    // /dev/full takes the file header into the buffer and refuses the first real write: a full disk.
    CLineCapture capture;
    QueuedRelay relay(capture);
    QSignalSpy failed(&relay, &QueuedRelay::Failed);
    QVERIFY(capture.Start(QStringLiteral("/dev/full")));
    capture.Record(CAsync::kDirectionSent, At(1, 0), Bytes({0xE5}));
    QVERIFY(failed.wait(5000));
    QCOMPARE(failed.at(0).at(0).toString(),
             QStringLiteral("The line capture to /dev/full has stopped: the file could not be written (No space "
                            "left on device). The connection goes on; start a new capture on a disk with free "
                            "space."));
    QTRY_VERIFY(!capture.IsRunning());
    // The tap stays harmless: further chunks are dropped, and the failure is told once.
    capture.Record(CAsync::kDirectionSent, At(2, 0), Bytes({0xE5}));
    capture.Stop();
    QCOMPARE(failed.size(), 1);
}

void TestCLineCapture::aDeletedFileEndsTheCapture()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("gone.pcap"));
    CLineCapture capture;
    QueuedRelay relay(capture);
    QSignalSpy failed(&relay, &QueuedRelay::Failed);
    QVERIFY(capture.Start(path));
    QVERIFY(QFile::remove(path));
    capture.Record(CAsync::kDirectionReceived, At(1, 0), Bytes({0xE5}));
    QVERIFY(failed.wait(5000));
    QVERIFY2(failed.at(0).at(0).toString().contains(QStringLiteral("the file was deleted or moved away")),
             qPrintable(failed.at(0).at(0).toString()));
}

void TestCLineCapture::theFileIsFlushedWithinASecond()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("live.pcap"));
    CLineCapture capture;
    QueuedRelay relay(capture);
    QSignalSpy grown(&relay, &QueuedRelay::SizeChanged);
    QVERIFY(capture.Start(path));
    capture.Record(CAsync::kDirectionSent, At(1, 0), Bytes({0x10, 0x49, 0x01, 0x4A, 0x16}));
    // Still running: what a crash would leave behind is already on disk.
    QVERIFY(grown.wait(2000));
    QCOMPARE(grown.at(0).at(0).toLongLong(), qint64(24 + 16 + 12 + 5));
    QCOMPARE(QFileInfo(path).size(), qint64(24 + 16 + 12 + 5));
    CaptureFile file;
    QVERIFY(file.Read(path));
    QCOMPARE(file.Records().size(), 1);
}

void TestCLineCapture::chunksAfterStopAreDropped()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("stopped.pcap"));
    CLineCapture capture;
    QVERIFY(capture.Start(path));
    capture.Record(CAsync::kDirectionSent, At(1, 0), Bytes({0xE5}));
    capture.Stop();
    capture.Record(CAsync::kDirectionSent, At(2, 0), Bytes({0xE5}));
    capture.Stop();
    CaptureFile file;
    QVERIFY(file.Read(path));
    QCOMPARE(file.Records().size(), 1);
}

QTEST_GUILESS_MAIN(TestCLineCapture)
#include "tst_clinecapture.moc"
