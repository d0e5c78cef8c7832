#include "trace/CTraceExport.h"
#include "trace/CTraceFormat.h"

#include <QBuffer>
#include <QTemporaryDir>
#include <QTest>

namespace {

using Rows = std::vector<QStringList>;
using Format = CTraceExport::Format;

// Two telegrams of a poll at each level, as the trace table holds them.
Rows RowsOfLevel(int level)
{
    switch (level) {
    case CTraceFormat::Osi7:
        return {CTraceFormat::Osi7Row(false, "10:15:02.125", 7, "Signal", "Command status request", 12, 1, "02 01 37"),
                CTraceFormat::Osi7Row(true, "10:15:02.377", 10, "Signal", "Command reply", 12, 1, "05 01 37 01 6B 00")};
    case CTraceFormat::Osi2:
        return {CTraceFormat::Osi2Row(false, "10:15:02.120", "Short", 0, 0, true, false, false, "RQS", 1, 74, ""),
                CTraceFormat::Osi2Row(true, "10:15:02.180", "Short", 0, 0, false, false, false, "S1", 1, 12, "")};
    default:
        return {CTraceFormat::RawRow(false, "10:15:02.120", "10 49 01 4A 16"),
                CTraceFormat::RawRow(true, "10:15:02.180", "10 0B 01 0C 16")};
    }
}

// Takes every write until limit bytes are in, then refuses, as a full disk does; counts the
// attempts made after the first refusal.
class FullDevice : public QIODevice
{
public:
    explicit FullDevice(qint64 limit) : m_limit(limit) { open(QIODevice::WriteOnly | QIODevice::Unbuffered); }
    QByteArray taken;
    int attemptsAfterRefusal = 0;

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *data, qint64 length) override
    {
        if (m_refused || taken.size() + length > m_limit) {
            attemptsAfterRefusal += m_refused ? 1 : 0;
            m_refused = true;
            return -1;
        }
        taken.append(data, length);
        return length;
    }

private:
    qint64 m_limit;
    bool m_refused = false;
};

} // namespace

Q_DECLARE_METATYPE(CTraceExport::Format)

class TestCTraceExport : public QObject
{
    Q_OBJECT

private slots:
    void bytesAtEachLevel_data();
    void bytesAtEachLevel();
    void csvQuotesOnlyWhereNeeded_data();
    void csvQuotesOnlyWhereNeeded();
    void aQuotedCsvLineKeepsItsFields();
    void tabSeparatedTextKeepsOneLinePerRow();
    void cellsAreWrittenAsUtf8();
    void anEmptyTraceIsTheHeaderAlone();
    void aDeviceThatIsNotOpenTakesNothing();
    void aReadOnlyFileIsRefused();
    void aFullDeviceStopsTheWrite();
};

void TestCTraceExport::bytesAtEachLevel_data()
{
    QTest::addColumn<Format>("format");
    QTest::addColumn<int>("level");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("CSV, OSI 7") << Format::Csv << int(CTraceFormat::Osi7)
        << QByteArray("Direction,Timestamp,Length,Func. Group,Application ID,Jobnumber,Blockcount,Data\r\n"
                      "TX,10:15:02.125,7,Signal,Command status request,12,1,02 01 37\r\n"
                      "RX,10:15:02.377,10,Signal,Command reply,12,1,05 01 37 01 6B 00\r\n");
    QTest::newRow("CSV, OSI 2") << Format::Csv << int(CTraceFormat::Osi2)
        << QByteArray("Direction,Timestamp,Frametype,OSI3 Adr. ID,Length,PRM,FCB,FCV,ACD,DFC,Function,"
                      "Address,Checksum,Data\r\n"
                      "TX,10:15:02.120,Short,0,0,1,0,0,-,-,RQS,1,74,\r\n"
                      "RX,10:15:02.180,Short,0,0,0,-,-,0,0,S1,1,12,\r\n");
    QTest::newRow("CSV, raw") << Format::Csv << int(CTraceFormat::Raw)
        << QByteArray("Direction,Timestamp,Data\r\n"
                      "TX,10:15:02.120,10 49 01 4A 16\r\n"
                      "RX,10:15:02.180,10 0B 01 0C 16\r\n");
    QTest::newRow("text, OSI 7") << Format::Tsv << int(CTraceFormat::Osi7)
        << QByteArray("Direction\tTimestamp\tLength\tFunc. Group\tApplication ID\tJobnumber\tBlockcount\tData\n"
                      "TX\t10:15:02.125\t7\tSignal\tCommand status request\t12\t1\t02 01 37\n"
                      "RX\t10:15:02.377\t10\tSignal\tCommand reply\t12\t1\t05 01 37 01 6B 00\n");
    QTest::newRow("text, OSI 2") << Format::Tsv << int(CTraceFormat::Osi2)
        << QByteArray("Direction\tTimestamp\tFrametype\tOSI3 Adr. ID\tLength\tPRM\tFCB\tFCV\tACD\tDFC\t"
                      "Function\tAddress\tChecksum\tData\n"
                      "TX\t10:15:02.120\tShort\t0\t0\t1\t0\t0\t-\t-\tRQS\t1\t74\t\n"
                      "RX\t10:15:02.180\tShort\t0\t0\t0\t-\t-\t0\t0\tS1\t1\t12\t\n");
    QTest::newRow("text, raw") << Format::Tsv << int(CTraceFormat::Raw)
        << QByteArray("Direction\tTimestamp\tData\n"
                      "TX\t10:15:02.120\t10 49 01 4A 16\n"
                      "RX\t10:15:02.180\t10 0B 01 0C 16\n");
}

// The text of a level and the bytes written to a device are the same, to the byte.
void TestCTraceExport::bytesAtEachLevel()
{
    QFETCH(Format, format);
    QFETCH(int, level);
    QFETCH(QByteArray, expected);
    const QStringList headers = CTraceFormat::Headers(level);
    QCOMPARE(CTraceExport::Text(format, headers, RowsOfLevel(level)).toUtf8(), expected);
    QBuffer buffer;
    QVERIFY(buffer.open(QIODevice::WriteOnly));
    QVERIFY(CTraceExport::Write(buffer, format, headers, RowsOfLevel(level)));
    QCOMPARE(buffer.data(), expected);
}

void TestCTraceExport::csvQuotesOnlyWhereNeeded_data()
{
    QTest::addColumn<QString>("cell");
    QTest::addColumn<QString>("field");
    QTest::newRow("plain") << "Command reply" << "Command reply";
    QTest::newRow("empty") << "" << "";
    QTest::newRow("blanks around") << " RQS " << " RQS ";
    QTest::newRow("semicolon") << "a;b" << "a;b";
    QTest::newRow("comma") << "Signal, 2" << "\"Signal, 2\"";
    QTest::newRow("double quote") << "the \"red\" phase" << "\"the \"\"red\"\" phase\"";
    QTest::newRow("only a quote") << "\"" << "\"\"\"\"";
    QTest::newRow("line feed") << "two\nlines" << "\"two\nlines\"";
    QTest::newRow("carriage return") << "two\rlines" << "\"two\rlines\"";
    QTest::newRow("CR LF") << "two\r\nlines" << "\"two\r\nlines\"";
}

void TestCTraceExport::csvQuotesOnlyWhereNeeded()
{
    QFETCH(QString, cell);
    QFETCH(QString, field);
    QCOMPARE(CTraceExport::CsvField(cell), field);
}

void TestCTraceExport::aQuotedCsvLineKeepsItsFields()
{
    QCOMPARE(CTraceExport::Line(Format::Csv, {"RX", "a,b", "say \"E5\"", "x\r\ny", ""}),
             QStringLiteral("RX,\"a,b\",\"say \"\"E5\"\"\",\"x\r\ny\",\r\n"));
}

void TestCTraceExport::tabSeparatedTextKeepsOneLinePerRow()
{
    // Tabs and line breaks inside a cell would start a new field or row; they become blanks.
    // Commas and quotes mean nothing here and stay as they are.
    QCOMPARE(CTraceExport::Line(Format::Tsv, {"a\tb", "c\r\nd", "e\nf", "g,\"h\""}),
             QStringLiteral("a b\tc  d\te f\tg,\"h\"\n"));
}

void TestCTraceExport::cellsAreWrittenAsUtf8()
{
    QBuffer buffer;
    QVERIFY(buffer.open(QIODevice::WriteOnly));
    QVERIFY(CTraceExport::Write(buffer, Format::Csv, {QStringLiteral("Richtung")},
                                {{QStringLiteral("Grün, blinkend")}}));
    QCOMPARE(buffer.data(), QByteArray("Richtung\r\n\"Gr\xC3\xBCn, blinkend\"\r\n"));
}

void TestCTraceExport::anEmptyTraceIsTheHeaderAlone()
{
    QCOMPARE(CTraceExport::Text(Format::Csv, CTraceFormat::Headers(CTraceFormat::Raw), {}),
             QStringLiteral("Direction,Timestamp,Data\r\n"));
    QCOMPARE(CTraceExport::Text(Format::Tsv, CTraceFormat::Headers(CTraceFormat::Raw), {}),
             QStringLiteral("Direction\tTimestamp\tData\n"));
}

void TestCTraceExport::aDeviceThatIsNotOpenTakesNothing()
{
    QBuffer buffer;
    QTest::ignoreMessage(QtWarningMsg, "QIODevice::write (QBuffer): device not open");
    QVERIFY(!CTraceExport::Write(buffer, Format::Csv, CTraceFormat::Headers(CTraceFormat::Raw),
                                 RowsOfLevel(CTraceFormat::Raw)));
    QVERIFY(buffer.data().isEmpty());
}

void TestCTraceExport::aReadOnlyFileIsRefused()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("trace.csv"));
    {
        QFile existing(path);
        QVERIFY(existing.open(QIODevice::WriteOnly));
        existing.write("kept\r\n");
    }
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QTest::ignoreMessage(QtWarningMsg, "QIODevice::write (QFile, \"" + path.toUtf8() + "\"): ReadOnly device");
    QVERIFY(!CTraceExport::Write(file, Format::Csv, CTraceFormat::Headers(CTraceFormat::Raw),
                                 RowsOfLevel(CTraceFormat::Raw)));
    file.close();
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("kept\r\n"));
}

void TestCTraceExport::aFullDeviceStopsTheWrite()
{
    // Room for the header and the first row only: the second row is refused and nothing more is
    // tried after it.
    const QByteArray header = "Direction,Timestamp,Data\r\n";
    const QByteArray first = "TX,10:15:02.120,10 49 01 4A 16\r\n";
    FullDevice device(header.size() + first.size());
    QVERIFY(!CTraceExport::Write(device, Format::Csv, CTraceFormat::Headers(CTraceFormat::Raw),
                                 {RowsOfLevel(CTraceFormat::Raw)[0], RowsOfLevel(CTraceFormat::Raw)[1],
                                  RowsOfLevel(CTraceFormat::Raw)[0]}));
    QCOMPARE(device.taken, header + first);
    QCOMPARE(device.attemptsAfterRefusal, 0);
}

QTEST_GUILESS_MAIN(TestCTraceExport)
#include "tst_ctraceexport.moc"
