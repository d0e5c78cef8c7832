#include "UpgradeCommand.h"

#include "CliDevice.h"
#include "firmware/CFirmwareException.h"
#include "settings/LichtwartSettings.h"
#include "tls/CStreloProductTable.h"

#include <QEventLoop>
#include <QFile>
#include <QSettings>

#include <unistd.h>

namespace {

// How often a switch-over the link cannot take yet (a telegram is still pending) is offered again.
constexpr int kSwitchOfferIntervalMs = 20;
constexpr int kLastStartupJob = 4;

// A bar drawn in place only makes sense where a person watches the stream.
bool IsTerminal(const QTextStream &stream)
{
    const auto *file = qobject_cast<const QFile *>(stream.device());
    return file && file->handle() >= 0 && isatty(file->handle()) != 0;
}

} // namespace

int RunUpgradeCommand(const CliOptions &options, QTextStream &out, QTextStream &err)
{
    UpgradeCommand command(options, out, err);
    return command.Run();
}

UpgradeCommand::UpgradeCommand(const CliOptions &options, QTextStream &out, QTextStream &err)
    : m_options(options)
    , m_out(out)
    , m_err(err)
    , m_device(std::make_unique<CliDevice>(options.trace))
    , m_sequencer(out, err, IsTerminal(err))
{
    CliDevice *device = m_device.get();
    connect(device, &CliDevice::LinkChangedSignal, this, &UpgradeCommand::OnLinkChanged, Qt::QueuedConnection);
    connect(device, &CliDevice::TraceLine, this, [this](const QString &line) {
        m_err << line << "\n";
        m_err.flush();
    }, Qt::QueuedConnection);
    connect(device, &CliDevice::Version, this, [this] {
        m_haveVersion = true;
        Reevaluate();
    }, Qt::QueuedConnection);
    connect(device, &CliDevice::Device, this, [this](const STRELO_PRODUCT *product) {
        m_product = product;
        m_haveDevice = true;
        Reevaluate();
    }, Qt::QueuedConnection);
    connect(device, &CliDevice::Uid, this, [this] {
        m_haveUid = true;
        Reevaluate();
    }, Qt::QueuedConnection);

    // The dialog's wiring, with the link of this command in the place of the main window's.
    connect(&m_sequencer, &CUpgradeProcedure::SwitchToFirmwareUploadMode, this, [this](int port, int baud, int features) {
        m_switchArguments[0] = port;
        m_switchArguments[1] = baud;
        m_switchArguments[2] = features;
        OfferSwitchOver();
    });
    connect(&m_sequencer, &CUpgradeProcedure::StartingFlashOperations, this, &UpgradeCommand::ReleaseLink);
    connect(&m_sequencer, &CUpgradeProcedure::UpgradeFinished, this, [this](bool success) {
        m_finished = success;
        Reevaluate();
    });
    m_switchOffer.setInterval(kSwitchOfferIntervalMs);
    connect(&m_switchOffer, &QTimer::timeout, this, &UpgradeCommand::OfferSwitchOver);
}

UpgradeCommand::~UpgradeCommand() = default;

int UpgradeCommand::Run()
{
    const QString problem = ParseArguments(m_options.commandArguments);
    if (!problem.isEmpty())
        return UsageError(problem);
    if (m_retry)
        return RetryInBootLoader();
    if (!OpenLink())
        return kExitOpenFailed;
    if (!WaitForIdentification()) {
        ReleaseLink();
        return kExitNoLink;
    }
    if (!LoadFirmware()) {
        ReleaseLink();
        return kExitFirmware;
    }
    return Upgrade();
}

QString UpgradeCommand::ParseArguments(const QStringList &arguments)
{
    QStringList files;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (argument == QLatin1String("--allow-raw-hex")) {
            m_allowRawHex = true;
        } else if (argument == QLatin1String("--upload-baud")) {
            bool ok = false;
            const int rate = i + 1 < arguments.size() ? arguments.at(i + 1).toInt(&ok, 10) : 0;
            if (!ok || rate <= 0)
                return QStringLiteral("--upload-baud takes a baud rate such as 9600");
            m_uploadBaud = rate;
            ++i;
        } else if (argument == QLatin1String("--retry")) {
            m_product = i + 1 < arguments.size() ? CStreloProductTable::FindById(arguments.at(i + 1)) : nullptr;
            if (!m_product)
                return QStringLiteral("--retry takes the product in the boot loader: strelo-002 or strelo-003");
            m_retry = true;
            ++i;
        } else if (argument.startsWith(QLatin1Char('-')) && argument.size() > 1) {
            return QStringLiteral("unknown option %1").arg(argument);
        } else {
            files << argument;
        }
    }
    if (files.size() != 1)
        return files.isEmpty() ? QStringLiteral("no file given") : QStringLiteral("more than one file given");
    m_file = files.front();
    return {};
}

int UpgradeCommand::UsageError(const QString &problem)
{
    m_err << "lichtwart-cli upgrade: " << problem << "\n"
          << "usage: lichtwart-cli upgrade FILE [--allow-raw-hex] [--upload-baud RATE] [--retry PRODUCT]\n";
    m_err.flush();
    return kExitUsage;
}

bool UpgradeCommand::OpenLink()
{
    const int baudIndex = CAsync::BaudIndexForRate(m_options.baudRate);
    if (!m_device->OpenLink(m_options.device.toStdString(), baudIndex, false)) {
        m_err << "error: the device " << m_options.device << " could not be opened\n";
        m_err.flush();
        return false;
    }
    m_device->Connect(m_options.osi2Address, m_options.osi7Address);
    return true;
}

bool UpgradeCommand::WaitForIdentification()
{
    if (!WaitFor([this] { return m_haveVersion && m_haveDevice && m_haveUid; }, m_options.timeoutMs)) {
        m_err << (m_linkSeen ? "error: the device on " : "error: no link to the device on ") << m_options.device
              << (m_linkSeen ? " was not identified within " : " within ") << m_options.timeoutMs << " ms\n";
        m_err.flush();
        return false;
    }
    if (!m_product) {
        // Without the product neither the erase command nor the address width is known.
        m_err << "error: the device on " << m_options.device << " is not a known Strelo product\n";
        m_err.flush();
        return false;
    }
    m_sequencer.SetStreloDevice(m_product);
    return true;
}

bool UpgradeCommand::LoadFirmware()
{
    try {
        m_sequencer.LoadFirmwareFile(m_file, m_allowRawHex);
    } catch (const CFirmwareException &error) {
        m_err << "firmware error " << error.Code() << ": " << QString::fromStdString(error.Message()) << "\n";
        m_err.flush();
        return false;
    }
    return true;
}

int UpgradeCommand::Upgrade()
{
    m_sequencer.SetUploadDevice(m_options.device);
    if (m_uploadBaud)
        m_sequencer.SetUploadBaudrate(*m_uploadBaud);
    m_upgrading = true;
    m_sequencer.ConnectionChanged(m_linkUp);
    m_sequencer.Program();
    return AwaitEnd();
}

int UpgradeCommand::RetryInBootLoader()
{
    m_sequencer.SetStreloDevice(m_product);
    if (!LoadFirmware())
        return kExitFirmware;
    m_sequencer.SetUploadDevice(m_options.device);
    if (m_uploadBaud)
        m_sequencer.SetUploadBaudrate(*m_uploadBaud);
    m_upgrading = true;
    m_linkReleased = true;
    m_sequencer.Retry();
    return AwaitEnd();
}

int UpgradeCommand::AwaitEnd()
{
    // The procedure always comes to an end: every step is supervised by a time-out.
    WaitFor([this] { return m_finished.has_value(); }, -1);
    ReleaseLink();
    if (*m_finished)
        return kExitOk;
    m_err << "error: " << m_sequencer.LastStatus() << "\n";
    m_err.flush();
    return kExitUpgradeFailed;
}

void UpgradeCommand::OnLinkChanged(bool up)
{
    if (up && !m_linkUp && !m_upgrading) {
        // At link-up the head gets its OSI 7 address, where the settings ask for it, and is asked
        // for its identity, as the main window's controller does.
        const QSettings settings;
        if (LichtwartSettings::Read(settings, LichtwartSettings::AddressAssign).toBool())
            m_device->AssignOSI7Address(m_options.osi7Address);
        for (int job = 0; job <= kLastStartupJob; ++job)
            m_device->QueueJob(job);
    }
    m_linkUp = up;
    m_linkSeen = m_linkSeen || up;
    // Once the port is handed over to the boot loader, late reports of the closed link are stale.
    if (m_upgrading && !m_linkReleased)
        m_sequencer.ConnectionChanged(up);
    Reevaluate();
}

void UpgradeCommand::OfferSwitchOver()
{
    const bool taken = m_sequencer.UpgradeStateValue() != CUpgradeProcedure::UPGRADE_SWITCHING
        || m_device->SwitchToFirmwareUploadMode(m_switchArguments[0], m_switchArguments[1], m_switchArguments[2]);
    if (taken)
        m_switchOffer.stop();
    else if (!m_switchOffer.isActive())
        m_switchOffer.start();
}

void UpgradeCommand::ReleaseLink()
{
    m_linkReleased = true;
    m_switchOffer.stop();
    m_device->Disconnect();
    m_device->Close();
}

bool UpgradeCommand::WaitFor(const std::function<bool()> &condition, int timeoutMs)
{
    if (condition())
        return true;
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

void UpgradeCommand::Reevaluate()
{
    if (m_loop && m_condition && m_condition())
        m_loop->quit();
}
