#pragma once

#include "CStreloDevice.h"
#include "StreloProduct.h"

#include <QObject>
#include <QString>

// The device whose hooks become Qt signals: the one place where a reply, a link change or a trace
// record turns into a signal. The hooks run on the reader and timer threads and only emit; a
// receiver on another thread gets the signal queued. Received user data is dispatched into the
// report hooks. The signal names are those of the traffic-light controller, which is one of these;
// the CLI's device and the tests' recording device are others.
class CStreloDeviceSignals : public QObject, public CStreloDevice
{
    Q_OBJECT

public:
    explicit CStreloDeviceSignals(QObject *parent = nullptr);
    ~CStreloDeviceSignals() override;

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
    // Only what was received or sent is traced.
    void TraceBytes(int level, int direction, const ByteVector &data) override;
    void TraceTelegram(int level, int direction, int frameType, int osi3AddressId, int length, bool prm,
                       bool fcbOrAcd, bool fcvOrDfc, const std::string &function, int address, int checksum,
                       const ByteVector &data) override;
    void TraceOsi7(int level, int direction, int length, const std::string &fgName, const std::string &appIdName,
                   int jobNumber, int blockCount, const ByteVector &block) override;
};
