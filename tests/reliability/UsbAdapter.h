#pragma once

#include "PtyPair.h"

#include <QString>

#include <atomic>
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

private:
    void Run();
    void Forward(int from, int to);

    QString m_path;
    int m_head = -1;
    std::mutex m_lock; // guards m_pty against the forwarding thread
    std::unique_ptr<PtyPair> m_pty;
    bool m_pluggedIn = false;
    std::atomic<bool> m_stop {false};
    std::thread m_thread;
};
