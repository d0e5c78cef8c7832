#include "CaptureFile.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <pcap/pcap.h>

bool CaptureFile::Read(const QString &path)
{
    m_records.clear();
    char error[PCAP_ERRBUF_SIZE] = {};
    pcap_t *file = pcap_open_offline(path.toLocal8Bit().constData(), error);
    if (file == nullptr) {
        m_error = QString::fromLocal8Bit(error);
        return false;
    }
    if (pcap_datalink(file) != 250) {
        m_error = QStringLiteral("link type %1, not 250").arg(pcap_datalink(file));
        pcap_close(file);
        return false;
    }
    pcap_pkthdr *header = nullptr;
    const u_char *data = nullptr;
    while (pcap_next_ex(file, &header, &data) == 1) {
        Record record;
        record.seconds = header->ts.tv_sec;
        record.microseconds = header->ts.tv_usec;
        const QByteArray all(reinterpret_cast<const char *>(data), static_cast<int>(header->caplen));
        record.event = all.left(12);
        record.octets = all.mid(12);
        m_records << record;
    }
    pcap_close(file);
    return true;
}

QByteArray CaptureFile::Octets(bool sent) const
{
    QByteArray octets;
    for (const Record &record : m_records) {
        if (record.Sent() == sent)
            octets += record.octets;
    }
    return octets;
}

QStringList CaptureFile::Decode(const QString &path)
{
    QProcess tshark;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), QStringLiteral(LICHTWART_WIRESHARK_CONFIG_HOME));
    tshark.setProcessEnvironment(environment);
    tshark.start(QStringLiteral("tshark"), {"-C", "Lichtwart", "-r", path, "-T", "fields", "-E", "separator=/t",
                                            "-e", "frame.protocols", "-e", "_ws.expert", "-e", "_ws.malformed",
                                            "-e", "iec60870_101.header"});
    if (!tshark.waitForFinished(60000) || tshark.exitCode() != 0) {
        m_error = QStringLiteral("tshark failed: ") + QString::fromLocal8Bit(tshark.readAllStandardError());
        return {};
    }
    return QString::fromUtf8(tshark.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

bool CaptureFile::SoundTelegram(const QByteArray &octets)
{
    const auto at = [&](int i) { return static_cast<quint8>(octets.at(i)); };
    const auto sum = [&](int from, int to) {
        quint8 s = 0;
        for (int i = from; i < to; ++i)
            s = static_cast<quint8>(s + at(i));
        return s;
    };
    if (octets.size() == 1)
        return at(0) == 0xE5;
    if (octets.size() == 5 && at(0) == 0x10)
        return at(3) == sum(1, 3) && at(4) == 0x16;
    if (octets.size() < 8 || at(0) != 0x68 || at(3) != 0x68 || at(1) != at(2))
        return false;
    const int length = at(1);
    return octets.size() == length + 6 && at(4 + length) == sum(4, 4 + length) && at(5 + length) == 0x16;
}
