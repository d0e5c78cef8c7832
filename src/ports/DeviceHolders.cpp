#include "DeviceHolders.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

DeviceHolders::DeviceHolders(const QString &qstrProcRoot)
    : m_qstrProcRoot(qstrProcRoot)
{
}

QList<DeviceHolder> DeviceHolders::Of(const QString &path) const
{
    QList<DeviceHolder> holders;
    const QString device = QFileInfo(path).canonicalFilePath();
    if (device.isEmpty())
        return holders;
    const qint64 self = QCoreApplication::applicationPid();
    const QDir proc(m_qstrProcRoot);
    for (const QString &entry : proc.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        bool isPid = false;
        const qint64 pid = entry.toLongLong(&isPid);
        if (!isPid || pid == self)
            continue;
        const QString folder = proc.filePath(entry);
        if (HasOpen(folder, device))
            holders << DeviceHolder {pid, ProgramName(folder)};
    }
    std::sort(holders.begin(), holders.end(),
              [](const DeviceHolder &a, const DeviceHolder &b) { return a.pid < b.pid; });
    return holders;
}

bool DeviceHolders::HasOpen(const QString &qstrPidFolder, const QString &qstrDevice) const
{
    const QDir fds(qstrPidFolder + QStringLiteral("/fd"));
    for (const QFileInfo &fd : fds.entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)) {
        if (fd.symLinkTarget() == qstrDevice)
            return true;
    }
    return false;
}

QString DeviceHolders::ProgramName(const QString &qstrPidFolder) const
{
    QFile comm(qstrPidFolder + QStringLiteral("/comm"));
    if (!comm.open(QIODevice::ReadOnly))
        return {};
    return QString::fromLocal8Bit(comm.readAll()).trimmed();
}
