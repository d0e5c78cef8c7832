#include "SettingsSandbox.h"
#include "WarningDialogChecks.h"
#include "widgets/CWarningAbortDialog.h"
#include "settings/LichtwartSettings.h"

#include <QCheckBox>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

using WarningDialogChecks::Child;

class TestCWarningAbortDialog : public QObject
{
    Q_OBJECT

private:
    // Shows the dialog, gives the named widget the focus and presses Enter (or Return) on it.
    static int PressOn(const char *focusName, Qt::Key key)
    {
        CWarningAbortDialog dialog;
        dialog.SetText(QStringLiteral("Programming starts"));
        dialog.show();
        if (!QTest::qWaitForWindowActive(&dialog))
            return -1;
        QWidget *focus = Child<QWidget>(dialog, focusName);
        focus->setFocus(Qt::TabFocusReason);
        QTest::keyClick(focus, key, key == Qt::Key_Enter ? Qt::KeypadModifier : Qt::NoModifier);
        return dialog.isVisible() ? -1 : dialog.result();
    }

    SettingsSandbox m_sandbox;

private slots:
    void init() { m_sandbox.Clear(); }

    void formAsDesigned()
    {
        CWarningAbortDialog dialog;
        QCOMPARE(dialog.objectName(), QStringLiteral("WarnAbortDialog"));
        WarningDialogChecks::CommonForm(dialog);
        const QPushButton *proceed = Child<QPushButton>(dialog, "btContinue");
        const QPushButton *abort = Child<QPushButton>(dialog, "pbAbort");
        QCOMPARE(proceed->text(), QStringLiteral("Continue"));
        QCOMPARE(abort->text(), QStringLiteral("Abort"));
        QVERIFY(abort->isDefault());
        QVERIFY(!proceed->isDefault());
    }

    void enterAborts_data()
    {
        QTest::addColumn<QByteArray>("focus");
        QTest::addColumn<int>("key");
        QTest::newRow("return on the check box") << QByteArray("checkBoxHide") << int(Qt::Key_Return);
        QTest::newRow("keypad enter on the check box") << QByteArray("checkBoxHide") << int(Qt::Key_Enter);
        QTest::newRow("return on Abort") << QByteArray("pbAbort") << int(Qt::Key_Return);
        // Continue must not become the default just because it has the focus.
        QTest::newRow("return on Continue") << QByteArray("btContinue") << int(Qt::Key_Return);
        QTest::newRow("keypad enter on Continue") << QByteArray("btContinue") << int(Qt::Key_Enter);
    }

    void enterAborts()
    {
        QFETCH(QByteArray, focus);
        QFETCH(int, key);
        QCOMPARE(PressOn(focus.constData(), Qt::Key(key)), int(QDialog::Rejected));
    }

    void continueAcceptsAndAbortRejects()
    {
        CWarningAbortDialog dialog;
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QTest::mouseClick(Child<QPushButton>(dialog, "btContinue"), Qt::LeftButton);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));

        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QTest::mouseClick(Child<QPushButton>(dialog, "pbAbort"), Qt::LeftButton);
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
    }

    void setTextShowsTheMessageAndFitsTheDialog()
    {
        CWarningAbortDialog dialog;
        WarningDialogChecks::SetTextShowsTheMessageAndFitsTheDialog(dialog);
    }

    void showAgainFollowsTheCheckBox()
    {
        CWarningAbortDialog dialog;
        WarningDialogChecks::ShowAgainFollowsTheCheckBox(dialog);
    }

    void tickedBoxStoresFalseUnderTheKey()
    {
        const char *key = LichtwartSettings::FirmwareWarnProgStart;
        QVERIFY(LichtwartSettings::Read(QSettings(), key).toBool());

        CWarningAbortDialog dialog;
        QVERIFY(dialog.ShowAgain());
        QTimer::singleShot(0, &dialog, [&dialog] {
            Child<QCheckBox>(dialog, "checkBoxHide")->setChecked(true);
            Child<QPushButton>(dialog, "btContinue")->click();
        });
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
        QSettings().setValue(key, dialog.ShowAgain());

        QCOMPARE(LichtwartSettings::Read(QSettings(), key), QVariant(false));
    }
};

QTEST_MAIN(TestCWarningAbortDialog)
#include "tst_cwarningabortdialog.moc"
