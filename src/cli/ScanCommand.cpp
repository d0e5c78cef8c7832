#include "ScanCommand.h"

#include "CliExit.h"
#include "ProgressLine.h"
#include "SignalWatcher.h"
#include "comm/CAsync.h"
#include "ports/PortOpenReason.h"
#include "settings/LichtwartSettings.h"
#include "tls/CHeadSearch.h"

#include <QEventLoop>
#include <QRegularExpression>
#include <QTimer>

namespace {

struct ScanArguments
{
    QList<int> rates = LichtwartSettings::BaudRates();
    int firstAddress = CHeadSearch::kFirstAddress;
    int lastAddress = CHeadSearch::kLastAddress;
};

QString ParseRates(const QString &text, QList<int> &rates)
{
    if (text == QLatin1String("all"))
        return {};
    rates.clear();
    for (const QString &part : text.split(QLatin1Char(','))) {
        bool ok = false;
        const int rate = part.toInt(&ok, 10);
        if (!ok || CAsync::RateForBaudIndex(CAsync::BaudIndexForRate(rate)) != rate)
            return QStringLiteral("--rates takes 'all' or a list of rates such as 9600,19200, not '%1'").arg(text);
        if (!rates.contains(rate))
            rates.append(rate);
    }
    return {};
}

QString ParseAddresses(const QString &text, int &first, int &last)
{
    static const QRegularExpression form(QStringLiteral("^(\\d{1,3})(?:-(\\d{1,3}))?$"));
    const QRegularExpressionMatch match = form.match(text);
    const QString error = QStringLiteral("--addresses takes one address N or a range FROM-TO within %1-%2, not '%3'")
                              .arg(CHeadSearch::kFirstAddress).arg(CHeadSearch::kLastAddress).arg(text);
    if (!match.hasMatch())
        return error;
    first = match.captured(1).toInt();
    last = match.captured(2).isEmpty() ? first : match.captured(2).toInt();
    if (first < CHeadSearch::kFirstAddress || last > CHeadSearch::kLastAddress || first > last)
        return error;
    return {};
}

QString ParseArguments(const QStringList &arguments, ScanArguments &scan)
{
    for (int i = 0; i < arguments.size(); ++i) {
        const QString &option = arguments.at(i);
        if (option != QLatin1String("--rates") && option != QLatin1String("--addresses"))
            return QStringLiteral("scan does not take '%1'").arg(option);
        if (i + 1 >= arguments.size())
            return QStringLiteral("option %1 needs a value").arg(option);
        const QString value = arguments.at(++i);
        const QString error = option == QLatin1String("--rates") ? ParseRates(value, scan.rates)
                                                                 : ParseAddresses(value, scan.firstAddress, scan.lastAddress);
        if (!error.isEmpty())
            return error;
    }
    return {};
}

} // namespace

int RunScanCommand(const CliOptions &options, QTextStream &out, QTextStream &err)
{
    ScanArguments scan;
    const QString error = ParseArguments(options.commandArguments, scan);
    if (!error.isEmpty()) {
        err << "lichtwart-cli: " << error << "\n";
        return CliExit::kUsage;
    }
    // The stored rate and address (or those given with --baud and --osi2) are probed first.
    CHeadSearch search(options.device, CHeadSearch::Plan(scan.rates, scan.firstAddress, scan.lastAddress,
                                                         options.baudRate, options.osi2Address));
    ProgressLine progress(err, ProgressLine::IsTerminal(err));
    QEventLoop loop;
    bool portFailed = false;
    int found = 0;
    QObject::connect(&search, &CHeadSearch::Progress, &search, [&](int done, int total) { progress.Show(done, total); });
    QObject::connect(&search, &CHeadSearch::HeadFound, &search, [&](const FoundHead &head) {
        progress.Break();
        out << head.Line() << "\n";
        out.flush();
    });
    QObject::connect(&search, &CHeadSearch::PortFailed, &search, [&](const QString &device, int) {
        progress.Break();
        err << "error: the device " << device << " could not be opened\n";
        const QString reason = PortOpenReason::Text(search.OpenFailure());
        if (!reason.isEmpty())
            err << "reason: " << reason << "\n";
        portFailed = true;
    });
    QObject::connect(&search, &CHeadSearch::RateRefused, &search, [&](const QString &device, int rate) {
        progress.Break();
        err << "warning: " << device << " refused " << rate << " baud, so no head can be reached at that rate on it; "
            << "its probes were skipped\n";
    });
    QObject::connect(&search, &CHeadSearch::Finished, &loop, [&](int heads, bool) {
        found = heads;
        loop.quit();
    });
    SignalWatcher interrupt;
    QObject::connect(&interrupt, &SignalWatcher::Interrupted, &search, &CHeadSearch::Cancel);
    // Started from the loop, so that a search that ends at once still ends the loop.
    QTimer::singleShot(0, &search, &CHeadSearch::Start);
    loop.exec();
    progress.Break();
    if (portFailed)
        return CliExit::kOpenFailed;
    if (found == 0)
        err << "no head answered: check the cable and the head's power, then scan again\n";
    return found > 0 ? CliExit::kOk : CliExit::kNoLink;
}
