#include "CHeadSearch.h"

#include "CHeadSearchDevice.h"

#include <algorithm>

namespace {

constexpr int kLikelyRate = 9600;

// A status request and its answer are five characters each; a character of the link's frame
// (start bit, eight data bits, even parity, stop bit) is eleven bits.
constexpr int kProbeCharacters = 2 * 5;
constexpr int kBitsPerCharacter = 11;
// Beyond the time on the line: a USB serial adapter may hold received bytes up to 16 ms
// before it hands them over, the head needs a moment to answer, and a loaded machine may let
// the reader thread wait its turn. 30 ms covers these together on a healthy line.
constexpr int kTurnaroundMs = 30;

const QString kUnknown = QStringLiteral("unknown");

QString OrUnknown(const QString &value)
{
    return value.isEmpty() ? kUnknown : value;
}

QString VersionText(int major, int minor, int third)
{
    return QStringLiteral("%1.%2.%3").arg(major).arg(minor).arg(third);
}

QString Key(int rate, int address)
{
    return QStringLiteral("%1/%2").arg(rate).arg(address);
}

} // namespace

bool FoundHead::Complete() const
{
    return osi7 != 0 && !hardware.isEmpty() && !uid.isEmpty() && !product.isEmpty();
}

QString FoundHead::Line() const
{
    return QStringLiteral("head: device=%1 baud=%2 osi2=%3 osi7=%4 product=%5 hardware=%6 software=%7 uid=%8")
        .arg(device)
        .arg(rate)
        .arg(osi2)
        .arg(osi7 != 0 ? QString::number(osi7) : kUnknown, OrUnknown(product), OrUnknown(hardware),
             OrUnknown(software), OrUnknown(uid));
}

QList<CHeadSearch::Probe> CHeadSearch::Plan(const QList<int> &rates, int firstAddress, int lastAddress,
                                            int storedRate, int storedAddress)
{
    QList<int> order;
    for (int rate : {storedRate, kLikelyRate}) {
        if (rates.contains(rate) && !order.contains(rate))
            order.append(rate);
    }
    for (int rate : rates) {
        if (!order.contains(rate))
            order.append(rate);
    }
    QList<Probe> plan;
    QSet<QString> planned;
    const auto add = [&](int rate, int address) {
        if (address < firstAddress || address > lastAddress || !rates.contains(rate))
            return;
        if (!planned.contains(Key(rate, address))) {
            planned.insert(Key(rate, address));
            plan.append({rate, address});
        }
    };
    for (int rate : order) {
        add(rate, storedAddress);
        add(rate, 1);
    }
    for (int rate : order.mid(0, 2)) {
        for (int address = firstAddress; address <= lastAddress; ++address)
            add(rate, address);
    }
    for (int rate : order) {
        for (int address = firstAddress; address <= lastAddress; ++address)
            add(rate, address);
    }
    return plan;
}

// A probe does not repeat its request as the link procedure does: a head that is there answers
// at once, so the wait is the time of the request and the answer on the line plus the turnaround
// allowance (31 ms at 115200 baud, 76 ms at 2400). An answer that comes later is not lost: it
// names the head's address and is credited to it whatever probe it follows; only before the
// rate changes does the search wait out the link's full response time (kDrainMs) since the last
// probe.
int CHeadSearch::ProbeWaitMs(int rate)
{
    const int lineMs = (kProbeCharacters * kBitsPerCharacter * 1000 + rate - 1) / rate;
    return lineMs + kTurnaroundMs;
}

CHeadSearch::CHeadSearch(const QString &device, const QList<Probe> &plan, QObject *parent)
    : CHeadSearch(device, plan, std::make_unique<CHeadSearchDevice>(), parent)
{
}

CHeadSearch::CHeadSearch(const QString &device, const QList<Probe> &plan, std::unique_ptr<CHeadSearchDevice> port,
                         QObject *parent)
    : QObject(parent)
    , m_device(device)
    , m_plan(plan)
    , m_port(std::move(port))
{
    qRegisterMetaType<FoundHead>();
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &CHeadSearch::OnTimer);
    connect(m_port.get(), &CHeadSearchDevice::StatusOfLink, this, &CHeadSearch::OnStatusOfLink, Qt::QueuedConnection);
    connect(m_port.get(), &CHeadSearchDevice::ConnectionChanged, this, [this](bool up) {
        if (up)
            OnLinkUp();
    }, Qt::QueuedConnection);
    connect(m_port.get(), &CHeadSearchDevice::VersionChanged, this,
            [this](int hwMajor, int hwMinor, int hwRevision, int swMajor, int swMinor, int swRelease) {
                m_current.hardware = VersionText(hwMajor, hwMinor, hwRevision);
                m_current.software = VersionText(swMajor, swMinor, swRelease);
                Learnt();
            }, Qt::QueuedConnection);
    connect(m_port.get(), &CHeadSearchDevice::DeviceChanged, this, [this](const STRELO_PRODUCT *product) {
        m_current.product = product ? product->id : QString();
        Learnt();
    }, Qt::QueuedConnection);
    connect(m_port.get(), &CHeadSearchDevice::UIDChanged, this, [this](const QString &uid) {
        m_current.uid = uid;
        Learnt();
    }, Qt::QueuedConnection);
    connect(m_port.get(), &CHeadSearchDevice::ReplyEndPoint, this, [this](int osi7) {
        m_current.osi7 = osi7;
        Learnt();
    }, Qt::QueuedConnection);
}

// The device ends its timer and reader threads when it goes.
CHeadSearch::~CHeadSearch() = default;

void CHeadSearch::Start()
{
    m_step = Step::Probing;
    NextStep();
}

void CHeadSearch::Cancel()
{
    if (m_step != Step::Done)
        Finish(true);
}

const PortOpenFailure &CHeadSearch::OpenFailure() const
{
    return m_port->LastOpenFailure();
}

void CHeadSearch::NextStep()
{
    if (!m_candidates.isEmpty()) {
        Identify(m_candidates.takeFirst());
        return;
    }
    while (m_next < m_plan.size() && m_refusedRates.contains(m_plan.at(m_next).rate))
        ++m_next;
    const bool planDone = m_next >= m_plan.size();
    const bool rateChanges = planDone || m_plan.at(m_next).rate != m_rate;
    if (rateChanges && m_rate != 0 && !m_drained) {
        m_drained = true;
        m_step = Step::Draining;
        m_timer.start(std::max(0, kDrainMs - ProbeWaitMs(m_rate)));
        return;
    }
    if (planDone) {
        Finish(false);
        return;
    }
    const Probe probe = m_plan.at(m_next);
    if (probe.rate != m_rate && !SwitchRate(probe.rate)) {
        if (m_step != Step::Done)
            NextStep(); // past the refused rate; at most once a rate
        return;
    }
    ++m_next;
    m_step = Step::Probing;
    m_port->Probe(probe.address);
    emit Progress(m_next, Total());
    m_timer.start(ProbeWaitMs(probe.rate));
}

bool CHeadSearch::SwitchRate(int rate)
{
    m_rate = 0;
    if (m_port->SetRate(m_device, rate)) {
        m_rate = rate;
        m_drained = false;
        return true;
    }
    if (m_port->IsPortOpen()) {
        m_refusedRates.insert(rate);
        emit RateRefused(m_device, rate);
        return false;
    }
    emit PortFailed(m_device, rate);
    Finish(false);
    return false;
}

void CHeadSearch::OnTimer()
{
    if (m_step == Step::Identifying)
        CompleteIdentification();
    else if (m_step == Step::Probing || m_step == Step::Draining)
        NextStep();
}

void CHeadSearch::OnStatusOfLink(int address)
{
    // The link procedure's own status request during an identification is answered too.
    if ((m_step != Step::Probing && m_step != Step::Draining) || m_rate == 0)
        return;
    const QString key = Key(m_rate, address);
    if (m_known.contains(key))
        return;
    m_known.insert(key);
    m_candidates.append({m_rate, address});
}

void CHeadSearch::Identify(const Probe &candidate)
{
    m_step = Step::Identifying;
    m_current = FoundHead {};
    m_current.device = m_device;
    m_current.rate = candidate.rate;
    m_current.osi2 = candidate.address;
    // The system end point answers whatever the head's own OSI 7 address is.
    m_port->Connect(candidate.address, CTlsOsi7Codec::kSystemEndPoint);
    m_timer.start(kIdentifyTimeoutMs);
}

void CHeadSearch::OnLinkUp()
{
    if (m_step != Step::Identifying)
        return;
    m_port->QueueJob(CTlsOsi7Codec::kJobVersions);
    m_port->QueueJob(CTlsOsi7Codec::kJobUid);
    m_port->QueueJob(CTlsOsi7Codec::kJobActualValue);
}

void CHeadSearch::Learnt()
{
    if (m_step == Step::Identifying && m_current.Complete())
        CompleteIdentification();
}

void CHeadSearch::CompleteIdentification()
{
    m_timer.stop();
    m_port->Disconnect();
    ++m_found;
    emit HeadFound(m_current);
    m_step = Step::Probing;
    NextStep();
}

void CHeadSearch::Finish(bool cancelled)
{
    m_timer.stop();
    m_step = Step::Done;
    m_candidates.clear();
    m_port->Disconnect();
    m_port->Release();
    m_rate = 0;
    emit Finished(m_found, cancelled);
}
