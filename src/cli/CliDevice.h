#pragma once

#include "CliOptions.h"
#include "tls/CStreloDevice.h"

#include <QObject>
#include <QString>

// The device as the CLI sees it: the protocol stack whose hooks become Qt signals, emitted on the
// reader and timer threads and delivered queued to the CLI's main thread. Trace records of the chosen
// level become trace rows, their cells in the order of the GUI's table.
class CliDevice : public QObject, public CStreloDevice
{
    Q_OBJECT

public:
    explicit CliDevice(CliOptions::TraceLevel traceLevel, QObject *parent = nullptr);
    ~CliDevice() override;

signals:
    void LinkChangedSignal(bool up);
    void ActualValue(int image, bool on, bool blink);
    void DefectValue(int image, bool ok);
    void Luminosity(bool full);
    void CurrentDrain(int image, double milliAmps);
    void Version(int hwMajor, int hwMinor, int hwRevision, int swMajor, int swMinor, int swRelease);
    void Device(const STRELO_PRODUCT *product);
    void Uid(const QString &uid);
    void TraceRow(const QStringList &cells);

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
    void ReportError(const std::string &text) override;
    void TraceBytes(int level, int direction, const ByteVector &data) override;
    void TraceTelegram(int level, int direction, int frameType, int osi3AddressId, int length, bool prm,
                       bool fcbOrAcd, bool fcvOrDfc, const std::string &function, int address, int checksum,
                       const ByteVector &data) override;
    void TraceOsi7(int level, int direction, int length, const std::string &fgName, const std::string &appIdName,
                   int jobNumber, int blockCount, const ByteVector &block) override;

private:
    const CliOptions::TraceLevel m_traceLevel;
};
