#include "CliOptions.h"

#include "settings/LichtwartSettings.h"

#include <QSettings>

bool CliOptions::Parse(const QStringList &arguments)
{
    const QSettings settings;
    device = LichtwartSettings::Read(settings, LichtwartSettings::InterfaceDevice).toString();
    baudRate = LichtwartSettings::Read(settings, LichtwartSettings::InterfaceBaudrate).toInt();
    osi2Address = LichtwartSettings::Read(settings, LichtwartSettings::AddressOsi2).toInt();
    osi7Address = LichtwartSettings::Read(settings, LichtwartSettings::AddressOsi7).toInt();

    // Global options stand before the command; everything after the command belongs to it.
    for (int i = 1; i < arguments.size(); ++i) {
        const QString &arg = arguments.at(i);
        if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
            m_help = true;
            return true;
        }
        if (arg == QLatin1String("--version")) {
            m_version = true;
            return true;
        }
        QString value;
        if (arg == QLatin1String("--device")) {
            if (!TakeValue(arguments, i, device))
                return false;
        } else if (arg == QLatin1String("--baud")) {
            if (!TakeNumber(arguments, i, 1, 4000000, baudRate))
                return false;
        } else if (arg == QLatin1String("--osi2")) {
            if (!TakeNumber(arguments, i, 0, 255, osi2Address))
                return false;
        } else if (arg == QLatin1String("--osi7")) {
            if (!TakeNumber(arguments, i, 0, 255, osi7Address))
                return false;
        } else if (arg == QLatin1String("--timeout")) {
            if (!TakeNumber(arguments, i, 0, 24 * 3600 * 1000, timeoutMs))
                return false;
        } else if (arg == QLatin1String("--settle")) {
            if (!TakeNumber(arguments, i, 0, 24 * 3600 * 1000, settleMs))
                return false;
        } else if (arg == QLatin1String("--capture")) {
            if (!TakeValue(arguments, i, capturePath))
                return false;
            if (capturePath.isEmpty())
                return Fail(QStringLiteral("--capture needs the name of the file to write"));
        } else if (arg == QLatin1String("--trace")) {
            if (!TakeValue(arguments, i, value) || !ParseTrace(value))
                return false;
        } else if (arg == QLatin1String("--trace-file")) {
            if (!TakeValue(arguments, i, traceFile))
                return false;
        } else if (arg.startsWith(QLatin1String("--"))) {
            return Fail(QStringLiteral("unknown option %1").arg(arg));
        } else {
            command = arg;
            commandArguments = arguments.mid(i + 1);
            return true;
        }
    }
    return Fail(QStringLiteral("no command given"));
}

CliOptions::TraceLevel CliOptions::RowLevel() const
{
    if (trace != TraceLevel::None || traceFile.isEmpty())
        return trace;
    return TraceLevel::Osi7;
}

bool CliOptions::TakeValue(const QStringList &arguments, int &i, QString &value)
{
    if (i + 1 >= arguments.size())
        return Fail(QStringLiteral("option %1 needs a value").arg(arguments.at(i)));
    value = arguments.at(++i);
    return true;
}

bool CliOptions::TakeNumber(const QStringList &arguments, int &i, int minimum, int maximum, int &number)
{
    const QString option = arguments.value(i);
    QString text;
    if (!TakeValue(arguments, i, text))
        return false;
    bool ok = false;
    const int value = text.toInt(&ok, 10);
    if (!ok || value < minimum || value > maximum)
        return Fail(QStringLiteral("option %1 takes a whole number from %2 to %3, not '%4'")
                        .arg(option).arg(minimum).arg(maximum).arg(text));
    number = value;
    return true;
}

bool CliOptions::ParseTrace(const QString &text)
{
    if (text == QLatin1String("osi7"))
        trace = TraceLevel::Osi7;
    else if (text == QLatin1String("osi2"))
        trace = TraceLevel::Osi2;
    else if (text == QLatin1String("raw"))
        trace = TraceLevel::Raw;
    else
        return Fail(QStringLiteral("--trace takes osi7, osi2 or raw, not '%1'").arg(text));
    return true;
}

bool CliOptions::Fail(const QString &text)
{
    m_error = text;
    return false;
}

QString CliOptions::HelpText()
{
    return QStringLiteral(
        "Usage: lichtwart-cli [--device NAME] [--baud RATE] [--osi2 N] [--osi7 N] [--timeout MS]\n"
        "                     [--settle MS] [--trace osi7|osi2|raw] [--trace-file FILE]\n"
        "                     [--capture FILE.pcap] COMMAND [ARGS]\n"
        "       lichtwart-cli --help | --version\n"
        "\n"
        "Talks to one Strelo head over a serial line. Device, baud rate and addresses default to\n"
        "the settings of the Lichtwart program. Its output is always English, whatever the\n"
        "desktop's language, so that scripts can parse it.\n"
        "\n"
        "--trace LEVEL writes every trace row to stderr (cells joined by a tab); --trace-file FILE\n"
        "writes them to FILE as CSV with a header row (at the --trace level, OSI 7 without it).\n"
        "--capture FILE.pcap: every chunk the port writes and reads, as it is, also goes to FILE as\n"
        "a pcap capture (link type 250, RTAC serial line); open it with the profile the package\n"
        "installs: wireshark -C Lichtwart FILE.pcap (or tshark -C Lichtwart -r FILE.pcap).\n"
        "\n"
        "Commands:\n"
        "  identify                      product, hardware and software version, UID\n"
        "  lamp red|green|yellow|yellow-steady|yellow-flasher|red-yellow|off\n"
        "  intensity full|dim\n"
        "  currents                      request the lamp currents\n"
        "  flasher-sync soft|hard        start a flasher synchronisation\n"
        "  set-osi2-address N            give the head a new OSI 2 address (1..199)\n"
        "  monitor [--duration MS]       print reports (and trace rows) until the time is up,\n"
        "                                counted from the identification of the head\n"
        "  firmware-info FILE [--allow-raw-hex] [--wide]\n"
        "  upgrade FILE [--allow-raw-hex] [--upload-baud RATE] [--force] [--no-verify]\n"
        "               [--verify-timeout MS] [--retry PRODUCT]\n"
        "                                flash the head; a package for another product is refused\n"
        "                                unless --force; afterwards the restarted head must report\n"
        "                                the package's version within --verify-timeout (default\n"
        "                                15000): 'verified: software <version>' (--no-verify skips)\n"
        "                                --retry strelo-002|strelo-003: use when an upgrade failed\n"
        "                                and the head stays dark in its boot loader (it no longer\n"
        "                                answers on the link). No link is opened; the upgrade starts\n"
        "                                at the boot loader's enquiry, erases and writes everything\n"
        "                                again. PRODUCT picks the erase command and address width.\n"
        "  scan [--rates all|RATE,...] [--addresses N|FROM-TO]\n"
        "                                search the device for heads at every rate of the options\n"
        "                                dialog (2400..115200) and address 1..199; the stored rate\n"
        "                                and address first; one 'head:' line per head found\n"
        "  ports                         the serial ports present: path, then by-id, description,\n"
        "                                manufacturer, serial and usb fields (tab-separated)\n"
        "  pack IMAGE --version TEXT --date TEXT --product strelo-002|strelo-003\n"
        "       [--release-notes TEXT] [--format zip|tar|tar.gz] -o FILE\n"
        "                                write a firmware package of the S-record IMAGE; an image\n"
        "                                the upgrade would refuse for that product is refused\n"
        "\n"
        "When the port cannot be opened, a line \"reason: ...\" says why and what to do.\n"
        "\n"
        "Exit codes: 0 success, 1 port not opened, 2 usage error, 3 no link or identification\n"
        "(scan: no head found), 4 firmware file error (or the package cannot be written),\n"
        "5 upgrade failed.\n");
}
