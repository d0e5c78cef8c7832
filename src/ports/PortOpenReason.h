#pragma once

#include "comm/PortOpenFailure.h"

#include <QCoreApplication>
#include <QString>

// Turns the facts of a failed port open into sentences a technician can act on: who owns a device
// the user may not use and the command that adds the user to its group, which program holds a port
// that is in use, which ports are present when the name matches none, what the path is when it is
// not a serial device, and the settings the device refused. A COMn name says which device it was
// taken to mean. Looks at the system as it is now (/proc, the group database, the ports present).
// On Windows only the ports present are known: the port holders and groups are not.
class PortOpenReason
{
    Q_DECLARE_TR_FUNCTIONS(PortOpenReason)

public:
    // Empty when the failure records no step (the open did not fail).
    static QString Text(const PortOpenFailure &failure);

private:
    static QString ForOpenError(const PortOpenFailure &failure);
    static QString NotAllowed(const QString &path);
    static QString InUse(const QString &path);
    static QString NoSuchDevice(const QString &path, int error);
    static QString NotSerial(const QString &path);
    static QString SettingsRefused(const PortOpenFailure &failure);
    static QString PortsPresent();
    static QString TakenToMean(const PortOpenFailure &failure);
    static QString FileKind(const QString &path);
    static QString ParityName(int parity);
};
