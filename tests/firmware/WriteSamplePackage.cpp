// Writes a small firmware package for a strelo-002 (version 1.2.3, one block of 64 bytes at
// 0x1000) to the path given: the package the installed program is tried on.
#include "FirmwarePackageBuilder.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "Usage: lichtwart-sample-package FILE\n");
        return 2;
    }
    QByteArray data;
    for (int i = 0; i < 64; ++i)
        data.append(char(i));
    return FirmwarePackageBuilder::WriteProductPackage(QString::fromLocal8Bit(argv[1]), {{0x1000, data}}, false) ? 0 : 1;
}
