#include "DeviceCommands.h"

#include "CliExit.h"
#include "DeviceSession.h"
#include "settings/LichtwartSettings.h"
#include "tls/CStreloDevice.h"
#include "tls/CStreloSetpoints.h"

#include <QSettings>

#include <limits>

namespace {

// The lamp names of the remote control's table, for the usage message.
QString LampNames()
{
    QStringList names;
    for (const std::string &name : CStreloSetpoints::Names())
        names << QString::fromStdString(name);
    return names.join(QStringLiteral(", "));
}

} // namespace

bool DeviceCommands::IsDeviceCommand(const QString &command)
{
    static const QStringList commands = {"identify", "lamp", "intensity", "currents", "flasher-sync",
                                         "set-osi2-address", "monitor"};
    return commands.contains(command);
}

int DeviceCommands::Run(const CliOptions &options, QTextStream &out, QTextStream &err)
{
    const QString &command = options.command;
    if (command == QLatin1String("lamp"))
        return Lamp(options, out, err);
    if (command == QLatin1String("intensity"))
        return Intensity(options, out, err);
    if (command == QLatin1String("flasher-sync"))
        return FlasherSync(options, out, err);
    if (command == QLatin1String("set-osi2-address"))
        return SetOsi2Address(options, out, err);
    if (command == QLatin1String("monitor"))
        return Monitor(options, out, err);
    if (!options.commandArguments.isEmpty())
        return Usage(err, QStringLiteral("%1 takes no arguments").arg(command));
    DeviceSession session(options, out, err);
    if (command == QLatin1String("identify"))
        return session.RunIdentify();
    return session.RunAction([](CStreloDevice &device) { return device.RefreshCurrentMeters(); });
}

int DeviceCommands::Lamp(const CliOptions &options, QTextStream &out, QTextStream &err)
{
    const auto lamp = CStreloSetpoints::FromName(options.commandArguments.value(0).toStdString());
    if (options.commandArguments.size() != 1 || !lamp)
        return Usage(err, QStringLiteral("lamp takes one of %1").arg(LampNames()));
    const QSettings settings;
    const CStreloSetpoints::Setpoint setpoint = CStreloSetpoints::For(
        *lamp, LichtwartSettings::Read(settings, LichtwartSettings::FlasherCyclePeriod).toInt());
    DeviceSession session(options, out, err);
    return session.RunAction([setpoint](CStreloDevice &device) {
        return device.SetSetpoint(setpoint.image, setpoint.value);
    });
}

int DeviceCommands::Intensity(const CliOptions &options, QTextStream &out, QTextStream &err)
{
    const QString level = options.commandArguments.value(0);
    if (options.commandArguments.size() != 1 || (level != QLatin1String("full") && level != QLatin1String("dim")))
        return Usage(err, QStringLiteral("intensity takes full or dim"));
    const bool full = level == QLatin1String("full");
    DeviceSession session(options, out, err);
    return session.RunAction([full](CStreloDevice &device) { return device.SetIntensity(full); });
}

int DeviceCommands::FlasherSync(const CliOptions &options, QTextStream &out, QTextStream &err)
{
    const QString kind = options.commandArguments.value(0);
    if (options.commandArguments.size() != 1 || (kind != QLatin1String("soft") && kind != QLatin1String("hard")))
        return Usage(err, QStringLiteral("flasher-sync takes soft or hard"));
    const QSettings settings;
    const bool osi7Broadcast = LichtwartSettings::Read(settings, LichtwartSettings::FlasherSyncOsi7Broadcast).toBool();
    const bool osi2Broadcast = LichtwartSettings::Read(settings, LichtwartSettings::FlasherSyncOsi2Broadcast).toBool();
    const int cycles = kind == QLatin1String("soft")
        ? LichtwartSettings::Read(settings, LichtwartSettings::FlasherSoftSyncCycles).toInt()
        : 0;
    if (cycles < 0 || cycles > 255) {
        err << "error: the soft-sync cycle count " << cycles
            << " in the settings is out of range (0 to 255); the head would refuse it\n";
        return CliExit::kUsage;
    }
    DeviceSession session(options, out, err);
    return session.RunAction([=](CStreloDevice &device) {
        return device.FlasherSynchronisation(osi7Broadcast, osi2Broadcast, cycles, 0);
    });
}

int DeviceCommands::SetOsi2Address(const CliOptions &options, QTextStream &out, QTextStream &err)
{
    bool ok = false;
    const int address = options.commandArguments.value(0).toInt(&ok, 10);
    if (options.commandArguments.size() != 1 || !ok || address < 1 || address > 199)
        return Usage(err, QStringLiteral("set-osi2-address takes one address from 1 to 199"));
    DeviceSession session(options, out, err);
    const int result = session.RunAction([address](CStreloDevice &device) { return device.SetOSI2Address(address); });
    if (result == CliExit::kOk) {
        // As in the GUI, the next connect uses the new address.
        QSettings settings;
        settings.setValue(LichtwartSettings::AddressOsi2, address);
    }
    return result;
}

int DeviceCommands::Monitor(const CliOptions &options, QTextStream &out, QTextStream &err)
{
    const QStringList &args = options.commandArguments;
    int duration = -1;
    if (args.size() == 2 && args.at(0) == QLatin1String("--duration")) {
        bool ok = false;
        duration = args.at(1).toInt(&ok, 10);
        if (!ok || duration < 0)
            return Usage(err, QStringLiteral("--duration takes a number of milliseconds"));
    } else if (!args.isEmpty()) {
        return Usage(err, QStringLiteral("monitor takes only --duration MS"));
    }
    DeviceSession session(options, out, err);
    // Without a duration the monitor runs until SIGINT or SIGTERM.
    return session.RunMonitor(duration < 0 ? std::numeric_limits<int>::max() : duration);
}

int DeviceCommands::Usage(QTextStream &err, const QString &text)
{
    err << "lichtwart-cli: " << text << "\n";
    return CliExit::kUsage;
}
