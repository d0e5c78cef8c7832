#include "app/MainWindow.h"
#include "app/OptionsDialog.h"

#include "CaptureFile.h"
#include "ModalAnswerer.h"
#include "ModalHandler.h"
#include "SettingsSandbox.h"
#include "SimProcess.h"
#include "capture/CLineCapture.h"
#include "comm/CAsync.h"
#include "controller/CTrafficLightController.h"
#include "settings/LichtwartSettings.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

constexpr int kLinkMs = 10000;

} // namespace

// File > Capture Line to File... against the simulated head: the capture runs until it is
// unchecked, Disconnect (the user's, or that of new options, with a note where the file is) or
// exit, the status bar shows it, and a failing file ends it alone.
class TestMainWindowCapture : public QObject
{
    Q_OBJECT

private:
    SettingsSandbox m_sandbox;
    QTemporaryDir m_dir;
    std::unique_ptr<SimProcess> m_sim;
    std::unique_ptr<MainWindow> m_window;

    QAction *Action(const char *name) const { return m_window->findChild<QAction *>(QLatin1String(name)); }
    QWidget *Indicator() const { return m_window->findChild<QWidget *>(QStringLiteral("captureIndicator")); }
    QString CaptureText() const { return m_window->findChild<QLabel *>(QStringLiteral("captureLabel"))->text(); }

    void Start()
    {
        m_sim = std::make_unique<SimProcess>();
        QVERIFY(m_sim->Start({}));
        QSettings settings;
        settings.setValue(QLatin1String(LichtwartSettings::InterfaceDevice), m_sim->DevicePath());
        m_window = std::make_unique<MainWindow>(false);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        Action("actionConnect")->trigger();
        QVERIFY(m_window->Controller()->IsOpen());
    }
    void CaptureThroughTheMenu(const QString &path)
    {
        OnNextModal<QFileDialog>(this, [path](QFileDialog *dialog) {
            ModalAnswerer::Choose(dialog, path);
        });
        Action("actionCaptureLine")->trigger();
    }
    // The note that a disconnect ended the capture, and where the file is; closes it.
    void CheckEndedNote(const QString &path)
    {
        QMessageBox *box = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT((box = m_window->findChild<QMessageBox *>()) != nullptr, kLinkMs);
        QCOMPARE(box->windowTitle(), QStringLiteral("Line capture ended"));
        QCOMPARE(box->text(), QStringLiteral("The line capture ended with the disconnect. It is saved in %1.")
                                  .arg(QDir::toNativeSeparators(path)));
        box->accept();
    }
    static void CheckCapture(const QString &path)
    {
        CaptureFile file;
        QVERIFY2(file.Read(path), qPrintable(file.Error()));
        QVERIFY(!file.Octets(true).isEmpty());
        QVERIFY(!file.Octets(false).isEmpty());
        for (const CaptureFile::Record &record : file.Records())
            QVERIFY2(CaptureFile::SoundTelegram(record.octets), qPrintable(record.octets.toHex(' ')));
    }

private slots:
    void init() { m_sandbox.Clear(); }
    void cleanup()
    {
        m_window.reset();
        m_sim.reset();
    }

    void theCaptureRunsUntilDisconnect()
    {
        Start();
        QVERIFY(Action("actionCaptureLine")->isCheckable());
        QCOMPARE(Action("actionCaptureLine")->text(), QStringLiteral("Capture Line to File..."));
        QVERIFY(Indicator()->isHidden());
        const QString path = m_dir.filePath(QStringLiteral("menu.pcap"));
        CaptureThroughTheMenu(path);
        QTRY_VERIFY_WITH_TIMEOUT(m_window->LineCapture() != nullptr, kLinkMs);
        QVERIFY(Action("actionCaptureLine")->isChecked());
        QVERIFY(Indicator()->isVisible());
        // The size grows with the polls: 24 octets of file header at first, then the records.
        QTRY_VERIFY_WITH_TIMEOUT(m_window->LineCapture()->Size() > 1000, kLinkMs);
        QTRY_COMPARE_WITH_TIMEOUT(CaptureText(),
                                  QStringLiteral("Capturing: ") + QLocale().formattedDataSize(m_window->LineCapture()->Size()),
                                  kLinkMs);

        Action("actionDisconnect")->trigger();
        QVERIFY(m_window->LineCapture() == nullptr);
        QVERIFY(!Action("actionCaptureLine")->isChecked());
        QVERIFY(Indicator()->isHidden());
        QVERIFY(!CAsync::LineTap());
        CheckEndedNote(path);
        CheckCapture(path);
    }

    void newOptionsEndTheCaptureAndSaySo()
    {
        // Accepted options disconnect, and the capture belongs to the connection.
        Start();
        const QString path = m_dir.filePath(QStringLiteral("options.pcap"));
        QVERIFY(m_window->StartCapture(path));
        QTRY_VERIFY_WITH_TIMEOUT(m_window->LineCapture()->Size() > 500, kLinkMs);
        OnNextModal<OptionsDialog>(this, [](OptionsDialog *dialog) {
            dialog->findChild<QDialogButtonBox *>(QStringLiteral("btOkCancel"))->button(QDialogButtonBox::Ok)->click();
        });
        Action("actionOptions")->trigger();
        QVERIFY(m_window->LineCapture() == nullptr);
        QVERIFY(Indicator()->isHidden());
        CheckEndedNote(path);
        CheckCapture(path);
    }

    void uncheckingEndsTheCapture()
    {
        Start();
        const QString path = m_dir.filePath(QStringLiteral("unchecked.pcap"));
        QVERIFY(m_window->StartCapture(path));
        QTRY_VERIFY_WITH_TIMEOUT(m_window->LineCapture()->Size() > 500, kLinkMs);
        Action("actionCaptureLine")->trigger();
        QVERIFY(m_window->LineCapture() == nullptr);
        QVERIFY(m_window->Controller()->IsOpen());
        CheckCapture(path);
    }

    void aCancelledFileDialogCapturesNothing()
    {
        Start();
        OnNextModal<QFileDialog>(this, [](QFileDialog *dialog) { dialog->reject(); });
        Action("actionCaptureLine")->trigger();
        QVERIFY(m_window->LineCapture() == nullptr);
        QVERIFY(!Action("actionCaptureLine")->isChecked());
        QVERIFY(Indicator()->isHidden());
    }

    void aFullFileEndsTheCaptureNotTheLink()
    {
        Start();
        QVERIFY(m_window->StartCapture(QStringLiteral("/dev/full")));
        QMessageBox *box = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT((box = m_window->findChild<QMessageBox *>()) != nullptr, kLinkMs);
        QCOMPARE(box->windowTitle(), QStringLiteral("Line capture stopped"));
        QVERIFY2(box->text().contains(QStringLiteral("No space left on device")), qPrintable(box->text()));
        QVERIFY(m_window->LineCapture() == nullptr);
        QVERIFY(!Action("actionCaptureLine")->isChecked());
        box->accept();
        // The link comes up and stays up.
        QVERIFY(m_window->Controller()->IsOpen());
        QTRY_VERIFY_WITH_TIMEOUT(Action("actionFSync")->isEnabled(), kLinkMs);
    }

    void exitEndsTheCapture()
    {
        Start();
        const QString path = m_dir.filePath(QStringLiteral("exit.pcap"));
        QVERIFY(m_window->StartCapture(path));
        // Polls both ways on record: the link may have come up before the capture began.
        QTRY_VERIFY_WITH_TIMEOUT(m_window->LineCapture()->Size() > 500, kLinkMs);
        m_window->close();
        QVERIFY(!CAsync::LineTap());
        CheckCapture(path);
    }
};

QTEST_MAIN(TestMainWindowCapture)
#include "tst_mainwindow_capture.moc"
