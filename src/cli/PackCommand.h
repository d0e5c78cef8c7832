#pragma once

#include <QStringList>
#include <QTextStream>

// lichtwart-cli pack: writes a firmware package from an S-record image. Returns the exit code:
// 0 written, 2 usage error, 4 the loader would refuse the image for that product (the loader's own
// "firmware error" line) or the package cannot be written; no file is left behind then.
int RunPackCommand(const QStringList &arguments, QTextStream &out, QTextStream &err);
