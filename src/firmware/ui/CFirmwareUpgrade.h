#pragma once

#include "firmware/CUpgradeProcedure.h"

#include <QPointer>

class FWUpgradeDialog;
class QPushButton;
class QWidget;

// The firmware upgrade as the main window offers it: the upgrade procedure shown in
// FWUpgradeDialog, with the loading of a package, the warnings the settings ask for and the
// error boxes. The main window wires the controller to ConnectionChanged, SetStreloVersion and
// SetStreloDevice, the signal SwitchToFirmwareUploadMode to the controller, and
// StartingFlashOperations to its own SlaveDisconnect.
class CFirmwareUpgrade : public CUpgradeProcedure
{
    Q_OBJECT

public:
    // The dialog becomes a child of parent. allowRawHex lets bare S-record files be loaded.
    CFirmwareUpgrade(QWidget *parent, bool allowRawHex);
    ~CFirmwareUpgrade() override;

    FWUpgradeDialog *Dialog() const { return dialog; }

    // The status texts as the dialog shows them: the procedure's words with colour and emphasis.
    static constexpr const char *kTextConnected =
        QT_TRANSLATE_NOOP("FWUpgradeDialog", "<font color='#009933'>Connected to target device</font>");
    static constexpr const char *kTextSwitching =
        QT_TRANSLATE_NOOP("FWUpgradeDialog", "Switching device to programming mode ...");
    static constexpr const char *kTextEnabling =
        QT_TRANSLATE_NOOP("FWUpgradeDialog", "Enabling firmware flasher of target device ...");
    static constexpr const char *kTextErasing =
        QT_TRANSLATE_NOOP("FWUpgradeDialog", "Erasing flash, do <b>not</b> disconnect ...");
    static constexpr const char *kTextUploading =
        QT_TRANSLATE_NOOP("FWUpgradeDialog", "Uploading firmware, do <b>not</b> disconnect ...");
    static constexpr const char *kTextSuccessful =
        QT_TRANSLATE_NOOP("FWUpgradeDialog", "<font color='#009933'>Upgrade successful, resetting device ...</font>");
    static constexpr const char *kTextAllDone =
        QT_TRANSLATE_NOOP("FWUpgradeDialog", "<font color='#009933'>All done, please close this window now</font>");
    static constexpr const char *kTextNoAnswer =
        QT_TRANSLATE_NOOP("FWUpgradeDialog", "<font color='red'>No valid answer from firmware flasher!</font>");
    static constexpr const char *kTextEraseFailed =
        QT_TRANSLATE_NOOP("FWUpgradeDialog", "<font color='red'>Failed to erase flash!</font>");
    static constexpr const char *kTextWriteFailed =
        QT_TRANSLATE_NOOP("FWUpgradeDialog", "<font color='red'>Failed to write data block to flash!</font>");
    static constexpr const char *kTextSwitchFailed =
        QT_TRANSLATE_NOOP("FWUpgradeDialog", "<font color='red'>Failed to switch device to programming mode!</font>");
    static constexpr const char *kTextReconnecting =
        QT_TRANSLATE_NOOP("FWUpgradeDialog", "Trying to reconnect ...");

    // The untranslated text of a status as the dialog shows it.
    static const char *RichText(Status status);

    static constexpr const char *kTextBaudrateWarning = QT_TRANSLATE_NOOP(
        "FWUpgradeDialog",
        "The baudrate to upload the firmware is higher then the operating baudrate of the device.\n"
        "For on-site programming it is highly advised to use an upload baudrate that is lower or equal "
        "to the operating baudrate of the device.");
    static constexpr const char *kTextDowngradeWarning = QT_TRANSLATE_NOOP(
        "FWUpgradeDialog",
        "The firmware you loaded from the file isn't' more recent then the one running on the device "
        "connected.\nDowngrading a device is supported but not advised.");
    static constexpr const char *kTextProgStartWarning = QT_TRANSLATE_NOOP(
        "FWUpgradeDialog",
        "Make sure the device is connected properly and powerd by a failsafe supply. Do not disconnect "
        "or power off the device during programming! Any interruption of the programming sequence will "
        "leave the device in defective state.\n\nDo you really want to continue ?");

    // Added to the dialog's warnings: shown before programming when the package names another
    // product than the connected head (%1 the package's product, %2 the head's).
    static constexpr const char *kTextProductWarning = QT_TRANSLATE_NOOP(
        "FWUpgradeDialog",
        "The firmware package is made for the product '%1', but the connected device is a '%2'.\n"
        "Firmware for another product can leave the device unusable.\n\nDo you really want to continue ?");

public slots:
    // Shows the dialog in its initial state (non-blocking), then the warnings that apply.
    void ShowUpgradeDialog();
    void LoadFirmware();
    void SetStreloVersion(int nHWVMajor, int nHWVMinor, int nHWVRevision, int nSWVMajor, int nSWVMinor,
                          int nSWVRelease);
    // Warns when the loaded file is not newer than the software the head runs.
    void CheckDowngrade();

protected:
    // Shows the status's text and lets the buttons allow what the status allows.
    void ShowStatus(Status status) override;
    void ShowDeviceVersions(const QString &qstrSoftware, const QString &qstrHardware) override;
    void ShowProgress(int nValue, int nMaximum) override;
    bool ConfirmProgramming() override;

private:
    enum class Button { Load, Program, Close, Retry };

    void ShowButtonsFor(Status status);
    void EnableButtons(bool load, bool program, bool close);
    void OfferRetry(bool offered);
    void MakeDefaultButton(Button button);
    QPushButton *ButtonFor(Button button) const;
    QStringList NameFilters() const;
    bool IsWarningEnabled(const char *key) const;
    void ShowWarning(const char *key, const char *text);
    bool ConfirmWarning(const char *key, const QString &text);
    bool ConfirmProduct();
    void CheckUploadBaudrate();
    void ShowFileDetails(const QString &version, const QString &date, const QString &md5);
    void ShowError(const QString &title, const QString &text, const QString &details);
    bool LoadSelectedFile(const QString &path);

    QPointer<FWUpgradeDialog> dialog;
    const bool allowRawHex;
};
