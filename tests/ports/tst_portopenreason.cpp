#include "comm/CAsyncPosix.h"
#include "ports/PortOpenReason.h"

#include "PtyPair.h"

#include <QFile>
#include <QProcess>
#include <QSerialPortInfo>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// The port as the link layer uses it, minus the link: failures are only recorded.
class BarePort : public CAsyncPosix
{
public:
    void OnReceive(const ByteVector &) override {}
    void ReportError(const std::string &) override {}
};

// The end of a reason that lists the ports present, checked against the system's own list.
bool ListsThePortsPresent(const QString &qstrReason, const QString &qstrBefore)
{
    if (!qstrReason.startsWith(qstrBefore))
        return false;
    const QString rest = qstrReason.mid(qstrBefore.size());
    const QList<QSerialPortInfo> ports = QSerialPortInfo::availablePorts();
    if (ports.isEmpty())
        return rest == QStringLiteral("No serial port is present on this computer: plug in the adapter, then try again.");
    if (!rest.startsWith(QStringLiteral("Ports present: ")) || !rest.endsWith(QLatin1Char('.')))
        return false;
    for (const QSerialPortInfo &port : ports) {
        if (!rest.contains(port.systemLocation()))
            return false;
    }
    return true;
}

// Opens `path` in a child process that runs as the unprivileged user "nobody" (when this test runs
// as root) and hands back the failure's step, error number and reason text.
struct ChildOutcome
{
    int step = -1;
    int error = 0;
    QString reason;
};

ChildOutcome OpenAsNobody(const QString &path)
{
    int pipeFds[2];
    if (pipe(pipeFds) != 0)
        return {};
    const pid_t child = fork();
    if (child == 0) {
        ::close(pipeFds[0]);
        const passwd *nobody = getpwnam("nobody");
        if (geteuid() == 0 && (nobody == nullptr || setgroups(0, nullptr) != 0 || setgid(nobody->pw_gid) != 0
                               || setuid(nobody->pw_uid) != 0))
            _exit(2);
        BarePort port;
        port.Open(path.toStdString());
        const PortOpenFailure &failure = port.LastOpenFailure();
        const QByteArray text = QByteArray::number(int(failure.step)) + '\n' + QByteArray::number(failure.error) + '\n'
                                + PortOpenReason::Text(failure).toUtf8();
        const bool written = ::write(pipeFds[1], text.constData(), text.size()) == text.size();
        _exit(written ? 0 : 3);
    }
    ::close(pipeFds[1]);
    QByteArray text;
    char buffer[1024];
    for (ssize_t n; (n = ::read(pipeFds[0], buffer, sizeof buffer)) > 0;)
        text.append(buffer, n);
    ::close(pipeFds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    const QList<QByteArray> parts = text.split('\n');
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || parts.size() < 3)
        return {};
    return {parts.at(0).toInt(), parts.at(1).toInt(), QString::fromUtf8(parts.mid(2).join('\n'))};
}

} // namespace

// Each reason against a real case: the port's own Open fails and the reason is built from it.
class tst_PortOpenReason : public QObject
{
    Q_OBJECT

private slots:
    void aSuccessfulOpenRecordsNoFailure();
    void aMissingPathListsThePortsPresent();
    void aWindowsNameSaysWhichDeviceItWasTakenToMean();
    void aRegularFileIsNotASerialDevice();
    void aFolderIsNotASerialDevice();
    void aPortHeldByAnotherProcessNamesIt();
    void aDeviceTheUserMayNotUseNamesItsGroupAndTheCommand();
    void refusedSettingsAreNamed();
};

void tst_PortOpenReason::aSuccessfulOpenRecordsNoFailure()
{
    PtyPair pty;
    BarePort port;
    QVERIFY(!port.Open("/dev/lichtwart-no-such-port"));
    QVERIFY(port.Open(pty.SlavePath().toStdString()));
    QCOMPARE(port.LastOpenFailure().step, PortOpenFailure::Step::None);
    QCOMPARE(PortOpenReason::Text(port.LastOpenFailure()), QString());
}

void tst_PortOpenReason::aMissingPathListsThePortsPresent()
{
    BarePort port;
    QVERIFY(!port.Open("/dev/lichtwart-no-such-port"));
    QCOMPARE(port.LastOpenFailure().step, PortOpenFailure::Step::Open);
    QCOMPARE(port.LastOpenFailure().error, ENOENT);
    const QString reason = PortOpenReason::Text(port.LastOpenFailure());
    QVERIFY2(ListsThePortsPresent(reason, QStringLiteral("There is no device /dev/lichtwart-no-such-port. ")),
             qPrintable(reason));
}

void tst_PortOpenReason::aWindowsNameSaysWhichDeviceItWasTakenToMean()
{
    BarePort port;
    QVERIFY(!port.Open("COM200"));
    const QString reason = PortOpenReason::Text(port.LastOpenFailure());
    QVERIFY2(ListsThePortsPresent(reason, QStringLiteral("On Linux, COM200 is taken to mean /dev/ttyS199. "
                                                         "There is no device /dev/ttyS199. ")),
             qPrintable(reason));
    // A short name is plain: it says nothing of Windows.
    QVERIFY(!port.Open("lichtwart-no-such-port"));
    QVERIFY(PortOpenReason::Text(port.LastOpenFailure()).startsWith(QStringLiteral("There is no device /dev/lichtwart-no-such-port.")));
}

void tst_PortOpenReason::aRegularFileIsNotASerialDevice()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("capture.bin"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    BarePort port;
    QVERIFY(!port.Open(path.toStdString()));
    QCOMPARE(port.LastOpenFailure().step, PortOpenFailure::Step::NotSerial);
    const QString reason = PortOpenReason::Text(port.LastOpenFailure());
    QVERIFY2(ListsThePortsPresent(reason, QStringLiteral("%1 is not a serial device but a regular file. ").arg(path)),
             qPrintable(reason));
}

void tst_PortOpenReason::aFolderIsNotASerialDevice()
{
    QTemporaryDir dir;
    BarePort port;
    QVERIFY(!port.Open(dir.path().toStdString()));
    QCOMPARE(port.LastOpenFailure().error, EISDIR);
    const QString reason = PortOpenReason::Text(port.LastOpenFailure());
    QVERIFY2(ListsThePortsPresent(reason, QStringLiteral("%1 is not a serial device but a folder. ").arg(dir.path())),
             qPrintable(reason));
}

// Another process (here a shell that locks the line as this program does) holds the pty.
void tst_PortOpenReason::aPortHeldByAnotherProcessNamesIt()
{
    PtyPair pty;
    QProcess holder;
    holder.setProgram(QStringLiteral("flock"));
    holder.setArguments({QStringLiteral("--exclusive"), QStringLiteral("--close"), pty.SlavePath(), QStringLiteral("sleep"), QStringLiteral("60")});
    holder.start();
    QVERIFY(holder.waitForStarted());
    BarePort port;
    QTRY_VERIFY_WITH_TIMEOUT(!port.Open(pty.SlavePath().toStdString()), 10000);
    QCOMPARE(port.LastOpenFailure().step, PortOpenFailure::Step::InUse);
    const QString reason = PortOpenReason::Text(port.LastOpenFailure());
    const qint64 holderPid = holder.processId();
    holder.kill();
    holder.waitForFinished();
    QCOMPARE(reason, QStringLiteral("%1 is in use by another program: flock (process %2). Close that program (or end "
                                    "its connection), then try again.")
                         .arg(pty.SlavePath())
                         .arg(holderPid));
}

void tst_PortOpenReason::aDeviceTheUserMayNotUseNamesItsGroupAndTheCommand()
{
    PtyPair pty;
    const QByteArray path = QFile::encodeName(pty.SlavePath());
    if (geteuid() == 0) {
        // As on a fresh system: the device belongs to root and the group dialout, read and write for both.
        const group *dialout = getgrnam("dialout");
        QVERIFY2(dialout != nullptr, "the group dialout is missing");
        QCOMPARE(chown(path.constData(), 0, dialout->gr_gid), 0);
        QCOMPARE(chmod(path.constData(), 0660), 0);
        const ChildOutcome outcome = OpenAsNobody(pty.SlavePath());
        QCOMPARE(outcome.step, int(PortOpenFailure::Step::Open));
        QCOMPARE(outcome.error, EACCES);
        QCOMPARE(outcome.reason,
                 QStringLiteral("You are not allowed to use %1: it belongs to the group dialout, and your user nobody is "
                                "not in it. Add the user to the group with the command \"sudo adduser nobody dialout\", "
                                "then log out and log in again (the new group counts from the next login on).")
                     .arg(pty.SlavePath()));
    } else {
        // Unprivileged already: a device that grants nobody anything.
        QCOMPARE(chmod(path.constData(), 0), 0);
        const ChildOutcome outcome = OpenAsNobody(pty.SlavePath());
        QCOMPARE(outcome.error, EACCES);
        QCOMPARE(outcome.reason,
                 QStringLiteral("You are not allowed to use %1, and no group gives access to it. Ask the administrator "
                                "of this computer to give your user access to the device.")
                     .arg(pty.SlavePath()));
    }
}

// A pseudo-terminal takes every setting, so the record is the one Configure leaves when the
// driver refuses the rate.
void tst_PortOpenReason::refusedSettingsAreNamed()
{
    PortOpenFailure failure;
    failure.step = PortOpenFailure::Step::SettingsRefused;
    failure.error = EINVAL;
    failure.portName = "ttyUSB0";
    failure.path = "/dev/ttyUSB0";
    failure.baudIndex = 10;
    failure.dataBits = CAsync::kDataBits8;
    failure.stopBits = CAsync::kStopBits1;
    failure.parity = CAsync::kParityEven;
    QCOMPARE(PortOpenReason::Text(failure),
             QStringLiteral("/dev/ttyUSB0 refused the settings 115200 baud, 8 data bits, even parity, one stop bit "
                            "(Invalid argument). Choose another baud rate in the options, or another port."));
    failure.error = 0;
    QVERIFY(PortOpenReason::Text(failure).contains(QStringLiteral("(they did not take effect)")));
}

QTEST_GUILESS_MAIN(tst_PortOpenReason)
#include "tst_portopenreason.moc"
