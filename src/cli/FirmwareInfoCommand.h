#pragma once

#include <QStringList>
#include <QTextStream>

// lichtwart-cli firmware-info FILE [--allow-raw-hex] [--wide]
//
// Loads FILE exactly as the firmware upgrade would (--wide: 32-bit address records, as for a
// product of variant 1) and prints version, date, fingerprint, block count, total size and one
// line per block. arguments are the words after "firmware-info". Returns the exit code: 0 done,
// 2 usage error, 4 firmware file error ("firmware error <code>: <message>" on err).
int RunFirmwareInfoCommand(const QStringList &arguments, QTextStream &out, QTextStream &err);
