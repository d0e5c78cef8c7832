#pragma once

#include "CliOptions.h"

#include <QTextStream>

// The commands that talk to a head: identify, lamp, intensity, currents, flasher-sync,
// set-osi2-address and monitor. IsDeviceCommand tells whether the command is one of them.
class DeviceCommands
{
public:
    static bool IsDeviceCommand(const QString &command);
    // Runs the command and returns the process exit code (2 for a usage error).
    static int Run(const CliOptions &options, QTextStream &out, QTextStream &err);

private:
    static int Lamp(const CliOptions &options, QTextStream &out, QTextStream &err);
    static int Intensity(const CliOptions &options, QTextStream &out, QTextStream &err);
    static int FlasherSync(const CliOptions &options, QTextStream &out, QTextStream &err);
    static int SetOsi2Address(const CliOptions &options, QTextStream &out, QTextStream &err);
    static int Monitor(const CliOptions &options, QTextStream &out, QTextStream &err);
    static int Usage(QTextStream &err, const QString &text);
};
