// lichtwart-cli scan run as a program against strelo-sim listening at a rate and an address
// other than the stored ones.
#include "CliRun.h"
#include "SimProcess.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QStringList kHead {"--baud", "19200", "--osi2", "7", "--osi7", "5"};

} // namespace

class TestScanCli : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void findsTheHeadWithItsIdentity();
    void aRangeWithoutTheHeadFindsNone();
    void theStoredAddressIsProbedFirst();
    void badArguments_data();
    void badArguments();
    void deviceThatCannotBeOpened();

private:
    CliResult Run(const QStringList &arguments);

    std::unique_ptr<QTemporaryDir> m_config;
};

void TestScanCli::init()
{
    m_config = std::make_unique<QTemporaryDir>();
}

CliResult TestScanCli::Run(const QStringList &arguments)
{
    return CliRun::Run(arguments, 120000, m_config->path());
}

void TestScanCli::findsTheHeadWithItsIdentity()
{
    SimProcess sim;
    QVERIFY(sim.Start(kHead));
    const CliResult result = Run({"--device", sim.DevicePath(), "scan", "--rates", "9600,19200", "--addresses", "5-9"});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.out, QStringLiteral("head: device=%1 baud=19200 osi2=7 osi7=5 product=strelo-002 hardware=2.1.0 "
                                        "software=1.4.2 uid=5354524C - 0002913E - 4A7C05D2\n")
                             .arg(sim.DevicePath()));
    // Not a terminal: one progress line per probe, ten in all.
    const QStringList progress = result.err.split('\n', Qt::SkipEmptyParts);
    QCOMPARE(progress.size(), 10);
    QCOMPARE(progress.first(), QStringLiteral("progress: 1/10"));
    QCOMPARE(progress.last(), QStringLiteral("progress: 10/10"));
    // The head heard nothing while the master spoke at 9600 baud.
    QVERIFY(sim.WaitForLine(QRegularExpression("rate-mismatch LINE=9600 HEAD=19200"), 0, 1000) >= 0);
}

void TestScanCli::aRangeWithoutTheHeadFindsNone()
{
    SimProcess sim;
    QVERIFY(sim.Start(kHead));
    const CliResult result = Run({"--device", sim.DevicePath(), "scan", "--rates", "19200", "--addresses", "8-20"});
    QCOMPARE(result.exitCode, 3);
    QVERIFY(result.out.isEmpty());
    QVERIFY(result.err.endsWith(QStringLiteral("progress: 13/13\nno head answered: check the cable and the head's power, then scan again\n")));
}

void TestScanCli::theStoredAddressIsProbedFirst()
{
    // --baud and --osi2 stand for the stored rate and address: the very first probe finds it.
    SimProcess sim;
    QVERIFY(sim.Start(kHead));
    const CliResult result = Run({"--device", sim.DevicePath(), "--baud", "19200", "--osi2", "7", "scan", "--rates", "2400,19200",
                                  "--addresses", "1-20"});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.out.startsWith(QStringLiteral("head: device=%1 baud=19200 osi2=7 osi7=5 ").arg(sim.DevicePath())));
    const int first = sim.WaitForLine(QRegularExpression("link rx short C=49 A=7"), 0, 1000);
    QVERIFY(first >= 0);
    QCOMPARE(sim.Matching(QRegularExpression("link rx "), 0, first).size(), 0);
}

void TestScanCli::badArguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    QTest::newRow("rate not in the table") << QStringList {"--rates", "9601"}
        << "lichtwart-cli: --rates takes 'all' or a list of rates such as 9600,19200, not '9601'\n";
    QTest::newRow("rate not a number") << QStringList {"--rates", "fast"}
        << "lichtwart-cli: --rates takes 'all' or a list of rates such as 9600,19200, not 'fast'\n";
    QTest::newRow("address 0") << QStringList {"--addresses", "0-5"}
        << "lichtwart-cli: --addresses takes one address N or a range FROM-TO within 1-199, not '0-5'\n";
    QTest::newRow("address 200") << QStringList {"--addresses", "200"}
        << "lichtwart-cli: --addresses takes one address N or a range FROM-TO within 1-199, not '200'\n";
    QTest::newRow("range backwards") << QStringList {"--addresses", "9-3"}
        << "lichtwart-cli: --addresses takes one address N or a range FROM-TO within 1-199, not '9-3'\n";
    QTest::newRow("unknown option") << QStringList {"--quick"} << "lichtwart-cli: scan does not take '--quick'\n";
    QTest::newRow("missing value") << QStringList {"--rates"} << "lichtwart-cli: option --rates needs a value\n";
}

void TestScanCli::badArguments()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    const CliResult result = Run(QStringList {"--device", "/dev/lichtwart-no-such-port", "scan"} + arguments);
    QCOMPARE(result.exitCode, 2);
    QCOMPARE(result.err, message);
}

void TestScanCli::deviceThatCannotBeOpened()
{
    const CliResult result = Run({"--device", "/dev/lichtwart-no-such-port", "scan", "--addresses", "1"});
    QCOMPARE(result.exitCode, 1);
    const QStringList lines = result.err.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0), QStringLiteral("error: the device /dev/lichtwart-no-such-port could not be opened"));
    QVERIFY2(lines.at(1).startsWith(QStringLiteral("reason: There is no device /dev/lichtwart-no-such-port.")),
             qPrintable(lines.at(1)));
}

QTEST_MAIN(TestScanCli)
#include "tst_scan_cli.moc"
