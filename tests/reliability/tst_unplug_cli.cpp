// The head vanishes under a running lichtwart-cli monitor: the simulator is killed or ends, and its
// terminal goes with it, as a USB adapter that is pulled. The CLI reports the lost link, does not
// spin, ends normally, and a new run reaches the head once it is back under the same name. A head
// that falls silent and answers again within the run is reported lost and back, once each.
#include "ProcessUsage.h"
#include "SimChild.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr int kMonitorMs = 20000;
constexpr int kReportsMs = 15000;
// Five unanswered requests 100 ms apart end the link; the rest is margin for a loaded machine.
constexpr int kLinkDownMs = 5000;
constexpr int kCpuWindowMs = 3000;
constexpr double kIdleCpuPercent = 20.0;
constexpr int kFinishMs = 60000;
// The link procedure calls a silent station every few hundred milliseconds; margin as above.
constexpr int kLinkUpMs = 15000;
// The head's UID reply, the last answer of the identification.
const QRegularExpression kUidReply(QStringLiteral("link tx long .*DATA=0013FE83.*FF87"));

} // namespace

class TestUnplugCli : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void lostLinkIsReportedWithoutSpinning_data();
    void lostLinkIsReportedWithoutSpinning();
    void headBackWithinTheRunIsReported();
    void shortMonitorOutlastsAHeadSilentAfterIdentification();

private:
    QProcess *StartCli(const QStringList &arguments);
    bool WaitForOutput(QProcess &cli, QByteArray &output, const QByteArray &text, int timeoutMs);

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestUnplugCli::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    // The CLI reads its defaults from a settings store of its own.
    qputenv("XDG_CONFIG_HOME", m_dir->filePath("config").toUtf8());
}

QProcess *TestUnplugCli::StartCli(const QStringList &arguments)
{
    auto *cli = new QProcess(this);
    cli->start(qEnvironmentVariable("LICHTWART_BIN_DIR") + "/lichtwart-cli", arguments);
    return cli;
}

bool TestUnplugCli::WaitForOutput(QProcess &cli, QByteArray &output, const QByteArray &text, int timeoutMs)
{
    return QTest::qWaitFor(
        [&] {
            output += cli.readAllStandardOutput();
            return output.contains(text);
        },
        timeoutMs);
}

void TestUnplugCli::lostLinkIsReportedWithoutSpinning_data()
{
    QTest::addColumn<bool>("killed");
    QTest::newRow("simulator killed") << true;
    QTest::newRow("simulator ended, terminal closed") << false;
}

void TestUnplugCli::lostLinkIsReportedWithoutSpinning()
{
    QFETCH(bool, killed);
    const QString link = m_dir->filePath("head");
    auto sim = std::make_unique<SimChild>();
    QVERIFY(sim->Start({"--link", link}));
    QProcess *monitor = StartCli({"--device", link, "monitor", "--duration", QString::number(kMonitorMs)});
    QByteArray output;
    QVERIFY2(WaitForOutput(*monitor, output, "actual: ", kReportsMs), output.constData());
    // The run of a monitor starts once the head is identified.
    QVERIFY(sim->WaitForLine(kUidReply, kReportsMs));

    if (killed)
        sim->Kill();
    else
        sim->Stop();
    QVERIFY2(WaitForOutput(*monitor, output, "link: down\n", kLinkDownMs), output.constData());
    const ProcessUsage::Sample before = ProcessUsage::Take(monitor->processId());
    QTest::qWait(kCpuWindowMs);
    const ProcessUsage::Sample after = ProcessUsage::Take(monitor->processId());
    const double cpu = ProcessUsage::CpuPercent(before, after);
    qInfo("CLI after the head vanished: %.1f %% CPU", cpu);
    QVERIFY2(cpu < kIdleCpuPercent, "the CLI does not spin on the vanished port");

    QVERIFY(monitor->waitForFinished(kFinishMs));
    QCOMPARE(monitor->exitStatus(), QProcess::NormalExit);
    QCOMPARE(monitor->exitCode(), 0);
    output += monitor->readAllStandardOutput();
    QCOMPARE(output.count("link: down\n"), 1);
    QVERIFY(!output.contains("link: up"));

    // The head comes back under the same name; the next run reaches it.
    sim = std::make_unique<SimChild>();
    QVERIFY(sim->Start({"--link", link}));
    QProcess *identify = StartCli({"--device", link, "identify"});
    QVERIFY(identify->waitForFinished(kFinishMs));
    QCOMPARE(identify->exitCode(), 0);
    QVERIFY(identify->readAllStandardOutput().startsWith("product: strelo-002\n"));
}

void TestUnplugCli::headBackWithinTheRunIsReported()
{
    const QString link = m_dir->filePath("head");
    SimChild sim;
    QVERIFY(sim.Start({"--link", link}));
    QProcess *monitor = StartCli({"--device", link, "monitor", "--duration", QString::number(kMonitorMs)});
    QByteArray output;
    QVERIFY2(WaitForOutput(*monitor, output, "actual: ", kReportsMs), output.constData());
    QVERIFY(sim.WaitForLine(kUidReply, kReportsMs));

    sim.Freeze();
    QVERIFY2(WaitForOutput(*monitor, output, "link: down\n", kLinkDownMs), output.constData());
    sim.Thaw();
    QVERIFY2(WaitForOutput(*monitor, output, "link: up\n", kLinkUpMs), output.constData());
    QVERIFY(output.indexOf("link: down\n") < output.indexOf("link: up\n"));

    QVERIFY(monitor->waitForFinished(kFinishMs));
    QCOMPARE(monitor->exitCode(), 0);
    output += monitor->readAllStandardOutput();
    QCOMPARE(output.count("link: down\n"), 1);
    QCOMPARE(output.count("link: up\n"), 1);
}

// monitor --duration counts from the identification; a head silent for a second right after it is
// lost, found again and identified again before the monitor ends, however short its duration.
void TestUnplugCli::shortMonitorOutlastsAHeadSilentAfterIdentification()
{
    const QString link = m_dir->filePath("head");
    SimChild sim;
    QVERIFY(sim.Start({"--link", link}));
    QProcess *monitor = StartCli({"--device", link, "--trace", "osi7", "monitor", "--duration", "2000"});
    QVERIFY(sim.WaitForLine(kUidReply, kReportsMs));
    sim.Freeze();
    QTest::qWait(1000); // the head is silent for this second
    sim.Thaw();

    QVERIFY(monitor->waitForFinished(kFinishMs));
    QCOMPARE(monitor->exitStatus(), QProcess::NormalExit);
    QCOMPARE(monitor->exitCode(), 0);
    const QByteArray output = monitor->readAllStandardOutput();
    QVERIFY2(output.contains("link: down\n") && output.indexOf("link: down\n") < output.indexOf("link: up\n"),
             output.constData());
    // The start-up jobs were answered on both links: the versions and the UID twice each.
    const QByteArray trace = monitor->readAllStandardError();
    int versions = 0;
    int uids = 0;
    for (const QByteArray &line : trace.split('\n')) {
        const QList<QByteArray> cells = line.split('\t');
        if (cells.size() != 8 || cells[0] != "RX" || cells[4] != "Parameter message")
            continue;
        versions += cells[7].startsWith("08 FF 85") ? 1 : 0;
        uids += cells[7].startsWith("0E FF 87") ? 1 : 0;
    }
    QCOMPARE(versions, 2);
    QCOMPARE(uids, 2);
}

QTEST_GUILESS_MAIN(TestUnplugCli)
#include "tst_unplug_cli.moc"
