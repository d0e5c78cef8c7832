#include "CHeadSearchDevice.h"

#include <algorithm>

namespace {

// FT1.2 wants the line idle for at least 33 bit times between two telegrams.
constexpr int kIdleBitsBetweenTelegrams = 33;

} // namespace

CHeadSearchDevice::CHeadSearchDevice(QObject *parent)
    : CStreloDeviceSignals(parent)
{
}

CHeadSearchDevice::~CHeadSearchDevice()
{
    ShutDown();
}

// The identification of a found head polls this often, not every 250 ms as the ordinary link:
// nothing else is on the line and the technician waits for the answer. Each of its exchanges
// (link-up, three jobs, three polls that fetch the replies) then costs little more than its time
// on the line. Twice the idle time FT1.2 asks for stays well clear of it at every rate, and the
// link's own interval is never exceeded.
int CHeadSearchDevice::IdentifyPollMs(int rate)
{
    const int idleMs = (kIdleBitsBetweenTelegrams * 1000 + rate - 1) / rate;
    return std::clamp(2 * idleMs, kIdentifyPollMs, kPollIntervalMs);
}

bool CHeadSearchDevice::SetRate(const QString &device, int rate)
{
    const int baudIndex = BaudIndexForRate(rate);
    SetPollInterval(IdentifyPollMs(rate));
    if (m_open)
        return Configure(baudIndex, kDataBits8, kStopBits1, kParityEven);
    m_open = OpenLink(device.toStdString(), baudIndex, false);
    return m_open;
}

void CHeadSearchDevice::Release()
{
    Close();
    m_open = false;
}

bool CHeadSearchDevice::Probe(int address)
{
    return SendShort(kRequestStatus, static_cast<std::uint8_t>(address));
}

void CHeadSearchDevice::OnShortTelegram(std::uint8_t control, std::uint8_t address)
{
    // The answer names the head that gives it, so a late answer is still credited correctly.
    if ((control & kFunctionMask) == kFunctionStatusOfLink && (control & kPrm) == 0)
        emit StatusOfLink(address);
    CStreloDevice::OnShortTelegram(control, address);
}

void CHeadSearchDevice::OnUserData(const ByteVector &telegram)
{
    if (const auto endPoint = CTlsOsi7Codec::ActualValueEndPoint(telegram))
        emit ReplyEndPoint(*endPoint);
    CStreloDeviceSignals::OnUserData(telegram);
}
