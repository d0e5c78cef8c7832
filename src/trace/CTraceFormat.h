#pragma once

#include "comm/ByteVector.h"

#include <QString>
#include <QStringList>

// The texts of the trace: octets as text, the three column layouts and the cells of one row at each
// level. The GUI's trace table and the CLI's trace lines use the same texts.
class CTraceFormat
{
public:
    enum Level { Osi7 = 0, Osi2 = 1, Raw = 2 };

    // Each octet as two upper-case hexadecimal digits, separated by one blank: "68 0A 0A 68".
    static QString Octets(const ByteVector &octets);
    // The frame type text of the OSI 2 record: "Long", "Short", "Acknowledge".
    static QString FrameType(int frameType);

    // The untranslated column headers of a level; empty for any other level.
    static QStringList Headers(int level);
    // "hh:mm:ss.zzz" of the current time.
    static QString Timestamp();

    static QStringList RawRow(bool inbound, const QString &timestamp, const QString &data);
    static QStringList Osi7Row(bool inbound, const QString &timestamp, int length, const QString &fg,
                               const QString &appId, int jobNumber, int blockCount, const QString &data);
    static QStringList Osi2Row(bool inbound, const QString &timestamp, const QString &frameType,
                               int osi3AddressId, int length, bool prm, bool fcbOrAcd, bool fcvOrDfc,
                               const QString &function, int address, int checksum, const QString &data);

private:
    static QStringList Lead(bool inbound, const QString &timestamp);
};
