// Draws the options dialog's five tabs into PNG files for the user guide:
//   lichtwart-options-screenshots <output directory>
// The settings come from a throw-away store, so the pictures show a typical set-up and never the
// settings of whoever runs this.

#include "app/OptionsDialog.h"
#include "settings/LichtwartSettings.h"

#include "Screenshot.h"
#include "SettingsSandbox.h"

#include <QApplication>
#include <QSettings>
#include <QTabWidget>

#include <cstdio>

namespace {

void StoreTypicalSetUp()
{
    QSettings settings;
    settings.setValue(LichtwartSettings::InterfaceDevice, QStringLiteral("/dev/ttyUSB0"));
    settings.setValue(LichtwartSettings::TraceEnabled, true);
    settings.setValue(LichtwartSettings::TraceLevel, 1);
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <output directory>\n", argv[0]);
        return 2;
    }
    const QString outputDir = QString::fromLocal8Bit(argv[1]);
    SettingsSandbox sandbox;
    StoreTypicalSetUp();

    OptionsDialog dialog;
    dialog.show();
    auto *tabs = dialog.findChild<QTabWidget *>();
    const QStringList qstrlFiles = {"interface", "trace", "target", "behaviour", "firmware"};
    for (int i = 0; i < tabs->count(); ++i) {
        tabs->setCurrentIndex(i);
        QApplication::processEvents();
        if (!SaveScreenshot(&dialog, outputDir, "options-" + qstrlFiles.at(i) + ".png"))
            return 1;
    }
    return 0;
}
