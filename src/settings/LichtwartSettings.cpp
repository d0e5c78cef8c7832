#include "LichtwartSettings.h"

#include <QCoreApplication>
#include <QPoint>
#include <QSize>

#include <cstring>

const std::vector<LichtwartSettings::Entry> &LichtwartSettings::Table()
{
    static const std::vector<Entry> table = {
        {InterfaceDevice, QMetaType::QString, QStringLiteral("COM1")},
        {InterfaceBaudrate, QMetaType::Int, 9600},
        {TraceEnabled, QMetaType::Bool, false},
        {TraceLevel, QMetaType::Int, 0},
        {TraceLines, QMetaType::Int, 100},
        {AddressOsi2, QMetaType::Int, 1},
        {AddressOsi7, QMetaType::Int, 1},
        {AddressAssign, QMetaType::Bool, true},
        {FlasherCyclePeriod, QMetaType::Int, 1000},
        {FlasherSoftSyncCycles, QMetaType::Int, 12},
        {FlasherSyncOsi2Broadcast, QMetaType::Bool, true},
        {FlasherSyncOsi7Broadcast, QMetaType::Bool, true},
        {BehaviorIgnoreActVal, QMetaType::Bool, true},
        {FirmwareBaudrate, QMetaType::Int, 9600},
        {FirmwareWarnOutdated, QMetaType::Bool, true},
        {FirmwareWarnBaudrate, QMetaType::Bool, true},
        {FirmwareWarnProgStart, QMetaType::Bool, true},
        {FirmwareWarnProduct, QMetaType::Bool, true},
        {FirmwareDirectory, QMetaType::QString, QString()},
        {OptionsDlgSize, QMetaType::QSize, QVariant()},
        {MainWindowSize, QMetaType::QSize, QSize(400, 400)},
        {MainWindowPosition, QMetaType::QPoint, QPoint(200, 200)},
    };
    return table;
}

QVariant LichtwartSettings::Default(const char *key)
{
    for (const Entry &entry : Table()) {
        if (std::strcmp(entry.key, key) == 0)
            return entry.defaultValue;
    }
    return {};
}

QVariant LichtwartSettings::Read(const QSettings &settings, const char *key)
{
    return settings.value(QLatin1String(key), Default(key));
}

QString LichtwartSettings::ReadUploadDevice(const QSettings &settings)
{
    return settings.value(QLatin1String(InterfaceDevice)).toString();
}

int LichtwartSettings::ReadUploadBaudrateWithoutDefault(const QSettings &settings)
{
    return settings.value(QLatin1String(FirmwareBaudrate)).toInt();
}

int LichtwartSettings::ReadUploadBaudrateForWarning(const QSettings &settings)
{
    return settings.value(QLatin1String(FirmwareBaudrate), QLatin1String(FirmwareBaudrate)).toInt();
}

QList<int> LichtwartSettings::BaudRates()
{
    return {2400, 4800, 9600, 19200, 38400, 57600, 115200};
}

void LichtwartSettings::SetIdentity()
{
    QCoreApplication::setOrganizationName(QLatin1String(OrganisationName));
    QCoreApplication::setOrganizationDomain(QLatin1String(OrganisationDomain));
    QCoreApplication::setApplicationName(QLatin1String(ApplicationName));
}
