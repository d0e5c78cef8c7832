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
    static constexpr const char *kTextProductWarning =
        "The firmware package is made for the product '%1', but the connected device is a '%2'.\n"
        "Firmware for another product can leave the device unusable.\n\nDo you really want to continue ?";

public slots:
    // Shows the dialog in its initial state (non-blocking), then the warnings that apply.
    void ShowUpgradeDialog();
    void LoadFirmware();
    void SetStreloVersion(int nHWVMajor, int nHWVMinor, int nHWVRevision, int nSWVMajor, int nSWVMinor,
                          int nSWVRelease);
    // Warns when the loaded file is not newer than the software the head runs.
    void CheckDowngrade();

protected:
    void ShowStatus(const QString &qstrText) override;
    void ShowDeviceVersions(const QString &qstrSoftware, const QString &qstrHardware) override;
    void ShowProgress(int nValue, int nMaximum) override;
    void EnableButton(Button button, bool bEnabled) override;
    void ShowRetryButton(bool bVisible) override;
    void MakeDefaultButton(Button button) override;
    void AllowClose(bool bAllowed) override;
    bool ConfirmProgramming() override;

private:
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
