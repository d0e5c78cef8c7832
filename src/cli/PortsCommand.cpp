#include "PortsCommand.h"

#include "CliExit.h"
#include "ports/SerialPortCatalog.h"

#include <QStringList>

int RunPortsCommand(const QStringList &arguments, QTextStream &out, QTextStream &err)
{
    if (!arguments.isEmpty()) {
        err << "lichtwart-cli: ports takes no arguments\n";
        return CliExit::kUsage;
    }
    const QList<SerialPortEntry> entries = SerialPortCatalog::Present();
    for (const SerialPortEntry &entry : entries)
        out << SerialPortCatalog::Line(entry) << "\n";
    if (entries.isEmpty())
        err << "no serial port is present\n";
    return 0;
}
