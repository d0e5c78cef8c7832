#include "MainWindow.h"

#include "ui_MainWindow.h"

#include "app/AboutDialog.h"
#include "app/CCopy2ClipboardLabel.h"
#include "app/FindDeviceDialog.h"
#include "app/OptionsDialog.h"
#include "capture/CLineCapture.h"
#include "comm/CAsync.h"
#include "controller/CTrafficLightController.h"
#include "controller/DeviceMaintenance.h"
#include "firmware/ui/CFirmwareUpgrade.h"
#include "firmware/ui/FWUpgradeDialog.h"
#include "ports/PortOpenReason.h"
#include "settings/LichtwartSettings.h"
#include "trace/ui/CMultiColumnListModel.h"
#include "trace/CTraceFormat.h"
#include "trace/ui/TraceTableExport.h"

#include <QCloseEvent>
#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLocale>
#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QPoint>
#include <QSize>
#include <QStatusBar>

namespace {

constexpr int kTraceRowHeight = 16;
// The most rows the columns are measured against when they are fitted to their contents.
constexpr int kTraceFitRows = 50;
const QString kIconReceive = QStringLiteral("rx");
const QString kIconTransmit = QStringLiteral("tx");

} // namespace

MainWindow::MainWindow(bool bAllowRawHex, const ControllerFactory &createController)
    : ui(new Ui::MainWindow)
{
    ui->setupUi(this);
    ConnectActions();

    m_maintenance = new DeviceMaintenance(this, ui->actionDisconnect, ui->actionClearlog, this);
    CreateStatusWidgets();

    m_disconnectedPixmap.load(QStringLiteral(":/16x16/disconnected"));
    m_connectedPixmap.load(QStringLiteral(":/16x16/connected"));
    ShowConnectionState(false);

    RestoreGeometry();

    m_controller = createController ? createController(this) : new CTrafficLightController(this);
    m_firmwareUpgrade = new CFirmwareUpgrade(this, bAllowRawHex);

    if (!m_directionIcons.contains(kIconReceive))
        m_directionIcons.insert(kIconReceive, QPixmap(QStringLiteral(":/16x16/receive")));
    if (!m_directionIcons.contains(kIconTransmit))
        m_directionIcons.insert(kIconTransmit, QPixmap(QStringLiteral(":/16x16/transmit")));

    m_traceModel = new CMultiColumnListModel(this);
    m_traceColumnFit.setSingleShot(true);
    m_traceColumnFit.setInterval(0);
    connect(&m_traceColumnFit, &QTimer::timeout, this, &MainWindow::FitTraceColumns);
    m_traceExport = new TraceTableExport(ui->listTrace, m_traceModel, this);
    connect(ui->actionSaveTrace, &QAction::triggered, m_traceExport, &TraceTableExport::SaveTrace);
    ConfigureTrace();

    ConnectController();
    ConnectFirmwareUpgrade();
    ConnectMaintenance();
}

MainWindow::~MainWindow()
{
    ReleaseResources();
}

void MainWindow::ConnectActions()
{
    connect(ui->actionExit, &QAction::triggered, this, &QWidget::close);
    connect(ui->actionOptions, &QAction::triggered, this, &MainWindow::Options);
    connect(ui->actionAbout, &QAction::triggered, this, &MainWindow::About);
    connect(ui->actionConnect, &QAction::triggered, this, &MainWindow::SlaveConnect);
    connect(ui->actionClearlog, &QAction::triggered, this, &MainWindow::ClearLog);
    connect(ui->actionDisconnect, &QAction::triggered, this, &MainWindow::SlaveDisconnect);
    connect(ui->actionStreloVisual, &QAction::triggered, this, &MainWindow::StreloDialogOpen);
    connect(ui->actionFSync, &QAction::triggered, this, &MainWindow::FlasherSyncDialogOpen);
    connect(ui->actionSetOSI2Address, &QAction::triggered, this, &MainWindow::SetOSI2Address);
    connect(ui->actionUpgradeFirmware, &QAction::triggered, this, &MainWindow::UpgradeFirmware);
    connect(ui->actionFindDevice, &QAction::triggered, this, &MainWindow::FindDevice);
    CreateCaptureAction();
    // The user's Disconnect ends a capture; the upgrade's hand-over of the port does not, so the
    // boot loader's bytes are recorded too.
    connect(ui->actionDisconnect, &QAction::triggered, this, &MainWindow::EndCaptureWithDisconnect);
}

// The line capture is an addition of this program's own: its action is made here, after the
// window's own actions, and sits in the File menu above Exit.
void MainWindow::CreateCaptureAction()
{
    m_captureAction = new QAction(tr("Capture Line to File..."), this);
    m_captureAction->setObjectName(QStringLiteral("actionCaptureLine"));
    m_captureAction->setCheckable(true);
    m_captureAction->setToolTip(tr("Record every byte on the serial line into a file that Wireshark opens"));
    ui->menuExit->insertAction(ui->actionExit, m_captureAction);
    ui->menuExit->insertSeparator(ui->actionExit);
    connect(m_captureAction, &QAction::toggled, this, &MainWindow::CaptureLine);
}

void MainWindow::CreateStatusWidgets()
{
    m_uidLabel = new CCopy2ClipboardLabel();
    m_versionLabel = new QLabel();
    m_connectionLabel = new QLabel();
    statusBar()->addPermanentWidget(m_uidLabel, 1);
    statusBar()->addPermanentWidget(m_versionLabel, 0);
    statusBar()->addPermanentWidget(m_connectionLabel, 0);

    m_captureIndicator = new QWidget();
    m_captureIndicator->setObjectName(QStringLiteral("captureIndicator"));
    auto *layout = new QHBoxLayout(m_captureIndicator);
    layout->setContentsMargins(0, 0, 0, 0);
    m_captureLabel = new QLabel();
    m_captureLabel->setObjectName(QStringLiteral("captureLabel"));
    layout->addWidget(m_captureLabel);
    statusBar()->addPermanentWidget(m_captureIndicator, 0);
    m_captureIndicator->hide();
}

void MainWindow::ShowConnectionState(bool bConnected)
{
    if (bConnected) {
        m_connectionLabel->setPixmap(m_connectedPixmap);
        return;
    }
    m_connectionLabel->setPixmap(m_disconnectedPixmap);
    m_versionLabel->setText(QString());
    m_uidLabel->setText(QString());
}

void MainWindow::RestoreGeometry()
{
    resize(LichtwartSettings::Read(m_settings, LichtwartSettings::MainWindowSize).toSize());
    move(LichtwartSettings::Read(m_settings, LichtwartSettings::MainWindowPosition).toPoint());
}

void MainWindow::ConnectController()
{
    connect(m_controller, &CTrafficLightController::ConnectionChanged, this, &MainWindow::ConnectionChanged);
    connect(m_controller, &CTrafficLightController::VersionChanged, this, &MainWindow::SetStreloVersion);
    connect(m_controller, &CTrafficLightController::UIDChanged, this, &MainWindow::SetUID);
}

void MainWindow::ConnectFirmwareUpgrade()
{
    connect(m_controller, &CTrafficLightController::ConnectionChanged, m_firmwareUpgrade,
            &CFirmwareUpgrade::ConnectionChanged);
    connect(m_controller, &CTrafficLightController::VersionChanged, m_firmwareUpgrade,
            &CFirmwareUpgrade::SetStreloVersion);
    connect(m_controller, &CTrafficLightController::DeviceChanged, m_firmwareUpgrade,
            &CFirmwareUpgrade::SetStreloDevice);
    connect(m_firmwareUpgrade, &CFirmwareUpgrade::SwitchToFirmwareUploadMode, m_controller,
            &CTrafficLightController::SwitchToFirmwareUploadMode);
    // The link lets go of the serial port before the boot loader takes it.
    connect(m_firmwareUpgrade, &CFirmwareUpgrade::StartingFlashOperations, this, &MainWindow::SlaveDisconnect);
}

void MainWindow::ConnectMaintenance()
{
    CTrafficLightController *controller = m_controller;
    connect(m_maintenance, &DeviceMaintenance::FlasherSyncRequested, controller,
            [controller](bool bOSI7Broadcast, bool bOSI2Broadcast, int nCycles, int nSecond) {
                controller->FlasherSynchronisation(bOSI7Broadcast, bOSI2Broadcast, nCycles, nSecond);
            });
    connect(m_maintenance, &DeviceMaintenance::SetOSI2AddressRequested, controller,
            [controller](int nAddress) { controller->SetOSI2Address(nAddress); });
}

void MainWindow::About()
{
    AboutDialog dialog(this);
    dialog.SetVersion(tr("Version %1").arg(QStringLiteral(LICHTWART_VERSION)));
    dialog.exec();
}

void MainWindow::Options()
{
    OptionsDialog dialog(this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    ConfigureTrace();
    // New interface settings take effect at the next connect; unconnected, the action is
    // disabled and this does nothing.
    ui->actionDisconnect->trigger();
}

void MainWindow::FindDevice()
{
    // The search needs the port: a connected head is let go first, as for new options.
    ui->actionDisconnect->trigger();
    m_controller->Close();
    FindDeviceDialog dialog(this);
    dialog.exec();
}

void MainWindow::SlaveConnect()
{
    m_controller->Close();
    const QString device = LichtwartSettings::Read(m_settings, LichtwartSettings::InterfaceDevice).toString();
    const int baudRate = LichtwartSettings::Read(m_settings, LichtwartSettings::InterfaceBaudrate).toInt();
    if (!m_controller->ConnectPort(device, baudRate)) {
        QMessageBox box(QMessageBox::Warning, tr("Device open failed"),
                        tr("The device %1 could not be opened.").arg(device), QMessageBox::Ok, this);
        // Why, and what to do about it, below the unchanged message.
        box.setInformativeText(PortOpenReason::Text(m_controller->LastOpenFailure()));
        box.exec();
        return;
    }
    ui->actionConnect->setEnabled(false);
    ui->actionDisconnect->setEnabled(true);
    ui->actionSetOSI2Address->setEnabled(true);
    const int osi7Address = LichtwartSettings::Read(m_settings, LichtwartSettings::AddressOsi7).toInt();
    const int osi2Address = LichtwartSettings::Read(m_settings, LichtwartSettings::AddressOsi2).toInt();
    m_controller->Connect(osi2Address, osi7Address);
}

void MainWindow::SlaveDisconnect()
{
    m_controller->Disconnect();
    m_controller->Close();
    ui->actionConnect->setEnabled(true);
    ui->actionDisconnect->setEnabled(false);
    ui->actionSetOSI2Address->setEnabled(false);
}

void MainWindow::ClearLog()
{
    m_traceModel->Clear();
}

void MainWindow::StreloDialogOpen()
{
    ui->actionStreloVisual->setEnabled(false);
    m_controller->ShowRemoteControl();
}

void MainWindow::StreloDialogClosed(int nResult)
{
    ui->actionStreloVisual->setEnabled(true);
}

void MainWindow::FlasherSyncDialogOpen()
{
    m_maintenance->FlasherSyncDialogOpen();
}

void MainWindow::FlasherSyncSoft()
{
    m_maintenance->FlasherSyncSoft();
}

void MainWindow::FlasherSyncHard()
{
    m_maintenance->FlasherSyncHard();
}

void MainWindow::SetOSI2Address()
{
    m_maintenance->SetOSI2Address();
}

void MainWindow::UpgradeFirmware()
{
    m_firmwareUpgrade->ShowUpgradeDialog();
}

void MainWindow::DisconnectAfterOSI2AddressChange()
{
    m_maintenance->DisconnectAfterOSI2AddressChange();
}

void MainWindow::ConfigureTrace()
{
    DisconnectTraceSignals();

    QStringList headers;
    const bool enabled = LichtwartSettings::Read(m_settings, LichtwartSettings::TraceEnabled).toBool();
    if (!enabled) {
        ui->listTrace->setEnabled(false);
    } else {
        const int level = LichtwartSettings::Read(m_settings, LichtwartSettings::TraceLevel).toInt();
        switch (level) {
        case CTraceFormat::Osi7:
            connect(m_controller, &CTrafficLightController::TraceOSI7, this,
                    qOverload<bool, int, const QString &, const QString &, int, int, const QString &>(
                        &MainWindow::ShowTrace));
            break;
        case CTraceFormat::Osi2:
            connect(m_controller, &CTrafficLightController::TraceOSI2, this,
                    qOverload<bool, const QString &, int, int, bool, bool, bool, const QString &, int, int,
                              const QString &>(&MainWindow::ShowTrace));
            break;
        case CTraceFormat::Raw:
            connect(m_controller, &CTrafficLightController::TraceAsync, this,
                    qOverload<bool, const QString &>(&MainWindow::ShowTrace));
            break;
        }
        // Any other level shows nothing and leaves the table's enabled state as it was.
        for (const QString &header : CTraceFormat::Headers(level))
            headers << tr(header.toUtf8().constData());
        if (!headers.isEmpty())
            ui->listTrace->setEnabled(true);
    }

    const int lines = LichtwartSettings::Read(m_settings, LichtwartSettings::TraceLines).toInt();
    m_traceModel->Setup(headers, m_directionIcons, static_cast<quint32>(lines));
    ConfigureTraceTable();
}

void MainWindow::DisconnectTraceSignals()
{
    disconnect(m_controller, &CTrafficLightController::TraceOSI7, this, nullptr);
    disconnect(m_controller, &CTrafficLightController::TraceOSI2, this, nullptr);
    disconnect(m_controller, &CTrafficLightController::TraceAsync, this, nullptr);
}

void MainWindow::ConfigureTraceTable()
{
    QTableView *table = ui->listTrace;
    table->setShowGrid(false);
    table->setCornerButtonEnabled(false);
    // Rows can be selected (a click takes the focus) so that Ctrl+C copies them for a colleague.
    table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setFocusPolicy(Qt::ClickFocus);

    QHeaderView *rows = table->verticalHeader();
    rows->hide();
    rows->setSectionResizeMode(QHeaderView::Fixed);
    rows->setMinimumSectionSize(kTraceRowHeight);
    rows->setDefaultSectionSize(kTraceRowHeight);

    QHeaderView *columns = table->horizontalHeader();
    // Fitting a column measures its cells. Every row has the same one-line layout, so the rows
    // on screen and a few around them tell the width; measuring all of them (or the thousand
    // the header looks at by default) would make each new line of a long trace slow to add.
    columns->setResizeContentsPrecision(kTraceFitRows);
    columns->setSectionResizeMode(QHeaderView::ResizeToContents);
    columns->setStretchLastSection(true);
    columns->setSectionsClickable(false);
    columns->setDefaultAlignment(Qt::AlignCenter);

    table->setModel(m_traceModel);
}

void MainWindow::ShowTrace(bool bInbound, const QString &qstrData)
{
    AppendTraceRow(bInbound, CTraceFormat::RawRow(bInbound, CTraceFormat::Timestamp(), qstrData));
}

void MainWindow::ShowTrace(bool bInbound, const QString &qstrFrameType, int nOSI3AddressID, int nLength, bool bPRM,
                           bool bFCBorACD, bool bFCVorDFC, const QString &qstrFunction, int nAddress, int nChecksum,
                           const QString &qstrData)
{
    AppendTraceRow(bInbound, CTraceFormat::Osi2Row(bInbound, CTraceFormat::Timestamp(), qstrFrameType,
                                                   nOSI3AddressID, nLength, bPRM, bFCBorACD, bFCVorDFC,
                                                   qstrFunction, nAddress, nChecksum, qstrData));
}

void MainWindow::ShowTrace(bool bInbound, int nLength, const QString &qstrFG, const QString &qstrAppID,
                           int nJobNumber, int nBlockCount, const QString &qstrData)
{
    AppendTraceRow(bInbound, CTraceFormat::Osi7Row(bInbound, CTraceFormat::Timestamp(), nLength, qstrFG,
                                                   qstrAppID, nJobNumber, nBlockCount, qstrData));
}

void MainWindow::AppendTraceRow(bool bInbound, const QStringList &cells)
{
    m_traceModel->AddRow(bInbound ? kIconReceive : kIconTransmit, cells);
    ui->listTrace->scrollToBottom();
    // The rows keep their fixed height. The columns are fitted once the rows that arrived
    // together are in, before the table is painted again, rather than once per row.
    m_traceColumnFit.start();
}

void MainWindow::FitTraceColumns()
{
    ui->listTrace->resizeColumnsToContents();
}

void MainWindow::ConnectionChanged(bool bConnected)
{
    ShowConnectionState(bConnected);
    m_maintenance->ConnectionChanged(bConnected);
    ui->actionFSync->setEnabled(bConnected);
    ui->actionUpgradeFirmware->setEnabled(bConnected);
}

void MainWindow::SetStreloVersion(int nHWVMajor, int nHWVMinor, int nHWVRevision, int nSWVMajor, int nSWVMinor,
                                  int nSWVRelease)
{
    m_versionLabel->setText(QStringLiteral("SWV-%1.%2.%3 / HWV-%4.%5.%6 ")
                                .arg(nSWVMajor)
                                .arg(nSWVMinor)
                                .arg(nSWVRelease)
                                .arg(nHWVMajor)
                                .arg(nHWVMinor)
                                .arg(nHWVRevision));
}

void MainWindow::SetUID(const QString qstrUID)
{
    m_uidLabel->setText(QStringLiteral("UID: ") + qstrUID);
}

void MainWindow::CaptureLine(bool bOn)
{
    if (!bOn) {
        StopCapture();
        return;
    }
    if (m_capture)
        return;
    const QString path = QFileDialog::getSaveFileName(this, tr("Capture Line to File"), QString(),
                                                      tr("Line captures (*.pcap)"));
    if (path.isEmpty() || !StartCapture(path)) {
        const QSignalBlocker blocker(m_captureAction);
        m_captureAction->setChecked(false);
    }
}

bool MainWindow::StartCapture(const QString &qstrPath)
{
    StopCapture();
    auto capture = std::make_shared<CLineCapture>();
    // Connected before the writer starts: its first write may already fail.
    connect(capture.get(), &CLineCapture::SizeChanged, this, &MainWindow::ShowCaptureSize, Qt::QueuedConnection);
    connect(capture.get(), &CLineCapture::Failed, this, &MainWindow::CaptureFailed, Qt::QueuedConnection);
    if (!capture->Start(qstrPath)) {
        QMessageBox box(QMessageBox::Warning, tr("Line capture failed"), capture->ErrorText(), QMessageBox::Ok, this);
        box.exec();
        return false;
    }
    m_capture = capture;
    CAsync::SetLineTap(capture);
    {
        const QSignalBlocker blocker(m_captureAction);
        m_captureAction->setChecked(true);
    }
    ShowCaptureSize(capture->Size());
    m_captureIndicator->show();
    return true;
}

void MainWindow::StopCapture()
{
    if (!m_capture)
        return;
    CAsync::SetLineTap(nullptr);
    m_capture->disconnect(this);
    m_capture->Stop();
    m_capture.reset();
    if (ui) {
        const QSignalBlocker blocker(m_captureAction);
        m_captureAction->setChecked(false);
    }
    if (m_captureIndicator)
        m_captureIndicator->hide();
}

void MainWindow::CaptureFailed(const QString &qstrMessage)
{
    StopCapture();
    // Not modal: the link and the trace go on while the user reads it.
    auto *box = new QMessageBox(QMessageBox::Warning, tr("Line capture stopped"), qstrMessage, QMessageBox::Ok, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

// New options and Find Device disconnect as well, so the capture may end without the user asking
// for it: say where it went.
void MainWindow::EndCaptureWithDisconnect()
{
    if (!m_capture)
        return;
    const QString path = QDir::toNativeSeparators(m_capture->Path());
    StopCapture();
    // Opened, not executed: the window goes on while the user reads it.
    auto *box = new QMessageBox(QMessageBox::Information, tr("Line capture ended"),
                                tr("The line capture ended with the disconnect. It is saved in %1.").arg(path),
                                QMessageBox::Ok, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

void MainWindow::ShowCaptureSize(qint64 nBytes)
{
    if (m_capture)
        m_captureLabel->setText(tr("Capturing: %1").arg(QLocale().formattedDataSize(nBytes)));
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    if (ui) {
        SaveGeometry();
        m_controller->Close();
    }
    ReleaseResources();
    QMainWindow::closeEvent(event);
}

void MainWindow::SaveGeometry()
{
    m_settings.setValue(QLatin1String(LichtwartSettings::MainWindowSize), size());
    m_settings.setValue(QLatin1String(LichtwartSettings::MainWindowPosition), pos());
}

// The window gives its resources back when it is closed; the entry point never deletes it.
void MainWindow::ReleaseResources()
{
    m_traceColumnFit.stop();
    StopCapture();
    delete ui;
    ui = nullptr;
    delete m_connectionLabel;
    m_connectionLabel = nullptr;
    delete m_versionLabel;
    m_versionLabel = nullptr;
    delete m_uidLabel;
    m_uidLabel = nullptr;
    delete m_captureIndicator;
    m_captureIndicator = nullptr;
    m_captureLabel = nullptr;
    if (m_controller)
        m_controller->ShutDown();
    delete m_controller;
    m_controller = nullptr;
    if (m_firmwareUpgrade)
        m_firmwareUpgrade->ShutDown();
    delete m_firmwareUpgrade;
    m_firmwareUpgrade = nullptr;
}
