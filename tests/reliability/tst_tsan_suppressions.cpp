// The thread sanitizer with the project's suppressions (tests/tsan.supp) still reports races in
// our code, and is quiet about the hand-over of queued signals that happens inside Qt. Each case
// runs tsan_race_probe in a child process and reads its report.
#include <QProcess>
#include <QTemporaryFile>
#include <QTest>

namespace {

constexpr int kSanitizerExitCode = 66;
constexpr int kProbeTimeoutMs = 120000;
const char *const kReportHeader = "WARNING: ThreadSanitizer: data race";

struct ProbeRun
{
    int exitCode = -1;
    QString report;
};

ProbeRun RunProbe(const QString &mode, const QString &suppressions)
{
    QProcess probe;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("TSAN_OPTIONS", "suppressions=" + suppressions + " halt_on_error=1 exitcode="
                                           + QString::number(kSanitizerExitCode));
    environment.insert("QT_NO_GLIB", "1");
    probe.setProcessEnvironment(environment);
    probe.start(QStringLiteral(LICHTWART_RACE_PROBE), {mode});
    ProbeRun run;
    if (!probe.waitForFinished(kProbeTimeoutMs)) {
        probe.kill();
        probe.waitForFinished();
        return run;
    }
    run.exitCode = probe.exitStatus() == QProcess::NormalExit ? probe.exitCode() : -1;
    run.report = QString::fromUtf8(probe.readAllStandardError());
    return run;
}

} // namespace

class TestTsanSuppressions : public QObject
{
    Q_OBJECT

private slots:
    void racesInOurCodeAreReported_data();
    void racesInOurCodeAreReported();
    void queuedSignalsBetweenOurThreadsAreQuiet();
    void withoutTheSuppressionsTheHandOverIsReported();
};

void TestTsanSuppressions::racesInOurCodeAreReported_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QStringList>("frames");
    QTest::newRow("two std::threads") << "plain" << QStringList {"RaceProbe::Bump"};
    // The slot's stack runs through moc's qt_static_metacall and QObject::event.
    QTest::newRow("a slot of the event loop")
        << "slot" << QStringList {"RaceProbe::OnTick", "QObject::event", "RaceProbe::WriteFromWorker"};
    QTest::newRow("our code on a thread Qt started")
        << "qtthread" << QStringList {"RaceProbe::WriteFromWorker", "RaceProbe::Bump"};
}

void TestTsanSuppressions::racesInOurCodeAreReported()
{
    QFETCH(QString, mode);
    QFETCH(QStringList, frames);
    const ProbeRun run = RunProbe(mode, QStringLiteral(LICHTWART_TSAN_SUPPRESSIONS));
    QVERIFY2(run.report.contains(kReportHeader), qPrintable(run.report));
    for (const QString &frame : frames)
        QVERIFY2(run.report.contains(frame), qPrintable(frame + " missing in:\n" + run.report));
    QCOMPARE(run.exitCode, kSanitizerExitCode);
}

void TestTsanSuppressions::queuedSignalsBetweenOurThreadsAreQuiet()
{
    const ProbeRun run = RunProbe("handover", QStringLiteral(LICHTWART_TSAN_SUPPRESSIONS));
    QVERIFY2(!run.report.contains("ThreadSanitizer"), qPrintable(run.report));
    QCOMPARE(run.exitCode, 0);
}

void TestTsanSuppressions::withoutTheSuppressionsTheHandOverIsReported()
{
    // Shows that the entries are needed at all: without them Qt's hand-over is taken for a race.
    QTemporaryFile empty;
    QVERIFY(empty.open());
    const ProbeRun run = RunProbe("handover", empty.fileName());
    QVERIFY2(run.report.contains(kReportHeader), qPrintable(run.report));
    QCOMPARE(run.exitCode, kSanitizerExitCode);
}

QTEST_GUILESS_MAIN(TestTsanSuppressions)
#include "tst_tsan_suppressions.moc"
