#include "CliDevice.h"

#include "trace/CTraceFormat.h"

CliDevice::CliDevice(CliOptions::TraceLevel traceLevel, QObject *parent)
    : QObject(parent)
    , m_traceLevel(traceLevel)
{
    qRegisterMetaType<const STRELO_PRODUCT *>("const STRELO_PRODUCT*");
}

CliDevice::~CliDevice()
{
    // No hook may reach this object once its own part is gone.
    ShutDown();
}

void CliDevice::LinkChanged(bool up)
{
    emit LinkChangedSignal(up);
}

void CliDevice::OnUserData(const ByteVector &telegram)
{
    DispatchReply(telegram);
}

void CliDevice::OnActualValue(int image, bool on, bool blink)
{
    emit ActualValue(image, on, blink);
}

void CliDevice::OnDefectValue(int image, bool ok)
{
    emit DefectValue(image, ok);
}

void CliDevice::OnLuminosity(bool full)
{
    emit Luminosity(full);
}

void CliDevice::OnCurrentDrain(int image, double milliAmps)
{
    emit CurrentDrain(image, milliAmps);
}

void CliDevice::OnVersion(int hwMajor, int hwMinor, int hwRevision, int swMajor, int swMinor, int swRelease)
{
    emit Version(hwMajor, hwMinor, hwRevision, swMajor, swMinor, swRelease);
}

void CliDevice::OnDevice(const STRELO_PRODUCT *product)
{
    emit Device(product);
}

void CliDevice::OnUID(const std::string &uid)
{
    emit Uid(QString::fromStdString(uid));
}

void CliDevice::ReportError(const std::string &)
{
    // Protocol faults are handled by the link procedure (repetition, link loss); the CLI, like the
    // GUI, does not show them.
}

void CliDevice::TraceBytes(int level, int direction, const ByteVector &data)
{
    if (m_traceLevel == CliOptions::TraceLevel::Raw && (direction == kDirectionReceived || direction == kDirectionSent))
        emit TraceRow(CTraceFormat::RawRow(direction == kDirectionReceived, CTraceFormat::Timestamp(), CTraceFormat::Octets(data)));
}

void CliDevice::TraceTelegram(int level, int direction, int frameType, int osi3AddressId, int length, bool prm,
                              bool fcbOrAcd, bool fcvOrDfc, const std::string &function, int address,
                              int checksum, const ByteVector &data)
{
    if (m_traceLevel != CliOptions::TraceLevel::Osi2 || (direction != kDirectionReceived && direction != kDirectionSent))
        return;
    emit TraceRow(CTraceFormat::Osi2Row(direction == kDirectionReceived, CTraceFormat::Timestamp(),
                                       CTraceFormat::FrameType(frameType), osi3AddressId, length, prm, fcbOrAcd,
                                       fcvOrDfc, QString::fromStdString(function), address, checksum,
                                       CTraceFormat::Octets(data)));
}

void CliDevice::TraceOsi7(int level, int direction, int length, const std::string &fgName, const std::string &appIdName,
                          int jobNumber, int blockCount, const ByteVector &block)
{
    if (m_traceLevel != CliOptions::TraceLevel::Osi7 || (direction != kDirectionReceived && direction != kDirectionSent))
        return;
    emit TraceRow(CTraceFormat::Osi7Row(direction == kDirectionReceived, CTraceFormat::Timestamp(), length,
                                       QString::fromStdString(fgName), QString::fromStdString(appIdName),
                                       jobNumber, blockCount, CTraceFormat::Octets(block)));
}
