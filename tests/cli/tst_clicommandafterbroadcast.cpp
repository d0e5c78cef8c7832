// The CLI's session with a head: a lamp command queued 50 ms after a flasher-sync broadcast. Nothing
// answers a broadcast, so the command goes out at once in a long telegram with a fresh frame count
// bit, and no short telegram comes between; the simulator's referee counts nothing.
#include "CliDevice.h"
#include "CliOptions.h"
#include "DeviceSession.h"

#include "SimProcess.h"

#include <QRegularExpression>
#include <QTest>
#include <QTemporaryDir>
#include <QTimer>

namespace {

constexpr int kWaitMs = 10000;
constexpr int kAfterBroadcastMs = 50;

// The FCB a line of the simulator's log shows.
QString Fcb(const QString &line)
{
    return QRegularExpression(QStringLiteral(" FCB=(\\d) ")).match(line).captured(1);
}

} // namespace

class TestCliCommandAfterBroadcast : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void lampCommandRightAfterFlasherSync();

private:
    QTemporaryDir m_config;
};

void TestCliCommandAfterBroadcast::initTestCase()
{
    // The session reads its defaults (broadcast flags, addresses) from a settings store of its own.
    QVERIFY(m_config.isValid());
    qputenv("XDG_CONFIG_HOME", m_config.path().toUtf8());
}

void TestCliCommandAfterBroadcast::lampCommandRightAfterFlasherSync()
{
    SimProcess sim;
    QVERIFY(sim.Start({}));
    CliOptions options;
    QVERIFY(options.Parse({QStringLiteral("lichtwart-cli"), QStringLiteral("--device"), sim.DevicePath(), QStringLiteral("flasher-sync"),
                           QStringLiteral("soft")}));
    QString outText;
    QString errText;
    QTextStream out(&outText);
    QTextStream err(&errText);
    DeviceSession session(options, out, err);
    QVERIFY(session.Open());
    QVERIFY2(session.Identify(), qPrintable(errText));

    // As the CLI offers its command: again until the head can take it.
    bool synced = false;
    QTRY_VERIFY_WITH_TIMEOUT(synced = synced || session.Device().FlasherSynchronisation(true, true, 12, 0), kWaitMs);
    const int broadcast = sim.WaitForLine(QRegularExpression(QStringLiteral("link rx long C=[57]4 A=255 .*FN=4 ")), 0);
    QVERIFY(broadcast >= 0);
    bool queued = false;
    QTimer::singleShot(kAfterBroadcastMs, &session, [&] { queued = session.Device().SetSetpoint(107, 1); });
    QTRY_VERIFY_WITH_TIMEOUT(queued, kWaitMs);

    const int next = sim.WaitForLine(QRegularExpression(QStringLiteral("link rx (short|long) ")), broadcast + 1);
    QVERIFY(next >= 0);
    const QString command = sim.Line(next);
    QVERIFY2(command.contains(QRegularExpression(QStringLiteral(
                 "link rx long C=[57]3 A=1 PRM=1 FCB=. FCV=1 FN=3 NAME=D LEN=12 DATA=000A0405..01050137016B01"))),
             qPrintable(command));
    QVERIFY2(Fcb(command) != Fcb(sim.Line(broadcast)), qPrintable(sim.Line(broadcast) + "\n" + command));
    QVERIFY(sim.WaitForLine(QRegularExpression(QStringLiteral("app setpoint IMAGE=107 VALUE=01")), next) >= 0);
    QVERIFY(sim.Matching(QRegularExpression(QStringLiteral("link violation")), 0, sim.LineCount()).isEmpty());
    session.Finish();
}

QTEST_GUILESS_MAIN(TestCliCommandAfterBroadcast)
#include "tst_clicommandafterbroadcast.moc"
