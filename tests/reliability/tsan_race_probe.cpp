// tsan_race_probe MODE: races on purpose (see RaceProbe.h) and exits with 0, or with the thread
// sanitizer's exit code when it reported something; 2 for an unknown mode.
#include "RaceProbe.h"

#include <QCoreApplication>
#include <QStringList>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    RaceProbe probe;
    if (arguments.size() != 2 || !probe.Run(arguments.at(1)))
        return 2;
    return 0;
}
