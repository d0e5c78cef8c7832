#pragma once

#include "COSLProtocol.h"
#include "CFirmwareFile.h"
#include "tls/StreloProduct.h"

#include <QObject>
#include <QSettings>
#include <QString>
#include <QTimer>

#include <optional>

// The steps of one firmware upgrade, shared by the upgrade dialog and the command line: ask the
// connected head to switch to its boot loader, let the link release the port, open the port at
// the upload rate, wake the boot loader, erase the flash, write the image in 32-byte chunks and
// start the new firmware. Every step shows itself through the view hooks below, which the dialog
// maps onto its widgets and the command line onto its output.
//
// Everything here runs on the thread that owns the object; the boot loader's results arrive from
// the reader and timer threads through the queued signal ReceivedCommandResult.
class CUpgradeProcedure : public QObject, public COSLProtocol
{
    Q_OBJECT

public:
    enum UpgradeState : std::int32_t {
        UPGRADE_NO_DEVICE = 0,
        UPGRADE_READY = 1,
        UPGRADE_SWITCHING = 2,
        UPGRADE_ENABLING = 3,
        UPGRADE_CONNECTING = 4,
        UPGRADE_ERASING = 5,
        UPGRADE_WRITING = 6,
        UPGRADE_DONE = 7,
    };

    // Where the run stands, as the view is told: each step reached, each way a step failed.
    enum class Status {
        Unknown,      // no head connected
        Connected,    // a head is connected and can be programmed
        Switching,    // the head is asked to start its boot loader
        Enabling,     // the head has left the link; the boot loader is woken
        Erasing,
        Uploading,
        Successful,   // every chunk is written; the head restarts
        AllDone,      // the head has had its time to restart; the port is released
        NoAnswer,     // the boot loader did not answer (a retry is possible)
        EraseFailed,  // (a retry is possible)
        WriteFailed,  // (a retry is possible)
        SwitchFailed, // the head did not leave the link in time
        Reconnecting, // a retry wakes the boot loader again
    };

    static constexpr std::uint32_t kChunkSize = 32;
    static constexpr std::uint32_t kConnectRetries = 150;
    static constexpr std::uint32_t kCommandRetries = 3;
    static constexpr int kSwitchSupervisionMs = 3000;
    static constexpr int kHandOverDelayMs = 1000;
    static constexpr int kRestartDelayMs = 2000;
    static constexpr int kUploadPortId = 0;
    static constexpr int kUploadPortFeatures = 31;
    static constexpr int kHardwareMajorEraseA = 2;

    // "unknown", for a status or a version that is not known; translated under the dialog's
    // context (the marker lets lupdate find it there; the command line never loads a translation).
    static constexpr const char *kTextContext = "FWUpgradeDialog";
    static constexpr const char *kTextUnknown = QT_TRANSLATE_NOOP("FWUpgradeDialog", "unknown");

    // The status as plain English text, the words the dialog shows (which adds colour and
    // emphasis and translates) and the command line prints.
    static QString PlainText(Status status);

    explicit CUpgradeProcedure(QObject *parent = nullptr);
    ~CUpgradeProcedure() override;

    // Ends the time-out thread and closes the port. The owner calls it before destroying the
    // procedure: until then either thread may be calling CommandResult, and a subclass's
    // destructor must not run under it.
    void ShutDown();

    // The code by which the head is told the upload rate: 4800 gives 2, 9600 gives 3, up to 115200
    // which gives 7; any other rate gives 1.
    static int BaudRateCode(int rate);

    // Enters a state and performs its actions; the one place where the procedure acts.
    void SetUpgradeState(int state);
    int UpgradeStateValue() const { return upgradeState; }

    // Loads a package (or, with allowRawHex, a bare S-record file) for the detected product: a
    // product of variant 1 takes 32-bit address records. Throws CFirmwareException and then leaves
    // no firmware loaded.
    void LoadFirmwareFile(const QString &path, bool allowRawHex);
    bool IsFirmwareLoaded() const { return firmwareLoaded; }
    // Whether the loaded package is made for the detected product. A deliberate addition to the
    // procedure: the manifest's product is compared with the head's (case as the product table
    // compares), so that firmware of one product is not flashed into another by accident. A raw
    // image names no product and always fits.
    bool PackageFitsProduct() const;
    const CFirmwareFile &Firmware() const { return firmware; }
    const STRELO_PRODUCT *Product() const { return product; }
    bool IsConnected() const { return connected; }
    int ProgressValue() const { return progressValue; }
    int ProgressMaximum() const { return progressMaximum; }

    // The command line names the port and the upload rate itself; without these the settings
    // decide, as in the dialog.
    void SetUploadDevice(const QString &device);
    void SetUploadBaudrate(int rate);

public slots:
    // Starts programming: the state becomes 1 and, once the user has confirmed, the switch-over
    // begins.
    void Program();
    // After a failed step: wakes the boot loader again, which is assumed to be still running.
    void Retry();
    void ConnectionChanged(bool bConnected);
    void SetStreloDevice(const STRELO_PRODUCT *product);
    void SwitchModeFailed();
    void StartUpgradeProcess();
    void EndUpgradeProcess();
    void EvaluateCommandResult(COSLProtocol::OSL_RESULT result);

signals:
    void SwitchToFirmwareUploadMode(int nPortID, int nBaudrateID, int nPortFeatures);
    void StartingFlashOperations();
    void ReceivedCommandResult(COSLProtocol::OSL_RESULT result);
    // The run has stopped: after the restart of the head (true), after a failed step or when the
    // head did not leave the link in time (false). A late loss of the link still resumes a run
    // whose switch-over timed out.
    void UpgradeFinished(bool bSuccess);

protected:
    // The view hooks: what the procedure tells, in its own terms. A view shows what it wants of
    // it; the dialog adds the markup and decides what its buttons allow.
    virtual void ShowStatus(Status status) {}
    virtual void ShowDeviceVersions(const QString &qstrSoftware, const QString &qstrHardware) {}
    virtual void ShowProgress(int nValue, int nMaximum) {}
    // Asked before the switch-over starts; false stops the programming.
    virtual bool ConfirmProgramming() = 0;

    static QString Text(const char *text);
    QSettings settings;

private:
    void CommandResult(OSL_RESULT result) override;

    void EnterNoDevice();
    void EnterReady();
    void EnterSwitching();
    void EnterEnabling();
    void EnterErasing();
    void EnterWriting();
    void EnterDone();
    void SendNextChunk();
    void SetProgress(int value);
    void FailStep(Status status);
    void FailRefusedRequest();
    bool UsesWideAddresses() const;
    int UploadBaudrateForCode() const;
    int UploadBaudIndex() const;
    QString UploadDevice() const;

    CFirmwareFile firmware;
    bool connected = false;
    bool firmwareLoaded = false;
    int upgradeState = UPGRADE_NO_DEVICE;
    QTimer switchTimer;
    const STRELO_PRODUCT *product = nullptr;
    int progressValue = 0;
    int progressMaximum = 100;
    std::optional<QString> uploadDevice;
    std::optional<int> uploadBaudrate;
};
