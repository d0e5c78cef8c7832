#pragma once

#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <sys/types.h>

class QSocketNotifier;

// strelo-sim as a child process of a test: started with --verbose, it names the terminal it
// serves and logs every telegram it receives on stderr; the test waits for those lines.
class SimProcess
{
public:
    SimProcess();
    ~SimProcess();
    SimProcess(const SimProcess &) = delete;
    SimProcess &operator=(const SimProcess &) = delete;

    // Starts the simulator with these options and waits for the terminal's name.
    bool Start(const QStringList &qstrlOptions);
    QString DevicePath() const { return m_qstrDevicePath; }

    // The number of log lines so far; a position to wait from.
    int LineCount();
    QString Line(int nIndex) const { return m_qstrlLines.at(nIndex); }
    // The index of the first line at or after nFrom that matches, waiting (with the event loop
    // running) up to nTimeoutMs for it; -1 if none came.
    int WaitForLine(const QRegularExpression &pattern, int nFrom, int nTimeoutMs = 10000);
    // Every line from nFrom to nTo (exclusive) that matches.
    QStringList Matching(const QRegularExpression &pattern, int nFrom, int nTo) const;

private:
    void TakeLines();
    int Find(const QRegularExpression &pattern, int nFrom) const;

    pid_t m_pid = -1;
    int m_errorFd = -1;
    QSocketNotifier *m_errorNotifier = nullptr;
    QString m_qstrDevicePath;
    QByteArray m_partialLine;
    QStringList m_qstrlLines;
};
