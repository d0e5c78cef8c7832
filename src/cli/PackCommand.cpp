#include "PackCommand.h"

#include "CliExit.h"
#include "firmware/CFirmwareArchive.h"
#include "firmware/CFirmwareException.h"
#include "firmware/CFirmwarePackageWriter.h"
#include "tls/CStreloProductTable.h"

#include <QFile>

#include <map>
#include <stdexcept>

namespace {

struct PackOptions
{
    QString image;
    QString output;
    CFirmwarePackageWriter::Manifest manifest;
    CFirmwarePackageWriter::Format format = CFirmwarePackageWriter::Format::Zip;
    const STRELO_PRODUCT *product = nullptr;
};

const QString kUsage = QStringLiteral(
    "usage: lichtwart-cli pack IMAGE --version TEXT --date TEXT --product strelo-002|strelo-003\n"
    "                          [--release-notes TEXT] [--format zip|tar|tar.gz] -o FILE\n");

// Takes the option's value into values; empty text when that worked, otherwise what is wrong.
QString TakeValue(const QStringList &arguments, int &i, std::map<QString, QString> &values)
{
    const QString option = arguments.at(i) == QLatin1String("--output") ? QStringLiteral("-o") : arguments.at(i);
    if (i + 1 >= arguments.size())
        return QStringLiteral("option %1 needs a value").arg(arguments.at(i));
    if (values.count(option) != 0)
        return QStringLiteral("option %1 given twice").arg(arguments.at(i));
    values[option] = arguments.at(++i);
    return {};
}

QString CollectArguments(const QStringList &arguments, std::map<QString, QString> &values, QStringList &images)
{
    static const QStringList valued = {"--version", "--date", "--product", "--release-notes", "--format",
                                       "-o", "--output"};
    for (int i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (valued.contains(argument)) {
            const QString problem = TakeValue(arguments, i, values);
            if (!problem.isEmpty())
                return problem;
        } else if (argument.startsWith(QLatin1Char('-')) && argument.size() > 1) {
            return QStringLiteral("unknown option %1").arg(argument);
        } else {
            images << argument;
        }
    }
    return {};
}

// Empty text when the arguments are sound, otherwise what is wrong with them.
QString Parse(const QStringList &arguments, PackOptions &options)
{
    std::map<QString, QString> values;
    QStringList images;
    const QString problem = CollectArguments(arguments, values, images);
    if (!problem.isEmpty())
        return problem;
    if (images.size() != 1)
        return images.isEmpty() ? QStringLiteral("no image given") : QStringLiteral("more than one image given");
    for (const char *required : {"--version", "--date", "--product", "-o"})
        if (values.count(QLatin1String(required)) == 0)
            return QStringLiteral("%1 is missing").arg(QLatin1String(required));
    options.image = images.front();
    options.output = values["-o"];
    options.product = CStreloProductTable::FindById(values["--product"]);
    if (options.product == nullptr)
        return QStringLiteral("--product takes strelo-002 or strelo-003, not '%1'").arg(values["--product"]);
    const QString format = values.count(QStringLiteral("--format")) != 0 ? values["--format"] : QStringLiteral("zip");
    const auto named = CFirmwarePackageWriter::FormatNamed(format.toStdString());
    if (!named)
        return QStringLiteral("--format takes zip, tar or tar.gz, not '%1'").arg(format);
    options.format = *named;
    options.manifest = {options.product->id.toStdString(), values["--release-notes"].toStdString(),
                        values["--version"].toStdString(), values["--date"].toStdString()};
    return {};
}

} // namespace

int RunPackCommand(const QStringList &arguments, QTextStream &out, QTextStream &err)
{
    PackOptions options;
    const QString problem = Parse(arguments, options);
    if (!problem.isEmpty())
        return CliExit::UsageError(err, QStringLiteral("pack"), problem, kUsage);
    try {
        const ByteVector image = CFirmwareArchive::ReadPlainFile(QFile::encodeName(options.image).toStdString());
        // Products of variant 1 take 32-bit address records, as the upgrade loads them.
        CFirmwarePackageWriter::Write(QFile::encodeName(options.output).toStdString(), options.format,
                                      options.manifest, image, options.product->variant == 1);
    } catch (const CFirmwareException &error) {
        return CliExit::FirmwareError(err, error);
    } catch (const std::runtime_error &error) {
        err << "error: " << QString::fromStdString(error.what()) << "\n";
        err.flush();
        return CliExit::kFirmware;
    }
    out << "wrote " << options.output << "\n";
    out.flush();
    return CliExit::kOk;
}
