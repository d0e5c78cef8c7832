#include "controller/FlasherSyncDialog.h"
#include "controller/SetOSI2AddressDialog.h"

#include <QDialogButtonBox>
#include <QFrame>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>
#include <QTimer>

namespace {

template <typename T>
T *Child(const QWidget *parent, const char *name)
{
    T *child = parent->findChild<T *>(QLatin1String(name));
    if (!child)
        qFatal("missing widget %s", name);
    return child;
}

QImage IconImage(const QIcon &icon, int nSize)
{
    return icon.pixmap(nSize).toImage();
}

QImage ResourceImage(const char *path)
{
    return QPixmap(QLatin1String(path)).toImage();
}

} // namespace

class tst_MaintenanceDialogs : public QObject
{
    Q_OBJECT

private slots:
    void flasherDialogForm();
    void flasherDialogCancelRejects();
    void flasherDialogButtonsFollowEnable();
    void addressDialogForm();
    void addressSpinBoxStaysWithin1To199();
    void addressDialogOkAcceptsCancelRejects();
};

void tst_MaintenanceDialogs::flasherDialogForm()
{
    FlasherSyncDialog dialog;
    QCOMPARE(dialog.objectName(), QStringLiteral("FlasherSyncDialog"));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Flasher Synchronization"));
    QVERIFY(!dialog.windowIcon().isNull());
    QCOMPARE(IconImage(dialog.windowIcon(), 24), IconImage(QIcon(":/24x24/fsync"), 24));
    const QPixmap pixmap = Child<QLabel>(&dialog, "lblFlasherSyncIcon")->pixmap();
    QVERIFY(!pixmap.isNull());
    QCOMPARE(pixmap.toImage(), ResourceImage(":/32x32/fsync"));
    QCOMPARE(Child<QLabel>(&dialog, "lblFlasherSyncText")->text(),
             QStringLiteral("To start a new flasher synchronization cycle use one of the buttons "
                            "below."));
    QCOMPARE(Child<QPushButton>(&dialog, "pbSoftSync")->text(), QStringLiteral("Soft Sync"));
    QCOMPARE(Child<QPushButton>(&dialog, "pbHardSync")->text(), QStringLiteral("Hard Sync"));
    QCOMPARE(Child<QPushButton>(&dialog, "pbCancel")->text(), QStringLiteral("Cancel"));
    QCOMPARE(dialog.SoftSyncButton(), Child<QPushButton>(&dialog, "pbSoftSync"));
    QCOMPARE(dialog.HardSyncButton(), Child<QPushButton>(&dialog, "pbHardSync"));
}

void tst_MaintenanceDialogs::flasherDialogCancelRejects()
{
    FlasherSyncDialog dialog;
    QTimer::singleShot(0, &dialog, [&dialog] {
        QTest::mouseClick(Child<QPushButton>(&dialog, "pbCancel"), Qt::LeftButton);
    });
    QCOMPARE(dialog.exec(), int(QDialog::Rejected));
}

void tst_MaintenanceDialogs::flasherDialogButtonsFollowEnable()
{
    FlasherSyncDialog dialog;
    QVERIFY(dialog.SoftSyncButton()->isEnabled());
    QVERIFY(dialog.HardSyncButton()->isEnabled());
    dialog.EnableSyncButtons(false);
    QVERIFY(!dialog.SoftSyncButton()->isEnabled());
    QVERIFY(!dialog.HardSyncButton()->isEnabled());
    QVERIFY(Child<QPushButton>(&dialog, "pbCancel")->isEnabled());
    dialog.EnableSyncButtons(true);
    QVERIFY(dialog.SoftSyncButton()->isEnabled());
    QVERIFY(dialog.HardSyncButton()->isEnabled());
}

void tst_MaintenanceDialogs::addressDialogForm()
{
    SetOSI2AddressDialog dialog;
    QCOMPARE(dialog.objectName(), QStringLiteral("SetOSI2AddressDialog"));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Set OSI 2 Address"));
    QCOMPARE(IconImage(dialog.windowIcon(), 24), IconImage(QIcon(":/24x24/osi2addr"), 24));
    const QPixmap pixmap = Child<QLabel>(&dialog, "label_3")->pixmap();
    QVERIFY(!pixmap.isNull());
    QCOMPARE(pixmap.toImage(), ResourceImage(":/32x32/dlg-warning"));
    auto *warning = Child<QLabel>(&dialog, "lblOSI2Warning");
    QCOMPARE(warning->text(),
             QStringLiteral("This will change the OSI 2 address of the Strelo and\n"
                            "reset it. The Lichtwart will disconnect and then\n"
                            "be reconfigured to use the new OSI 2 address."));
    QVERIFY(!warning->wordWrap());
    auto *line = Child<QFrame>(&dialog, "line");
    QCOMPARE(line->frameShape(), QFrame::HLine);
    QCOMPARE(Child<QLabel>(&dialog, "lblOSI2SetAddress")->text(), QStringLiteral("New OSI 2 Address"));
    QCOMPARE(Child<QDialogButtonBox>(&dialog, "buttonBox")->standardButtons(),
             QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
}

void tst_MaintenanceDialogs::addressSpinBoxStaysWithin1To199()
{
    SetOSI2AddressDialog dialog;
    auto *spin = Child<QSpinBox>(&dialog, "spinOSI2Address");
    QCOMPARE(spin->minimum(), 1);
    QCOMPARE(spin->maximum(), 199);
    dialog.SetAddress(0);
    QCOMPARE(dialog.Address(), 1);
    QTest::keyClick(spin, Qt::Key_Down);
    QCOMPARE(dialog.Address(), 1);
    dialog.SetAddress(250);
    QCOMPARE(dialog.Address(), 199);
    QTest::keyClick(spin, Qt::Key_Up);
    QCOMPARE(dialog.Address(), 199);
    dialog.SetAddress(42);
    QCOMPARE(dialog.Address(), 42);
    QCOMPARE(spin->value(), 42);
}

void tst_MaintenanceDialogs::addressDialogOkAcceptsCancelRejects()
{
    for (const auto button : {QDialogButtonBox::Ok, QDialogButtonBox::Cancel}) {
        SetOSI2AddressDialog dialog;
        QTimer::singleShot(0, &dialog, [&dialog, button] {
            QTest::mouseClick(Child<QDialogButtonBox>(&dialog, "buttonBox")->button(button),
                              Qt::LeftButton);
        });
        const int nExpected = button == QDialogButtonBox::Ok ? QDialog::Accepted : QDialog::Rejected;
        QCOMPARE(dialog.exec(), nExpected);
    }
}

QTEST_MAIN(tst_MaintenanceDialogs)
#include "tst_maintenancedialogs.moc"
