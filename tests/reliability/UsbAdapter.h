#pragma once

#include "PtyPair.h"

#include <QString>

#include <atomic>
#include <cstdint>
#include <sys/types.h>
#include <memory>
#include <mutex>
#include <thread>

// A USB serial adapter between the master and a head that a test can pull out and plug in again.
// The master opens Path(), a symbolic link to the adapter's terminal; the adapter carries the
// bytes both ways to the head's terminal. Pulled, the terminal is gone (the master's open port
// hangs up, the name leads nowhere) and what the head sends meanwhile is lost; plugged in again,
// a new terminal appears under the same name. The head keeps running throughout, so a head in its
// boot loader stays there.
class UsbAdapter
{
public:
    UsbAdapter(const QString &headTerminal, const QString &path);
    ~UsbAdapter();
    UsbAdapter(const UsbAdapter &) = delete;
    UsbAdapter &operator=(const UsbAdapter &) = delete;

    bool IsValid() const { return m_head >= 0 && m_pluggedIn; }
    QString Path() const { return m_path; }
    void Pull();
    bool PlugIn();
    // A noisy line: from now on each byte, either way, is spoiled with probability `rate`: half
    // of the spoiled bytes are lost, the other half arrive as another value. `seed` makes the
    // pattern repeatable.
    void SetNoise(double rate, std::uint64_t seed);
    qint64 SpoiledBytes() const { return m_spoiled.load(); }
    qint64 CarriedBytes() const { return m_carried.load(); }

private:
    void Run();
    void Forward(int from, int to);
    // Applies the noise to a batch in place; returns its new size.
    ssize_t Spoil(char *bytes, ssize_t count);
    std::uint64_t Draw();

    QString m_path;
    int m_head = -1;
    std::mutex m_lock; // guards m_pty against the forwarding thread
    std::unique_ptr<PtyPair> m_pty;
    bool m_pluggedIn = false;
    std::atomic<bool> m_stop {false};
    double m_noise = 0.0;             // under m_lock
    std::uint64_t m_noiseState = 0;   // under m_lock
    std::atomic<qint64> m_spoiled {0};
    std::atomic<qint64> m_carried {0};
    std::thread m_thread;
};
