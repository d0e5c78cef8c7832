// Cost of one trace line in the main window's trace table, from the controller's signal to a
// painted table: with the table at the 10000 rows of the options' upper limit against a table of
// 100 rows. Each line gets an event-loop pass of its own, the worst case for the column fitting
// that the window does once per pass. For comparison, the cost of fitting rows and columns to
// every row after each line, the way a naive table would. Prints figures; asserts nothing.
#include "app/MainWindow.h"
#include "controller/CTrafficLightController.h"
#include "settings/LichtwartSettings.h"

#include <QApplication>
#include <QSettings>
#include <QTableView>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

void EmitLine(CTrafficLightController *controller, int n)
{
    emit controller->TraceOSI2(n % 2 == 0, QStringLiteral("Short"), 0, 0, n % 2 != 0, true, n % 3 == 0,
                               n % 2 ? QStringLiteral("RQD3") : QStringLiteral("ANR2"), 1, n % 256, QString());
}

std::unique_ptr<MainWindow> FilledWindow(int lines)
{
    QSettings settings;
    settings.setValue(QLatin1String(LichtwartSettings::TraceEnabled), true);
    settings.setValue(QLatin1String(LichtwartSettings::TraceLevel), 1);
    settings.setValue(QLatin1String(LichtwartSettings::TraceLines), lines);
    auto window = std::make_unique<MainWindow>(false);
    window->resize(900, 600);
    window->show();
    for (int n = 0; n < lines; ++n)
        EmitLine(window->Controller(), n);
    QApplication::processEvents();
    return window;
}

// Median over batches of the mean time of one line, in microseconds.
double MicrosecondsPerLine(MainWindow &window, bool naive)
{
    auto *table = window.findChild<QTableView *>(QStringLiteral("listTrace"));
    const int batches = naive ? 5 : 15;
    const int perBatch = naive ? 4 : 40;
    std::vector<double> means;
    int n = 0;
    for (int b = 0; b < batches; ++b) {
        const Clock::time_point start = Clock::now();
        for (int i = 0; i < perBatch; ++i) {
            EmitLine(window.Controller(), n++);
            if (naive) {
                table->resizeRowsToContents();
                table->resizeColumnsToContents();
            }
            QApplication::processEvents();
        }
        means.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count() / perBatch);
    }
    std::sort(means.begin(), means.end());
    return means[means.size() / 2];
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir settingsDir;
    qputenv("XDG_CONFIG_HOME", settingsDir.path().toUtf8());
    QApplication app(argc, argv);
    LichtwartSettings::SetIdentity();

    std::unique_ptr<MainWindow> small = FilledWindow(100);
    const double atSmall = MicrosecondsPerLine(*small, false);
    small.reset();
    std::unique_ptr<MainWindow> full = FilledWindow(10000);
    const double atFull = MicrosecondsPerLine(*full, false);
    const double naiveAtFull = MicrosecondsPerLine(*full, true);

    std::printf("trace line, table of   100 rows: %8.1f us\n", atSmall);
    std::printf("trace line, table of 10000 rows: %8.1f us  (ratio %.2f)\n", atFull, atFull / atSmall);
    std::printf("naive fitting to every row, 10000 rows: %8.1f us per line\n", naiveAtFull);
    return 0;
}
