#include "DeviceHolders.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <sys/stat.h>
#include <sys/sysmacros.h>

DeviceHolders::DeviceHolders(const QString &qstrProcRoot)
    : m_qstrProcRoot(qstrProcRoot)
{
}

QList<DeviceHolder> DeviceHolders::Of(const QString &path) const
{
    const QString device = QFileInfo(path).canonicalFilePath();
    if (device.isEmpty())
        return {};
    QList<DeviceHolder> holders = Lockers(device);
    if (holders.isEmpty())
        holders = OpenedBy(device);
    std::sort(holders.begin(), holders.end(),
              [](const DeviceHolder &a, const DeviceHolder &b) { return a.pid < b.pid; });
    return holders;
}

// A line of /proc/locks: "1: FLOCK  ADVISORY  WRITE 4711 00:19:4 0 EOF", the file given as the
// major and minor number (hex) of its file system and its inode; waiters carry a "->".
QList<DeviceHolder> DeviceHolders::Lockers(const QString &qstrDevice) const
{
    QList<DeviceHolder> holders;
    struct stat st {};
    QFile locks(m_qstrProcRoot + QStringLiteral("/locks"));
    if (stat(QFile::encodeName(qstrDevice).constData(), &st) != 0 || !locks.open(QIODevice::ReadOnly))
        return holders;
    const QString file = QStringLiteral("%1:%2:%3")
                             .arg(major(st.st_dev), 2, 16, QLatin1Char('0'))
                             .arg(minor(st.st_dev), 2, 16, QLatin1Char('0'))
                             .arg(st.st_ino);
    const qint64 self = QCoreApplication::applicationPid();
    for (const QByteArray &line : locks.readAll().split('\n')) {
        const QStringList fields = QString::fromLatin1(line).simplified().split(QLatin1Char(' '));
        if (fields.size() < 6 || fields.contains(QStringLiteral("->")) || fields.at(5) != file)
            continue;
        const qint64 pid = fields.at(4).toLongLong();
        if (pid != self)
            holders << DeviceHolder {pid, ProgramName(m_qstrProcRoot + QLatin1Char('/') + fields.at(4))};
    }
    return holders;
}

QList<DeviceHolder> DeviceHolders::OpenedBy(const QString &qstrDevice) const
{
    QList<DeviceHolder> holders;
    const qint64 self = QCoreApplication::applicationPid();
    const QDir proc(m_qstrProcRoot);
    for (const QString &entry : proc.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        bool isPid = false;
        const qint64 pid = entry.toLongLong(&isPid);
        if (!isPid || pid == self)
            continue;
        const QString folder = proc.filePath(entry);
        if (HasOpen(folder, qstrDevice))
            holders << DeviceHolder {pid, ProgramName(folder)};
    }
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
