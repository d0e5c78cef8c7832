#include "CUpgradeProcedure.h"

#include "settings/LichtwartSettings.h"
#include "tls/CStreloProductTable.h"

#include <QCoreApplication>
#include <QMetaObject>

CUpgradeProcedure::CUpgradeProcedure(QObject *parent)
    : QObject(parent)
{
    connect(&switchTimer, SIGNAL(timeout()), this, SLOT(SwitchModeFailed()));
    // Results come from the port's reader thread and the time-out thread; the queued connection
    // brings them to this object's thread, where the next request is made.
    connect(this, SIGNAL(ReceivedCommandResult(COSLProtocol::OSL_RESULT)), this,
            SLOT(EvaluateCommandResult(COSLProtocol::OSL_RESULT)));
}

CUpgradeProcedure::~CUpgradeProcedure()
{
    // Normally the owner has already shut down; this keeps a forgotten port from staying open.
    ShutDown();
}

void CUpgradeProcedure::ShutDown()
{
    StopThread();
    Close();
}

int CUpgradeProcedure::BaudRateCode(int rate)
{
    switch (rate) {
    case 4800:
        return 2;
    case 9600:
        return 3;
    case 19200:
        return 4;
    case 38400:
        return 5;
    case 57600:
        return 6;
    case 115200:
        return 7;
    default:
        return 1;
    }
}

QString CUpgradeProcedure::Text(const char *text)
{
    return QCoreApplication::translate(kTextContext, text);
}

QString CUpgradeProcedure::PlainText(Status status)
{
    switch (status) {
    case Status::Unknown: return QStringLiteral("unknown");
    case Status::Connected: return QStringLiteral("Connected to target device");
    case Status::Switching: return QStringLiteral("Switching device to programming mode ...");
    case Status::Enabling: return QStringLiteral("Enabling firmware flasher of target device ...");
    case Status::Erasing: return QStringLiteral("Erasing flash, do not disconnect ...");
    case Status::Uploading: return QStringLiteral("Uploading firmware, do not disconnect ...");
    case Status::Successful: return QStringLiteral("Upgrade successful, resetting device ...");
    case Status::AllDone: return QStringLiteral("All done, please close this window now");
    case Status::NoAnswer: return QStringLiteral("No valid answer from firmware flasher!");
    case Status::EraseFailed: return QStringLiteral("Failed to erase flash!");
    case Status::WriteFailed: return QStringLiteral("Failed to write data block to flash!");
    case Status::SwitchFailed: return QStringLiteral("Failed to switch device to programming mode!");
    case Status::Reconnecting: return QStringLiteral("Trying to reconnect ...");
    }
    return {};
}

void CUpgradeProcedure::SetUpgradeState(int state)
{
    upgradeState = state;
    switch (state) {
    case UPGRADE_NO_DEVICE:
        EnterNoDevice();
        break;
    case UPGRADE_READY:
        EnterReady();
        break;
    case UPGRADE_SWITCHING:
        EnterSwitching();
        break;
    case UPGRADE_ENABLING:
        EnterEnabling();
        break;
    case UPGRADE_ERASING:
        EnterErasing();
        break;
    case UPGRADE_WRITING:
        EnterWriting();
        break;
    case UPGRADE_DONE:
        EnterDone();
        break;
    default:
        // State 4 is entered by StartUpgradeProcess, which makes its request itself.
        break;
    }
}

void CUpgradeProcedure::EnterNoDevice()
{
    ShowStatus(Status::Unknown);
    ShowDeviceVersions(Text(kTextUnknown), Text(kTextUnknown));
    SetProgress(0);
}

void CUpgradeProcedure::EnterReady()
{
    ShowStatus(Status::Connected);
    SetProgress(0);
}

void CUpgradeProcedure::EnterSwitching()
{
    ShowStatus(Status::Switching);
    switchTimer.start(kSwitchSupervisionMs);
    emit SwitchToFirmwareUploadMode(kUploadPortId, BaudRateCode(UploadBaudrateForCode()), kUploadPortFeatures);
}

void CUpgradeProcedure::EnterEnabling()
{
    switchTimer.stop();
    ShowStatus(Status::Enabling);
    emit StartingFlashOperations();
    // The link needs a moment to let go of the port before the boot loader is spoken to.
    QTimer::singleShot(kHandOverDelayMs, this, SLOT(StartUpgradeProcess()));
}

void CUpgradeProcedure::EnterErasing()
{
    ShowStatus(Status::Erasing);
    const bool eraseA = product && product->hardwareMajor == kHardwareMajorEraseA;
    const bool sent = eraseA ? EraseFlashA(kCommandRetries) : EraseFlashB(kCommandRetries);
    if (!sent)
        FailRefusedRequest();
}

void CUpgradeProcedure::EnterWriting()
{
    firmware.RewindToFirstBlock();
    ShowStatus(Status::Uploading);
    progressMaximum = firmware.GetTotalSize();
    SetProgress(0);
    SendNextChunk();
}

void CUpgradeProcedure::EnterDone()
{
    ShowStatus(Status::Successful);
    SetProgress(progressMaximum);
    StartApplication();
    // The head restarts into its new firmware; the port is released once it has had the time.
    QTimer::singleShot(kRestartDelayMs, this, SLOT(EndUpgradeProcess()));
}

void CUpgradeProcedure::SendNextChunk()
{
    std::uint32_t address = 0;
    ByteVector chunk;
    if (!firmware.GetNextBlock(kChunkSize, address, chunk)) {
        SetUpgradeState(UPGRADE_DONE);
        return;
    }
    SetProgress(progressValue + static_cast<int>(chunk.size()));
    if (!WriteBlock(address, chunk, UsesWideAddresses(), kCommandRetries))
        FailRefusedRequest();
}

void CUpgradeProcedure::SetProgress(int value)
{
    progressValue = value;
    ShowProgress(progressValue, progressMaximum);
}

void CUpgradeProcedure::FailRefusedRequest()
{
    // A request that could not even be sent (the port did not open, or was lost) ends the step
    // like a boot loader that never answers.
    QMetaObject::invokeMethod(
        this, [this] { EvaluateCommandResult(OSL_NO_ANSWER); }, Qt::QueuedConnection);
}

void CUpgradeProcedure::FailStep(Status status)
{
    Close();
    upgradeState = UPGRADE_NO_DEVICE;
    ShowStatus(status);
    emit UpgradeFinished(false);
}

void CUpgradeProcedure::Program()
{
    upgradeState = UPGRADE_READY;
    if (!ConfirmProgramming())
        return;
    SetUpgradeState(UPGRADE_SWITCHING);
}

void CUpgradeProcedure::Retry()
{
    SetProgress(0);
    ShowStatus(Status::Reconnecting);
    StartUpgradeProcess();
}

void CUpgradeProcedure::ConnectionChanged(bool bConnected)
{
    connected = bConnected;
    if (bConnected)
        SetUpgradeState(UPGRADE_READY);
    else if (upgradeState == UPGRADE_SWITCHING)
        SetUpgradeState(UPGRADE_ENABLING); // the head left the link for its boot loader
    else if (upgradeState != UPGRADE_ENABLING)
        SetUpgradeState(UPGRADE_NO_DEVICE);
}

void CUpgradeProcedure::SetStreloDevice(const STRELO_PRODUCT *detected)
{
    product = detected;
}

void CUpgradeProcedure::SwitchModeFailed()
{
    switchTimer.stop();
    ShowStatus(Status::SwitchFailed);
    emit UpgradeFinished(false);
}

void CUpgradeProcedure::StartUpgradeProcess()
{
    OpenPort(UploadDevice().toStdString(), UploadBaudIndex());
    upgradeState = UPGRADE_CONNECTING;
    if (!Connect(kConnectRetries))
        FailRefusedRequest();
}

void CUpgradeProcedure::EndUpgradeProcess()
{
    Close();
    ShowStatus(Status::AllDone);
    upgradeState = UPGRADE_NO_DEVICE;
    emit UpgradeFinished(true);
}

void CUpgradeProcedure::EvaluateCommandResult(COSLProtocol::OSL_RESULT result)
{
    const bool success = result == OSL_SUCCESS;
    switch (upgradeState) {
    case UPGRADE_CONNECTING:
        if (success)
            SetUpgradeState(UPGRADE_ERASING);
        else
            FailStep(Status::NoAnswer);
        break;
    case UPGRADE_ERASING:
        if (success)
            SetUpgradeState(UPGRADE_WRITING);
        else
            FailStep(Status::EraseFailed);
        break;
    case UPGRADE_WRITING:
        if (success)
            SendNextChunk();
        else
            FailStep(Status::WriteFailed);
        break;
    default:
        break;
    }
}

void CUpgradeProcedure::CommandResult(OSL_RESULT result)
{
    emit ReceivedCommandResult(result);
}

void CUpgradeProcedure::LoadFirmwareFile(const QString &path, bool allowRawHex)
{
    firmwareLoaded = false;
    firmware.Load(path.toUtf8().toStdString(), allowRawHex, UsesWideAddresses());
    firmwareLoaded = true;
}

bool CUpgradeProcedure::PackageFitsProduct() const
{
    if (!firmware.HasManifest())
        return true;
    return product && CStreloProductTable::FindById(QString::fromStdString(firmware.GetProduct())) == product;
}

bool CUpgradeProcedure::UsesWideAddresses() const
{
    return product && product->variant == 1;
}

void CUpgradeProcedure::SetUploadDevice(const QString &device)
{
    uploadDevice = device;
}

void CUpgradeProcedure::SetUploadBaudrate(int rate)
{
    uploadBaudrate = rate;
}

QString CUpgradeProcedure::UploadDevice() const
{
    return uploadDevice ? *uploadDevice : LichtwartSettings::ReadUploadDevice(settings);
}

int CUpgradeProcedure::UploadBaudrateForCode() const
{
    // Where the head is told the rate, an absent setting means 9600 ...
    return uploadBaudrate ? *uploadBaudrate
                          : LichtwartSettings::Read(settings, LichtwartSettings::FirmwareBaudrate).toInt();
}

int CUpgradeProcedure::UploadBaudIndex() const
{
    // ... while the port itself is opened with the setting read without a default, so an absent
    // one reads as 0 and opens at the top rate of the table.
    const int rate = uploadBaudrate ? *uploadBaudrate : LichtwartSettings::ReadUploadBaudrateWithoutDefault(settings);
    return CAsync::BaudIndexForRate(rate);
}
