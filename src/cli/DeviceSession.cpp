#include "DeviceSession.h"

#include "CliExit.h"
#include "CliDevice.h"
#include "SignalWatcher.h"
#include "ports/PortOpenReason.h"
#include "settings/LichtwartSettings.h"
#include "trace/CTraceExport.h"
#include "trace/CTraceFormat.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QSettings>
#include <QTimer>

namespace {

// How often a command the device cannot take yet (a telegram is still pending) is offered again.
constexpr int kRetryCommandMs = 20;

QString Bool01(bool value)
{
    return value ? QStringLiteral("1") : QStringLiteral("0");
}

} // namespace

DeviceSession::DeviceSession(const CliOptions &options, QTextStream &out, QTextStream &err)
    : m_options(options)
    , m_out(out)
    , m_err(err)
    , m_device(std::make_unique<CliDevice>(options.RowLevel()))
{
    CliDevice *device = m_device.get();
    connect(device, &CliDevice::ConnectionChanged, this, &DeviceSession::OnLinkChanged, Qt::QueuedConnection);
    connect(device, &CliDevice::TraceRow, this, &DeviceSession::WriteTraceRow, Qt::QueuedConnection);
    connect(device, &CliDevice::ActualValueChanged, this, [this](int image, bool on, bool blink) {
        PrintLine(QStringLiteral("actual: image=%1 on=%2 blink=%3").arg(image).arg(Bool01(on), Bool01(blink)));
    }, Qt::QueuedConnection);
    connect(device, &CliDevice::DefectValueChanged, this, [this](int image, bool ok) {
        PrintLine(QStringLiteral("defect: image=%1 ok=%2").arg(image).arg(Bool01(ok)));
    }, Qt::QueuedConnection);
    connect(device, &CliDevice::LuminosityChanged, this, [this](bool full) {
        PrintLine(full ? QStringLiteral("luminosity: full") : QStringLiteral("luminosity: dim"));
    }, Qt::QueuedConnection);
    connect(device, &CliDevice::CurrentDraineChanged, this, [this](int image, double milliAmps) {
        PrintLine(QStringLiteral("current: image=%1 mA=%2").arg(image).arg(milliAmps, 0, 'f', 1));
    }, Qt::QueuedConnection);
    connect(device, &CliDevice::VersionChanged, this, [this](int hw1, int hw2, int hw3, int sw1, int sw2, int sw3) {
        m_hardware = QStringLiteral("%1.%2.%3").arg(hw1).arg(hw2).arg(hw3);
        m_software = QStringLiteral("%1.%2.%3").arg(sw1).arg(sw2).arg(sw3);
        m_haveVersion = true;
        m_versionOnThisLink = true;
        Reevaluate();
    }, Qt::QueuedConnection);
    connect(device, &CliDevice::DeviceChanged, this, [this](const STRELO_PRODUCT *product) {
        m_productRecord = product;
        m_product = product != nullptr ? product->id : QStringLiteral("unknown");
        m_haveDevice = true;
        Reevaluate();
    }, Qt::QueuedConnection);
    connect(device, &CliDevice::UIDChanged, this, [this](const QString &uid) {
        m_uid = uid;
        m_haveUid = true;
        m_uidOnThisLink = true;
        Reevaluate();
    }, Qt::QueuedConnection);

    auto *watcher = new SignalWatcher(this);
    connect(watcher, &SignalWatcher::Interrupted, this, [this] {
        m_interrupted = true;
        if (m_loop != nullptr)
            m_loop->quit();
    });
}

DeviceSession::~DeviceSession() = default;

bool DeviceSession::Open()
{
    m_haveVersion = m_haveDevice = m_haveUid = false;
    if (!OpenTraceFile())
        return false;
    const int baudIndex = CAsync::BaudIndexForRate(m_options.baudRate);
    if (!m_device->OpenLink(m_options.device.toStdString(), baudIndex, false)) {
        m_err << "error: the device " << m_options.device << " could not be opened\n";
        const QString reason = PortOpenReason::Text(m_device->LastOpenFailure());
        if (!reason.isEmpty())
            m_err << "reason: " << reason << "\n";
        m_err.flush();
        return false;
    }
    m_device->Connect(m_options.osi2Address, m_options.osi7Address);
    return true;
}

bool DeviceSession::Identify()
{
    if (WaitFor([this] { return Identified(); }, m_options.timeoutMs))
        return true;
    if (!m_interrupted) {
        m_err << (m_linkSeen ? "error: the device on " : "error: no link to the device on ") << m_options.device
              << (m_linkSeen ? " was not identified within " : " within ") << m_options.timeoutMs << " ms\n";
        m_err.flush();
    }
    return false;
}

int DeviceSession::RunIdentify()
{
    if (!Open())
        return CliExit::kOpenFailed;
    const bool identified = Identify();
    if (identified) {
        m_out << "product: " << m_product << "\n"
              << "hardware: " << m_hardware << "\n"
              << "software: " << m_software << "\n"
              << "uid: " << m_uid << "\n";
        m_out.flush();
    }
    Finish();
    return identified ? CliExit::kOk : CliExit::kNoLink;
}

int DeviceSession::RunAction(const Action &action)
{
    if (!Open())
        return CliExit::kOpenFailed;
    if (!Identify()) {
        Finish();
        return CliExit::kNoLink;
    }
    // The device drops a command while another telegram is pending; offer it again until it is
    // taken, within the time-out.
    QTimer retry;
    retry.setInterval(kRetryCommandMs);
    bool sent = action(*m_device);
    connect(&retry, &QTimer::timeout, this, [&] {
        sent = sent || action(*m_device);
        Reevaluate();
    });
    if (!sent) {
        retry.start();
        WaitFor([&] { return sent; }, m_options.timeoutMs);
        retry.stop();
    }
    if (!sent) {
        if (!m_interrupted)
            m_err << "error: the device on " << m_options.device << " did not take the command within "
                  << m_options.timeoutMs << " ms\n";
        Finish();
        return CliExit::kNoLink;
    }
    m_printReports = true;
    Settle(m_options.settleMs);
    Finish();
    return CliExit::kOk;
}

int DeviceSession::RunMonitor(int durationMs)
{
    if (!Open())
        return CliExit::kOpenFailed;
    // Reports that arrive while the link comes up are printed too; the duration counts from the
    // identification, so a short monitor always sees the head, however long the link took.
    m_printReports = true;
    if (!Identify()) {
        Finish();
        // SIGINT or SIGTERM while the link comes up is the user's way to end a monitor: a clean stop.
        return m_interrupted ? CliExit::kOk : CliExit::kNoLink;
    }
    Settle(durationMs);
    // A head lost during the run gets up to --timeout to come back and answer its start-up jobs
    // again, so the monitor never ends in the middle of rebuilding the link.
    WaitFor([this] { return m_linkUp && m_versionOnThisLink && m_uidOnThisLink; }, m_options.timeoutMs);
    Finish();
    return CliExit::kOk;
}

bool DeviceSession::WaitFor(const std::function<bool()> &condition, int timeoutMs)
{
    if (condition())
        return true;
    if (m_interrupted)
        return false;
    QEventLoop loop;
    QTimer deadline;
    deadline.setSingleShot(true);
    connect(&deadline, &QTimer::timeout, &loop, &QEventLoop::quit);
    if (timeoutMs >= 0)
        deadline.start(timeoutMs);
    m_condition = condition;
    m_loop = &loop;
    loop.exec();
    m_loop = nullptr;
    m_condition = nullptr;
    return condition();
}

void DeviceSession::Settle(int milliseconds)
{
    WaitFor([] { return false; }, milliseconds);
}

void DeviceSession::Reevaluate()
{
    if (m_loop != nullptr && m_condition && m_condition())
        m_loop->quit();
}

void DeviceSession::Finish()
{
    m_closing = true;
    m_device->Disconnect();
    m_device->Close();
    // Reports already queued from the reader thread are still printed when they are wanted.
    QCoreApplication::processEvents();
    m_out.flush();
    m_closing = false;
}

void DeviceSession::OnLinkChanged(bool up)
{
    if (up && !m_linkUp) {
        // At every link-up the head is given its OSI 7 address (when the settings ask for it) and
        // asked for its actual value, luminosity, defects, versions and UID.
        const QSettings settings;
        m_device->QueueStartUpSequence(LichtwartSettings::Read(settings, LichtwartSettings::AddressAssign).toBool(),
                                       m_options.osi7Address);
    }
    // A head that goes away (cable pulled, adapter unplugged) and comes back is reported; the
    // repeated failed cycles of a silent head and our own Disconnect are not.
    if (m_linkSeen && up != m_linkUp && !m_closing)
        PrintLine(up ? QStringLiteral("link: up") : QStringLiteral("link: down"));
    if (up != m_linkUp)
        m_versionOnThisLink = m_uidOnThisLink = false;
    m_linkUp = up;
    m_linkSeen = m_linkSeen || up;
    emit LinkChanged(up);
    Reevaluate();
}

bool DeviceSession::OpenTraceFile()
{
    if (m_options.traceFile.isEmpty() || m_traceFile.isOpen())
        return true;
    m_traceFile.setFileName(m_options.traceFile);
    const int level = m_options.RowLevel() == CliOptions::TraceLevel::Osi2  ? CTraceFormat::Osi2
                      : m_options.RowLevel() == CliOptions::TraceLevel::Raw ? CTraceFormat::Raw
                                                                            : CTraceFormat::Osi7;
    if (!m_traceFile.open(QIODevice::WriteOnly | QIODevice::Truncate)
        || m_traceFile.write(CTraceExport::Line(CTraceExport::Format::Csv, CTraceFormat::Headers(level)).toUtf8()) < 0) {
        m_err << "error: the trace file " << m_options.traceFile << " cannot be written: " << m_traceFile.errorString()
              << "; choose a folder you may write to\n";
        m_err.flush();
        return false;
    }
    return true;
}

// Each row is flushed as it comes, so the file holds the trace up to the end of an interrupted run.
// A file that stops taking rows (a full disk) is closed with one warning; the command goes on.
void DeviceSession::WriteTraceRow(const QStringList &cells)
{
    if (m_options.trace != CliOptions::TraceLevel::None) {
        m_err << cells.join(QLatin1Char('\t')) << "\n";
        m_err.flush();
    }
    if (!m_traceFile.isOpen())
        return;
    if (m_traceFile.write(CTraceExport::Line(CTraceExport::Format::Csv, cells).toUtf8()) < 0 || !m_traceFile.flush()) {
        m_err << "warning: the trace file " << m_options.traceFile << " takes no more rows: " << m_traceFile.errorString()
              << "; it ends here, free some space and run again for the whole trace\n";
        m_err.flush();
        m_traceFile.close();
    }
}

void DeviceSession::PrintLine(const QString &line)
{
    if (!m_printReports)
        return;
    m_out << line << "\n";
    m_out.flush();
}
