#include "CliDevice.h"

#include "trace/CTraceFormat.h"

CliDevice::CliDevice(CliOptions::TraceLevel traceLevel, QObject *parent) : CStreloDeviceSignals(parent)
{
    // Direct: the row is stamped when the record is made, not when the main thread gets to it.
    switch (traceLevel) {
    case CliOptions::TraceLevel::Raw:
        connect(this, &CliDevice::TraceAsync, this, [this](bool inbound, const QString &data) {
            emit TraceRow(CTraceFormat::RawRow(inbound, CTraceFormat::Timestamp(), data));
        }, Qt::DirectConnection);
        break;
    case CliOptions::TraceLevel::Osi2:
        connect(this, &CliDevice::TraceOSI2, this,
                [this](bool inbound, const QString &frameType, int osi3AddressId, int length, bool prm, bool fcbOrAcd,
                       bool fcvOrDfc, const QString &function, int address, int checksum, const QString &data) {
            emit TraceRow(CTraceFormat::Osi2Row(inbound, CTraceFormat::Timestamp(), frameType, osi3AddressId, length,
                                                prm, fcbOrAcd, fcvOrDfc, function, address, checksum, data));
        }, Qt::DirectConnection);
        break;
    case CliOptions::TraceLevel::Osi7:
        connect(this, &CliDevice::TraceOSI7, this,
                [this](bool inbound, int length, const QString &fg, const QString &appId, int jobNumber,
                       int blockCount, const QString &data) {
            emit TraceRow(CTraceFormat::Osi7Row(inbound, CTraceFormat::Timestamp(), length, fg, appId, jobNumber,
                                                blockCount, data));
        }, Qt::DirectConnection);
        break;
    case CliOptions::TraceLevel::None:
        break;
    }
}

CliDevice::~CliDevice()
{
    // No trace row may be made while this object is being destroyed.
    ShutDown();
}
