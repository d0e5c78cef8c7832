#include "CAsyncW32.h"

#include <cerrno>

namespace {

constexpr DWORD kWin32Rates[CAsync::kBaudIndexCount] = {CBR_110,  CBR_300,   CBR_600,   CBR_1200,
                                                        CBR_2400, CBR_4800,  CBR_9600,  CBR_19200,
                                                        CBR_38400, CBR_57600, CBR_115200};

// The flag word of the DCB: binary mode and transmit-continue-on-XOFF only; the parity-check
// flag (bit 1) and the top reserved bit keep their values, every flow control is off.
void SetBinaryFlags(DCB &dcb)
{
    const DWORD parityCheck = dcb.fParity;
    const DWORD reserved = dcb.fDummy2 & (1u << 16);
    dcb.fBinary = TRUE;
    dcb.fParity = parityCheck;
    dcb.fOutxCtsFlow = FALSE;
    dcb.fOutxDsrFlow = FALSE;
    dcb.fDtrControl = DTR_CONTROL_DISABLE;
    dcb.fDsrSensitivity = FALSE;
    dcb.fTXContinueOnXoff = TRUE;
    dcb.fOutX = FALSE;
    dcb.fInX = FALSE;
    dcb.fErrorChar = FALSE;
    dcb.fNull = FALSE;
    dcb.fRtsControl = RTS_CONTROL_DISABLE;
    dcb.fAbortOnError = FALSE;
    dcb.fDummy2 = reserved;
}

} // namespace

CAsyncW32::CAsyncW32() = default;

CAsyncW32::~CAsyncW32()
{
    if (m_thread != nullptr)
        Close();
}

bool CAsyncW32::Open(const std::string &portName)
{
    if (m_thread != nullptr)
        Close();

    // Windows users know a port by its name alone; the "\\.\" prefix only lets names above
    // COM9 open, so the name is what a failure names.
    RecordOpenFailure({PortOpenFailure::Step::None, 0, portName, portName});
    m_thread = CreateThread(nullptr, 0, &CAsyncW32::ThreadEntry, this, CREATE_SUSPENDED, &m_threadId);
    if (m_thread == nullptr)
        return FailOpen("Unable to create the reader thread");
    m_stopEvent = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    m_txEvent = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    m_rxEvent = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    if (m_stopEvent == nullptr || m_txEvent == nullptr || m_rxEvent == nullptr)
        return FailOpen("Unable to create the reader's events");
    m_rxOverlapped = {};
    m_rxOverlapped.hEvent = m_rxEvent;
    m_txOverlapped = {};
    m_txOverlapped.hEvent = m_txEvent;

    const std::string path = "\\\\.\\" + portName;
    m_device = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                           FILE_FLAG_OVERLAPPED, nullptr);
    if (m_device == INVALID_HANDLE_VALUE)
        return FailOpen("Unable to open " + portName);
    return true;
}

// Records and reports why Open failed (the system's error of the call that just failed) and
// undoes what Open had done.
bool CAsyncW32::FailOpen(const std::string &what)
{
    const DWORD code = GetLastError();
    PortOpenFailure failure = LastOpenFailure();
    failure.step = StepOfOpenError(code);
    failure.error = PosixError(code);
    RecordOpenFailure(failure);
    if (m_thread != nullptr)
        EndUnstartedThread();
    ReleaseHandles();
    ReportError("CAsyncW32::Open: " + what + " (system error " + std::to_string(code) + ")");
    return false;
}

// Windows refuses a port another program holds with ERROR_ACCESS_DENIED (ports are opened
// without sharing), so a refusal reads as "in use" rather than as missing rights.
PortOpenFailure::Step CAsyncW32::StepOfOpenError(DWORD code)
{
    switch (code) {
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_BUSY: return PortOpenFailure::Step::InUse;
    case ERROR_INVALID_FUNCTION:
    case ERROR_NOT_SUPPORTED: return PortOpenFailure::Step::NotSerial;
    default: return PortOpenFailure::Step::Open;
    }
}

// The system's error code as the POSIX error number of the same meaning, so that the reasons
// shown to the user are the same on both systems.
int CAsyncW32::PosixError(DWORD code)
{
    switch (code) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME: return ENOENT;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_BUSY: return EBUSY;
    case ERROR_DEV_NOT_EXIST:
    case ERROR_DEVICE_NOT_CONNECTED:
    case ERROR_NOT_READY: return ENODEV;
    case ERROR_INVALID_FUNCTION:
    case ERROR_NOT_SUPPORTED: return ENOTTY;
    case ERROR_INVALID_PARAMETER: return EINVAL;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
    case ERROR_NO_SYSTEM_RESOURCES: return ENOMEM;
    case ERROR_TOO_MANY_OPEN_FILES: return EMFILE;
    default: return EIO;
    }
}

bool CAsyncW32::Configure(int baudIndex, int dataBits, int stopBits, int parity)
{
    if (m_thread == nullptr)
        return false;
    DCB dcb {};
    dcb.DCBlength = sizeof dcb;
    if (!GetCommState(m_device, &dcb)) {
        // A device without serial settings (a printer, a file) is no serial port.
        PortOpenFailure failure = LastOpenFailure();
        failure.step = PortOpenFailure::Step::NotSerial;
        failure.error = PosixError(GetLastError());
        RecordOpenFailure(failure);
        return false;
    }
    if (baudIndex >= 0 && baudIndex < kBaudIndexCount)
        dcb.BaudRate = kWin32Rates[baudIndex];
    if (dataBits == kDataBits7 || dataBits == kDataBits8)
        dcb.ByteSize = dataBits == kDataBits7 ? 7 : 8;
    if (stopBits == kStopBits1 || stopBits == kStopBits2)
        dcb.StopBits = stopBits == kStopBits1 ? ONESTOPBIT : TWOSTOPBITS;
    if (parity == kParityNone || parity == kParityEven || parity == kParityOdd)
        dcb.Parity = parity == kParityNone ? NOPARITY : (parity == kParityEven ? EVENPARITY : ODDPARITY);
    SetBinaryFlags(dcb);
    COMMTIMEOUTS timeouts {0, 0, 0, 0, 0};
    if (!SetCommState(m_device, &dcb) || !SetCommTimeouts(m_device, &timeouts)) {
        RecordRefusedSettings(PosixError(GetLastError()), baudIndex, dataBits, stopBits, parity);
        return false;
    }
    ResumeThread(m_thread);
    m_resumed = true;
    return true;
}

void CAsyncW32::SetRTS(bool on)
{
    EscapeCommFunction(m_device, on ? SETRTS : CLRRTS);
}

void CAsyncW32::SetDTR(bool on)
{
    EscapeCommFunction(m_device, on ? SETDTR : CLRDTR);
}

bool CAsyncW32::Tx(const ByteVector &data)
{
    if (m_thread == nullptr)
        return false;
    m_txOverlapped.Offset = 0;
    m_txOverlapped.OffsetHigh = 0;
    TraceBytes(kTraceLevelRaw, kDirectionSent, data);
    TapBytes(kDirectionSent, data);
    if (WriteFile(m_device, data.data(), static_cast<DWORD>(data.size()), nullptr, &m_txOverlapped)
        || GetLastError() == ERROR_IO_PENDING) {
        return true;
    }
    ReportError("CAsyncW32::Tx: Sending data failed");
    return false;
}

DWORD WINAPI CAsyncW32::ThreadEntry(LPVOID self)
{
    auto *port = static_cast<CAsyncW32 *>(self);
    return port->m_abandoned.load() ? 1 : port->ThreadProc();
}

// The reader thread is created suspended and started by Configure. One that never started (the
// open failed, or the port is closed before it was configured) would stay suspended for the
// life of the process once its handle is closed, so it is let run just far enough to end.
void CAsyncW32::EndUnstartedThread()
{
    m_abandoned = true;
    ResumeThread(m_thread);
    WaitForSingleObject(m_thread, INFINITE);
    m_abandoned = false;
}

void CAsyncW32::ArmRx()
{
    m_rxBuffer.resize(1);
    m_rxArmed = ReadFile(m_device, m_rxBuffer.data(), 1, nullptr, &m_rxOverlapped) || GetLastError() == ERROR_IO_PENDING;
    if (!m_rxArmed)
        ReportError("CAsyncW32::ArmRx: Arming receiver faild");
}

// CancelIo only asks for the end of the arming read; the system still writes its result into
// the receive buffer and overlapped structure, which belong to this object. The reader therefore
// waits for the cancelled read to complete before it ends.
void CAsyncW32::CancelArmedRead()
{
    CancelIo(m_device);
    if (!m_rxArmed)
        return;
    DWORD read = 0;
    GetOverlappedResult(m_device, &m_rxOverlapped, &read, TRUE);
    m_rxArmed = false;
}

void CAsyncW32::GetRxData()
{
    DWORD errors = 0;
    COMSTAT status {};
    if (ClearCommError(m_device, &errors, &status) && status.cbInQue != 0) {
        const DWORD count = status.cbInQue;
        m_rxBuffer.resize(count + 1);
        DWORD read = 0;
        const bool complete = ReadFile(m_device, m_rxBuffer.data() + 1, count, &read, &m_rxOverlapped)
            ? read == count
            : AwaitPendingRead(count);
        if (!complete) {
            ReportError("CAsyncW32::GetRxData: Unable to read correct amount of data from receiver");
            return;
        }
    }
    TapBytes(kDirectionReceived, m_rxBuffer);
    TraceBytes(kTraceLevelRaw, kDirectionReceived, m_rxBuffer);
    OnReceive(m_rxBuffer);
}

// Windows lets any overlapped ReadFile complete later, even one for bytes that are already
// queued (wine does so for every read of a serial device). A read that pends is therefore waited
// for and its bytes delivered; only a read that fails or brings fewer bytes counts as an error.
bool CAsyncW32::AwaitPendingRead(DWORD count)
{
    DWORD read = 0;
    return GetLastError() == ERROR_IO_PENDING && GetOverlappedResult(m_device, &m_rxOverlapped, &read, TRUE)
        && read == count;
}

// The one-byte read that armed the receiver has completed. When it brought no byte the device
// has gone (a USB adapter unplugged, the other end of a virtual port closed): re-arming would
// complete again at once, so the reader would spin.
bool CAsyncW32::ArmingByteArrived()
{
    DWORD read = 0;
    m_rxArmed = false;
    return GetOverlappedResult(m_device, &m_rxOverlapped, &read, FALSE) && read == 1;
}

DWORD CAsyncW32::ThreadProc()
{
    const HANDLE events[3] = {m_stopEvent, m_rxEvent, m_txEvent};
    ArmRx();
    for (;;) {
        switch (WaitForMultipleObjects(3, events, FALSE, INFINITE)) {
        case WAIT_OBJECT_0:
            CancelArmedRead();
            return 0;
        case WAIT_OBJECT_0 + 1:
            if (!ArmingByteArrived()) {
                ReportError("CAsyncW32::ThreadProc: The device has been disconnected");
                return 3;
            }
            GetRxData();
            ArmRx();
            break;
        case WAIT_OBJECT_0 + 2:
            OnTransmitComplete();
            break;
        default:
            ReportError("CAsyncW32::ThreadProc: Unknow object returned by WaitForMultipleObjects");
            break;
        }
    }
}

void CAsyncW32::Close()
{
    if (m_thread == nullptr)
        return;
    if (!m_resumed) {
        EndUnstartedThread();
        ReleaseHandles();
        return;
    }
    if (GetCurrentThreadId() == m_threadId) {
        ReportError("CAsyncW32::Close: The port cannot be closed from its own reader thread");
        return;
    }
    // The reader cancels its own pending read when it sees the stop event (CancelIo only reaches
    // the calling thread's reads) and waits for that read to complete before it ends.
    SetEvent(m_stopEvent);
    WaitForSingleObject(m_thread, INFINITE);
    ReleaseHandles();
}

void CAsyncW32::ReleaseHandles()
{
    for (HANDLE *event : {&m_rxEvent, &m_txEvent, &m_stopEvent}) {
        if (*event != nullptr)
            CloseHandle(*event);
        *event = nullptr;
    }
    if (m_thread != nullptr)
        CloseHandle(m_thread);
    m_thread = nullptr;
    m_resumed = false;
    if (m_device != INVALID_HANDLE_VALUE)
        CloseHandle(m_device);
    m_device = INVALID_HANDLE_VALUE;
}
