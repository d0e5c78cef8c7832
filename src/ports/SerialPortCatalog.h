#pragma once

#include <QList>
#include <QString>

// One serial port present on this machine, with what the system knows of it.
struct SerialPortEntry
{
    QString path;         // /dev/ttyUSB0
    QString stablePath;   // /dev/serial/by-id/usb-..., empty when the system made none
    QString description;  // the adapter's product text
    QString manufacturer;
    QString serialNumber;
    QString usbId;        // vendor:product as four hex digits each, empty for a non-USB port
};

// The serial ports present, as the toolkit's serial-port module finds them (the same on every
// platform), with the stable /dev/serial/by-id/ link of each where the system made one. Only
// enumeration lives here; the port I/O stays with the port classes.
class SerialPortCatalog
{
public:
    // Sorted by path, ttyS2 before ttyS10.
    static QList<SerialPortEntry> Present();

    // The line of `lichtwart-cli ports`: the path, then one tab-separated key=value field for each
    // thing known (by-id, description, manufacturer, serial, usb).
    static QString Line(const SerialPortEntry &entry);
    // "path (description)", or the path alone: how a sentence names the port.
    static QString Name(const SerialPortEntry &entry);

private:
    static QString StablePathOf(const QString &path);
};
