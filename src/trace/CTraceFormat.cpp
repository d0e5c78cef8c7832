#include "CTraceFormat.h"

#include <QTime>

QString CTraceFormat::Octets(const ByteVector &octets)
{
    QString text;
    text.reserve(static_cast<qsizetype>(octets.size()) * 3);
    for (std::size_t i = 0; i < octets.size(); ++i) {
        if (i != 0)
            text += QLatin1Char(' ');
        text += QStringLiteral("%1").arg(octets[i], 2, 16, QLatin1Char('0')).toUpper();
    }
    return text;
}

QString CTraceFormat::FrameType(int frameType)
{
    switch (frameType) {
    case 0:
        return QStringLiteral("Long");
    case 1:
        return QStringLiteral("Short");
    case 2:
        return QStringLiteral("Acknowledge");
    default:
        return QString();
    }
}

// The titles are translated by the window that shows them, under its context "MainWindow"; the
// markers let lupdate find them there. The command line prints them as they stand.
QStringList CTraceFormat::Headers(int level)
{
    switch (level) {
    case Osi7:
        return {QT_TRANSLATE_NOOP("MainWindow", "Direction"), QT_TRANSLATE_NOOP("MainWindow", "Timestamp"),
                QT_TRANSLATE_NOOP("MainWindow", "Length"), QT_TRANSLATE_NOOP("MainWindow", "Func. Group"),
                QT_TRANSLATE_NOOP("MainWindow", "Application ID"), QT_TRANSLATE_NOOP("MainWindow", "Jobnumber"),
                QT_TRANSLATE_NOOP("MainWindow", "Blockcount"), QT_TRANSLATE_NOOP("MainWindow", "Data")};
    case Osi2:
        return {QT_TRANSLATE_NOOP("MainWindow", "Direction"), QT_TRANSLATE_NOOP("MainWindow", "Timestamp"),
                QT_TRANSLATE_NOOP("MainWindow", "Frametype"), QT_TRANSLATE_NOOP("MainWindow", "OSI3 Adr. ID"),
                QT_TRANSLATE_NOOP("MainWindow", "Length"), QT_TRANSLATE_NOOP("MainWindow", "PRM"),
                QT_TRANSLATE_NOOP("MainWindow", "FCB"), QT_TRANSLATE_NOOP("MainWindow", "FCV"),
                QT_TRANSLATE_NOOP("MainWindow", "ACD"), QT_TRANSLATE_NOOP("MainWindow", "DFC"),
                QT_TRANSLATE_NOOP("MainWindow", "Function"), QT_TRANSLATE_NOOP("MainWindow", "Address"),
                QT_TRANSLATE_NOOP("MainWindow", "Checksum"), QT_TRANSLATE_NOOP("MainWindow", "Data")};
    case Raw:
        return {QT_TRANSLATE_NOOP("MainWindow", "Direction"), QT_TRANSLATE_NOOP("MainWindow", "Timestamp"),
                QT_TRANSLATE_NOOP("MainWindow", "Data")};
    default:
        return {};
    }
}

QString CTraceFormat::Timestamp()
{
    return QTime::currentTime().toString(QStringLiteral("hh:mm:ss.zzz"));
}

QStringList CTraceFormat::Lead(bool inbound, const QString &timestamp)
{
    return {inbound ? QStringLiteral("RX") : QStringLiteral("TX"), timestamp};
}

QStringList CTraceFormat::RawRow(bool inbound, const QString &timestamp, const QString &data)
{
    return Lead(inbound, timestamp) << data;
}

QStringList CTraceFormat::Osi7Row(bool inbound, const QString &timestamp, int length, const QString &fg,
                                  const QString &appId, int jobNumber, int blockCount, const QString &data)
{
    return Lead(inbound, timestamp) << QString::number(length) << fg << appId << QString::number(jobNumber)
                                    << QString::number(blockCount) << data;
}

QStringList CTraceFormat::Osi2Row(bool inbound, const QString &timestamp, const QString &frameType,
                                  int osi3AddressId, int length, bool prm, bool fcbOrAcd, bool fcvOrDfc,
                                  const QString &function, int address, int checksum, const QString &data)
{
    // A primary's telegram carries FCB and FCV in the two bits, a secondary's ACD and DFC; the
    // columns of the other pair show "-".
    const QString dash = QStringLiteral("-");
    const QString bit5 = QString::number(fcbOrAcd ? 1 : 0);
    const QString bit4 = QString::number(fcvOrDfc ? 1 : 0);
    QStringList row = Lead(inbound, timestamp);
    row << frameType << QString::number(osi3AddressId) << QString::number(length) << QString::number(prm ? 1 : 0);
    if (prm)
        row << bit5 << bit4 << dash << dash;
    else
        row << dash << dash << bit5 << bit4;
    row << function << QString::number(address) << QString::number(checksum) << data;
    return row;
}
