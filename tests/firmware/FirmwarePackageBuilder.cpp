#include "FirmwarePackageBuilder.h"

#include "firmware/CArchiveWriter.h"

#include <QCryptographicHash>
#include <QFile>
#include <QtDebug>

#include <stdexcept>

namespace {

int AddressBytes(char type)
{
    switch (type) {
    case '2':
    case '8':
        return 3;
    case '3':
    case '7':
        return 4;
    default:
        return 2;
    }
}

void AppendBigEndian(QByteArray &bytes, quint64 value, int count)
{
    for (int i = count - 1; i >= 0; --i)
        bytes.append(char(value >> (8 * i)));
}

void AppendLittleEndian(QByteArray &bytes, quint32 value, int count)
{
    for (int i = 0; i < count; ++i)
        bytes.append(char(value >> (8 * i)));
}

quint32 Crc32(const QByteArray &bytes)
{
    quint32 crc = 0xFFFFFFFFu;
    for (const char c : bytes) {
        crc ^= quint8(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

// The archive writer's names of the format and the compression of each fixture format.
std::string FormatName(FirmwarePackageBuilder::Format format)
{
    using Format = FirmwarePackageBuilder::Format;
    switch (format) {
    case Format::Zip:
        return "zip";
    case Format::GzipOnly:
        return "raw";
    default:
        return "paxr"; // the restricted pax form, as plain ustar wherever it can
    }
}

std::string FilterName(FirmwarePackageBuilder::Format format)
{
    using Format = FirmwarePackageBuilder::Format;
    switch (format) {
    case Format::TarGz:
    case Format::GzipOnly:
        return "gzip";
    case Format::TarBz2:
        return "bzip2";
    case Format::TarXz:
        return "xz";
    default:
        return {};
    }
}

CArchiveWriter OpenWriter(const QString &path, FirmwarePackageBuilder::Format format)
{
    return CArchiveWriter(QFile::encodeName(path).toStdString(), FormatName(format), FilterName(format));
}

} // namespace

QByteArray FirmwarePackageBuilder::Record(char type, std::uint32_t address, const QByteArray &data)
{
    QByteArray body;
    AppendBigEndian(body, address, AddressBytes(type));
    body.append(data);
    const int count = int(body.size()) + 1;
    int sum = count;
    for (const char c : body)
        sum += quint8(c);
    body.append(char(~sum & 0xFF));
    return 'S' + QByteArray(1, type) + QByteArray::number(count, 16).rightJustified(2, '0').toUpper() +
           body.toHex().toUpper() + "\r\n";
}

QByteArray FirmwarePackageBuilder::Image(const QList<Block> &blocks, bool wideAddresses,
                                         int recordSize)
{
    QByteArray text = Record('0', 0, "lichtwart test image");
    for (const Block &block : blocks) {
        for (qsizetype offset = 0; offset < block.data.size(); offset += recordSize)
            text += Record(wideAddresses ? '3' : '2', block.address + std::uint32_t(offset),
                           block.data.mid(offset, recordSize));
    }
    return text + Record(wideAddresses ? '7' : '8', 0, {});
}

QByteArray FirmwarePackageBuilder::Md5(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex().toUpper();
}

QByteArray FirmwarePackageBuilder::ManifestXml(const Manifest &manifest)
{
    QByteArray xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<package";
    if (!manifest.packageVersion.isEmpty())
        xml += " version=\"" + manifest.packageVersion + "\"";
    xml += ">\n";
    xml += "  <product>" + manifest.product + "</product>\n";
    xml += "  <releasenotes>" + manifest.releaseNotes + "</releasenotes>\n";
    xml += "  <version>" + manifest.version + "</version>\n";
    xml += "  <date>" + manifest.date + "</date>\n";
    xml += "  <md5>" + manifest.md5 + "</md5>\n";
    return xml + "</package>\n";
}

bool FirmwarePackageBuilder::WriteArchive(const QString &path, Format format,
                                          const QList<Member> &members)
{
    try {
        CArchiveWriter writer = OpenWriter(path, format);
        for (const Member &member : members)
            writer.AddMember(member.name.toStdString(), ByteVector(member.data.cbegin(), member.data.cend()));
        writer.Close();
        return true;
    } catch (const std::runtime_error &error) {
        qWarning() << error.what();
        return false;
    }
}

bool FirmwarePackageBuilder::WritePackage(const QString &path, const QByteArray &image,
                                          const QByteArray &version, Format format)
{
    Manifest manifest;
    manifest.version = version;
    manifest.md5 = Md5(image);
    return WriteArchive(path, format,
                        {{"manifest.xml", ManifestXml(manifest)}, {"firmware.mhx", image}});
}

bool FirmwarePackageBuilder::WriteProductPackage(const QString &path, const QList<Block> &blocks,
                                                 bool wideAddresses, const QByteArray &version)
{
    Manifest manifest;
    manifest.product = wideAddresses ? "strelo-003" : "strelo-002";
    manifest.version = version;
    const QByteArray image = Image(blocks, wideAddresses);
    manifest.md5 = Md5(image);
    return WriteArchive(path, Format::Zip,
                        {{"manifest.xml", ManifestXml(manifest)}, {"firmware.mhx", image}});
}

bool FirmwarePackageBuilder::WriteFilledArchive(const QString &path, Format format,
                                                const QString &name, qint64 size, char fill,
                                                bool declareSize)
{
    try {
        CArchiveWriter writer = OpenWriter(path, format);
        if (FilterName(format) == "gzip")
            writer.SetOptions("gzip:compression-level=1"); // speed before size for large fixtures
        writer.BeginMember(name.toStdString(), declareSize ? size : -1);
        const QByteArray piece(1 << 20, fill);
        for (qint64 written = 0; written < size;) {
            const qint64 length = qMin<qint64>(piece.size(), size - written);
            writer.WriteData(reinterpret_cast<const std::uint8_t *>(piece.constData()), std::size_t(length));
            written += length;
        }
        writer.Close();
        return true;
    } catch (const std::runtime_error &error) {
        qWarning() << error.what();
        return false;
    }
}

QByteArray FirmwarePackageBuilder::TarHeader(const QByteArray &name, qint64 size, char type)
{
    QByteArray header(512, '\0');
    header.replace(0, name.size(), name);
    header.replace(100, 8, QByteArray("0000644\0", 8));
    header.replace(108, 8, QByteArray("0000000\0", 8));
    header.replace(116, 8, QByteArray("0000000\0", 8));
    if (size >= 0 && size < (qint64(1) << 33)) {
        header.replace(124, 12, QByteArray::number(size, 8).rightJustified(11, '0') + '\0');
    } else {
        QByteArray field;
        AppendBigEndian(field, quint64(size), 8);
        field.prepend(QByteArray(4, size < 0 ? char(0xFF) : '\0'));
        field[0] = char(field[0] | 0x80);
        header.replace(124, 12, field);
    }
    header.replace(136, 12, QByteArray("14000000000\0", 12));
    header[156] = type;
    header.replace(257, 8, QByteArray("ustar\0" "00", 8));
    header.replace(148, 8, QByteArray(8, ' '));
    int sum = 0;
    for (const char c : header)
        sum += quint8(c);
    header.replace(148, 8, QByteArray::number(sum, 8).rightJustified(6, '0') + QByteArray("\0 ", 2));
    return header;
}

QByteArray FirmwarePackageBuilder::StoredZipDeclaring(const QByteArray &name, const QByteArray &data,
                                                      quint32 declaredSize)
{
    const quint32 crc = Crc32(data);
    QByteArray local;
    AppendLittleEndian(local, 0x04034b50, 4);
    AppendLittleEndian(local, 20, 2); // version needed
    AppendLittleEndian(local, 0, 2);  // flags
    AppendLittleEndian(local, 0, 2);  // stored
    AppendLittleEndian(local, 0, 4);  // time and date
    AppendLittleEndian(local, crc, 4);
    AppendLittleEndian(local, quint32(data.size()), 4);
    AppendLittleEndian(local, declaredSize, 4);
    AppendLittleEndian(local, quint32(name.size()), 2);
    AppendLittleEndian(local, 0, 2);
    local += name + data;

    QByteArray central;
    AppendLittleEndian(central, 0x02014b50, 4);
    AppendLittleEndian(central, 20, 2); // made by
    AppendLittleEndian(central, 20, 2); // needed
    AppendLittleEndian(central, 0, 2);
    AppendLittleEndian(central, 0, 2);
    AppendLittleEndian(central, 0, 4);
    AppendLittleEndian(central, crc, 4);
    AppendLittleEndian(central, quint32(data.size()), 4);
    AppendLittleEndian(central, declaredSize, 4);
    AppendLittleEndian(central, quint32(name.size()), 2);
    central.append(QByteArray(16, '\0')); // extra, comment, disk, attributes, local offset 0
    central += name;

    QByteArray end;
    AppendLittleEndian(end, 0x06054b50, 4);
    AppendLittleEndian(end, 0, 4);
    AppendLittleEndian(end, 1, 2);
    AppendLittleEndian(end, 1, 2);
    AppendLittleEndian(end, quint32(central.size()), 4);
    AppendLittleEndian(end, quint32(local.size()), 4);
    AppendLittleEndian(end, 0, 2);
    return local + central + end;
}

bool FirmwarePackageBuilder::WriteFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}
