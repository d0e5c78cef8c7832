#pragma once

#include "controller/StreloVisualDialog.h"
#include "tls/CStreloDeviceSignals.h"
#include "tls/CStreloSetpoints.h"

#include <QObject>
#include <QPointer>
#include <QSettings>
#include <QString>

class QPushButton;
class QTimer;
class QWidget;

// One connected traffic-light head as the user interface sees it: the whole protocol stack (port,
// link, application layer) and at the same time a Qt object. The protocol's hooks run on the
// reader and timer threads and only emit signals (CStreloDeviceSignals, whose signals are the
// controller's: ConnectionChanged, ActualValueChanged, ..., TraceOSI7); everything that touches a
// widget happens in slots, which Qt runs on the GUI thread. The controller also owns the
// remote-control dialog and draws the lamp state it is told about into that dialog's buttons.
class CTrafficLightController : public CStreloDeviceSignals
{
    Q_OBJECT

public:
    // The remote-control dialog gets the main window as its parent, and tells the main window's
    // StreloDialogClosed(int) when it closes.
    explicit CTrafficLightController(QWidget *mainWindow);
    ~CTrafficLightController() override;

    // Opens the link on the named port at a rate in bit/s (without decode lines); false when the
    // port cannot be opened. The caller then starts the link with Connect(osi2, osi7).
    virtual bool ConnectPort(const QString &qstrPortName, int nBaudRate);
    void ShowRemoteControl();
    StreloVisualDialog *RemoteControl() const { return m_dialog; }

    // Ends the reader and timer threads and closes the port. The owner calls this before it
    // deletes the controller: those threads call into this object, and must not meet it while
    // its destructors run.
    using CStreloDevice::ShutDown;

public slots:
    void OnLinkChange(bool bLinkIsUp);
    void SetRedSetpoint();
    void SetGreenSetpoint();
    void SetYellowSetpoint();
    void SetYellowSteadySetpoint();
    void SetYellowFlasherSetpoint();
    void SetYellowRedSetpoint();
    void SetOffSetpoint();
    void SetActualValue(int nTLSImageCode, bool bOn, bool bBlink);
    void SetDefectValue(int nTLSImageCode, bool bImageIsOk);
    void SetIntensity(int nIntensity);
    void SetGUIIntensity(bool bFull);
    void RefreshCurrentMeters();
    void SetGUICurrentDrain(int nTLSImageCode, double dMilliAmps);
    void UpdateBlinkCycle();
    void SwitchToFirmwareUploadMode(int nPortID, int nBaudrateID, int nPortFeatures);

private:
    // How a lamp button looks; the names are the last part of the icon resources.
    enum class LampLook { Off, On, Defective };

    void ConnectDialog(QWidget *mainWindow);
    void SetLamp(CStreloSetpoints::Lamp lamp);

    QPushButton *LampButton(int nTLSImageCode) const;
    void ShowLamp(int nTLSImageCode, LampLook look);
    void ShowAllLampsOff();
    bool *DefectFlag(int nTLSImageCode);
    void ShowDefectOfSteadyLamp(int nTLSImageCode, bool bImageIsOk);
    void ShowDefectOfYellowLamp(bool bImageIsOk);

    QSettings m_settings;
    QPointer<StreloVisualDialog> m_dialog;
    QTimer *m_blinkTimer = nullptr;

    // What the remote control shows; touched only on the GUI thread.
    int m_actualImage = 0;
    int m_lampState = 0; // 0 off, 1 lit steady, 2 blinking
    bool m_blinkPhase = false;
    bool m_redDefect = false;
    bool m_yellowDefect = false; // also stands for the yellow flasher
    bool m_greenDefect = false;
    bool m_redYellowDefect = false;
};
