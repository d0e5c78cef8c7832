#include "SerialPortCatalog.h"

#include <QCollator>
#include <QDir>
#include <QFileInfo>
#include <QSerialPortInfo>
#include <QStringList>

#include <algorithm>

namespace {

const char *const StableLinkFolder = "/dev/serial/by-id";

QString HexId(quint16 id)
{
    return QStringLiteral("%1").arg(id, 4, 16, QLatin1Char('0'));
}

QString UsbId(const QSerialPortInfo &info)
{
    if (!info.hasVendorIdentifier() || !info.hasProductIdentifier())
        return {};
    return HexId(info.vendorIdentifier()) + QLatin1Char(':') + HexId(info.productIdentifier());
}

void AddField(QStringList &fields, const char *key, const QString &value)
{
    if (!value.isEmpty())
        fields << QLatin1String(key) + QLatin1Char('=') + value;
}

} // namespace

QList<SerialPortEntry> SerialPortCatalog::Present()
{
    QList<SerialPortEntry> entries;
    for (const QSerialPortInfo &info : QSerialPortInfo::availablePorts()) {
        SerialPortEntry entry;
        entry.path = info.systemLocation();
        entry.stablePath = StablePathOf(entry.path);
        entry.description = info.description();
        entry.manufacturer = info.manufacturer();
        entry.serialNumber = info.serialNumber();
        entry.usbId = UsbId(info);
        entries << entry;
    }
    QCollator collator;
    collator.setNumericMode(true);
    std::sort(entries.begin(), entries.end(), [&collator](const SerialPortEntry &a, const SerialPortEntry &b) {
        return collator.compare(a.path, b.path) < 0;
    });
    return entries;
}

// The by-id links point at the device through a relative path; the one that resolves to this
// device is its stable name.
QString SerialPortCatalog::StablePathOf(const QString &path)
{
    const QString device = QFileInfo(path).canonicalFilePath();
    const QDir folder {QLatin1String(StableLinkFolder)};
    for (const QFileInfo &link : folder.entryInfoList(QDir::System | QDir::Files | QDir::NoDotAndDotDot)) {
        if (!device.isEmpty() && link.canonicalFilePath() == device)
            return link.absoluteFilePath();
    }
    return {};
}

QString SerialPortCatalog::Line(const SerialPortEntry &entry)
{
    QStringList fields {entry.path};
    AddField(fields, "by-id", entry.stablePath);
    AddField(fields, "description", entry.description);
    AddField(fields, "manufacturer", entry.manufacturer);
    AddField(fields, "serial", entry.serialNumber);
    AddField(fields, "usb", entry.usbId);
    return fields.join(QLatin1Char('\t'));
}

QString SerialPortCatalog::Name(const SerialPortEntry &entry)
{
    if (entry.description.isEmpty())
        return entry.path;
    return QStringLiteral("%1 (%2)").arg(entry.path, entry.description);
}
