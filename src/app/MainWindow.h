#pragma once

#include <QMainWindow>
#include <QMap>
#include <QPixmap>
#include <QSettings>
#include <QString>
#include <QTimer>

#include <functional>
#include <memory>

namespace Ui {
class MainWindow;
}

class CCopy2ClipboardLabel;
class CLineCapture;
class CFirmwareUpgrade;
class CMultiColumnListModel;
class CTrafficLightController;
class DeviceMaintenance;
class QAction;
class QLabel;
class TraceTableExport;

// The program's only top-level window: every user command as an action in the menus and the tool
// bar, the connection state, the device's versions and UID in the status bar, and the trace table
// of the traffic with the device. It owns the device controller and the trace model.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    // Builds the window's controller; tests hand in one that watches the calls made on it.
    using ControllerFactory = std::function<CTrafficLightController *(QWidget *mainWindow)>;

    explicit MainWindow(bool bAllowRawHex, const ControllerFactory &createController = {});
    ~MainWindow() override;

    CTrafficLightController *Controller() const { return m_controller; }
    CFirmwareUpgrade *FirmwareUpgrade() const { return m_firmwareUpgrade; }
    // The running line capture, or null.
    CLineCapture *LineCapture() const { return m_capture.get(); }

public slots:
    void About();
    void Options();
    void SlaveConnect();
    void SlaveDisconnect();
    void ClearLog();
    void StreloDialogOpen();
    void StreloDialogClosed(int nResult);
    void FlasherSyncDialogOpen();
    void FlasherSyncSoft();
    void FlasherSyncHard();
    void SetOSI2Address();
    void UpgradeFirmware();
    void FindDevice();
    void DisconnectAfterOSI2AddressChange();
    void ShowTrace(bool bInbound, const QString &qstrData);
    void ShowTrace(bool bInbound, const QString &qstrFrameType, int nOSI3AddressID, int nLength, bool bPRM,
                   bool bFCBorACD, bool bFCVorDFC, const QString &qstrFunction, int nAddress, int nChecksum,
                   const QString &qstrData);
    void ShowTrace(bool bInbound, int nLength, const QString &qstrFG, const QString &qstrAppID, int nJobNumber,
                   int nBlockCount, const QString &qstrData);
    void ConnectionChanged(bool bConnected);
    void SetStreloVersion(int nHWVMajor, int nHWVMinor, int nHWVRevision, int nSWVMajor, int nSWVMinor,
                          int nSWVRelease);
    void SetUID(const QString qstrUID);
    // File > Capture Line to File...: checked asks for a file and records the line into it,
    // unchecked ends the recording. Disconnect and exit end it too.
    void CaptureLine(bool bOn);
    // Starts recording the line into the file; false (with a message box) when it cannot be made.
    bool StartCapture(const QString &qstrPath);
    void StopCapture();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void ConnectActions();
    void CreateStatusWidgets();
    void ShowConnectionState(bool bConnected);
    void RestoreGeometry();
    void ConnectController();
    void ConnectFirmwareUpgrade();
    void ConnectMaintenance();
    void ConfigureTrace();
    void DisconnectTraceSignals();
    void ConfigureTraceTable();
    void AppendTraceRow(bool bInbound, const QStringList &cells);
    void FitTraceColumns();
    void SaveGeometry();
    void ReleaseResources();
    void CreateCaptureAction();
    void CaptureFailed(const QString &qstrMessage);
    void EndCaptureWithDisconnect();
    void ShowCaptureSize(qint64 nBytes);

    QPixmap m_connectedPixmap;
    QPixmap m_disconnectedPixmap;
    QSettings m_settings;
    Ui::MainWindow *ui = nullptr;
    QMap<QString, QPixmap> m_directionIcons;
    CTrafficLightController *m_controller = nullptr;
    CFirmwareUpgrade *m_firmwareUpgrade = nullptr;
    CMultiColumnListModel *m_traceModel = nullptr;
    TraceTableExport *m_traceExport = nullptr; // File > Save Trace..., Ctrl+C in the table
    QTimer m_traceColumnFit; // fits the columns once for a burst of trace rows
    DeviceMaintenance *m_maintenance = nullptr; // the open flasher dialog, the new OSI 2 address
    CCopy2ClipboardLabel *m_uidLabel = nullptr;
    QLabel *m_versionLabel = nullptr;
    QLabel *m_connectionLabel = nullptr;
    QAction *m_captureAction = nullptr; // File > Capture Line to File...
    QWidget *m_captureIndicator = nullptr; // shown while a capture runs
    QLabel *m_captureLabel = nullptr;
    std::shared_ptr<CLineCapture> m_capture;
};
