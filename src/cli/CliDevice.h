#pragma once

#include "CliOptions.h"
#include "tls/CStreloDeviceSignals.h"

#include <QStringList>

// The device as the CLI sees it: the protocol stack whose hooks become the same Qt signals as the
// GUI's controller has, emitted on the reader and timer threads and delivered queued to the CLI's
// main thread. Trace records of the chosen level become trace rows, their cells in the order of
// the GUI's table, stamped on the thread that traced them.
class CliDevice : public CStreloDeviceSignals
{
    Q_OBJECT

public:
    explicit CliDevice(CliOptions::TraceLevel traceLevel, QObject *parent = nullptr);
    ~CliDevice() override;

signals:
    void TraceRow(const QStringList &cells);
};
