#include "RecordingDevice.h"

RecordingDevice::RecordingDevice()
{
    m_clock.start();
    RecordLinkChanges();
    RecordReports();
}

// Direct connections: each record is made on the reader or timer thread that emits, at once.
void RecordingDevice::RecordLinkChanges()
{
    connect(this, &RecordingDevice::ConnectionChanged, this, [this](bool up) {
        Add(QStringLiteral("link %1").arg(up ? 1 : 0));
        std::function<void()> action;
        {
            std::lock_guard lock(m_mutex);
            action = m_onLinkUp;
        }
        if (up && action)
            action();
    }, Qt::DirectConnection);
}

void RecordingDevice::RecordReports()
{
    connect(this, &RecordingDevice::ActualValueChanged, this, [this](int image, bool on, bool blink) {
        Add(QStringLiteral("actual %1 %2 %3").arg(image).arg(int(on)).arg(int(blink)));
    }, Qt::DirectConnection);
    connect(this, &RecordingDevice::DefectValueChanged, this, [this](int image, bool ok) {
        Add(QStringLiteral("defect %1 %2").arg(image).arg(int(ok)));
    }, Qt::DirectConnection);
    connect(this, &RecordingDevice::LuminosityChanged, this, [this](bool full) {
        Add(full ? QStringLiteral("luminosity full") : QStringLiteral("luminosity dim"));
    }, Qt::DirectConnection);
    connect(this, &RecordingDevice::CurrentDraineChanged, this, [this](int image, double milliAmps) {
        Add(QStringLiteral("current %1 %2").arg(image).arg(milliAmps, 0, 'f', 1));
    }, Qt::DirectConnection);
    connect(this, &RecordingDevice::VersionChanged, this, [this](int hw1, int hw2, int hw3, int sw1, int sw2, int sw3) {
        Add(QStringLiteral("version %1 %2 %3 %4 %5 %6").arg(hw1).arg(hw2).arg(hw3).arg(sw1).arg(sw2).arg(sw3));
    }, Qt::DirectConnection);
    connect(this, &RecordingDevice::DeviceChanged, this, [this](const STRELO_PRODUCT *product) {
        Add(QStringLiteral("device %1").arg(product ? product->id : QStringLiteral("null")));
    }, Qt::DirectConnection);
    connect(this, &RecordingDevice::UIDChanged, this, [this](const QString &uid) {
        Add(QStringLiteral("uid %1").arg(uid));
    }, Qt::DirectConnection);
    connect(this, &RecordingDevice::TraceOSI7, this,
            [this](bool inbound, int length, const QString &fg, const QString &appId, int jobNumber, int blockCount,
                   const QString &data) {
        Add(QStringLiteral("osi7 %1 %2 %3|%4|%5|%6|%7|%8")
                .arg(kTraceLevelOsi7)
                .arg(inbound ? kDirectionReceived : kDirectionSent)
                .arg(length)
                .arg(fg, appId)
                .arg(jobNumber)
                .arg(blockCount)
                .arg(data));
    }, Qt::DirectConnection);
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

void RecordingDevice::SetBeforeKick(std::function<void()> action)
{
    m_beforeKick = std::move(action);
}

void RecordingDevice::BeforeKick()
{
    if (m_beforeKick)
        m_beforeKick();
}

void RecordingDevice::Add(const QString &event)
{
    {
        std::lock_guard lock(m_mutex);
        m_events.append(event);
    }
    m_changed.notify_all();
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
