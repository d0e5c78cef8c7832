#include "OptionsDialog.h"
#include "ui_OptionsDialog.h"

#include "CStrictIntValidator.h"
#include "SerialPortCompleter.h"
#include "settings/LichtwartSettings.h"

#include <QPushButton>

#include <algorithm>

namespace {

QStringList BaudRateTexts()
{
    QStringList texts;
    for (int rate : LichtwartSettings::BaudRates())
        texts << QString::number(rate);
    return texts;
}

constexpr int FirstCyclePeriodMs = 1000;
constexpr int LastCyclePeriodMs = 3000;
constexpr int CyclePeriodStepMs = 200;

enum TraceLevel { TraceOSI7 = 0, TraceOSI2 = 1, TraceIEC870 = 2 };

// A stored number selects the first item whose text is that number in decimal; an unknown value
// selects the first item, so a rate the list does not offer shows as the lowest one.
int IndexOfValue(const QComboBox *comboBox, const QVariant &value)
{
    return std::max(0, comboBox->findText(QString::number(value.toInt())));
}

int ItemValue(const QComboBox *comboBox)
{
    return comboBox->currentText().toInt();
}

} // namespace

OptionsDialog::OptionsDialog(QWidget *parent)
    : QDialog(parent)
    , ui(new Ui::OptionsDialog)
{
    ui->setupUi(this);
    FillLists();
    AttachValidators();
    OfferSerialPorts();
    LoadSettings();
    ConnectSignals();
    m_okButton = ui->btOkCancel->button(QDialogButtonBox::Ok);
}

OptionsDialog::~OptionsDialog()
{
    delete ui;
}

void OptionsDialog::FillLists()
{
    ui->comboBoxBaudrate->addItems(BaudRateTexts());
    ui->comboBoxBaudrateFirmware->addItems(BaudRateTexts());
    for (int nPeriod = FirstCyclePeriodMs; nPeriod <= LastCyclePeriodMs; nPeriod += CyclePeriodStepMs)
        ui->comboBoxCyclePeriod->addItem(QString::number(nPeriod));
}

void OptionsDialog::AttachValidators()
{
    ui->editTracelines->setValidator(new CStrictIntValidator(10, 10000, this));
    ui->editOSI2Address->setValidator(new CStrictIntValidator(1, 199, this));
    ui->editOSI7Address->setValidator(new CStrictIntValidator(1, 16, this));
}

// The device name stays free text ("COM1" maps to the first built-in port); the ports found on
// this machine are offered with their descriptions while typing and from the field's arrow.
void OptionsDialog::OfferSerialPorts()
{
    new SerialPortCompleter(ui->lineDevicename);
}

void OptionsDialog::LoadSettings()
{
    LoadInterface();
    LoadTrace();
    LoadTarget();
    LoadBehaviour();
    LoadFirmware();
    if (m_settings.contains(QLatin1String(LichtwartSettings::OptionsDlgSize)))
        resize(Stored(LichtwartSettings::OptionsDlgSize).toSize());
}

void OptionsDialog::LoadInterface()
{
    ui->lineDevicename->setText(Stored(LichtwartSettings::InterfaceDevice).toString());
    ui->comboBoxBaudrate->setCurrentIndex(
        IndexOfValue(ui->comboBoxBaudrate, Stored(LichtwartSettings::InterfaceBaudrate)));
}

void OptionsDialog::LoadTrace()
{
    ui->groupTraceLevel->setChecked(Stored(LichtwartSettings::TraceEnabled).toBool());
    switch (Stored(LichtwartSettings::TraceLevel).toInt()) {
    case TraceOSI2:
        ui->radioTraceOSI2->setChecked(true);
        break;
    case TraceIEC870:
        ui->radioTraceIEC870->setChecked(true);
        break;
    default:
        ui->radioTraceOSI7->setChecked(true);
        break;
    }
    ui->editTracelines->setText(QString::number(Stored(LichtwartSettings::TraceLines).toInt()));
}

void OptionsDialog::LoadTarget()
{
    ui->editOSI2Address->setText(QString::number(Stored(LichtwartSettings::AddressOsi2).toInt()));
    ui->editOSI7Address->setText(QString::number(Stored(LichtwartSettings::AddressOsi7).toInt()));
    ui->checkBoxAssignAddress->setChecked(Stored(LichtwartSettings::AddressAssign).toBool());
    ui->comboBoxCyclePeriod->setCurrentIndex(
        IndexOfValue(ui->comboBoxCyclePeriod, Stored(LichtwartSettings::FlasherCyclePeriod)));
    ui->spinSoftCycles->setValue(Stored(LichtwartSettings::FlasherSoftSyncCycles).toInt());
    ui->checkBoxOSI2Broadcast->setChecked(
        Stored(LichtwartSettings::FlasherSyncOsi2Broadcast).toBool());
    ui->checkBoxOSI7Broadcast->setChecked(
        Stored(LichtwartSettings::FlasherSyncOsi7Broadcast).toBool());
}

void OptionsDialog::LoadBehaviour()
{
    ui->checkBoxIgnoreActValues->setChecked(Stored(LichtwartSettings::BehaviorIgnoreActVal).toBool());
}

// The firmware rate is looked up in the interface list: both lists hold the same rates.
void OptionsDialog::LoadFirmware()
{
    ui->comboBoxBaudrateFirmware->setCurrentIndex(
        IndexOfValue(ui->comboBoxBaudrate, Stored(LichtwartSettings::FirmwareBaudrate)));
    ui->checkBoxWarnOldFirmware->setChecked(Stored(LichtwartSettings::FirmwareWarnOutdated).toBool());
    ui->checkBoxWarnBaudrate->setChecked(Stored(LichtwartSettings::FirmwareWarnBaudrate).toBool());
    ui->checkBoxWarnProgramming->setChecked(
        Stored(LichtwartSettings::FirmwareWarnProgStart).toBool());
    // The product check came after the three warnings the dialog was made with; its box is the
    // only way back once "Don't show this message in future" was ticked.
    ui->checkBoxWarnProduct->setChecked(Stored(LichtwartSettings::FirmwareWarnProduct).toBool());
}

void OptionsDialog::ConnectSignals()
{
    connect(ui->btOkCancel, &QDialogButtonBox::accepted, this, &OptionsDialog::savesettings);
    connect(ui->editTracelines, &QLineEdit::textChanged, this, &OptionsDialog::TraceLinesChanged);
    connect(ui->editOSI2Address, &QLineEdit::textChanged, this, &OptionsDialog::OSI2AddressChanged);
    connect(ui->editOSI7Address, &QLineEdit::textChanged, this, &OptionsDialog::OSI7AddressChanged);
}

void OptionsDialog::savesettings()
{
    SaveInterface();
    SaveTrace();
    SaveTarget();
    SaveBehaviour();
    SaveFirmware();
    Store(LichtwartSettings::OptionsDlgSize, size());
}

void OptionsDialog::SaveInterface()
{
    Store(LichtwartSettings::InterfaceDevice, ui->lineDevicename->text());
    Store(LichtwartSettings::InterfaceBaudrate, ItemValue(ui->comboBoxBaudrate));
}

void OptionsDialog::SaveTrace()
{
    int nLevel = TraceOSI7;
    if (ui->radioTraceOSI2->isChecked())
        nLevel = TraceOSI2;
    else if (ui->radioTraceIEC870->isChecked())
        nLevel = TraceIEC870;
    Store(LichtwartSettings::TraceEnabled, ui->groupTraceLevel->isChecked());
    Store(LichtwartSettings::TraceLevel, nLevel);
    Store(LichtwartSettings::TraceLines, ui->editTracelines->text().toInt());
}

void OptionsDialog::SaveTarget()
{
    Store(LichtwartSettings::AddressOsi2, ui->editOSI2Address->text().toInt());
    Store(LichtwartSettings::AddressOsi7, ui->editOSI7Address->text().toInt());
    Store(LichtwartSettings::AddressAssign, ui->checkBoxAssignAddress->isChecked());
    Store(LichtwartSettings::FlasherCyclePeriod, ItemValue(ui->comboBoxCyclePeriod));
    Store(LichtwartSettings::FlasherSoftSyncCycles, ui->spinSoftCycles->value());
    Store(LichtwartSettings::FlasherSyncOsi2Broadcast, ui->checkBoxOSI2Broadcast->isChecked());
    Store(LichtwartSettings::FlasherSyncOsi7Broadcast, ui->checkBoxOSI7Broadcast->isChecked());
}

void OptionsDialog::SaveBehaviour()
{
    Store(LichtwartSettings::BehaviorIgnoreActVal, ui->checkBoxIgnoreActValues->isChecked());
}

void OptionsDialog::SaveFirmware()
{
    Store(LichtwartSettings::FirmwareBaudrate, ItemValue(ui->comboBoxBaudrateFirmware));
    Store(LichtwartSettings::FirmwareWarnOutdated, ui->checkBoxWarnOldFirmware->isChecked());
    Store(LichtwartSettings::FirmwareWarnBaudrate, ui->checkBoxWarnBaudrate->isChecked());
    Store(LichtwartSettings::FirmwareWarnProgStart, ui->checkBoxWarnProgramming->isChecked());
    Store(LichtwartSettings::FirmwareWarnProduct, ui->checkBoxWarnProduct->isChecked());
}

void OptionsDialog::TraceLinesChanged(QString qstrText)
{
    EnableOkFor(ui->editTracelines, qstrText);
}

void OptionsDialog::OSI2AddressChanged(QString qstrText)
{
    EnableOkFor(ui->editOSI2Address, qstrText);
}

void OptionsDialog::OSI7AddressChanged(QString qstrText)
{
    EnableOkFor(ui->editOSI7Address, qstrText);
}

void OptionsDialog::EnableOkFor(const QLineEdit *edit, QString qstrText)
{
    int nPos = 0;
    m_okButton->setEnabled(edit->validator()->validate(qstrText, nPos) == QValidator::Acceptable);
}

QVariant OptionsDialog::Stored(const char *key) const
{
    return LichtwartSettings::Read(m_settings, key);
}

void OptionsDialog::Store(const char *key, const QVariant &value)
{
    m_settings.setValue(QLatin1String(key), value);
}
