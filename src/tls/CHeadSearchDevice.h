#pragma once

#include "CStreloDevice.h"

#include <QObject>
#include <QString>

// The port and protocol stack of a head search. While probing, the link procedure is idle and
// every "status of link" answer is reported with the address the answering head put in it. For
// the identification of a head that answered, the ordinary link procedure runs with that head;
// its replies are reported as signals, together with the OSI 7 address (DE) the head's own
// replies carry. Signals are emitted on the reader and timer threads and reach the search queued.
class CHeadSearchDevice : public QObject, public CStreloDevice
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
    void LinkUp();
    void Version(const QString &hardware, const QString &software);
    void Product(const QString &product);
    void Uid(const QString &uid);
    void ReplyEndPoint(int osi7Address);

protected:
    void OnShortTelegram(std::uint8_t control, std::uint8_t address) override;
    void LinkChanged(bool up) override;
    void OnUserData(const ByteVector &telegram) override;
    void OnVersion(int hwMajor, int hwMinor, int hwRevision, int swMajor, int swMinor, int swRelease) override;
    void OnDevice(const STRELO_PRODUCT *product) override;
    void OnUID(const std::string &uid) override;

private:
    bool m_open = false; // owner's thread only
};
