#pragma once

#include "tls/CStreloDeviceSignals.h"

#include <QElapsedTimer>
#include <QStringList>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

// A device whose hooks record every call as one line of text, e.g. "link 1", "actual 107 1 0",
// "defect 108 0", "current 107 100.0", "version 3 1 2 4 5 6", "device strelo-003",
// "device null", "uid 0102030A0B0C", "osi7 13 1 7|Signal|Command status request|1|1|02 07 37"
// (level, direction, length|group|application id|job number|block count|block).
// The records are taken from the signals of CStreloDeviceSignals, on the thread that emits them.
class RecordingDevice : public CStreloDeviceSignals
{
public:
    RecordingDevice();
    ~RecordingDevice() override;

    QStringList Events() const;
    QStringList EventsStartingWith(const QString &prefix) const;
    void ClearEvents();
    // Waits until an event starting with `prefix` has been recorded `count` times in all.
    bool WaitForEvent(const QString &prefix, int count, int timeoutMs);
    qint64 ElapsedMs() const;

    // Runs on the reader thread right after LinkChanged(true), as a controller's link-up would.
    void SetOnLinkUp(std::function<void()> action);
    // Runs on the commanding thread between placing a command and its kick (empty: nothing).
    void SetBeforeKick(std::function<void()> action);

    using CStreloDevice::OnAck;
    using CStreloDevice::OnLongTelegram;
    using CStreloDevice::OnShortTelegram;

protected:
    void BeforeKick() override;

private:
    void RecordReports();
    void RecordLinkChanges();
    void Add(const QString &event);

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    QStringList m_events;
    QElapsedTimer m_clock;
    std::function<void()> m_onLinkUp;
    std::function<void()> m_beforeKick; // commanding thread only
};

// The octets as "00 AB" text, for comparing telegrams in test messages.
QString HexText(const ByteVector &octets);
QString HexText(const QByteArray &octets);
ByteVector Octets(const QByteArray &bytes);
