#include "app/OptionsDialog.h"
#include "app/SerialPortCompleter.h"
#include "ports/SerialPortCatalog.h"
#include "settings/LichtwartSettings.h"

#include "SettingsSandbox.h"

#include <QAbstractItemModel>
#include <QCheckBox>
#include <QComboBox>
#include <QCompleter>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QSpinBox>
#include <QAction>
#include <QAbstractItemView>
#include <QTabWidget>
#include <QTest>
#include <QTextDocumentFragment>
#include <QTimer>

#include <memory>

using S = LichtwartSettings;

class tst_OptionsDialog : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void emptyStoreShowsDefaults();
    void formTitleIconAndSize();
    void tabsInOrder();
    void widgetTexts();
    void toolTips();
    void listsAndRanges();
    void storedValuesAreShown();
    void unknownTraceLevelShowsOsi7AndSavesZero();
    void traceLevelRoundTrip_data();
    void traceLevelRoundTrip();
    void unknownBaudrateShowsLowestAndSavesIt();
    void unknownCyclePeriodShowsFirst();
    void firmwareBaudrateIsLookedUp();
    void sizeAppliedOnlyWhenStored();
    void osi2AddressValidation();
    void osi2AddressAboveRangeRefusedWhileTyping();
    void osi7AddressValidation();
    void traceLinesValidation();
    void eachFieldOnlyLooksAtItself();
    void radioButtonsFollowTraceGroup();
    void cancelWritesNothing();
    void okWritesEveryKeyAndTheSize();
    void okWithUntouchedDialogStoresWhatWasShown();
    void okRunsBeforeTheModalRunReturns();
    void deviceNameOffersSerialPorts();

private:
    template <typename T>
    T *Child(const char *name) const
    {
        T *child = m_dialog->findChild<T *>(QLatin1String(name));
        if (!child)
            qFatal("missing widget %s", name);
        return child;
    }
    void Open() { m_dialog = std::make_unique<OptionsDialog>(); }
    QPushButton *OkButton() const
    {
        return Child<QDialogButtonBox>("btOkCancel")->button(QDialogButtonBox::Ok);
    }
    void ClickOk() { QTest::mouseClick(OkButton(), Qt::LeftButton); }
    void ClickCancel()
    {
        QTest::mouseClick(Child<QDialogButtonBox>("btOkCancel")->button(QDialogButtonBox::Cancel),
                          Qt::LeftButton);
    }
    void Retype(const char *editName, const QString &qstrText)
    {
        auto *edit = Child<QLineEdit>(editName);
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Backspace);
        QTest::keyClicks(edit, qstrText);
    }
    // Changes every widget away from what the empty store shows.
    void ChangeEveryWidget();

    SettingsSandbox m_sandbox;
    std::unique_ptr<OptionsDialog> m_dialog;
};

void tst_OptionsDialog::init()
{
    m_dialog.reset();
    m_sandbox.Clear();
}

void tst_OptionsDialog::emptyStoreShowsDefaults()
{
    Open();
    QCOMPARE(Child<QLineEdit>("lineDevicename")->text(), QStringLiteral("COM1"));
    QCOMPARE(Child<QComboBox>("comboBoxBaudrate")->currentText(), QStringLiteral("9600"));
    QVERIFY(!Child<QGroupBox>("groupTraceLevel")->isChecked());
    QVERIFY(Child<QRadioButton>("radioTraceOSI7")->isChecked());
    QVERIFY(!Child<QRadioButton>("radioTraceOSI2")->isChecked());
    QVERIFY(!Child<QRadioButton>("radioTraceIEC870")->isChecked());
    QCOMPARE(Child<QLineEdit>("editTracelines")->text(), QStringLiteral("100"));
    QCOMPARE(Child<QLineEdit>("editOSI2Address")->text(), QStringLiteral("1"));
    QCOMPARE(Child<QLineEdit>("editOSI7Address")->text(), QStringLiteral("1"));
    QVERIFY(Child<QCheckBox>("checkBoxAssignAddress")->isChecked());
    QCOMPARE(Child<QComboBox>("comboBoxCyclePeriod")->currentText(), QStringLiteral("1000"));
    QCOMPARE(Child<QSpinBox>("spinSoftCycles")->value(), 12);
    QVERIFY(Child<QCheckBox>("checkBoxOSI2Broadcast")->isChecked());
    QVERIFY(Child<QCheckBox>("checkBoxOSI7Broadcast")->isChecked());
    QVERIFY(Child<QCheckBox>("checkBoxIgnoreActValues")->isChecked());
    QCOMPARE(Child<QComboBox>("comboBoxBaudrateFirmware")->currentText(), QStringLiteral("9600"));
    QVERIFY(Child<QCheckBox>("checkBoxWarnOldFirmware")->isChecked());
    QVERIFY(Child<QCheckBox>("checkBoxWarnBaudrate")->isChecked());
    QVERIFY(Child<QCheckBox>("checkBoxWarnProgramming")->isChecked());
    QVERIFY(Child<QCheckBox>("checkBoxWarnProduct")->isChecked());
    QVERIFY(OkButton()->isEnabled());
}

void tst_OptionsDialog::formTitleIconAndSize()
{
    Open();
    QCOMPARE(m_dialog->objectName(), QStringLiteral("OptionsDialog"));
    QCOMPARE(m_dialog->windowTitle(), QStringLiteral("Options"));
    QVERIFY(m_dialog->isModal());
    QVERIFY(!m_dialog->windowIcon().isNull());
    QCOMPARE(m_dialog->windowIcon().pixmap(24).toImage(),
             QIcon(QStringLiteral(":/24x24/settings")).pixmap(24).toImage());
    QCOMPARE(m_dialog->size(), QSize(547, 546));
    auto *buttons = Child<QDialogButtonBox>("btOkCancel");
    QCOMPARE(buttons->orientation(), Qt::Horizontal);
    QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
}

void tst_OptionsDialog::tabsInOrder()
{
    Open();
    auto *tabs = m_dialog->findChild<QTabWidget *>();
    QVERIFY(tabs);
    QCOMPARE(tabs->currentIndex(), 0);
    const QStringList qstrlNames = {"tabInterface", "tabTrace", "tabTarget", "tabBehaviour",
                                    "tabFirmware"};
    const QStringList qstrlTitles = {"Interface", "Trace", "Target", "Behaviour", "Firmware"};
    const QStringList qstrlIcons = {":/16x16/interface", ":/16x16/traceing", ":/16x16/target",
                                    ":/16x16/behaviour", ":/16x16/fwupload"};
    QCOMPARE(tabs->count(), 5);
    for (int i = 0; i < tabs->count(); ++i) {
        QCOMPARE(tabs->widget(i)->objectName(), qstrlNames.at(i));
        QCOMPARE(tabs->tabText(i), qstrlTitles.at(i));
        QVERIFY2(!tabs->tabIcon(i).isNull(), qPrintable(qstrlIcons.at(i)));
        QCOMPARE(tabs->tabIcon(i).pixmap(16).toImage(),
                 QIcon(qstrlIcons.at(i)).pixmap(16).toImage());
    }
    // Each setting lives on its tab.
    QCOMPARE(Child<QLineEdit>("lineDevicename")->parentWidget()->objectName(), "tabInterface");
    QVERIFY(Child<QGroupBox>("groupTraceLevel")->parentWidget() == tabs->widget(1));
    QVERIFY(tabs->widget(2)->isAncestorOf(Child<QSpinBox>("spinSoftCycles")));
    QVERIFY(tabs->widget(3)->isAncestorOf(Child<QCheckBox>("checkBoxIgnoreActValues")));
    QVERIFY(tabs->widget(4)->isAncestorOf(Child<QComboBox>("comboBoxBaudrateFirmware")));
}

void tst_OptionsDialog::widgetTexts()
{
    Open();
    auto text = [this](const char *name) -> QString {
        if (auto *label = m_dialog->findChild<QLabel *>(QLatin1String(name)))
            return label->text();
        if (auto *button = m_dialog->findChild<QAbstractButton *>(QLatin1String(name)))
            return button->text();
        return Child<QGroupBox>(name)->title();
    };
    QCOMPARE(text("lblDevicename"), QStringLiteral("&Device name"));
    QCOMPARE(Child<QLabel>("lblDevicename")->buddy(), Child<QLineEdit>("lineDevicename"));
    QCOMPARE(text("lblBaudrate"), QStringLiteral("&Baudrate"));
    QCOMPARE(Child<QLabel>("lblBaudrate")->buddy(), Child<QComboBox>("comboBoxBaudrate"));
    QCOMPARE(text("groupTraceLevel"), QStringLiteral("Trace level"));
    QVERIFY(Child<QGroupBox>("groupTraceLevel")->isCheckable());
    QCOMPARE(text("radioTraceOSI7"), QStringLiteral("TLS OSI 7"));
    QCOMPARE(text("radioTraceOSI2"), QStringLiteral("TLS OSI 2"));
    QCOMPARE(text("radioTraceIEC870"), QStringLiteral("IEC 870 (raw serial)"));
    QCOMPARE(text("lblTracelines"), QStringLiteral("Lines in visible trace"));
    QCOMPARE(text("lblOSI2Address"), QStringLiteral("OSI 2 Address"));
    QCOMPARE(text("lblOSI7Address"), QStringLiteral("OSI 7 (DE) Address"));
    QCOMPARE(text("checkBoxAssignAddress"), QStringLiteral("Assign address on link up"));
    QCOMPARE(text("groupFlasherConfig"), QStringLiteral("Flasher Configuration"));
    QCOMPARE(text("lblCyclePeriod"), QStringLiteral("Cycle Period"));
    QCOMPARE(text("lblCyclePeriodTime"), QStringLiteral("ms"));
    QCOMPARE(text("groupFlasherSync"), QStringLiteral("Synchronization"));
    QCOMPARE(text("lblSoftCycles"), QStringLiteral("Soft Cycles"));
    QCOMPARE(text("checkBoxOSI2Broadcast"), QStringLiteral("Use OSI2 broadcast address"));
    QCOMPARE(text("checkBoxOSI7Broadcast"), QStringLiteral("Use OSI7 broadcast address"));
    QCOMPARE(text("checkBoxIgnoreActValues"),
             QStringLiteral("Ignore actual values for defective images"));
    QCOMPARE(text("groupFirmwareSettings"), QStringLiteral("Settings"));
    QCOMPARE(text("lblBaudrateFirmware"), QStringLiteral("Baudrate for firmware upload"));
    QCOMPARE(text("groupWarningMessages"), QStringLiteral("Warning messages"));
    QCOMPARE(text("checkBoxWarnOldFirmware"),
             QStringLiteral("Firmware of device is more recent then update"));
    QCOMPARE(text("checkBoxWarnBaudrate"), QStringLiteral("Firmware upload at high baudrate"));
    QCOMPARE(text("checkBoxWarnProgramming"), QStringLiteral("Programming starts"));
    QCOMPARE(text("checkBoxWarnProduct"), QStringLiteral("Package made for another product"));
}

void tst_OptionsDialog::toolTips()
{
    Open();
    const QString qstrAssign = Child<QCheckBox>("checkBoxAssignAddress")->toolTip();
    QVERIFY(Qt::mightBeRichText(qstrAssign));
    QCOMPARE(QTextDocumentFragment::fromHtml(qstrAssign).toPlainText(),
             QStringLiteral("If enabled, the target's functional group 254 will receive receive a "
                            "configuration frame (TLS 33) to assign the physical channel to the "
                            "OSI7 (DE) address."));
    QCOMPARE(Child<QCheckBox>("checkBoxIgnoreActValues")->toolTip(),
             QStringLiteral("If enabled, any further received actual values for broken images will "
                            "not be handled. The image will remain broken until reported good "
                            "again."));
}

void tst_OptionsDialog::listsAndRanges()
{
    Open();
    auto items = [](const QComboBox *comboBox) {
        QStringList qstrlItems;
        for (int i = 0; i < comboBox->count(); ++i)
            qstrlItems << comboBox->itemText(i);
        return qstrlItems;
    };
    const QStringList qstrlRates = {"2400", "4800", "9600", "19200", "38400", "57600", "115200"};
    QCOMPARE(items(Child<QComboBox>("comboBoxBaudrate")), qstrlRates);
    QCOMPARE(items(Child<QComboBox>("comboBoxBaudrateFirmware")), qstrlRates);
    QCOMPARE(items(Child<QComboBox>("comboBoxCyclePeriod")),
             QStringList({"1000", "1200", "1400", "1600", "1800", "2000", "2200", "2400", "2600",
                          "2800", "3000"}));
    auto *spin = Child<QSpinBox>("spinSoftCycles");
    QCOMPARE(spin->minimum(), 1);
    QCOMPARE(spin->maximum(), 255);

    using Range = QPair<int, int>;
    auto validatorRange = [this](const char *name) {
        const auto *validator =
            qobject_cast<const QIntValidator *>(Child<QLineEdit>(name)->validator());
        return validator ? Range(validator->bottom(), validator->top()) : Range(-1, -1);
    };
    QCOMPARE(validatorRange("editTracelines"), Range(10, 10000));
    QCOMPARE(validatorRange("editOSI2Address"), Range(1, 199));
    QCOMPARE(validatorRange("editOSI7Address"), Range(1, 16));
}

void tst_OptionsDialog::storedValuesAreShown()
{
    QSettings settings;
    settings.setValue(S::InterfaceDevice, "/dev/ttyUSB3");
    settings.setValue(S::InterfaceBaudrate, 57600);
    settings.setValue(S::TraceEnabled, true);
    settings.setValue(S::TraceLevel, 2);
    settings.setValue(S::TraceLines, 2500);
    settings.setValue(S::AddressOsi2, 42);
    settings.setValue(S::AddressOsi7, 16);
    settings.setValue(S::AddressAssign, false);
    settings.setValue(S::FlasherCyclePeriod, 2200);
    settings.setValue(S::FlasherSoftSyncCycles, 200);
    settings.setValue(S::FlasherSyncOsi2Broadcast, false);
    settings.setValue(S::FlasherSyncOsi7Broadcast, false);
    settings.setValue(S::BehaviorIgnoreActVal, false);
    settings.setValue(S::FirmwareBaudrate, 115200);
    settings.setValue(S::FirmwareWarnOutdated, false);
    settings.setValue(S::FirmwareWarnBaudrate, false);
    settings.setValue(S::FirmwareWarnProgStart, false);
    settings.setValue(S::FirmwareWarnProduct, false);
    Open();
    QCOMPARE(Child<QLineEdit>("lineDevicename")->text(), QStringLiteral("/dev/ttyUSB3"));
    QCOMPARE(Child<QComboBox>("comboBoxBaudrate")->currentText(), QStringLiteral("57600"));
    QVERIFY(Child<QGroupBox>("groupTraceLevel")->isChecked());
    QVERIFY(Child<QRadioButton>("radioTraceIEC870")->isChecked());
    QCOMPARE(Child<QLineEdit>("editTracelines")->text(), QStringLiteral("2500"));
    QCOMPARE(Child<QLineEdit>("editOSI2Address")->text(), QStringLiteral("42"));
    QCOMPARE(Child<QLineEdit>("editOSI7Address")->text(), QStringLiteral("16"));
    QVERIFY(!Child<QCheckBox>("checkBoxAssignAddress")->isChecked());
    QCOMPARE(Child<QComboBox>("comboBoxCyclePeriod")->currentText(), QStringLiteral("2200"));
    QCOMPARE(Child<QSpinBox>("spinSoftCycles")->value(), 200);
    QVERIFY(!Child<QCheckBox>("checkBoxOSI2Broadcast")->isChecked());
    QVERIFY(!Child<QCheckBox>("checkBoxOSI7Broadcast")->isChecked());
    QVERIFY(!Child<QCheckBox>("checkBoxIgnoreActValues")->isChecked());
    QCOMPARE(Child<QComboBox>("comboBoxBaudrateFirmware")->currentText(), QStringLiteral("115200"));
    QVERIFY(!Child<QCheckBox>("checkBoxWarnOldFirmware")->isChecked());
    QVERIFY(!Child<QCheckBox>("checkBoxWarnBaudrate")->isChecked());
    QVERIFY(!Child<QCheckBox>("checkBoxWarnProgramming")->isChecked());
    QVERIFY(!Child<QCheckBox>("checkBoxWarnProduct")->isChecked());
}

void tst_OptionsDialog::unknownTraceLevelShowsOsi7AndSavesZero()
{
    QSettings settings;
    settings.setValue(S::TraceLevel, 7);
    Open();
    QVERIFY(Child<QRadioButton>("radioTraceOSI7")->isChecked());
    ClickOk();
    QCOMPARE(m_dialog->result(), int(QDialog::Accepted));
    QCOMPARE(settings.value(S::TraceLevel).toInt(), 0);
}

void tst_OptionsDialog::traceLevelRoundTrip_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("radio");
    QTest::newRow("osi7") << 0 << "radioTraceOSI7";
    QTest::newRow("osi2") << 1 << "radioTraceOSI2";
    QTest::newRow("iec870") << 2 << "radioTraceIEC870";
    QTest::newRow("negative") << -1 << "radioTraceOSI7";
}

void tst_OptionsDialog::traceLevelRoundTrip()
{
    QFETCH(int, level);
    QFETCH(QString, radio);
    QSettings settings;
    settings.setValue(S::TraceLevel, level);
    Open();
    QVERIFY(Child<QRadioButton>(qPrintable(radio))->isChecked());
    ClickOk();
    QCOMPARE(settings.value(S::TraceLevel).toInt(), std::max(level, 0));
}

void tst_OptionsDialog::unknownBaudrateShowsLowestAndSavesIt()
{
    QSettings settings;
    settings.setValue(S::InterfaceBaudrate, 1200);
    Open();
    QCOMPARE(Child<QComboBox>("comboBoxBaudrate")->currentIndex(), 0);
    QCOMPARE(Child<QComboBox>("comboBoxBaudrate")->currentText(), QStringLiteral("2400"));
    ClickOk();
    QCOMPARE(settings.value(S::InterfaceBaudrate).toInt(), 2400);
}

void tst_OptionsDialog::unknownCyclePeriodShowsFirst()
{
    QSettings settings;
    settings.setValue(S::FlasherCyclePeriod, 1100);
    Open();
    QCOMPARE(Child<QComboBox>("comboBoxCyclePeriod")->currentText(), QStringLiteral("1000"));
    ClickOk();
    QCOMPARE(settings.value(S::FlasherCyclePeriod).toInt(), 1000);
}

void tst_OptionsDialog::firmwareBaudrateIsLookedUp()
{
    QSettings settings;
    settings.setValue(S::FirmwareBaudrate, 38400);
    settings.setValue(S::InterfaceBaudrate, "fast");
    Open();
    QCOMPARE(Child<QComboBox>("comboBoxBaudrateFirmware")->currentText(), QStringLiteral("38400"));
    QCOMPARE(Child<QComboBox>("comboBoxBaudrate")->currentText(), QStringLiteral("2400"));
    Child<QComboBox>("comboBoxBaudrateFirmware")->setCurrentIndex(6);
    ClickOk();
    QCOMPARE(settings.value(S::FirmwareBaudrate).toInt(), 115200);
    QCOMPARE(settings.value(S::InterfaceBaudrate).toInt(), 2400);
}

void tst_OptionsDialog::sizeAppliedOnlyWhenStored()
{
    Open();
    QCOMPARE(m_dialog->size(), QSize(547, 546));
    m_dialog.reset();
    QSettings settings;
    settings.setValue(S::OptionsDlgSize, QSize(640, 600));
    Open();
    QCOMPARE(m_dialog->size(), QSize(640, 600));
}

void tst_OptionsDialog::osi2AddressValidation()
{
    QSettings settings;
    settings.setValue(S::AddressOsi2, 5);
    Open();
    auto *edit = Child<QLineEdit>("editOSI2Address");
    edit->clear();
    QVERIFY(!OkButton()->isEnabled());
    QTest::keyClicks(edit, "0");
    QCOMPARE(edit->text(), QStringLiteral("0"));
    QVERIFY(!OkButton()->isEnabled());
    Retype("editOSI2Address", "199");
    QCOMPARE(edit->text(), QStringLiteral("199"));
    QVERIFY(OkButton()->isEnabled());
    ClickOk();
    QCOMPARE(settings.value(S::AddressOsi2).toInt(), 199);
}

void tst_OptionsDialog::osi2AddressAboveRangeRefusedWhileTyping()
{
    Open();
    auto *edit = Child<QLineEdit>("editOSI2Address");
    edit->clear();
    QTest::keyClicks(edit, "200");
    QCOMPARE(edit->text(), QStringLiteral("20"));
    QVERIFY(OkButton()->isEnabled());
    edit->clear();
    QTest::keyClicks(edit, "1999");
    QCOMPARE(edit->text(), QStringLiteral("199"));
    edit->clear();
    QTest::keyClicks(edit, "250");
    QCOMPARE(edit->text(), QStringLiteral("25"));
    // Pasted text passes the same check.
    edit->clear();
    edit->insert(QStringLiteral("300"));
    QCOMPARE(edit->text(), QString());
    QVERIFY(!OkButton()->isEnabled());
}

void tst_OptionsDialog::osi7AddressValidation()
{
    QSettings settings;
    Open();
    auto *edit = Child<QLineEdit>("editOSI7Address");
    edit->clear();
    QVERIFY(!OkButton()->isEnabled());
    QTest::keyClicks(edit, "17");
    QCOMPARE(edit->text(), QStringLiteral("1"));
    QVERIFY(OkButton()->isEnabled());
    Retype("editOSI7Address", "0");
    QVERIFY(!OkButton()->isEnabled());
    Retype("editOSI7Address", "16");
    QVERIFY(OkButton()->isEnabled());
    ClickOk();
    QCOMPARE(settings.value(S::AddressOsi7).toInt(), 16);
}

void tst_OptionsDialog::traceLinesValidation()
{
    QSettings settings;
    Open();
    auto *edit = Child<QLineEdit>("editTracelines");
    Retype("editTracelines", "5");
    QVERIFY(!OkButton()->isEnabled());
    QTest::keyClicks(edit, "0");
    QCOMPARE(edit->text(), QStringLiteral("50"));
    QVERIFY(OkButton()->isEnabled());
    Retype("editTracelines", "100000");
    QCOMPARE(edit->text(), QStringLiteral("10000"));
    QVERIFY(OkButton()->isEnabled());
    Retype("editTracelines", "20000");
    QCOMPARE(edit->text(), QStringLiteral("2000"));
    Retype("editTracelines", "10");
    QVERIFY(OkButton()->isEnabled());
    ClickOk();
    QCOMPARE(settings.value(S::TraceLines).toInt(), 10);
}

// Each text-changed slot judges only its own field: a valid edit re-enables OK even while another
// field still holds an intermediate text.
void tst_OptionsDialog::eachFieldOnlyLooksAtItself()
{
    Open();
    Retype("editTracelines", "5");
    QVERIFY(!OkButton()->isEnabled());
    Retype("editOSI2Address", "7");
    QVERIFY(OkButton()->isEnabled());
    Child<QLineEdit>("editOSI7Address")->clear();
    QVERIFY(!OkButton()->isEnabled());
    Retype("editTracelines", "500");
    QVERIFY(OkButton()->isEnabled());
}

void tst_OptionsDialog::radioButtonsFollowTraceGroup()
{
    Open();
    auto *group = Child<QGroupBox>("groupTraceLevel");
    const QList<QRadioButton *> radios = {Child<QRadioButton>("radioTraceOSI7"),
                                          Child<QRadioButton>("radioTraceOSI2"),
                                          Child<QRadioButton>("radioTraceIEC870")};
    for (QRadioButton *radio : radios)
        QVERIFY(!radio->isEnabled());
    group->setChecked(true);
    for (QRadioButton *radio : radios)
        QVERIFY(radio->isEnabled());
    group->setChecked(false);
    for (QRadioButton *radio : radios)
        QVERIFY(!radio->isEnabled());
}

void tst_OptionsDialog::ChangeEveryWidget()
{
    Retype("lineDevicename", "/dev/ttyACM0");
    Child<QComboBox>("comboBoxBaudrate")->setCurrentIndex(5);
    Child<QGroupBox>("groupTraceLevel")->setChecked(true);
    Child<QRadioButton>("radioTraceOSI2")->setChecked(true);
    Retype("editTracelines", "777");
    Retype("editOSI2Address", "123");
    Retype("editOSI7Address", "9");
    Child<QCheckBox>("checkBoxAssignAddress")->setChecked(false);
    Child<QComboBox>("comboBoxCyclePeriod")->setCurrentIndex(10);
    Child<QSpinBox>("spinSoftCycles")->setValue(255);
    Child<QCheckBox>("checkBoxOSI2Broadcast")->setChecked(false);
    Child<QCheckBox>("checkBoxOSI7Broadcast")->setChecked(false);
    Child<QCheckBox>("checkBoxIgnoreActValues")->setChecked(false);
    Child<QComboBox>("comboBoxBaudrateFirmware")->setCurrentIndex(1);
    Child<QCheckBox>("checkBoxWarnOldFirmware")->setChecked(false);
    Child<QCheckBox>("checkBoxWarnBaudrate")->setChecked(false);
    Child<QCheckBox>("checkBoxWarnProgramming")->setChecked(false);
    Child<QCheckBox>("checkBoxWarnProduct")->setChecked(false);
    m_dialog->resize(700, 650);
}

void tst_OptionsDialog::cancelWritesNothing()
{
    // A store holding some keys (odd values included) and lacking the others.
    {
        QSettings settings;
        settings.setValue(S::InterfaceDevice, "COM3");
        settings.setValue(S::InterfaceBaudrate, 1200);
        settings.setValue(S::TraceLevel, 7);
        settings.setValue(S::FlasherCyclePeriod, 1100);
        settings.setValue(S::FlasherSoftSyncCycles, 256);
        settings.setValue(QStringLiteral("mainwindow/size"), QSize(800, 600));
    }
    auto snapshot = [] {
        QSettings settings;
        QVariantMap values;
        for (const QString &qstrKey : settings.allKeys())
            values.insert(qstrKey, settings.value(qstrKey));
        return values;
    };
    const QVariantMap before = snapshot();
    Open();
    ChangeEveryWidget();
    ClickCancel();
    QCOMPARE(m_dialog->result(), int(QDialog::Rejected));
    m_dialog.reset();
    QCOMPARE(snapshot(), before);
    QVERIFY(!QSettings().contains(S::OptionsDlgSize));
}

void tst_OptionsDialog::okWritesEveryKeyAndTheSize()
{
    Open();
    ChangeEveryWidget();
    ClickOk();
    m_dialog.reset();
    QSettings settings;
    settings.sync();
    QCOMPARE(settings.value(S::InterfaceDevice).toString(), QStringLiteral("/dev/ttyACM0"));
    QCOMPARE(settings.value(S::InterfaceBaudrate).toInt(), 57600);
    QCOMPARE(settings.value(S::TraceEnabled).toBool(), true);
    QCOMPARE(settings.value(S::TraceLevel).toInt(), 1);
    QCOMPARE(settings.value(S::TraceLines).toInt(), 777);
    QCOMPARE(settings.value(S::AddressOsi2).toInt(), 123);
    QCOMPARE(settings.value(S::AddressOsi7).toInt(), 9);
    QCOMPARE(settings.value(S::AddressAssign).toBool(), false);
    QCOMPARE(settings.value(S::FlasherCyclePeriod).toInt(), 3000);
    QCOMPARE(settings.value(S::FlasherSoftSyncCycles).toInt(), 255);
    QCOMPARE(settings.value(S::FlasherSyncOsi2Broadcast).toBool(), false);
    QCOMPARE(settings.value(S::FlasherSyncOsi7Broadcast).toBool(), false);
    QCOMPARE(settings.value(S::BehaviorIgnoreActVal).toBool(), false);
    QCOMPARE(settings.value(S::FirmwareBaudrate).toInt(), 4800);
    QCOMPARE(settings.value(S::FirmwareWarnOutdated).toBool(), false);
    QCOMPARE(settings.value(S::FirmwareWarnBaudrate).toBool(), false);
    QCOMPARE(settings.value(S::FirmwareWarnProgStart).toBool(), false);
    QCOMPARE(settings.value(S::FirmwareWarnProduct).toBool(), false);
    QCOMPARE(settings.value(S::OptionsDlgSize).toSize(), QSize(700, 650));
    // Only the dialog's own keys: the window geometry and the firmware directory are not its.
    QCOMPARE(settings.allKeys().size(), 19);
}

void tst_OptionsDialog::okWithUntouchedDialogStoresWhatWasShown()
{
    Open();
    ClickOk();
    QSettings settings;
    for (const LichtwartSettings::Entry &entry : LichtwartSettings::Table()) {
        const QString qstrKey = QLatin1String(entry.key);
        if (qstrKey.startsWith("mainwindow/") || qstrKey == QLatin1String(S::FirmwareDirectory))
            QVERIFY2(!settings.contains(qstrKey), entry.key);
        else if (qstrKey == QLatin1String(S::OptionsDlgSize))
            QCOMPARE(settings.value(qstrKey).toSize(), QSize(547, 546));
        else
            QVERIFY2(settings.value(qstrKey).toString() == entry.defaultValue.toString(), entry.key);
    }
}

void tst_OptionsDialog::okRunsBeforeTheModalRunReturns()
{
    Open();
    Retype("editOSI2Address", "77");
    QTimer::singleShot(0, this, [this] { ClickOk(); });
    QCOMPARE(m_dialog->exec(), int(QDialog::Accepted));
    QCOMPARE(QSettings().value(S::AddressOsi2).toInt(), 77);
}

void tst_OptionsDialog::deviceNameOffersSerialPorts()
{
    Open();
    auto *edit = Child<QLineEdit>("lineDevicename");
    auto *completer = qobject_cast<SerialPortCompleter *>(edit->completer());
    QVERIFY(completer);
    // Each port present by its path (and its stable by-id path), its description beside it.
    QStringList expected;
    for (const SerialPortEntry &entry : SerialPortCatalog::Present()) {
        expected << entry.path + QLatin1Char('|') + entry.description;
        if (!entry.stablePath.isEmpty())
            expected << entry.stablePath + QLatin1Char('|') + entry.description;
    }
    const QAbstractItemModel *model = completer->model();
    QCOMPARE(model->columnCount(), 2);
    QStringList offered;
    for (int row = 0; row < model->rowCount(); ++row) {
        offered << model->index(row, SerialPortCompleter::NameColumn).data().toString() + QLatin1Char('|')
                       + model->index(row, SerialPortCompleter::DescriptionColumn).data().toString();
    }
    QCOMPARE(offered, expected);
    QCOMPARE(completer->completionColumn(), int(SerialPortCompleter::NameColumn));
    // The arrow at the field's end shows the whole list, whatever the field holds.
    auto *showAll = edit->findChild<QAction *>(QStringLiteral("actionShowSerialPorts"));
    QVERIFY(showAll);
    showAll->trigger();
    QCOMPARE(completer->completionPrefix(), QString());
    QCOMPARE(completer->completionCount(), model->rowCount());
    completer->popup()->hide();
    // Free text stays possible.
    Retype("lineDevicename", "COM7");
    ClickOk();
    QCOMPARE(QSettings().value(S::InterfaceDevice).toString(), QStringLiteral("COM7"));
}

QTEST_MAIN(tst_OptionsDialog)
#include "tst_optionsdialog.moc"
