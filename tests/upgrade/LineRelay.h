#pragma once

#include "PtyPair.h"

#include <QString>

#include <QByteArray>

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

// A serial line between the master and a head that a test can cut and mend, as a technician pulls
// a cable and plugs it in again: the master opens Path(), the relay carries the bytes both ways to
// the head's terminal, and while the line is cut, bytes in either direction are lost. Neither end
// sees the port close, so a head in its boot loader stays there.
class LineRelay
{
public:
    explicit LineRelay(const QString &headTerminal);
    ~LineRelay();
    LineRelay(const LineRelay &) = delete;
    LineRelay &operator=(const LineRelay &) = delete;

    bool IsValid() const { return m_pty.IsValid() && m_head >= 0; }
    QString Path() const { return m_pty.SlavePath(); }
    void SetCut(bool cut) { m_cut = cut; }
    // Lets the test spoil what the master sends: the filter sees each batch on its way to the head.
    void SetToHeadFilter(std::function<void(QByteArray &batch)> filter);

private:
    void Run();
    void Forward(int from, int to);

    PtyPair m_pty;
    int m_head = -1;
    std::atomic<bool> m_cut {false};
    std::atomic<bool> m_stop {false};
    std::mutex m_filterLock;
    std::function<void(QByteArray &)> m_toHead;
    std::thread m_thread;
};
