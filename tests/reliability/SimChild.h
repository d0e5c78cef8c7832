#pragma once

#include <QByteArray>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <sys/types.h>

// strelo-sim as a child process that a test can kill, freeze and replace, as a head that loses
// power, hangs or is swapped. Its --verbose log goes to a file rather than a pipe, so it never
// blocks on a test that is busy elsewhere, and costs the test no memory however long it runs; the
// test reads the lines that came since it last looked.
class SimChild
{
public:
    SimChild();
    ~SimChild();
    SimChild(const SimChild &) = delete;
    SimChild &operator=(const SimChild &) = delete;

    // Starts the simulator with these options and waits for the terminal's name.
    bool Start(const QStringList &options);
    QString DevicePath() const { return m_devicePath; }
    bool IsRunning() const { return m_pid > 0; }

    // SIGKILL: the head is gone at once, its terminal with it (a --link is left behind).
    void Kill();
    // SIGSTOP / SIGCONT: the head stops answering, and later goes on where it stopped.
    void Freeze();
    void Thaw();
    // SIGTERM and wait: the simulator ends in order.
    void Stop();

    // The complete log lines written since the last call.
    QList<QByteArray> NewLines();
    // Waits, with the event loop running, for a new line that matches; false when none came.
    bool WaitForLine(const QRegularExpression &pattern, int timeoutMs);

private:
    void Reap(int signal);

    QTemporaryDir m_dir;
    QString m_logPath;
    pid_t m_pid = -1;
    QString m_devicePath;
    qint64 m_logOffset = 0;
    QByteArray m_partialLine;
};
