#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

// A line capture as the tests read it back: libpcap reads the file, tshark decodes it with the
// Lichtwart profile of the build tree.
class CaptureFile
{
public:
    struct Record
    {
        qint64 seconds = 0;      // of the pcap record header
        qint64 microseconds = 0;
        QByteArray event;        // the link type's 12-octet header
        QByteArray octets;       // the chunk behind it
        bool Sent() const { return event.size() > 8 && event.at(8) == 1; }
        bool Received() const { return event.size() > 8 && event.at(8) == 2; }
    };

    // Reads the file; false with Error() when libpcap refuses it or it is not of link type 250.
    bool Read(const QString &path);
    QString Error() const { return m_error; }
    const QList<Record> &Records() const { return m_records; }
    // All octets of one direction, in order.
    QByteArray Octets(bool sent) const;

    // tshark's decoding, one line per record: protocols, expert info, malformed mark, frame formats,
    // separated by tabs. Empty with Error() when tshark fails.
    QStringList Decode(const QString &path);

    // The FT1.2 telegram in octets is whole and sound: start, length twice, checksum, end octet.
    static bool SoundTelegram(const QByteArray &octets);

private:
    QList<Record> m_records;
    QString m_error;
};
