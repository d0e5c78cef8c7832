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

QStringList CTraceFormat::Headers(int level)
{
    switch (level) {
    case Osi7:
        return {"Direction", "Timestamp", "Length", "Func. Group", "Application ID", "Jobnumber", "Blockcount", "Data"};
    case Osi2:
        return {"Direction", "Timestamp", "Frametype", "OSI3 Adr. ID", "Length", "PRM", "FCB",
                "FCV", "ACD", "DFC", "Function", "Address", "Checksum", "Data"};
    case Raw:
        return {"Direction", "Timestamp", "Data"};
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
