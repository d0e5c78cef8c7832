#pragma once

#include <QObject>
#include <QPointer>
#include <QSettings>

class FlasherSyncDialog;
class QAction;
class QWidget;

// The main window's two maintenance functions: starting a flasher synchronisation and giving the
// device a new OSI 2 (link) address. The main window owns one of these, forwards its slots of the
// same names here, reports the link state through ConnectionChanged() and connects the two request
// signals to the device's commands. The device drops a request while the link is down or another
// telegram is pending; these functions behave the same either way.
class DeviceMaintenance : public QObject
{
    Q_OBJECT

public:
    // The dialogs open over dialogParent; the address change triggers the two actions, in this
    // order, one second after the command went out.
    DeviceMaintenance(QWidget *dialogParent, QAction *disconnectAction, QAction *clearLogAction,
                      QObject *parent = nullptr);

    // The flasher dialog while it runs, else null.
    FlasherSyncDialog *OpenFlasherDialog() const { return m_flasherDialog; }
    // The address chosen last; -1 until an address change was accepted.
    int NewOSI2Address() const { return m_nNewOSI2Address; }

public slots:
    void FlasherSyncDialogOpen();
    void FlasherSyncSoft();
    void FlasherSyncHard();
    void SetOSI2Address();
    void DisconnectAfterOSI2AddressChange();
    void ConnectionChanged(bool bConnected);

signals:
    // nCycles is the soft cycle count, 0 for a hard synchronisation; nSecond is always 0.
    void FlasherSyncRequested(bool bOSI7Broadcast, bool bOSI2Broadcast, int nCycles, int nSecond);
    void SetOSI2AddressRequested(int nAddress);

private:
    void FlasherSync(int nCycles);

    QWidget *m_dialogParent;
    QPointer<QAction> m_disconnectAction;
    QPointer<QAction> m_clearLogAction;
    QSettings m_settings;
    FlasherSyncDialog *m_flasherDialog = nullptr;
    int m_nNewOSI2Address = -1;
};
