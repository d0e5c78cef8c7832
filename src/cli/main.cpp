#include "CliCapture.h"

#include "CliExit.h"
#include "CliOptions.h"
#include "DeviceCommands.h"
#include "FirmwareInfoCommand.h"
#include "PortsCommand.h"
#include "ScanCommand.h"
#include "PackCommand.h"
#include "UpgradeCommand.h"
#include "settings/LichtwartSettings.h"

#include <QCoreApplication>
#include <QTextStream>

#include <clocale>
#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    // Scripts read the CLI's output, so it is English under any locale, the system's own error
    // texts (strerror, which QCoreApplication's setlocale would otherwise localise) included.
    std::setlocale(LC_MESSAGES, "C");
    LichtwartSettings::SetIdentity();
    QCoreApplication::setApplicationVersion(QStringLiteral(LICHTWART_VERSION));
    QTextStream out(stdout);
    QTextStream err(stderr);

    CliOptions options;
    if (!options.Parse(QCoreApplication::arguments())) {
        err << "lichtwart-cli: " << options.ErrorText() << "\n" << CliOptions::HelpText();
        return CliExit::kUsage;
    }
    if (options.HelpRequested()) {
        out << CliOptions::HelpText();
        return 0;
    }
    if (options.VersionRequested()) {
        out << "lichtwart-cli " << QCoreApplication::applicationVersion() << "\n";
        return 0;
    }
    // Every port the command opens is recorded, whatever the command.
    CliCapture capture(err);
    if (!options.capturePath.isEmpty() && !capture.Start(options.capturePath))
        return CliExit::kUsage;
    if (options.command == QLatin1String("firmware-info"))
        return RunFirmwareInfoCommand(options.commandArguments, out, err);
    if (options.command == QLatin1String("ports"))
        return RunPortsCommand(options.commandArguments, out, err);
    if (options.command == QLatin1String("pack"))
        return RunPackCommand(options.commandArguments, out, err);
    if (options.command == QLatin1String("upgrade"))
        return RunUpgradeCommand(options, out, err);
    if (options.command == QLatin1String("scan"))
        return RunScanCommand(options, out, err);
    if (DeviceCommands::IsDeviceCommand(options.command))
        return DeviceCommands::Run(options, out, err);
    err << "lichtwart-cli: unknown command '" << options.command << "'\n";
    return CliExit::kUsage;
}
