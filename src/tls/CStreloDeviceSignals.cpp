#include "CStreloDeviceSignals.h"

#include "trace/CTraceFormat.h"

#include <QMetaType>

namespace {

bool IsTracedDirection(int direction)
{
    return direction == CAsync::kDirectionReceived || direction == CAsync::kDirectionSent;
}

} // namespace

CStreloDeviceSignals::CStreloDeviceSignals(QObject *parent) : QObject(parent)
{
    qRegisterMetaType<const STRELO_PRODUCT *>("const STRELO_PRODUCT*");
}

CStreloDeviceSignals::~CStreloDeviceSignals()
{
    // No hook may reach this object once its own part is gone.
    ShutDown();
}

void CStreloDeviceSignals::LinkChanged(bool up)
{
    emit ConnectionChanged(up);
}

void CStreloDeviceSignals::OnUserData(const ByteVector &telegram)
{
    DispatchReply(telegram);
}

void CStreloDeviceSignals::OnActualValue(int image, bool on, bool blink)
{
    emit ActualValueChanged(image, on, blink);
}

void CStreloDeviceSignals::OnDefectValue(int image, bool ok)
{
    emit DefectValueChanged(image, ok);
}

void CStreloDeviceSignals::OnLuminosity(bool full)
{
    emit LuminosityChanged(full);
}

void CStreloDeviceSignals::OnCurrentDrain(int image, double milliAmps)
{
    emit CurrentDraineChanged(image, milliAmps);
}

void CStreloDeviceSignals::OnVersion(int hwMajor, int hwMinor, int hwRevision, int swMajor, int swMinor,
                                     int swRelease)
{
    emit VersionChanged(hwMajor, hwMinor, hwRevision, swMajor, swMinor, swRelease);
}

void CStreloDeviceSignals::OnDevice(const STRELO_PRODUCT *product)
{
    emit DeviceChanged(product);
}

void CStreloDeviceSignals::OnUID(const std::string &uid)
{
    emit UIDChanged(QString::fromStdString(uid));
}

void CStreloDeviceSignals::TraceBytes(int level, int direction, const ByteVector &data)
{
    if (IsTracedDirection(direction))
        emit TraceAsync(direction == kDirectionReceived, CTraceFormat::Octets(data));
}

void CStreloDeviceSignals::TraceTelegram(int level, int direction, int frameType, int osi3AddressId, int length,
                                         bool prm, bool fcbOrAcd, bool fcvOrDfc, const std::string &function,
                                         int address, int checksum, const ByteVector &data)
{
    if (IsTracedDirection(direction))
        emit TraceOSI2(direction == kDirectionReceived, CTraceFormat::FrameType(frameType), osi3AddressId, length,
                       prm, fcbOrAcd, fcvOrDfc, QString::fromStdString(function), address, checksum,
                       CTraceFormat::Octets(data));
}

void CStreloDeviceSignals::TraceOsi7(int level, int direction, int length, const std::string &fgName,
                                     const std::string &appIdName, int jobNumber, int blockCount,
                                     const ByteVector &block)
{
    if (IsTracedDirection(direction))
        emit TraceOSI7(direction == kDirectionReceived, length, QString::fromStdString(fgName),
                       QString::fromStdString(appIdName), jobNumber, blockCount, CTraceFormat::Octets(block));
}
