#pragma once

#include "CStreloDeviceSignals.h"

#include <QString>

// The port and protocol stack of a head search. While probing, the link procedure is idle and
// every "status of link" answer is reported with the address the answering head put in it. For
// the identification of a head that answered, the ordinary link procedure runs with that head;
// its replies come as the adapter's signals, together with the OSI 7 address (DE) the head's own
// replies carry. Signals are emitted on the reader and timer threads and reach the search queued.
class CHeadSearchDevice : public CStreloDeviceSignals
{
    Q_OBJECT

public:
    // The shortest pause between the exchanges of an identification.
    static constexpr int kIdentifyPollMs = 50;
    // The pause between the exchanges of an identification at `rate`.
    static int IdentifyPollMs(int rate);

    explicit CHeadSearchDevice(QObject *parent = nullptr);
    ~CHeadSearchDevice() override;

    // Opens the port at `rate`, or sets the open port to it: closing and opening again would let
    // the next open race with the far end's handling of the close.
    virtual bool SetRate(const QString &device, int rate);
    bool IsPortOpen() const { return m_open; }
    void Release();
    // Sends one status request to `address`, outside the link procedure.
    bool Probe(int address);

signals:
    void StatusOfLink(int address);
    void ReplyEndPoint(int osi7Address);

protected:
    void OnShortTelegram(std::uint8_t control, std::uint8_t address) override;
    void OnUserData(const ByteVector &telegram) override;

private:
    bool m_open = false; // owner's thread only
};
