#include "SimProcess.h"

#include <QDeadlineTimer>
#include <QTest>

namespace {

constexpr int StartTimeoutMs = 10000;

} // namespace

SimProcess::SimProcess() = default;

SimProcess::~SimProcess()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished(5000))
        m_process.kill();
    m_process.waitForFinished(5000);
}

bool SimProcess::Start(const QStringList &qstrlOptions)
{
    const QString qstrProgram = qEnvironmentVariable("LICHTWART_BIN_DIR") + "/strelo-sim";
    m_process.start(qstrProgram, QStringList{"--verbose"} + qstrlOptions);
    if (!m_process.waitForStarted(StartTimeoutMs))
        return false;
    QDeadlineTimer deadline(StartTimeoutMs);
    while (!m_process.canReadLine() && !deadline.hasExpired())
        m_process.waitForReadyRead(int(deadline.remainingTime()));
    const QString qstrFirst = QString::fromUtf8(m_process.readLine()).trimmed();
    const QString qstrPrefix = QStringLiteral("device: ");
    if (!qstrFirst.startsWith(qstrPrefix))
        return false;
    m_qstrDevicePath = qstrFirst.mid(qstrPrefix.size());
    return true;
}

int SimProcess::LineCount()
{
    TakeLines();
    return int(m_qstrlLines.size());
}

int SimProcess::WaitForLine(const QRegularExpression &pattern, int nFrom, int nTimeoutMs)
{
    QDeadlineTimer deadline(nTimeoutMs);
    for (;;) {
        TakeLines();
        const int nFound = Find(pattern, nFrom);
        if (nFound >= 0 || deadline.hasExpired())
            return nFound;
        QTest::qWait(10);
    }
}

QStringList SimProcess::Matching(const QRegularExpression &pattern, int nFrom, int nTo) const
{
    QStringList qstrlFound;
    for (int i = nFrom; i < nTo && i < m_qstrlLines.size(); ++i) {
        if (pattern.match(m_qstrlLines.at(i)).hasMatch())
            qstrlFound << m_qstrlLines.at(i);
    }
    return qstrlFound;
}

void SimProcess::TakeLines()
{
    m_partialLine += m_process.readAllStandardError();
    qsizetype nEnd = 0;
    while ((nEnd = m_partialLine.indexOf('\n')) >= 0) {
        m_qstrlLines << QString::fromUtf8(m_partialLine.left(nEnd));
        m_partialLine.remove(0, nEnd + 1);
    }
}

int SimProcess::Find(const QRegularExpression &pattern, int nFrom) const
{
    for (int i = nFrom; i < m_qstrlLines.size(); ++i) {
        if (pattern.match(m_qstrlLines.at(i)).hasMatch())
            return i;
    }
    return -1;
}
