// Takes the screenshots of the upgrade walk-through in the README: the demo packages of `make run`
// loaded into the upgrade dialog against strelo-sim, the dialog during the upload and after it, and
// the File menu's trace saving. Not a test; run it through the build target
// lichtwart-upgrade-screenshots, which writes the pictures into docs/.
#include "ModalAnswerer.h"
#include "ModalHandler.h"
#include "Screenshot.h"
#include "SimProcess.h"
#include "app/MainWindow.h"
#include "firmware/ui/CFirmwareUpgrade.h"
#include "firmware/ui/FWUpgradeDialog.h"
#include "settings/LichtwartSettings.h"

#include <QAction>
#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

namespace {

constexpr int kWaitMs = 60000;

// Connects and waits for the head's versions, which arrive a moment after the link.
bool Connect(MainWindow &window, QAction *upgradeAction)
{
    window.findChild<QAction *>(QStringLiteral("actionConnect"))->trigger();
    if (!QTest::qWaitFor([&] { return upgradeAction->isEnabled(); }, kWaitMs)) {
        std::fprintf(stderr, "lichtwart-upgrade-tour: no link to strelo-sim\n");
        return false;
    }
    QTest::qWait(3000);
    return true;
}

// Answers the next file dialog: types the name of path into it as a user does, shows it for a
// moment to take a picture, then chooses path.
void ChooseInNextFileDialog(const QString &path, const std::function<void(QFileDialog *)> &look = {})
{
    OnNextModal<QFileDialog>(qApp, [path, look](QFileDialog *dialog) {
        ModalAnswerer::TypeFileName(dialog, path);
        QTest::qWait(300);
        if (look)
            look(dialog);
        ModalAnswerer::Choose(dialog, path);
    });
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: lichtwart-upgrade-tour OUTPUT-DIRECTORY SOURCE-DIRECTORY\n");
        return 2;
    }
    QTemporaryDir session;
    qputenv("XDG_CONFIG_HOME", session.filePath("config").toUtf8());
    QApplication app(argc, argv);
    LichtwartSettings::SetIdentity();
    const QString output = QString::fromLocal8Bit(argv[1]);
    const QString firmware = session.filePath("firmware");
    if (QProcess::execute(QString::fromLocal8Bit(argv[2]) + "/scripts/make-demo-firmware.sh",
                          {firmware, qEnvironmentVariable("LICHTWART_BIN_DIR")}) != 0)
        return 1;

    SimProcess sim;
    if (!sim.Start({}))
        return 1;
    QSettings settings;
    settings.setValue(QLatin1String(LichtwartSettings::InterfaceDevice), sim.DevicePath());
    settings.setValue(QLatin1String(LichtwartSettings::TraceEnabled), true);
    settings.setValue(QLatin1String(LichtwartSettings::TraceLevel), 0);
    settings.setValue(QLatin1String(LichtwartSettings::TraceLines), 1000);
    settings.setValue(QLatin1String(LichtwartSettings::FirmwareDirectory), firmware);
    settings.setValue(QLatin1String(LichtwartSettings::FirmwareWarnProgStart), false);
    settings.setValue(QLatin1String(LichtwartSettings::MainWindowSize), QSize(1000, 520));

    MainWindow window(false);
    window.show();
    QAction *upgradeAction = window.findChild<QAction *>(QStringLiteral("actionUpgradeFirmware"));
    if (!Connect(window, upgradeAction))
        return 1;
    upgradeAction->trigger();
    FWUpgradeDialog *dialog = window.FirmwareUpgrade()->Dialog();
    ChooseInNextFileDialog(firmware + "/strelo-002-1.5.0.fwp");
    dialog->findChild<QPushButton *>(QStringLiteral("pbLoad"))->click();
    dialog->findChild<QPushButton *>(QStringLiteral("pbProg"))->click();

    auto *progress = dialog->findChild<QProgressBar *>(QStringLiteral("pbarProg"));
    auto *status = dialog->findChild<QLabel *>(QStringLiteral("txtStatus"));
    bool saved = QTest::qWaitFor([&] { return progress->value() > progress->maximum() / 3; }, kWaitMs)
        && SaveScreenshot(dialog, output, QStringLiteral("upgrade-uploading.png"));
    saved = QTest::qWaitFor([&] { return status->text().contains(QStringLiteral("All done")); }, kWaitMs)
        && SaveScreenshot(dialog, output, QStringLiteral("upgrade-done.png")) && saved;
    dialog->findChild<QPushButton *>(QStringLiteral("pbClose"))->click();

    // Connect again: the head reports the software of the package.
    if (!Connect(window, upgradeAction))
        return 1;
    const QString trace = session.filePath("upgrade-trace.csv");
    ChooseInNextFileDialog(trace, [&](QFileDialog *files) {
        saved = SaveScreenshot(files, output, QStringLiteral("save-trace-dialog.png")) && saved;
    });
    window.findChild<QAction *>(QStringLiteral("actionSaveTrace"))->trigger();
    if (!QFileInfo::exists(trace)) {
        std::fprintf(stderr, "lichtwart-upgrade-tour: the trace was not saved to %s\n", qPrintable(trace));
        saved = false;
    }
    saved = SaveScreenshot(&window, output, QStringLiteral("upgrade-trace.png")) && saved;
    window.findChild<QAction *>(QStringLiteral("actionDisconnect"))->trigger();
    return saved ? 0 : 1;
}
