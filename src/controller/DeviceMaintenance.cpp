#include "DeviceMaintenance.h"

#include "FlasherSyncDialog.h"
#include "SetOSI2AddressDialog.h"
#include "settings/LichtwartSettings.h"

#include <QAction>
#include <QPushButton>
#include <QTimer>

namespace {

// The device resets after taking its new address; the master waits this long before it lets go
// of the port, so the command has left the line.
constexpr int DisconnectDelayMs = 1000;

} // namespace

DeviceMaintenance::DeviceMaintenance(QWidget *dialogParent, QAction *disconnectAction,
                                     QAction *clearLogAction, QObject *parent)
    : QObject(parent)
    , m_dialogParent(dialogParent)
    , m_disconnectAction(disconnectAction)
    , m_clearLogAction(clearLogAction)
{
}

void DeviceMaintenance::FlasherSyncDialogOpen()
{
    auto *dialog = new FlasherSyncDialog(m_dialogParent);
    connect(dialog->SoftSyncButton(), &QPushButton::clicked, this, &DeviceMaintenance::FlasherSyncSoft);
    connect(dialog->HardSyncButton(), &QPushButton::clicked, this, &DeviceMaintenance::FlasherSyncHard);
    m_flasherDialog = dialog;
    dialog->exec();
    m_flasherDialog = nullptr;
    delete dialog;
}

void DeviceMaintenance::FlasherSyncSoft()
{
    FlasherSync(LichtwartSettings::Read(m_settings, LichtwartSettings::FlasherSoftSyncCycles).toInt());
}

void DeviceMaintenance::FlasherSyncHard()
{
    FlasherSync(0);
}

void DeviceMaintenance::FlasherSync(int nCycles)
{
    if (m_flasherDialog)
        m_flasherDialog->done(1);
    const bool bOSI7Broadcast =
        LichtwartSettings::Read(m_settings, LichtwartSettings::FlasherSyncOsi7Broadcast).toBool();
    const bool bOSI2Broadcast =
        LichtwartSettings::Read(m_settings, LichtwartSettings::FlasherSyncOsi2Broadcast).toBool();
    emit FlasherSyncRequested(bOSI7Broadcast, bOSI2Broadcast, nCycles, 0);
}

// The master disconnects a second later even when the device never got the command (link down or
// busy): the user asked for the new address, and the next connect uses it.
void DeviceMaintenance::SetOSI2Address()
{
    SetOSI2AddressDialog dialog(m_dialogParent);
    dialog.SetAddress(LichtwartSettings::Read(m_settings, LichtwartSettings::AddressOsi2).toInt());
    if (dialog.exec() != QDialog::Accepted)
        return;
    m_nNewOSI2Address = dialog.Address();
    emit SetOSI2AddressRequested(m_nNewOSI2Address);
    QTimer::singleShot(DisconnectDelayMs, this, &DeviceMaintenance::DisconnectAfterOSI2AddressChange);
}

void DeviceMaintenance::DisconnectAfterOSI2AddressChange()
{
    if (m_disconnectAction)
        m_disconnectAction->trigger();
    if (m_clearLogAction)
        m_clearLogAction->trigger();
    m_settings.setValue(QLatin1String(LichtwartSettings::AddressOsi2), m_nNewOSI2Address);
}

void DeviceMaintenance::ConnectionChanged(bool bConnected)
{
    if (m_flasherDialog)
        m_flasherDialog->EnableSyncButtons(bConnected);
}
