#pragma once

#include <QList>
#include <QString>

// A process that has a file open.
struct DeviceHolder
{
    qint64 pid = 0;
    QString name; // the program's name as the system keeps it (at most 15 characters)
};

// Finds the processes that keep a device from being opened: the ones holding a lock on it (as
// this program locks its port) from /proc/locks, else the ones that have it open at all, found by
// walking the open files of every process under /proc. Processes of other users whose open files
// this user may not read stay unseen.
class DeviceHolders
{
public:
    explicit DeviceHolders(const QString &qstrProcRoot = QStringLiteral("/proc"));

    // The holders of `path` (links resolved), lowest process id first; this process is left out.
    QList<DeviceHolder> Of(const QString &path) const;

private:
    QList<DeviceHolder> Lockers(const QString &qstrDevice) const;
    QList<DeviceHolder> OpenedBy(const QString &qstrDevice) const;
    bool HasOpen(const QString &qstrPidFolder, const QString &qstrDevice) const;
    QString ProgramName(const QString &qstrPidFolder) const;

    QString m_qstrProcRoot;
};
