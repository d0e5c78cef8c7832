#include "PortsCommand.h"

#include "ports/SerialPortCatalog.h"

#include <QStringList>

namespace {

constexpr int kExitUsage = 2;

} // namespace

int RunPortsCommand(const QStringList &arguments, QTextStream &out, QTextStream &err)
{
    if (!arguments.isEmpty()) {
        err << "lichtwart-cli: ports takes no arguments\n";
        return kExitUsage;
    }
    const QList<SerialPortEntry> entries = SerialPortCatalog::Present();
    for (const SerialPortEntry &entry : entries)
        out << SerialPortCatalog::Line(entry) << "\n";
    if (entries.isEmpty())
        err << "no serial port is present\n";
    return 0;
}
