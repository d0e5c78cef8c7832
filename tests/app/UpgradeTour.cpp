// Takes the screenshots of the upgrade walk-through in the README: the demo packages of `make run`
// loaded into the upgrade dialog against strelo-sim, the dialog during the upload and after it, and
// the File menu's trace saving. Not a test; run it through the build target
// lichtwart-upgrade-screenshots, which writes the pictures into docs/.
#include "SimProcess.h"
#include "app/MainWindow.h"
#include "firmware/ui/CFirmwareUpgrade.h"
#include "firmware/ui/FWUpgradeDialog.h"
#include "settings/LichtwartSettings.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <cstdio>

namespace {

constexpr int kWaitMs = 60000;

bool Save(QWidget *widget, const QString &directory, const QString &name)
{
    const QString path = QDir(directory).filePath(name);
    const bool saved = widget->grab().save(path);
    std::printf("%s %s\n", saved ? "wrote" : "could not write", qPrintable(path));
    return saved;
}

// Answers the next file dialog: shows it for a moment, lets take a picture, then chooses path.
void ChooseInNextFileDialog(const QString &path, const std::function<void(QFileDialog *)> &look = {})
{
    auto *poll = new QTimer;
    QObject::connect(poll, &QTimer::timeout, [poll, path, look] {
        auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        if (dialog == nullptr)
            return;
        poll->stop();
        poll->deleteLater();
        dialog->selectFile(path);
        QTest::qWait(300);
        if (look)
            look(dialog);
        static_cast<QDialog *>(dialog)->accept();
    });
    poll->start(50);
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
    window.findChild<QAction *>(QStringLiteral("actionConnect"))->trigger();
    QAction *upgradeAction = window.findChild<QAction *>(QStringLiteral("actionUpgradeFirmware"));
    QTest::qWaitFor([&] { return upgradeAction->isEnabled(); }, kWaitMs);
    QTest::qWait(3000); // the versions arrive a moment after the link
    upgradeAction->trigger();
    FWUpgradeDialog *dialog = window.FirmwareUpgrade()->Dialog();
    ChooseInNextFileDialog(firmware + "/strelo-002-1.5.0.fwp");
    dialog->findChild<QPushButton *>(QStringLiteral("pbLoad"))->click();
    dialog->findChild<QPushButton *>(QStringLiteral("pbProg"))->click();

    auto *progress = dialog->findChild<QProgressBar *>(QStringLiteral("pbarProg"));
    auto *status = dialog->findChild<QLabel *>(QStringLiteral("txtStatus"));
    bool saved = QTest::qWaitFor([&] { return progress->value() > progress->maximum() / 3; }, kWaitMs)
        && Save(dialog, output, QStringLiteral("upgrade-uploading.png"));
    saved = QTest::qWaitFor([&] { return status->text().contains(QStringLiteral("All done")); }, kWaitMs)
        && Save(dialog, output, QStringLiteral("upgrade-done.png")) && saved;
    dialog->findChild<QPushButton *>(QStringLiteral("pbClose"))->click();

    // Connect again: the head reports the software of the package.
    window.findChild<QAction *>(QStringLiteral("actionConnect"))->trigger();
    QTest::qWaitFor([&] { return upgradeAction->isEnabled(); }, kWaitMs);
    QTest::qWait(3000);
    ChooseInNextFileDialog(session.filePath("upgrade-trace.csv"), [&](QFileDialog *files) {
        saved = Save(files, output, QStringLiteral("save-trace-dialog.png")) && saved;
    });
    window.findChild<QAction *>(QStringLiteral("actionSaveTrace"))->trigger();
    saved = Save(&window, output, QStringLiteral("upgrade-trace.png")) && saved;
    window.findChild<QAction *>(QStringLiteral("actionDisconnect"))->trigger();
    return saved ? 0 : 1;
}
