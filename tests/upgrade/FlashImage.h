#pragma once

#include "firmware/CFirmwareFile.h"

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

// Memory images compared byte for byte: the runs of data that strelo-sim wrote to its --image-out
// file (read record by record, without any alignment), and the blocks a firmware file hands to the
// boot loader.
namespace FlashImage {

using Runs = QList<QPair<quint32, QByteArray>>;

// The S3 data records of path, adjacent records joined into one run; empty when unreadable.
Runs Read(const QString &path);
// The blocks of a loaded firmware file.
Runs Blocks(const CFirmwareFile &file);
// The blocks of the package at path, loaded for 24-bit or 32-bit records.
Runs PackageBlocks(const QString &path, bool wideAddresses);

} // namespace FlashImage
