#pragma once

#include <QTextStream>

// `lichtwart-cli ports`: one line per serial port present (see SerialPortCatalog::Line); with no
// port present nothing goes to stdout and a note goes to stderr. Exit 0, or 2 for arguments.
int RunPortsCommand(const QStringList &arguments, QTextStream &out, QTextStream &err);
