#include "CHeadSearchDevice.h"

namespace {

QString VersionText(int major, int minor, int third)
{
    return QStringLiteral("%1.%2.%3").arg(major).arg(minor).arg(third);
}

} // namespace

CHeadSearchDevice::CHeadSearchDevice(QObject *parent)
    : QObject(parent)
{
}

CHeadSearchDevice::~CHeadSearchDevice()
{
    ShutDown();
}

bool CHeadSearchDevice::SetRate(const QString &device, int rate)
{
    const int baudIndex = BaudIndexForRate(rate);
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

void CHeadSearchDevice::LinkChanged(bool up)
{
    if (up)
        emit LinkUp();
}

void CHeadSearchDevice::OnUserData(const ByteVector &telegram)
{
    if (const auto endPoint = CTlsOsi7Codec::ActualValueEndPoint(telegram))
        emit ReplyEndPoint(*endPoint);
    DispatchReply(telegram);
}

void CHeadSearchDevice::OnVersion(int hwMajor, int hwMinor, int hwRevision, int swMajor, int swMinor, int swRelease)
{
    emit Version(VersionText(hwMajor, hwMinor, hwRevision), VersionText(swMajor, swMinor, swRelease));
}

void CHeadSearchDevice::OnDevice(const STRELO_PRODUCT *product)
{
    emit Product(product ? product->id : QString());
}

void CHeadSearchDevice::OnUID(const std::string &uid)
{
    emit Uid(QString::fromStdString(uid));
}
