#pragma once

#include "CCommunicationPort.h"
#include "CLineTap.h"
#include "PortOpenFailure.h"

#include <memory>
#include <string>

// The asynchronous (byte-stream) serial port: opened by name, configured from the baud-rate
// table and the selectors below, read by a reader thread of its own.
class CAsync : public CCommunicationPort
{
public:
    // Level and directions of the raw byte trace.
    static constexpr int kTraceLevelRaw = 11;
    static constexpr int kDirectionReceived = 0;
    static constexpr int kDirectionSent = 1;

    // Selectors of Configure; any other value leaves that setting as the device has it.
    static constexpr int kDataBits7 = 0;
    static constexpr int kDataBits8 = 1;
    static constexpr int kStopBits1 = 0;
    static constexpr int kStopBits2 = 1;
    static constexpr int kParityNone = 0;
    static constexpr int kParityEven = 1;
    static constexpr int kParityOdd = 2;

    static constexpr int kBaudIndexCount = 11;
    static constexpr int kBaudRates[kBaudIndexCount] = {110,  300,   600,   1200,  2400,  4800,
                                                        9600, 19200, 38400, 57600, 115200};

    // The index of a rate in the table; a rate the table lacks maps to 10 (115200).
    static int BaudIndexForRate(int rate);
    // The rate of an index, or -1 for an index outside the table (the device keeps its rate).
    static int RateForBaudIndex(int index);

    virtual bool Open(const std::string &portName) = 0;
    virtual void Close() = 0;
    virtual bool Configure(int baudIndex, int dataBits, int stopBits, int parity) = 0;
    virtual void SetRTS(bool on) = 0;
    virtual void SetDTR(bool on) = 0;
    // Every failure of the port and the layers above is reported here as an English text,
    // "Class::Operation: what went wrong".
    virtual void ReportError(const std::string &text) = 0;
    // Every batch received (direction 0) and sent (direction 1), at level 11.
    virtual void TraceBytes(int level, int direction, const ByteVector &data) {}

    // The line capture. The program drives one serial line, and the link and the boot loader take
    // turns on it; a capture records that line, so the tap belongs to the process rather than to one
    // port: every port passes each chunk it writes or reads to the tap set here. Null ends the
    // recording; a port that is handing a chunk over keeps the old tap alive until it is done.
    static void SetLineTap(std::shared_ptr<CLineTap> tap);
    static std::shared_ptr<CLineTap> LineTap();

    // What made the last Open or Configure fail (step None after a success). Read on the thread
    // that opens the port.
    const PortOpenFailure &LastOpenFailure() const { return m_openFailure; }

protected:
    // Hands a chunk, as it is, to the line tap (if any) with the time of this call.
    static void TapBytes(int direction, const ByteVector &data);
    void RecordOpenFailure(const PortOpenFailure &failure) { m_openFailure = failure; }
    // The device refused these settings (selectors as Configure's); `error` is the POSIX error
    // number of the refusal, 0 when the device took the call but not the settings.
    void RecordRefusedSettings(int error, int baudIndex, int dataBits, int stopBits, int parity);

private:
    PortOpenFailure m_openFailure;
};
