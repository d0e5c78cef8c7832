#pragma once

#include "comm/PortOpenFailure.h"

#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>

#include <memory>

class CHeadSearchDevice;

// What a search learnt about one head: where it answered and who it is. Parts the head did not
// tell within the identification time stay empty (OSI 7 address 0); each front end shows them as
// unknown in its own language.
struct FoundHead
{
    QString device;
    int rate = 0;
    int osi2 = 0;
    int osi7 = 0;
    QString product;
    QString hardware;
    QString software;
    QString uid;

    bool Complete() const;
    // One line: device, rate, addresses, product, versions and the UID (last, it has blanks).
    QString Line() const;
};

// Looks for heads on one serial device when neither the line rate nor the OSI 2 address is
// known. Each probe is one status request; a head that answers is identified by the ordinary
// link procedure (link-up, versions, UID, and an actual value request to the system end point,
// whose reply carries the head's own OSI 7 address). Nothing on the head is changed.
//
// Runs on the thread of its owner, driven by a timer: one probe at a time, Cancel takes effect
// at once.
class CHeadSearch : public QObject
{
    Q_OBJECT

public:
    struct Probe
    {
        int rate;
        int address;
        bool operator==(const Probe &other) const { return rate == other.rate && address == other.address; }
    };

    // Identification: link-up and six exchanges, polled quickly, take well under a second at
    // 2400 baud; the rest leaves room for the link's repetitions on a poor line.
    static constexpr int kIdentifyTimeoutMs = 3000;
    // Before the rate changes, the search lets as much time pass since the last probe as the link
    // waits for any answer, so a straggler of that probe is still heard at its own rate.
    static constexpr int kDrainMs = 100;
    static constexpr int kFirstAddress = 1;
    static constexpr int kLastAddress = 199;

    // The probes in the order the search makes them: the stored address and address 1 at every
    // rate (the stored rate first, then 9600), then every address at the stored rate and at
    // 9600, then every address at the other rates. Each pair once.
    static QList<Probe> Plan(const QList<int> &rates, int firstAddress, int lastAddress, int storedRate,
                             int storedAddress);
    // How long a probe waits for its answer at `rate`; see the definition for why.
    static int ProbeWaitMs(int rate);

    CHeadSearch(const QString &device, const QList<Probe> &plan, QObject *parent = nullptr);
    // The same search through a port of the caller's (an adapter with its own limits).
    CHeadSearch(const QString &device, const QList<Probe> &plan, std::unique_ptr<CHeadSearchDevice> port,
                QObject *parent = nullptr);
    ~CHeadSearch() override;

    int Total() const { return static_cast<int>(m_plan.size()); }
    const PortOpenFailure &OpenFailure() const;
    void Start();
    // Stops the search now; Finished follows at once.
    void Cancel();

signals:
    void Progress(int done, int total);
    void HeadFound(const FoundHead &head);
    // The device could not be opened at `rate` (OpenFailure says why); Finished follows.
    void PortFailed(const QString &device, int rate);
    // The open port refused `rate`, as an adapter does that cannot run at it; no head can answer
    // there, so its probes are left out and the search goes on.
    void RateRefused(const QString &device, int rate);
    void Finished(int found, bool cancelled);

private:
    enum class Step { Idle, Probing, Draining, Identifying, Done };

    void NextStep();
    bool SwitchRate(int rate);
    void Identify(const Probe &candidate);
    void CompleteIdentification();
    void Finish(bool cancelled);
    void OnTimer();
    void OnStatusOfLink(int address);
    void OnLinkUp();
    void Learnt();

    const QString m_device;
    const QList<Probe> m_plan;
    std::unique_ptr<CHeadSearchDevice> m_port;
    QTimer m_timer;
    Step m_step = Step::Idle;
    int m_next = 0;
    int m_rate = 0;     // the rate the port is set to; 0 while closed
    bool m_drained = false;
    QList<Probe> m_candidates; // answered, not yet identified
    QSet<QString> m_known;     // rate/address pairs that answered
    QSet<int> m_refusedRates;
    FoundHead m_current;
    int m_found = 0;
};

Q_DECLARE_METATYPE(FoundHead)
