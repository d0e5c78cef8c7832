#pragma once

#include "controller/StreloVisualDialog.h"
#include "tls/CStreloDevice.h"
#include "tls/CStreloSetpoints.h"
#include "tls/StreloProduct.h"

#include <QObject>
#include <QPointer>
#include <QSettings>
#include <QString>

class QPushButton;
class QTimer;
class QWidget;

// One connected traffic-light head as the user interface sees it: the whole protocol stack (port,
// link, application layer) and at the same time a Qt object. The protocol's hooks run on the
// reader and timer threads and only emit signals; everything that touches a widget happens in
// slots, which Qt runs on the GUI thread. The controller also owns the remote-control dialog and
// draws the lamp state it is told about into that dialog's buttons.
class CTrafficLightController : public QObject, public CStreloDevice
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

signals:
    void TraceAsync(bool bInbound, QString qstrData);
    void TraceOSI2(bool bInbound, QString qstrFrameType, int nOSI3AddressID, int nLength, bool bPRM, bool bFCBorACD,
                   bool bFCVorDFC, QString qstrFunction, int nAddress, int nChecksum, QString qstrData);
    void TraceOSI7(bool bInbound, int nLength, QString qstrFG, QString qstrAppID, int nJobNumber, int nBlockCount,
                   QString qstrData);
    void ConnectionChanged(bool bConncted);
    void ActualValueChanged(int nTLSImageCode, bool bOn, bool bBlink);
    void DefectValueChanged(int nTLSImageCode, bool bImageIsOk);
    void LuminosityChanged(bool bFull);
    void CurrentDraineChanged(int, double dMilliAmps);
    void VersionChanged(int nHWVMajor, int nHWVMinor, int nHWVRevision, int nSWVMajor, int nSWVMinor,
                        int nSWVRelease);
    void DeviceChanged(const struct STRELO_PRODUCT *);
    void UIDChanged(const QString qstrUID);

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

protected:
    void LinkChanged(bool up) override;
    void OnUserData(const ByteVector &telegram) override;
    void OnActualValue(int image, bool on, bool blink) override;
    void OnDefectValue(int image, bool ok) override;
    void OnLuminosity(bool full) override;
    void OnCurrentDrain(int image, double milliAmps) override;
    void OnVersion(int hwMajor, int hwMinor, int hwRevision, int swMajor, int swMinor, int swRelease) override;
    void OnDevice(const STRELO_PRODUCT *product) override;
    void OnUID(const std::string &uid) override;
    void TraceBytes(int level, int direction, const ByteVector &data) override;
    void TraceTelegram(int level, int direction, int frameType, int osi3AddressId, int length, bool prm,
                       bool fcbOrAcd, bool fcvOrDfc, const std::string &function, int address, int checksum,
                       const ByteVector &data) override;
    void TraceOsi7(int level, int direction, int length, const std::string &fgName, const std::string &appIdName,
                   int jobNumber, int blockCount, const ByteVector &block) override;

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
