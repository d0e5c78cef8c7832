#pragma once

#include <QByteArray>
#include <QString>

// A pseudo-terminal for tests: the test holds the master end and plays the far station; the code
// under test opens SlavePath() like a serial device.
class PtyPair
{
public:
    PtyPair();
    ~PtyPair();
    PtyPair(const PtyPair &) = delete;
    PtyPair &operator=(const PtyPair &) = delete;

    bool IsValid() const { return m_master >= 0; }
    QString SlavePath() const { return m_slavePath; }
    int MasterFd() const { return m_master; }

    bool Write(const QByteArray &bytes);
    // Reads until `count` bytes have arrived or `timeoutMs` has passed; returns what arrived.
    QByteArray Read(int count, int timeoutMs);
    // Reads whatever arrives within `timeoutMs`.
    QByteArray ReadFor(int timeoutMs);
    // Closes the master end, as an unplugged adapter would vanish.
    void CloseMaster();

private:
    int m_master = -1;
    int m_keepSlave = -1; // keeps the slave side alive while the code under test reopens it
    QString m_slavePath;
};
