#pragma once

#include <QString>
#include <QStringList>

// Finds the serial ports present on this machine, as names the user can type into the device
// field: the stable /dev/serial/by-id/ links as full paths (they survive re-plugging an adapter),
// then the USB adapters (ttyUSBn, ttyACMn) and the built-in ports (ttySn) by their short names,
// which the port opens under /dev/. The device root is a parameter so tests can hand in a fake
// directory tree.
class SerialPortLister
{
public:
    explicit SerialPortLister(const QString &qstrDeviceRoot = QStringLiteral("/dev"));

    QStringList Ports() const;

private:
    QStringList StableLinks() const;
    QStringList ShortNames(const QString &qstrPattern) const;

    QString m_qstrDeviceRoot;
};
