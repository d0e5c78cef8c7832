#pragma once

#include "CliOptions.h"

#include <QFile>
#include <QObject>
#include <QTextStream>

#include <functional>
#include <memory>

class CliDevice;
class CStreloDevice;
class QEventLoop;
struct STRELO_PRODUCT;

// (The upgrade command builds on the same session: it opens, identifies and releases the link
// through it and waits on its conditions.)

// One CLI session with a head: opens the port, runs the link procedure (with the start-up
// sequence at every link-up, as the GUI does), waits for the identification, performs the command's
// action, prints the reports that arrive within the settle time, then stops the link and closes.
class DeviceSession : public QObject
{
    Q_OBJECT

public:
    // The command's action; false while the device cannot take it yet (another telegram pending).
    using Action = std::function<bool(CStreloDevice &)>;


    DeviceSession(const CliOptions &options, QTextStream &out, QTextStream &err);
    ~DeviceSession() override;

    // identify: prints product, versions and UID.
    int RunIdentify();
    // Any other device command: the action once the device is identified, then the settle time.
    int RunAction(const Action &action);
    // monitor: once the head is identified, reports (and trace rows) for the duration or until
    // SIGINT/SIGTERM.
    int RunMonitor(int durationMs);

    // The steps the commands are made of. Open and Identify print what went wrong. Every Open
    // starts a new identification.
    bool Open();
    bool Identify();
    // Stops the link procedure and closes the port.
    void Finish();
    CliDevice &Device() { return *m_device; }
    // The identified product; null for a head of unknown hardware.
    const STRELO_PRODUCT *Product() const { return m_productRecord; }
    // Versions and UID replies are all in since the last Open.
    bool Identified() const { return m_haveVersion && m_haveDevice && m_haveUid; }
    // The software version the head reported, "major.minor.release".
    QString Software() const { return m_software; }
    bool Interrupted() const { return m_interrupted; }

    // Runs the event loop until the condition holds, the time is up (a negative time: no limit)
    // or SIGINT/SIGTERM arrives; tells whether the condition holds.
    bool WaitFor(const std::function<bool()> &condition, int timeoutMs);
    // Lets a waiting WaitFor look at its condition again.
    void Reevaluate();

signals:
    void LinkChanged(bool up);

private:
    void Settle(int milliseconds);
    void OnLinkChanged(bool up);
    void PrintLine(const QString &line);
    bool OpenTraceFile();
    void WriteTraceRow(const QStringList &cells);

    const CliOptions &m_options;
    QTextStream &m_out;
    QTextStream &m_err;
    std::unique_ptr<CliDevice> m_device;
    QFile m_traceFile; // --trace-file: the trace rows as CSV
    QEventLoop *m_loop = nullptr;
    std::function<bool()> m_condition;
    bool m_interrupted = false;
    bool m_printReports = false;
    bool m_linkUp = false;
    bool m_linkSeen = false;
    bool m_closing = false; // Finish is ending the link

    bool m_haveVersion = false;
    bool m_haveDevice = false;
    bool m_haveUid = false;
    bool m_versionOnThisLink = false; // the replies of the start-up jobs since the last link change
    bool m_uidOnThisLink = false;
    QString m_hardware;
    QString m_software;
    QString m_product;
    const STRELO_PRODUCT *m_productRecord = nullptr;
    QString m_uid;
};
