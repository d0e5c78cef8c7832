#include "CFirmwareUpgrade.h"

#include "FWUpgradeDialog.h"
#include "firmware/CFirmwareException.h"
#include "widgets/CWarningAbortDialog.h"
#include "widgets/CWarningDialog.h"
#include "settings/LichtwartSettings.h"
#include "ui_FWUpgradeDialog.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QMessageBox>

CFirmwareUpgrade::CFirmwareUpgrade(QWidget *parent, bool allowRawHex)
    : CUpgradeProcedure(parent)
    , dialog(new FWUpgradeDialog(parent))
    , allowRawHex(allowRawHex)
{
    Ui::FWUpgradeDialog &form = dialog->Form();
    connect(form.pbLoad, SIGNAL(clicked()), this, SLOT(LoadFirmware()));
    connect(form.pbProg, SIGNAL(clicked()), this, SLOT(Program()));
    connect(form.pbRetry, SIGNAL(clicked()), this, SLOT(Retry()));
}

CFirmwareUpgrade::~CFirmwareUpgrade()
{
    // The parent widget deletes the dialog with itself; without a parent it goes with the driver.
    delete dialog.data();
}

void CFirmwareUpgrade::ShowUpgradeDialog()
{
    SetUpgradeState(IsConnected() ? UPGRADE_READY : UPGRADE_NO_DEVICE);
    dialog->show();
    CheckUploadBaudrate();
    if (IsConnected() && IsFirmwareLoaded())
        CheckDowngrade();
}

void CFirmwareUpgrade::CheckUploadBaudrate()
{
    if (!IsWarningEnabled(LichtwartSettings::FirmwareWarnBaudrate))
        return;
    const int operating = LichtwartSettings::Read(settings, LichtwartSettings::InterfaceBaudrate).toInt();
    // An absent upload rate reads as 0 here and so never warns.
    const int upload = LichtwartSettings::ReadUploadBaudrateForWarning(settings);
    if (operating < upload)
        ShowWarning(LichtwartSettings::FirmwareWarnBaudrate, kTextBaudrateWarning);
}

void CFirmwareUpgrade::LoadFirmware()
{
    if (!Product()) {
        ShowError(QCoreApplication::translate("FWUpgradeDialog", "Product detection error"),
                  QCoreApplication::translate("FWUpgradeDialog", "The connected device couldn't be determined."),
                  QCoreApplication::translate("FWUpgradeDialog", "Please restart the application and try again."));
        return;
    }
    QFileDialog fileDialog(dialog, QCoreApplication::translate("FWUpgradeDialog", "Open Firmware Upgrade Package"),
                           settings.value(QLatin1String(LichtwartSettings::FirmwareDirectory)).toString());
    fileDialog.setFileMode(QFileDialog::ExistingFile);
    fileDialog.setNameFilters(NameFilters());
    dialog->Form().pbProg->setEnabled(IsConnected() && IsFirmwareLoaded());

    if (fileDialog.exec() == QDialog::Accepted && !fileDialog.selectedFiles().isEmpty()) {
        if (!LoadSelectedFile(fileDialog.selectedFiles().first()))
            return;
        settings.setValue(QLatin1String(LichtwartSettings::FirmwareDirectory), fileDialog.directory().absolutePath());
    }
    if (IsFirmwareLoaded())
        CheckDowngrade();
}

bool CFirmwareUpgrade::LoadSelectedFile(const QString &path)
{
    try {
        LoadFirmwareFile(path, allowRawHex);
    } catch (const CFirmwareException &error) {
        ShowError(QCoreApplication::translate("FWUpgradeDialog", "Error loading firmware"),
                  QCoreApplication::translate("FWUpgradeDialog", 
                                              "The following error occured while loading the firmware package:"),
                  QString::fromStdString(error.Message()));
        dialog->Form().pbProg->setEnabled(false);
        const QString unknown = Text(kTextUnknown);
        ShowFileDetails(unknown, unknown, unknown);
        return false;
    }
    dialog->Form().pbProg->setEnabled(IsConnected());
    ShowFileDetails(QString::fromStdString(Firmware().GetVersion()), QString::fromStdString(Firmware().GetDate()),
                    QString::fromStdString(Firmware().GetMd5()));
    return true;
}

QStringList CFirmwareUpgrade::NameFilters() const
{
    QStringList filters;
    if (allowRawHex)
        filters << QCoreApplication::translate("FWUpgradeDialog", "Raw hex file (*.hex *.mhx)");
    filters << QCoreApplication::translate("FWUpgradeDialog", "Firmware upgrade package (*.fwp)")
            << QCoreApplication::translate("FWUpgradeDialog", "Any (*.*)");
    return filters;
}

void CFirmwareUpgrade::ShowFileDetails(const QString &version, const QString &date, const QString &md5)
{
    Ui::FWUpgradeDialog &form = dialog->Form();
    form.txtFileVersion->setText(version);
    form.txtFileDate->setText(date);
    form.txtFileMD5->setText(md5);
}

void CFirmwareUpgrade::ShowError(const QString &title, const QString &text, const QString &details)
{
    QMessageBox box(QMessageBox::Critical, title, text, QMessageBox::Ok, dialog);
    box.setInformativeText(details);
    box.exec();
}

void CFirmwareUpgrade::SetStreloVersion(int nHWVMajor, int nHWVMinor, int nHWVRevision, int nSWVMajor,
                                        int nSWVMinor, int nSWVRelease)
{
    ShowDeviceVersions(QStringLiteral("%1.%2.%3").arg(nSWVMajor).arg(nSWVMinor).arg(nSWVRelease),
                       QStringLiteral("%1.%2.%3").arg(nHWVMajor).arg(nHWVMinor).arg(nHWVRevision));
    if (!IsFirmwareLoaded())
        return;
    dialog->Form().pbProg->setEnabled(true);
    CheckDowngrade();
}

void CFirmwareUpgrade::CheckDowngrade()
{
    if (!dialog->isVisible() || !IsWarningEnabled(LichtwartSettings::FirmwareWarnOutdated))
        return;
    // Equal, older and unreadable versions ("unknown", a raw hex file) all warn.
    if (Firmware().IsNewerThan(dialog->Form().txtDevSWVersion->text().toStdString()))
        return;
    ShowWarning(LichtwartSettings::FirmwareWarnOutdated, kTextDowngradeWarning);
}

// A package for another product is questioned first: cancelling there sends nothing at all.
bool CFirmwareUpgrade::ConfirmProgramming()
{
    if (!ConfirmProduct())
        return false;
    if (!IsWarningEnabled(LichtwartSettings::FirmwareWarnProgStart))
        return true;
    return ConfirmWarning(LichtwartSettings::FirmwareWarnProgStart, Text(kTextProgStartWarning));
}

bool CFirmwareUpgrade::ConfirmProduct()
{
    if (PackageFitsProduct() || !IsWarningEnabled(LichtwartSettings::FirmwareWarnProduct))
        return true;
    const QString head = Product() ? QString(Product()->id) : Text(kTextUnknown);
    return ConfirmWarning(LichtwartSettings::FirmwareWarnProduct,
                          Text(kTextProductWarning).arg(QString::fromStdString(Firmware().GetProduct()), head));
}

// A warning that can stop programming; its show-again choice is stored only when the user goes on.
bool CFirmwareUpgrade::ConfirmWarning(const char *key, const QString &text)
{
    CWarningAbortDialog warning(dialog);
    warning.SetText(text);
    if (warning.exec() != QDialog::Accepted)
        return false;
    settings.setValue(QLatin1String(key), warning.ShowAgain());
    return true;
}

bool CFirmwareUpgrade::IsWarningEnabled(const char *key) const
{
    return LichtwartSettings::Read(settings, key).toBool();
}

void CFirmwareUpgrade::ShowWarning(const char *key, const char *text)
{
    CWarningDialog warning(dialog);
    warning.SetText(Text(text));
    warning.exec();
    settings.setValue(QLatin1String(key), warning.ShowAgain());
}

QPushButton *CFirmwareUpgrade::ButtonFor(Button button) const
{
    Ui::FWUpgradeDialog &form = dialog->Form();
    switch (button) {
    case Button::Load:
        return form.pbLoad;
    case Button::Program:
        return form.pbProg;
    case Button::Close:
        return form.pbClose;
    case Button::Retry:
        break;
    }
    return form.pbRetry;
}

const char *CFirmwareUpgrade::RichText(Status status)
{
    switch (status) {
    case Status::Unknown: return kTextUnknown;
    case Status::Connected: return kTextConnected;
    case Status::Switching: return kTextSwitching;
    case Status::Enabling: return kTextEnabling;
    case Status::Erasing: return kTextErasing;
    case Status::Uploading: return kTextUploading;
    case Status::Successful: return kTextSuccessful;
    case Status::AllDone: return kTextAllDone;
    case Status::NoAnswer: return kTextNoAnswer;
    case Status::EraseFailed: return kTextEraseFailed;
    case Status::WriteFailed: return kTextWriteFailed;
    case Status::SwitchFailed: return kTextSwitchFailed;
    case Status::Reconnecting: return kTextReconnecting;
    }
    return kTextUnknown;
}

void CFirmwareUpgrade::ShowStatus(Status status)
{
    dialog->Form().txtStatus->setText(Text(RichText(status)));
    ShowButtonsFor(status);
}

// While the head is being erased and written nothing changes: the switch-over has locked the
// dialog, and only the end of the run (or its failure) opens it again.
void CFirmwareUpgrade::ShowButtonsFor(Status status)
{
    switch (status) {
    case Status::Unknown:
        ButtonFor(Button::Program)->setEnabled(false);
        ButtonFor(Button::Load)->setEnabled(true);
        OfferRetry(false);
        dialog->SetCloseAllowed(true);
        break;
    case Status::Connected:
        ButtonFor(Button::Load)->setEnabled(true);
        ButtonFor(Button::Close)->setEnabled(true);
        OfferRetry(false);
        dialog->SetCloseAllowed(true);
        break;
    case Status::Switching:
        EnableButtons(false, false, false);
        dialog->SetCloseAllowed(false);
        break;
    case Status::NoAnswer:
    case Status::EraseFailed:
    case Status::WriteFailed:
        EnableButtons(false, false, true);
        OfferRetry(true);
        MakeDefaultButton(Button::Retry);
        dialog->SetCloseAllowed(true);
        break;
    case Status::SwitchFailed:
        EnableButtons(true, true, true);
        dialog->SetCloseAllowed(true);
        break;
    case Status::Reconnecting:
        OfferRetry(false);
        MakeDefaultButton(Button::Close);
        ButtonFor(Button::Close)->setEnabled(false);
        dialog->SetCloseAllowed(false);
        break;
    case Status::AllDone:
        dialog->SetCloseAllowed(true);
        ButtonFor(Button::Close)->setEnabled(true);
        MakeDefaultButton(Button::Close);
        break;
    case Status::Enabling:
    case Status::Erasing:
    case Status::Uploading:
    case Status::Successful:
        break;
    }
}

void CFirmwareUpgrade::EnableButtons(bool load, bool program, bool close)
{
    ButtonFor(Button::Load)->setEnabled(load);
    ButtonFor(Button::Program)->setEnabled(program);
    ButtonFor(Button::Close)->setEnabled(close);
}

void CFirmwareUpgrade::OfferRetry(bool offered)
{
    dialog->Form().pbRetry->setVisible(offered);
}

void CFirmwareUpgrade::ShowDeviceVersions(const QString &qstrSoftware, const QString &qstrHardware)
{
    dialog->Form().txtDevSWVersion->setText(qstrSoftware);
    dialog->Form().txtDevHWVersion->setText(qstrHardware);
}

void CFirmwareUpgrade::ShowProgress(int nValue, int nMaximum)
{
    dialog->Form().pbarProg->setRange(0, nMaximum);
    dialog->Form().pbarProg->setValue(nValue);
}

void CFirmwareUpgrade::MakeDefaultButton(Button button)
{
    for (Button each : {Button::Load, Button::Program, Button::Close, Button::Retry})
        ButtonFor(each)->setDefault(each == button);
}

