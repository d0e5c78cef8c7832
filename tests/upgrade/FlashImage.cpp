#include "FlashImage.h"

#include <QFile>

namespace FlashImage {

Runs Read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    Runs runs;
    for (const QByteArray &line : file.readAll().split('\n')) {
        const QByteArray record = line.trimmed();
        if (!record.startsWith("S3") || record.size() < 14)
            continue;
        const QByteArray bytes = QByteArray::fromHex(record.mid(2));
        // count, 4 address bytes, data, checksum
        const quint32 address = quint32(quint8(bytes[1])) << 24 | quint32(quint8(bytes[2])) << 16
            | quint32(quint8(bytes[3])) << 8 | quint8(bytes[4]);
        const QByteArray data = bytes.mid(5, bytes.size() - 6);
        if (!runs.isEmpty() && runs.last().first + runs.last().second.size() == address)
            runs.last().second += data;
        else
            runs.append({address, data});
    }
    return runs;
}

Runs Blocks(const CFirmwareFile &file)
{
    Runs blocks;
    for (const auto &block : file.GetBlocks())
        blocks.append({block->address, QByteArray(reinterpret_cast<const char *>(block->data.data()),
                                                  static_cast<qsizetype>(block->data.size()))});
    return blocks;
}

Runs PackageBlocks(const QString &path, bool wideAddresses)
{
    CFirmwareFile file;
    file.Load(path.toStdString(), false, wideAddresses);
    return Blocks(file);
}

} // namespace FlashImage
