#include "SettingsSandbox.h"
#include "widgets/CWarningDialog.h"
#include "settings/LichtwartSettings.h"

#include <QCheckBox>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

#include <functional>

class TestCWarningDialog : public QObject
{
    Q_OBJECT

private:
    template <class T> static T *Child(const QWidget &dialog, const char *name)
    {
        T *child = dialog.findChild<T *>(name);
        if (!child)
            qFatal("the warning dialog has no %s", name);
        return child;
    }

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
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Warning"));
        QVERIFY(dialog.isModal());
        QCOMPARE(Child<QLabel>(dialog, "lblWarnIcon")->pixmap().toImage(), QPixmap(":/32x32/dlg-warning").toImage());
        const QLabel *text = Child<QLabel>(dialog, "lblWarnText");
        QVERIFY(text->text().isEmpty());
        QVERIFY(text->wordWrap());
        const QCheckBox *hide = Child<QCheckBox>(dialog, "checkBoxHide");
        QCOMPARE(hide->text(), QStringLiteral("Don't show this message in future"));
        QVERIFY(!hide->isChecked());
        const QPushButton *ok = Child<QPushButton>(dialog, "btOk");
        QCOMPARE(ok->text(), QStringLiteral("OK"));
        QVERIFY(ok->isDefault());
        QCOMPARE(dialog.layout()->sizeConstraint(), QLayout::SetFixedSize);
    }

    void setTextShowsTheMessageAndFitsTheDialog()
    {
        CWarningDialog dialog;
        dialog.SetText(QStringLiteral("Short."));
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        const QSize shortSize = dialog.size();
        QCOMPARE(dialog.minimumSize(), dialog.maximumSize());

        const QString longText = QStringLiteral("The firmware will be uploaded at a high baud rate. ").repeated(8);
        dialog.SetText(longText);
        QCOMPARE(Child<QLabel>(dialog, "lblWarnText")->text(), longText);
        QVERIFY2(dialog.height() > shortSize.height(), "the dialog did not grow with its text");
        QCOMPARE(dialog.minimumSize(), dialog.maximumSize());
    }

    void showAgainFollowsTheCheckBox()
    {
        CWarningDialog dialog;
        QVERIFY(dialog.ShowAgain());
        Child<QCheckBox>(dialog, "checkBoxHide")->setChecked(true);
        QVERIFY(!dialog.ShowAgain());
        Child<QCheckBox>(dialog, "checkBoxHide")->setChecked(false);
        QVERIFY(dialog.ShowAgain());
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
