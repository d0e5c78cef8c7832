#include "SerialPortLister.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace {

std::pair<QString, QString> SplitTrailingNumber(const QString &qstrName)
{
    qsizetype nDigitsFrom = qstrName.size();
    while (nDigitsFrom > 0 && qstrName.at(nDigitsFrom - 1).isDigit())
        --nDigitsFrom;
    return {qstrName.left(nDigitsFrom), qstrName.mid(nDigitsFrom)};
}

// ttyS2 before ttyS10: names that differ only in their trailing number sort by its value.
bool NaturalLess(const QString &qstrLeft, const QString &qstrRight)
{
    const auto [qstrLeftStem, qstrLeftNumber] = SplitTrailingNumber(qstrLeft);
    const auto [qstrRightStem, qstrRightNumber] = SplitTrailingNumber(qstrRight);
    if (qstrLeftStem != qstrRightStem)
        return qstrLeftStem < qstrRightStem;
    if (qstrLeftNumber.size() != qstrRightNumber.size())
        return qstrLeftNumber.size() < qstrRightNumber.size();
    return qstrLeftNumber < qstrRightNumber;
}

// Device nodes are "system" entries; a fake tree in a test holds plain files instead.
constexpr QDir::Filters DeviceEntries = QDir::System | QDir::Files | QDir::NoDotAndDotDot;

} // namespace

SerialPortLister::SerialPortLister(const QString &qstrDeviceRoot)
    : m_qstrDeviceRoot(qstrDeviceRoot)
{
}

QStringList SerialPortLister::Ports() const
{
    QStringList qstrlPorts = StableLinks();
    for (const char *pattern : {"ttyUSB*", "ttyACM*", "ttyS*"})
        qstrlPorts += ShortNames(QLatin1String(pattern));
    return qstrlPorts;
}

// A link whose adapter was unplugged dangles until the system removes it; it is not offered.
QStringList SerialPortLister::StableLinks() const
{
    const QDir byId(m_qstrDeviceRoot + QStringLiteral("/serial/by-id"));
    QStringList qstrlLinks;
    for (const QFileInfo &link : byId.entryInfoList(DeviceEntries)) {
        if (link.exists())
            qstrlLinks << link.absoluteFilePath();
    }
    std::sort(qstrlLinks.begin(), qstrlLinks.end(), NaturalLess);
    return qstrlLinks;
}

QStringList SerialPortLister::ShortNames(const QString &qstrPattern) const
{
    QStringList qstrlNames = QDir(m_qstrDeviceRoot).entryList({qstrPattern}, DeviceEntries);
    std::sort(qstrlNames.begin(), qstrlNames.end(), NaturalLess);
    return qstrlNames;
}
