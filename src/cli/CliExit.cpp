#include "CliExit.h"

#include "firmware/CFirmwareException.h"

int CliExit::UsageError(QTextStream &err, const QString &command, const QString &problem, const QString &usage)
{
    err << "lichtwart-cli " << command << ": " << problem << "\n" << usage;
    err.flush();
    return kUsage;
}

int CliExit::FirmwareError(QTextStream &err, const CFirmwareException &error)
{
    err << "firmware error " << error.Code() << ": " << QString::fromStdString(error.Message()) << "\n";
    err.flush();
    return kFirmware;
}
