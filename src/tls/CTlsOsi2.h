#pragma once

#include "comm/NativeAliases.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>

// The link layer of the TLS roadside protocol as the master speaks it: single character,
// short and long telegrams in the IEC 870-5 FT1.2 frame format over the serial port, a receive
// assembler that turns the byte stream into whole telegrams, and the trace of every telegram as
// a structured record and, on request, as a readable decode line. What to send and when is the
// business of the layer above.
class CTlsOsi2 : public CAsyncNative
{
public:
    static constexpr int kTraceLevelTelegram = 12;

    // Frame types of the structured trace record.
    static constexpr int kFrameLong = 0;
    static constexpr int kFrameShort = 1;
    static constexpr int kFrameAck = 2;

    static constexpr std::uint8_t kStartLong = 0x68;
    static constexpr std::uint8_t kStartShort = 0x10;
    static constexpr std::uint8_t kAck = 0xE5;
    static constexpr std::uint8_t kEnd = 0x16;

    // Bits of the control octet.
    static constexpr std::uint8_t kPrm = 0x40;
    static constexpr std::uint8_t kFcbOrAcd = 0x20;
    static constexpr std::uint8_t kFcvOrDfc = 0x10;
    static constexpr std::uint8_t kFunctionMask = 0x0F;

    enum AssemblerState : unsigned {
        kIdle = 0,
        kWaitFirstLength = 1,
        kWaitRepeatedLength = 2,
        kWaitRepeatedStart = 3,
        kWaitCommand = 4,
        kWaitAddress = 5,
        kMoreData = 6,
        kWaitChecksum = 7,
        kWaitEnd = 8,
    };

    enum AssemblerError {
        kLengthMismatch = 1,
        kSecondStartMissing = 2,
        kDataCountMismatch = 3,
        kWrongChecksum = 4,
        kEndMissing = 5,
        kOutOfSync = 6,
        kLineIdle = 7,
    };

    // A telegram travels as one unbroken stream of characters: a line that falls idle in the
    // middle of one means the rest is lost (a spoiled length octet, for instance, would otherwise
    // make the assembler wait for up to 253 more octets and swallow the repetitions and their
    // answers). When more than this time has passed between two deliveries while a telegram is
    // being assembled, the partial telegram is dropped with its own report and the new delivery
    // starts afresh. This goes beyond the frame format's receive rules, which keep waiting.
    //
    // Why 50 ms: USB serial adapters hand over received bytes in chunks up to about 16 ms apart
    // (their latency timer), and a loaded machine may let the reader thread wait its turn for a
    // while longer, so a healthy telegram can show gaps of some 20 to 30 ms; 50 ms keeps a clear
    // margin above that. It must also stay well below the 100 ms after which the link repeats an
    // unanswered request: the answer to the repetition arrives at least about 60 ms after the
    // last spoiled octet (100 ms less the time the spoiled answer itself took on the line), so by
    // then the time-out has always passed and the answer is received whole. At 2400 baud one
    // character takes 4.6 ms, far below it.
    //
    // The check costs nothing on a quiet line and needs no timer: each delivery carries its time
    // of arrival, and the gap is looked at when the next delivery comes.
    static constexpr std::chrono::milliseconds kCharacterTimeout {50};

    CTlsOsi2();
    ~CTlsOsi2() override;

    // Opens and configures the port (eight data bits, even parity, one stop bit), clears RTS and
    // resets the assembler. `decode` switches the readable decode lines on.
    bool OpenLink(const std::string &port, int baudIndex, bool decode);

    // Each builds its telegram in m_txBuffer, traces it and hands it to Tx in one call.
    bool SendShort(std::uint8_t control, std::uint8_t address);
    bool SendLong(std::uint8_t control, std::uint8_t address, const ByteVector &userData);
    bool SendAck();

    // Every received batch goes through the assembler.
    void OnReceive(const ByteVector &data) override;

    // The texts of the trace and the error reports.
    static std::string StateName(unsigned state);
    static std::string ErrorText(int error);
    // Five characters, padded, by the PRM bit: the names used in decode lines.
    static std::string DecodeFunctionName(int functionCode, bool primary);
    // Without padding, by direction: the names used in the structured trace record.
    static std::string TraceFunctionName(int functionCode, int direction);
    static std::string ControlFieldText(std::uint8_t control);
    // The long error report: the text, the assembler's state and the byte that caused it.
    std::string AssmblyError(int error, std::uint8_t byte) const;

protected:
    using ArrivalTime = std::chrono::steady_clock::time_point;

    // Feeds one delivery that reached the port at `arrival` through the assembler.
    void Assemble(const ByteVector &data, ArrivalTime arrival);

    // A readable decode line. Building these lines costs time on every telegram, so the link
    // builds them only for a subclass that consumes them. C++ cannot ask whether a virtual
    // function was overridden, so a subclass that overrides TraceDecode also overrides
    // WantsDecodeLines to return true; both together with m_decode decide.
    virtual void TraceDecode(const std::string &line) {}
    virtual bool WantsDecodeLines() const { return false; }

    virtual void OnAck() = 0;
    virtual void OnShortTelegram(std::uint8_t control, std::uint8_t address) = 0;
    virtual void OnLongTelegram(std::uint8_t control, std::uint8_t address, const ByteVector &userData) = 0;

    // The structured record of every telegram sent (direction 1) or received (direction 0).
    // data1 and data2 are the first two user-data octets of a long telegram, else 0.
    virtual void TraceTelegram(int level, int direction, int frameType, int data1, int data2, bool prm,
                               bool fcbOrAcd, bool fcvOrDfc, const std::string &function, int address,
                               int checksum, const ByteVector &userData)
    {
    }

    std::atomic<unsigned> m_state {kIdle};
    std::atomic<std::uint8_t> m_type {kStartLong};
    ByteVector m_rxData; // user data of the long telegram under assembly; reader thread only
    ByteVector m_txBuffer; // under m_txLock
    std::atomic<bool> m_decode {false};

private:
    void DropStalledTelegram(ArrivalTime arrival);
    void AssembleByte(std::uint8_t byte);
    void OnIdleByte(std::uint8_t byte);
    void OnAddressByte(std::uint8_t byte);
    void OnDataByte(std::uint8_t byte);
    void OnChecksumByte(std::uint8_t byte);
    void OnEndByte(std::uint8_t byte);
    void ReportAssemblyError(int error);

    bool DecodeLinesWanted() const { return m_decode.load() && WantsDecodeLines(); }
    static std::string DecodeLine(const char *prefix, std::uint8_t control, std::uint8_t address);
    static std::string DecodeLine(const char *prefix, std::uint8_t control, std::uint8_t address, int count,
                                  const ByteVector &userData);
    void Record(int direction, int frameType, std::uint8_t control, std::uint8_t address,
                std::uint8_t checksum, const ByteVector &userData);
    bool TransmitBuilt(int frameType, std::uint8_t control, std::uint8_t address, std::uint8_t checksum,
                       const ByteVector &userData);

    // The length, control, address and running checksum of the telegram under assembly are one
    // set for the whole process, shared by every link object: the program runs one link at a
    // time. Atomic, so that two links in one process (tests, tools) stay free of data races.
    static inline std::atomic<std::uint8_t> s_length {0};
    static inline std::atomic<std::uint8_t> s_control {0};
    static inline std::atomic<std::uint8_t> s_address {0};
    static inline std::atomic<std::uint32_t> s_checksum {0};

    ArrivalTime m_lastArrival {}; // of the previous delivery; reader thread only

    // One telegram is built and written at a time, whichever thread sends it.
    std::recursive_mutex m_txLock;
};
