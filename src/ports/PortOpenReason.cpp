#include "PortOpenReason.h"

#include "SerialPortCatalog.h"
#include "comm/CAsync.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStringList>

#include <cerrno>
#include <cstring>

#ifndef Q_OS_WIN
#include "DeviceHolders.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

QString SystemText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

#ifndef Q_OS_WIN
QString UserName()
{
    const passwd *user = getpwuid(geteuid());
    return user != nullptr ? QString::fromLocal8Bit(user->pw_name) : QString::number(geteuid());
}

QString GroupName(gid_t gid)
{
    const group *entry = getgrgid(gid);
    return entry != nullptr ? QString::fromLocal8Bit(entry->gr_name) : QString::number(gid);
}

// Membership as the group database lists it now; the running login may not have it yet.
bool ListedInGroup(gid_t gid, const QString &user)
{
    const group *entry = getgrgid(gid);
    if (entry == nullptr)
        return false;
    for (char *const *member = entry->gr_mem; *member != nullptr; ++member) {
        if (QString::fromLocal8Bit(*member) == user)
            return true;
    }
    return false;
}
#endif

} // namespace

#ifndef Q_OS_WIN
QString PortOpenReason::FileKind(const QString &path)
{
    struct stat st {};
    if (stat(QFile::encodeName(path).constData(), &st) != 0)
        return {};
    if (S_ISREG(st.st_mode))
        return tr("a regular file");
    if (S_ISDIR(st.st_mode))
        return tr("a folder");
    if (S_ISFIFO(st.st_mode))
        return tr("a pipe");
    if (S_ISSOCK(st.st_mode))
        return tr("a socket");
    if (S_ISBLK(st.st_mode))
        return tr("a block device");
    return tr("a device that is no terminal");
}
#else
// Windows opens no file, folder or pipe by a port name, so there is nothing more to tell.
QString PortOpenReason::FileKind(const QString &)
{
    return {};
}
#endif

QString PortOpenReason::ParityName(int parity)
{
    switch (parity) {
    case CAsync::kParityNone: return tr("no parity");
    case CAsync::kParityEven: return tr("even parity");
    case CAsync::kParityOdd: return tr("odd parity");
    default: return {};
    }
}

QString PortOpenReason::Text(const PortOpenFailure &failure)
{
    const QString path = QString::fromStdString(failure.path);
    QString reason;
    switch (failure.step) {
    case PortOpenFailure::Step::None: return {};
    case PortOpenFailure::Step::Open: reason = ForOpenError(failure); break;
    case PortOpenFailure::Step::InUse: reason = InUse(path); break;
    case PortOpenFailure::Step::NotSerial: reason = NotSerial(path); break;
    case PortOpenFailure::Step::SettingsRefused: reason = SettingsRefused(failure); break;
    }
    return TakenToMean(failure) + reason;
}

QString PortOpenReason::ForOpenError(const PortOpenFailure &failure)
{
    const QString path = QString::fromStdString(failure.path);
    switch (failure.error) {
    case EACCES:
    case EPERM: return NotAllowed(path);
    case EBUSY: return InUse(path);
    case ENOENT:
    case ENODEV:
    case ENXIO:
    case EIO: return NoSuchDevice(path, failure.error);
    case EISDIR:
    case ENOTDIR: return NotSerial(path);
    default:
        return tr("The system refused to open %1: %2.").arg(path, SystemText(failure.error));
    }
}

QString PortOpenReason::NotAllowed(const QString &path)
{
#ifdef Q_OS_WIN
    // Windows keeps no group per port; the port refuses a second program with "in use" instead
    // (CAsyncW32), so this is only reached when the administrator has barred the device.
    return tr("You are not allowed to use %1, and no group gives access to it. Ask the administrator of "
              "this computer to give your user access to the device.").arg(path);
#else
    struct stat st {};
    const bool known = stat(QFile::encodeName(path).constData(), &st) == 0;
    const bool groupMayUse = known && st.st_gid != 0 && (st.st_mode & S_IRGRP) && (st.st_mode & S_IWGRP);
    if (!groupMayUse) {
        return tr("You are not allowed to use %1, and no group gives access to it. Ask the administrator of "
                  "this computer to give your user access to the device.").arg(path);
    }
    const QString user = UserName();
    const QString group = GroupName(st.st_gid);
    if (ListedInGroup(st.st_gid, user)) {
        return tr("You are not allowed to use %1 yet: it belongs to the group %2, and your user %3 was added "
                  "to that group after this login began. Log out and log in again.").arg(path, group, user);
    }
    return tr("You are not allowed to use %1: it belongs to the group %2, and your user %3 is not in it. "
              "Add the user to the group with the command \"sudo adduser %3 %2\", then log out and log in "
              "again (the new group counts from the next login on).").arg(path, group, user);
#endif
}

QString PortOpenReason::InUse(const QString &path)
{
    QStringList programs;
#ifndef Q_OS_WIN
    // Windows does not tell which program holds a port.
    for (const DeviceHolder &holder : DeviceHolders().Of(path)) {
        programs << tr("%1 (process %2)").arg(holder.name.isEmpty() ? tr("a program") : holder.name)
                        .arg(holder.pid);
    }
#endif
    if (programs.isEmpty()) {
        return tr("%1 is in use by another program. Close that program (or end its connection), then try "
                  "again.").arg(path);
    }
    return tr("%1 is in use by another program: %2. Close that program (or end its connection), then try "
              "again.").arg(path, programs.join(QStringLiteral(", ")));
}

QString PortOpenReason::NoSuchDevice(const QString &path, int error)
{
    const QString what = error == ENOENT ? tr("There is no device %1.").arg(path)
                                         : tr("There is no serial hardware behind %1 (%2).").arg(path, SystemText(error));
    return what + QLatin1Char(' ') + PortsPresent();
}

QString PortOpenReason::NotSerial(const QString &path)
{
    const QString kind = FileKind(path);
    const QString what = kind.isEmpty() ? tr("%1 is not a serial device.").arg(path)
                                        : tr("%1 is not a serial device but %2.").arg(path, kind);
    return what + QLatin1Char(' ') + PortsPresent();
}

QString PortOpenReason::SettingsRefused(const PortOpenFailure &failure)
{
    QStringList settings;
    const int rate = CAsync::RateForBaudIndex(failure.baudIndex);
    if (rate > 0)
        settings << tr("%1 baud").arg(rate);
    if (failure.dataBits == CAsync::kDataBits7 || failure.dataBits == CAsync::kDataBits8)
        settings << tr("%1 data bits").arg(failure.dataBits == CAsync::kDataBits7 ? 7 : 8);
    if (const QString parity = ParityName(failure.parity); !parity.isEmpty())
        settings << parity;
    if (failure.stopBits == CAsync::kStopBits1 || failure.stopBits == CAsync::kStopBits2)
        settings << (failure.stopBits == CAsync::kStopBits1 ? tr("one stop bit") : tr("two stop bits"));
    const QString why = failure.error != 0 ? SystemText(failure.error) : tr("they did not take effect");
    return tr("%1 refused the settings %2 (%3). Choose another baud rate in the options, or another port.")
        .arg(QString::fromStdString(failure.path), settings.join(QStringLiteral(", ")), why);
}

QString PortOpenReason::PortsPresent()
{
    QStringList names;
    for (const SerialPortEntry &entry : SerialPortCatalog::Present())
        names << SerialPortCatalog::Name(entry);
    if (names.isEmpty())
        return tr("No serial port is present on this computer: plug in the adapter, then try again.");
    return tr("Ports present: %1.").arg(names.join(QStringLiteral(", ")));
}

// Windows names are kept so one settings file serves both systems; on Linux they stand for the
// built-in ports.
QString PortOpenReason::TakenToMean(const PortOpenFailure &failure)
{
    static const QRegularExpression windowsName(QStringLiteral("^COM[0-9]+$"));
    const QString name = QString::fromStdString(failure.portName);
    if (!windowsName.match(name).hasMatch() || failure.path == failure.portName)
        return {};
    return tr("On Linux, %1 is taken to mean %2. ").arg(name, QString::fromStdString(failure.path));
}
