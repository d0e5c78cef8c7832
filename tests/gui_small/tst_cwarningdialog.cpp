#include "SettingsSandbox.h"
#include "WarningDialogChecks.h"
#include "widgets/CWarningDialog.h"
#include "settings/LichtwartSettings.h"

#include <QCheckBox>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

#include <functional>

using WarningDialogChecks::Child;

class TestCWarningDialog : public QObject
{
    Q_OBJECT

private:
    // Runs the dialog modally while the user ticks the box and closes it with the given action.
    static int RunTicked(CWarningDialog &dialog, const std::function<void()> &close)
    {
        QTimer::singleShot(0, &dialog, [&dialog, close] {
            Child<QCheckBox>(dialog, "checkBoxHide")->setChecked(true);
            close();
        });
        return dialog.exec();
    }

    SettingsSandbox m_sandbox;

private slots:
    void init() { m_sandbox.Clear(); }

    void formAsDesigned()
    {
        CWarningDialog dialog;
        QCOMPARE(dialog.objectName(), QStringLiteral("WarnDialog"));
        WarningDialogChecks::CommonForm(dialog);
        const QPushButton *ok = Child<QPushButton>(dialog, "btOk");
        QCOMPARE(ok->text(), QStringLiteral("OK"));
        QVERIFY(ok->isDefault());
    }

    void setTextShowsTheMessageAndFitsTheDialog()
    {
        CWarningDialog dialog;
        WarningDialogChecks::SetTextShowsTheMessageAndFitsTheDialog(dialog);
    }

    void showAgainFollowsTheCheckBox()
    {
        CWarningDialog dialog;
        WarningDialogChecks::ShowAgainFollowsTheCheckBox(dialog);
    }

    void enterAccepts()
    {
        CWarningDialog dialog;
        dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QVERIFY(!dialog.isVisible());
    }

    // The firmware dialog stores ShowAgain() under the warning's key after the run.
    void tickedBoxStoresFalseUnderTheKey()
    {
        const char *key = LichtwartSettings::FirmwareWarnBaudrate;
        QVERIFY(LichtwartSettings::Read(QSettings(), key).toBool());

        CWarningDialog dialog;
        dialog.SetText(QStringLiteral("Firmware upload at high baudrate"));
        const int result = RunTicked(dialog, [&dialog] { Child<QPushButton>(dialog, "btOk")->click(); });
        QCOMPARE(result, int(QDialog::Accepted));
        QSettings().setValue(key, dialog.ShowAgain());

        QCOMPARE(LichtwartSettings::Read(QSettings(), key), QVariant(false));
    }

    void closingWithoutOkKeepsTheTick()
    {
        CWarningDialog dialog;
        const int result = RunTicked(dialog, [&dialog] { dialog.reject(); });
        QCOMPARE(result, int(QDialog::Rejected));
        QVERIFY(!dialog.ShowAgain());
    }
};

QTEST_MAIN(TestCWarningDialog)
#include "tst_cwarningdialog.moc"
