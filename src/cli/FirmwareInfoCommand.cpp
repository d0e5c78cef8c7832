#include "FirmwareInfoCommand.h"

#include "CliExit.h"
#include "firmware/CFirmwareException.h"
#include "firmware/CFirmwareFile.h"

namespace {

struct FirmwareInfoOptions
{
    QString file;
    bool allowRawHex = false;
    bool wideAddresses = false;
};

const QString kUsage = QStringLiteral("usage: lichtwart-cli firmware-info FILE [--allow-raw-hex] [--wide]\n");

// Empty text when the arguments are sound, otherwise what is wrong with them.
QString Parse(const QStringList &arguments, FirmwareInfoOptions &options)
{
    QStringList files;
    for (const QString &argument : arguments) {
        if (argument == QLatin1String("--allow-raw-hex"))
            options.allowRawHex = true;
        else if (argument == QLatin1String("--wide"))
            options.wideAddresses = true;
        else if (argument.startsWith(QLatin1Char('-')) && argument.size() > 1)
            return QStringLiteral("unknown option %1").arg(argument);
        else
            files << argument;
    }
    if (files.size() != 1)
        return files.isEmpty() ? QStringLiteral("no file given")
                               : QStringLiteral("more than one file given");
    options.file = files.front();
    return {};
}

void PrintInfo(const CFirmwareFile &firmware, QTextStream &out)
{
    out << "version: " << QString::fromStdString(firmware.GetVersion()) << "\n"
        << "date: " << QString::fromStdString(firmware.GetDate()) << "\n"
        << "md5: " << QString::fromStdString(firmware.GetMd5()) << "\n"
        << "blocks: " << firmware.GetBlocks().size() << "\n"
        << "bytes: " << firmware.GetTotalSize() << "\n";
    for (const auto &block : firmware.GetBlocks())
        out << "block: 0x" << QStringLiteral("%1").arg(block->address, 8, 16, QLatin1Char('0')).toUpper()
            << " " << block->data.size() << "\n";
}

} // namespace

int RunFirmwareInfoCommand(const QStringList &arguments, QTextStream &out, QTextStream &err)
{
    FirmwareInfoOptions options;
    const QString problem = Parse(arguments, options);
    if (!problem.isEmpty())
        return CliExit::UsageError(err, QStringLiteral("firmware-info"), problem, kUsage);
    CFirmwareFile firmware;
    try {
        firmware.Load(options.file.toStdString(), options.allowRawHex, options.wideAddresses);
    } catch (const CFirmwareException &error) {
        return CliExit::FirmwareError(err, error);
    }
    PrintInfo(firmware, out);
    out.flush();
    return CliExit::kOk;
}
