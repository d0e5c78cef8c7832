// Tools > Find Device... against strelo-sim: the dialog finds a head at another rate and OSI 7
// address than the stored ones, Use stores them for the next Connect, and Cancel stops the search
// within one probe.
#include "app/FindDeviceDialog.h"

#include "SettingsSandbox.h"
#include "SimProcess.h"
#include "settings/LichtwartSettings.h"

#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QtTest>

namespace {

constexpr int kFindMs = 15000;

} // namespace

class TestFindDeviceSim : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void findsTheHeadAndUseStoresIt();
    void cancelStopsWithinOneProbe();
    void aDeviceThatCannotBeOpenedIsExplained();

private:
    SettingsSandbox m_sandbox;
};

void TestFindDeviceSim::init()
{
    QSettings settings;
    settings.clear();
    // Stored: the head's OSI 2 address, but the wrong rate and OSI 7 address.
    settings.setValue(LichtwartSettings::InterfaceBaudrate, 9600);
    settings.setValue(LichtwartSettings::AddressOsi2, 7);
    settings.setValue(LichtwartSettings::AddressOsi7, 1);
}

void TestFindDeviceSim::findsTheHeadAndUseStoresIt()
{
    SimProcess sim;
    QVERIFY(sim.Start({"--baud", "19200", "--osi2", "7", "--osi7", "5"}));
    FindDeviceDialog dialog(sim.DevicePath(), FindDeviceDialog::StoredPlan());
    auto *list = dialog.findChild<QListWidget *>(QStringLiteral("listHeads"));
    auto *use = dialog.findChild<QPushButton *>(QStringLiteral("buttonUse"));
    QVERIFY(list && use);
    QVERIFY(!use->isEnabled());
    QCOMPARE(dialog.findChild<QProgressBar *>(QStringLiteral("progressBar"))->maximum(), 7 * 199);
    dialog.show();
    QTRY_COMPARE_WITH_TIMEOUT(list->count(), 1, kFindMs);
    QCOMPARE(list->item(0)->text(),
             QStringLiteral("19200 baud, OSI 2 address 7, OSI 7 address 5\nstrelo-002, hardware 2.1.0, software 1.4.2, "
                            "UID 5354524C - 0002913E - 4A7C05D2"));
    QVERIFY(use->isEnabled());
    use->click();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    const QSettings settings;
    QCOMPARE(settings.value(LichtwartSettings::InterfaceBaudrate).toInt(), 19200);
    QCOMPARE(settings.value(LichtwartSettings::AddressOsi2).toInt(), 7);
    QCOMPARE(settings.value(LichtwartSettings::AddressOsi7).toInt(), 5);
}

void TestFindDeviceSim::cancelStopsWithinOneProbe()
{
    SimProcess sim;
    QVERIFY(sim.Start({"--silent"}));
    FindDeviceDialog dialog(sim.DevicePath(), FindDeviceDialog::StoredPlan());
    auto *progress = dialog.findChild<QProgressBar *>(QStringLiteral("progressBar"));
    auto *cancel = dialog.findChild<QPushButton *>(QStringLiteral("buttonCancel"));
    dialog.show();
    QTRY_VERIFY_WITH_TIMEOUT(progress->value() >= 5, kFindMs);
    cancel->click();
    const int probesAtCancel = progress->value();
    const int linesAtCancel = sim.LineCount();
    QVERIFY(dialog.findChild<QLabel *>(QStringLiteral("labelStatus"))->text().startsWith(
        QStringLiteral("The search was cancelled.")));
    QCOMPARE(cancel->text(), QStringLiteral("Close"));
    // Many probes' time later: at most the probe already on its way reached the head.
    QTest::qWait(10 * CHeadSearch::ProbeWaitMs(9600));
    QCOMPARE(progress->value(), probesAtCancel);
    QVERIFY(sim.Matching(QRegularExpression(" link rx short C=49"), linesAtCancel, sim.LineCount()).size() <= 1);
    cancel->click();
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QVERIFY(!dialog.isVisible());
}

void TestFindDeviceSim::aDeviceThatCannotBeOpenedIsExplained()
{
    FindDeviceDialog dialog(QStringLiteral("/dev/lichtwart-no-such-port"), FindDeviceDialog::StoredPlan());
    dialog.show();
    auto *status = dialog.findChild<QLabel *>(QStringLiteral("labelStatus"));
    QTRY_VERIFY(status->text().startsWith(QStringLiteral("The device /dev/lichtwart-no-such-port could not be opened.")));
    QCOMPARE(dialog.findChild<QPushButton *>(QStringLiteral("buttonCancel"))->text(), QStringLiteral("Close"));
}

QTEST_MAIN(TestFindDeviceSim)
#include "tst_finddevice_sim.moc"
