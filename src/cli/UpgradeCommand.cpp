#include "UpgradeCommand.h"

#include "CliExit.h"
#include "CliDevice.h"
#include "firmware/CFirmwareException.h"
#include "settings/LichtwartSettings.h"
#include "tls/CStreloProductTable.h"

namespace {

// How often a switch-over the link cannot take yet (a telegram is still pending) is offered again.
constexpr int kSwitchOfferIntervalMs = 20;

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
    , m_session(options, out, err)
    , m_sequencer(out, err, ProgressLine::IsTerminal(err))
{
    connect(&m_session, &DeviceSession::LinkChanged, this, &UpgradeCommand::OnLinkChanged);

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
        m_session.Reevaluate();
    });
    m_switchOffer.setInterval(kSwitchOfferIntervalMs);
    connect(&m_switchOffer, &QTimer::timeout, this, &UpgradeCommand::OfferSwitchOver);
}

UpgradeCommand::~UpgradeCommand()
{
    m_sequencer.ShutDown();
}

int UpgradeCommand::Run()
{
    const QString problem = ParseArguments(m_options.commandArguments);
    if (!problem.isEmpty())
        return UsageError(problem);
    if (m_retry)
        return RetryInBootLoader();
    if (!OpenLink())
        return CliExit::kOpenFailed;
    if (!WaitForIdentification()) {
        ReleaseLink();
        return CliExit::kNoLink;
    }
    if (!LoadFirmware()) {
        ReleaseLink();
        return CliExit::kFirmware;
    }
    if (!CheckProduct()) {
        ReleaseLink();
        return CliExit::kUpgradeFailed;
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
        } else if (argument == QLatin1String("--force")) {
            m_force = true;
        } else if (argument == QLatin1String("--no-verify")) {
            m_verify = false;
        } else if (argument == QLatin1String("--verify-timeout")) {
            bool ok = false;
            m_verifyTimeoutMs = i + 1 < arguments.size() ? arguments.at(i + 1).toInt(&ok, 10) : 0;
            if (!ok || m_verifyTimeoutMs <= 0)
                return QStringLiteral("--verify-timeout takes a time in milliseconds such as 15000");
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
    return CliExit::UsageError(
        m_err, QStringLiteral("upgrade"), problem,
        QStringLiteral("usage: lichtwart-cli upgrade FILE [--allow-raw-hex] [--upload-baud RATE] [--force] [--no-verify]\n"
                       "                             [--verify-timeout MS] [--retry PRODUCT]\n"));
}

bool UpgradeCommand::OpenLink()
{
    return m_session.Open();
}

bool UpgradeCommand::WaitForIdentification()
{
    if (!m_session.Identify())
        return false;
    m_product = m_session.Product();
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
        CliExit::FirmwareError(m_err, error);
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
        return CliExit::kFirmware;
    if (!CheckProduct())
        return CliExit::kUpgradeFailed;
    m_sequencer.SetUploadDevice(m_options.device);
    if (m_uploadBaud)
        m_sequencer.SetUploadBaudrate(*m_uploadBaud);
    m_upgrading = true;
    m_linkReleased = true;
    m_sequencer.Retry();
    return AwaitEnd();
}

// Nothing has been sent yet: a package for another product stops here unless forced.
bool UpgradeCommand::CheckProduct()
{
    if (m_sequencer.PackageFitsProduct())
        return true;
    const QString package = QString::fromStdString(m_sequencer.Firmware().GetProduct());
    if (m_force) {
        m_err << "warning: the package is made for " << package << ", the head is a " << m_product->id
              << "; flashing it anyway (--force)\n";
        m_err.flush();
        return true;
    }
    m_err << "error: the package is made for " << package << ", but the head on " << m_options.device << " is a "
          << m_product->id << "; nothing was sent. Use the package for " << m_product->id
          << ", or add --force if you are sure\n";
    m_err.flush();
    return false;
}

int UpgradeCommand::AwaitEnd()
{
    // The procedure always comes to an end: every step is supervised by a time-out. Only SIGINT or
    // SIGTERM cut it short.
    m_session.WaitFor([this] { return m_finished.has_value(); }, -1);
    ReleaseLink();
    if (m_finished.value_or(false))
        return m_verify ? Verify() : CliExit::kOk;
    if (!m_finished)
        m_err << "error: the upgrade was interrupted; the head may still be in its boot loader "
                 "(run the upgrade again with --retry PRODUCT)\n";
    else
        m_err << "error: " << m_sequencer.LastStatus() << "\n";
    m_err.flush();
    return CliExit::kUpgradeFailed;
}

// "All done" only means that the boot loader took every chunk and the start command. The head
// proves the upgrade when it comes back on the link and reports the package's version. A raw image
// declares no version: then only its return is checked.
int UpgradeCommand::Verify()
{
    m_out << "Waiting for the restarted head ...\n";
    m_out.flush();
    if (!m_session.Open())
        return CliExit::kUpgradeFailed;
    const bool back = m_session.WaitFor([this] { return m_session.Identified(); }, m_verifyTimeoutMs);
    const QString software = m_session.Software();
    m_session.Finish();
    if (!back) {
        if (!m_session.Interrupted())
            m_err << "error: the head did not come back on " << m_options.device << " within " << m_verifyTimeoutMs
                  << " ms after the upgrade; check its power and cable, run identify, and if it stays in its boot "
                     "loader run the upgrade again with --retry PRODUCT\n";
        m_err.flush();
        return CliExit::kUpgradeFailed;
    }
    const CFirmwareFile &firmware = m_sequencer.Firmware();
    if (!firmware.HasManifest()) {
        m_out << "restarted: software " << software << " (a raw image names no version to compare)\n";
        m_out.flush();
        return CliExit::kOk;
    }
    const QString expected = QString::fromStdString(firmware.GetVersion());
    if (firmware.IsEqualTo(software.toStdString())) {
        m_out << "verified: software " << software << "\n";
        m_out.flush();
        return CliExit::kOk;
    }
    m_err << "error: after the upgrade the head reports software " << software << ", not the package's version "
          << expected << "; the new firmware did not take, run the upgrade again\n";
    m_err.flush();
    return CliExit::kUpgradeFailed;
}

void UpgradeCommand::OnLinkChanged(bool up)
{
    m_linkUp = up;
    // Once the port is handed over to the boot loader, late reports of the closed link are stale.
    if (m_upgrading && !m_linkReleased)
        m_sequencer.ConnectionChanged(up);
}

void UpgradeCommand::OfferSwitchOver()
{
    const bool taken = m_sequencer.UpgradeStateValue() != CUpgradeProcedure::UPGRADE_SWITCHING
        || m_session.Device().SwitchToFirmwareUploadMode(m_switchArguments[0], m_switchArguments[1], m_switchArguments[2]);
    if (taken)
        m_switchOffer.stop();
    else if (!m_switchOffer.isActive())
        m_switchOffer.start();
}

void UpgradeCommand::ReleaseLink()
{
    m_linkReleased = true;
    m_switchOffer.stop();
    m_session.Finish();
}
