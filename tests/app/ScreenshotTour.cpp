// Takes the screenshots of the documentation: the main window connected to the simulated head
// with the trace at the OSI 2 level, the remote control, the about box, the options dialog and the
// firmware dialog. Not a test; run it through the build target lichtwart-screenshots, which writes
// the pictures into docs/, or lichtwart-screenshots-de, which takes them in German ("-de" names).
#include "Screenshot.h"
#include "SimProcess.h"
#include "app/AboutDialog.h"
#include "app/CStartup.h"
#include "app/CTranslation.h"
#include "app/OptionsDialog.h"
#include "firmware/ui/CFirmwareUpgrade.h"
#include "firmware/ui/FWUpgradeDialog.h"
#include "app/MainWindow.h"
#include "controller/CTrafficLightController.h"
#include "settings/LichtwartSettings.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QStatusBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

namespace {

constexpr int kWaitMs = 10000;

QString StatusText(MainWindow &window, int position)
{
    QList<QLabel *> labels = window.statusBar()->findChildren<QLabel *>(QString(), Qt::FindDirectChildrenOnly);
    std::sort(labels.begin(), labels.end(), [](QLabel *a, QLabel *b) { return a->x() < b->x(); });
    return labels.value(position) ? labels.value(position)->text() : QString();
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: lichtwart-screenshot-tour OUTPUT-DIRECTORY [STYLE-SHEET-DIRECTORY]\n"
                             "       (with LICHTWART_BIN_DIR set to the folder of strelo-sim)\n");
        return 2;
    }
    QTemporaryDir settingsDir;
    qputenv("XDG_CONFIG_HOME", settingsDir.path().toUtf8());
    QApplication app(argc, argv);
    LichtwartSettings::SetIdentity();
    // Under a locale with a translation the pictures are taken in that language, named "-de" etc.
    const QString language = CTranslation::Install(app).left(2);
    const QString suffix = language.isEmpty() ? QString() : QLatin1Char('-') + language;
    const auto name = [&suffix](const char *base) { return QLatin1String(base) + suffix + QLatin1String(".png"); };
    const QString output = QString::fromLocal8Bit(argv[1]);
    if (argc > 2)
        CStartup::ApplyStyleSheet(app, QString::fromLocal8Bit(argv[2]));

    SimProcess sim;
    if (!sim.Start({"--hardware", "3.1.0", "--software", "1.4.2"})) {
        std::fprintf(stderr, "lichtwart-screenshots: strelo-sim did not start\n");
        return 1;
    }
    QSettings settings;
    settings.setValue(QLatin1String(LichtwartSettings::InterfaceDevice), sim.DevicePath());
    settings.setValue(QLatin1String(LichtwartSettings::TraceEnabled), true);
    settings.setValue(QLatin1String(LichtwartSettings::TraceLevel), 1);
    settings.setValue(QLatin1String(LichtwartSettings::TraceLines), 1000);
    settings.setValue(QLatin1String(LichtwartSettings::MainWindowSize), QSize(1280, 540));

    MainWindow window(false);
    window.show();
    window.findChild<QAction *>(QStringLiteral("actionConnect"))->trigger();
    if (!QTest::qWaitFor([&] { return !StatusText(window, 0).isEmpty() && !StatusText(window, 1).isEmpty(); },
                         kWaitMs)) {
        std::fprintf(stderr, "lichtwart-screenshots: the head was not identified\n");
        return 1;
    }

    window.findChild<QAction *>(QStringLiteral("actionStreloVisual"))->trigger();
    StreloVisualDialog *remote = window.Controller()->RemoteControl();
    QTest::qWait(300);
    QTest::mouseClick(remote->findChild<QPushButton *>(QStringLiteral("pbRED")), Qt::LeftButton);
    QTest::qWait(1200);
    QTest::mouseClick(remote->findChild<QPushButton *>(QStringLiteral("pbRefresh")), Qt::LeftButton);
    QTest::qWait(1500);

    bool saved = SaveScreenshot(&window, output, name("screenshot-main"));
    saved = SaveScreenshot(remote, output, name("screenshot-remote-control")) && saved;

    AboutDialog about(&window);
    about.SetVersion(QStringLiteral("Version 1.22.2"));
    about.show();
    QTest::qWait(200);
    saved = SaveScreenshot(&about, output, name("screenshot-about")) && saved;
    about.hide();

    OptionsDialog options(&window);
    options.findChild<QTabWidget *>()->setCurrentIndex(2); // the target: addresses and flasher
    options.show();
    QTest::qWait(200);
    saved = SaveScreenshot(&options, output, name("screenshot-options")) && saved;
    options.hide();

    window.findChild<QAction *>(QStringLiteral("actionUpgradeFirmware"))->trigger();
    FWUpgradeDialog *firmware = window.FirmwareUpgrade()->Dialog();
    QTest::qWait(300);
    saved = SaveScreenshot(firmware, output, name("screenshot-firmware")) && saved;
    firmware->hide();

    window.findChild<QAction *>(QStringLiteral("actionDisconnect"))->trigger();
    return saved ? 0 : 1;
}
