#pragma once

#include <QString>
#include <QTextStream>

class CFirmwareException;

// The exit codes of lichtwart-cli, the same for every command, and the two error lines that go
// with the codes several commands end with.
class CliExit
{
public:
    static constexpr int kOk = 0;          // also: scan found a head
    static constexpr int kOpenFailed = 1;  // the port could not be opened
    static constexpr int kUsage = 2;
    static constexpr int kNoLink = 3;      // no link or no identification in time; scan found no head
    static constexpr int kFirmware = 4;    // the firmware file was refused
    static constexpr int kUpgradeFailed = 5;

    // "lichtwart-cli COMMAND: PROBLEM", then the command's usage lines; returns kUsage.
    static int UsageError(QTextStream &err, const QString &command, const QString &problem, const QString &usage);
    // "firmware error CODE: MESSAGE"; returns kFirmware.
    static int FirmwareError(QTextStream &err, const CFirmwareException &error);
};
