#include "RecordingDevice.h"

RecordingDevice::RecordingDevice()
{
    m_clock.start();
}

RecordingDevice::~RecordingDevice()
{
    // The hooks below must not run while this object is being destroyed.
    ShutDown();
}

QStringList RecordingDevice::Events() const
{
    std::lock_guard lock(m_mutex);
    return m_events;
}

QStringList RecordingDevice::EventsStartingWith(const QString &prefix) const
{
    std::lock_guard lock(m_mutex);
    QStringList matching;
    for (const QString &event : m_events) {
        if (event.startsWith(prefix))
            matching.append(event);
    }
    return matching;
}

void RecordingDevice::ClearEvents()
{
    std::lock_guard lock(m_mutex);
    m_events.clear();
}

bool RecordingDevice::WaitForEvent(const QString &prefix, int count, int timeoutMs)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
        int seen = 0;
        for (const QString &event : m_events)
            seen += event.startsWith(prefix) ? 1 : 0;
        return seen >= count;
    });
}

qint64 RecordingDevice::ElapsedMs() const
{
    std::lock_guard lock(m_mutex);
    return m_clock.elapsed();
}

void RecordingDevice::SetOnLinkUp(std::function<void()> action)
{
    std::lock_guard lock(m_mutex);
    m_onLinkUp = std::move(action);
}

void RecordingDevice::Add(const QString &event)
{
    {
        std::lock_guard lock(m_mutex);
        m_events.append(event);
    }
    m_changed.notify_all();
}

void RecordingDevice::LinkChanged(bool up)
{
    Add(QStringLiteral("link %1").arg(up ? 1 : 0));
    std::function<void()> action;
    {
        std::lock_guard lock(m_mutex);
        action = m_onLinkUp;
    }
    if (up && action)
        action();
}

void RecordingDevice::OnUserData(const ByteVector &telegram)
{
    DispatchReply(telegram);
}

void RecordingDevice::OnActualValue(int image, bool on, bool blink)
{
    Add(QStringLiteral("actual %1 %2 %3").arg(image).arg(int(on)).arg(int(blink)));
}

void RecordingDevice::OnDefectValue(int image, bool ok)
{
    Add(QStringLiteral("defect %1 %2").arg(image).arg(int(ok)));
}

void RecordingDevice::OnLuminosity(bool full)
{
    Add(full ? QStringLiteral("luminosity full") : QStringLiteral("luminosity dim"));
}

void RecordingDevice::OnCurrentDrain(int image, double milliAmps)
{
    Add(QStringLiteral("current %1 %2").arg(image).arg(milliAmps, 0, 'f', 1));
}

void RecordingDevice::OnVersion(int hwMajor, int hwMinor, int hwRevision, int swMajor, int swMinor, int swRelease)
{
    Add(QStringLiteral("version %1 %2 %3 %4 %5 %6").arg(hwMajor).arg(hwMinor).arg(hwRevision).arg(swMajor).arg(swMinor).arg(swRelease));
}

void RecordingDevice::OnDevice(const STRELO_PRODUCT *product)
{
    Add(QStringLiteral("device %1").arg(product ? product->id : QStringLiteral("null")));
}

void RecordingDevice::OnUID(const std::string &uid)
{
    Add(QStringLiteral("uid %1").arg(QString::fromStdString(uid)));
}

void RecordingDevice::TraceOsi7(int level, int direction, int length, const std::string &fgName,
                                const std::string &appIdName, int jobNumber, int blockCount, const ByteVector &block)
{
    Add(QStringLiteral("osi7 %1 %2 %3|%4|%5|%6|%7|%8")
            .arg(level)
            .arg(direction)
            .arg(length)
            .arg(QString::fromStdString(fgName), QString::fromStdString(appIdName))
            .arg(jobNumber)
            .arg(blockCount)
            .arg(HexText(block)));
}

QString HexText(const ByteVector &octets)
{
    QStringList parts;
    for (std::uint8_t octet : octets)
        parts.append(QStringLiteral("%1").arg(octet, 2, 16, QLatin1Char('0')).toUpper());
    return parts.join(QLatin1Char(' '));
}

QString HexText(const QByteArray &octets)
{
    return HexText(Octets(octets));
}

ByteVector Octets(const QByteArray &bytes)
{
    return ByteVector(bytes.begin(), bytes.end());
}
