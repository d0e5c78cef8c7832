#pragma once

#include "CliOptions.h"
#include "DeviceSession.h"
#include "UpgradeSequencer.h"

#include <QObject>
#include <QTextStream>
#include <QTimer>

#include <optional>

struct STRELO_PRODUCT;

// lichtwart-cli upgrade FILE [--allow-raw-hex] [--upload-baud RATE] [--force] [--no-verify]
// [--verify-timeout MS] [--retry PRODUCT]: opens the link, waits until the head is identified (its
// product decides the erase command and the address width), loads the file for that product and
// runs the upgrade exactly as the dialog does: switch-over, hand-over of the port, enquiry, erase,
// 32-byte writes and start.
//
// Two deliberate additions guard the head. A package whose manifest names another product than the
// head's is refused before anything is sent, unless --force is given. And after the start command
// the head is awaited and identified again: only when it reports the package's version does the
// command print "verified: software <version>" and succeed (--no-verify skips the check).
//
// With --retry the head is taken to be still in its boot loader after a failed upgrade, as the
// dialog's Retry button assumes: no link is opened, the named product (strelo-002 or strelo-003)
// stands for the identification, and the upgrade starts at the enquiry.
class UpgradeCommand : public QObject
{
    Q_OBJECT

public:
    // How long the restarted head has to come back and identify itself.
    static constexpr int kDefaultVerifyTimeoutMs = 15000;

    UpgradeCommand(const CliOptions &options, QTextStream &out, QTextStream &err);
    ~UpgradeCommand() override;

    int Run();

private:
    QString ParseArguments(const QStringList &arguments);
    int UsageError(const QString &problem);
    bool OpenLink();
    bool WaitForIdentification();
    bool LoadFirmware();
    int Upgrade();
    int RetryInBootLoader();
    bool CheckProduct();
    int AwaitEnd();
    int Verify();
    void OnLinkChanged(bool up);
    void OfferSwitchOver();
    void ReleaseLink();

    const CliOptions &m_options;
    QTextStream &m_out;
    QTextStream &m_err;
    QString m_file;
    bool m_allowRawHex = false;
    std::optional<int> m_uploadBaud;
    bool m_retry = false;
    bool m_force = false;
    bool m_verify = true;
    int m_verifyTimeoutMs = kDefaultVerifyTimeoutMs;

    DeviceSession m_session;
    UpgradeSequencer m_sequencer;
    QTimer m_switchOffer;
    int m_switchArguments[3] = {0, 0, 0};

    const STRELO_PRODUCT *m_product = nullptr;
    bool m_linkUp = false;
    bool m_upgrading = false;
    bool m_linkReleased = false;
    std::optional<bool> m_finished;
};

// The entry point used by main().
int RunUpgradeCommand(const CliOptions &options, QTextStream &out, QTextStream &err);
