#pragma once

#include <QString>
#include <QStringList>

// One run of lichtwart-cli (from LICHTWART_BIN_DIR) as a test sees it.
struct CliResult
{
    int exitCode = -1; // -1: it crashed or did not end in time
    QString out;
    QString err;
};

class CliRun
{
public:
    // Runs the CLI with the arguments and waits up to timeoutMs for its end, the event loop
    // running meanwhile (so a simulator's log is read as it comes and never fills its pipe). With
    // configHome the CLI reads and writes its settings there (XDG_CONFIG_HOME); otherwise it
    // inherits the test's environment. A run that does not end in time is killed.
    static CliResult Run(const QStringList &arguments, int timeoutMs, const QString &configHome = {});
};
