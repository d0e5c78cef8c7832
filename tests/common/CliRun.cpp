#include "CliRun.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QTest>

CliResult CliRun::Run(const QStringList &arguments, int timeoutMs, const QString &configHome)
{
    QProcess process;
    if (!configHome.isEmpty()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), configHome);
        process.setProcessEnvironment(environment);
    }
    process.start(qEnvironmentVariable("LICHTWART_BIN_DIR") + QStringLiteral("/lichtwart-cli"), arguments);
    CliResult result;
    process.waitForStarted();
    if (!QTest::qWaitFor([&process] { return process.state() == QProcess::NotRunning; }, timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return result;
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = QString::fromUtf8(process.readAllStandardOutput());
    result.err = QString::fromUtf8(process.readAllStandardError());
    return result;
}
