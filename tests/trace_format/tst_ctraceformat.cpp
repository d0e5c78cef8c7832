#include "trace/CTraceFormat.h"

#include <QRegularExpression>
#include <QTest>

class TestCTraceFormat : public QObject
{
    Q_OBJECT

private slots:
    void octets();
    void frameTypes();
    void headers();
    void timestamp();
    void rawRow();
    void osi7Row();
    void osi2RowOfAPrimary();
    void osi2RowOfASecondary();
};

void TestCTraceFormat::octets()
{
    QCOMPARE(CTraceFormat::Octets({0x00, 0xAB}), QStringLiteral("00 AB"));
    QCOMPARE(CTraceFormat::Octets({0x68, 0x0A, 0x0A, 0x68}), QStringLiteral("68 0A 0A 68"));
    QCOMPARE(CTraceFormat::Octets({}), QString());
    QCOMPARE(CTraceFormat::Octets({0xE5}), QStringLiteral("E5"));
}

void TestCTraceFormat::frameTypes()
{
    QCOMPARE(CTraceFormat::FrameType(0), QStringLiteral("Long"));
    QCOMPARE(CTraceFormat::FrameType(1), QStringLiteral("Short"));
    QCOMPARE(CTraceFormat::FrameType(2), QStringLiteral("Acknowledge"));
}

void TestCTraceFormat::headers()
{
    QCOMPARE(CTraceFormat::Headers(0), (QStringList {"Direction", "Timestamp", "Length", "Func. Group",
                                                     "Application ID", "Jobnumber", "Blockcount", "Data"}));
    QCOMPARE(CTraceFormat::Headers(1).size(), 14);
    QCOMPARE(CTraceFormat::Headers(1).at(3), QStringLiteral("OSI3 Adr. ID"));
    QCOMPARE(CTraceFormat::Headers(2), (QStringList {"Direction", "Timestamp", "Data"}));
    QVERIFY(CTraceFormat::Headers(3).isEmpty());
}

void TestCTraceFormat::timestamp()
{
    QVERIFY(QRegularExpression(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d$")).match(CTraceFormat::Timestamp()).hasMatch());
}

void TestCTraceFormat::rawRow()
{
    QCOMPARE(CTraceFormat::RawRow(true, "10:00:00.000", "E5"), (QStringList {"RX", "10:00:00.000", "E5"}));
    QCOMPARE(CTraceFormat::RawRow(false, "t", "10 49"), (QStringList {"TX", "t", "10 49"}));
}

void TestCTraceFormat::osi7Row()
{
    QCOMPARE(CTraceFormat::Osi7Row(false, "t", 7, "Signal", "Command status request", 12, 1, "02 01 37"),
             (QStringList {"TX", "t", "7", "Signal", "Command status request", "12", "1", "02 01 37"}));
}

void TestCTraceFormat::osi2RowOfAPrimary()
{
    QCOMPARE(CTraceFormat::Osi2Row(false, "t", "Short", 0, 0, true, true, true, "RQD3", 1, 121, ""),
             (QStringList {"TX", "t", "Short", "0", "0", "1", "1", "1", "-", "-", "RQD3", "1", "121", ""}));
}

void TestCTraceFormat::osi2RowOfASecondary()
{
    // A received short telegram shows "-" under FCB and FCV and its own bits under ACD and DFC.
    QCOMPARE(CTraceFormat::Osi2Row(true, "t", "Short", 0, 0, false, true, false, "S1", 5, 16, ""),
             (QStringList {"RX", "t", "Short", "0", "0", "0", "-", "-", "1", "0", "S1", "5", "16", ""}));
}

QTEST_GUILESS_MAIN(TestCTraceFormat)
#include "tst_ctraceformat.moc"
