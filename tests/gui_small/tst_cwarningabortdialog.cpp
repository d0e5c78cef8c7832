#include "SettingsSandbox.h"
#include "widgets/CWarningAbortDialog.h"
#include "settings/LichtwartSettings.h"

#include <QCheckBox>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

class TestCWarningAbortDialog : public QObject
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
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Warning"));
        QVERIFY(dialog.isModal());
        QCOMPARE(Child<QLabel>(dialog, "lblWarnIcon")->pixmap().toImage(), QPixmap(":/32x32/dlg-warning").toImage());
        QVERIFY(Child<QLabel>(dialog, "lblWarnText")->text().isEmpty());
        QVERIFY(Child<QLabel>(dialog, "lblWarnText")->wordWrap());
        QCOMPARE(Child<QCheckBox>(dialog, "checkBoxHide")->text(), QStringLiteral("Don't show this message in future"));
        const QPushButton *proceed = Child<QPushButton>(dialog, "btContinue");
        const QPushButton *abort = Child<QPushButton>(dialog, "pbAbort");
        QCOMPARE(proceed->text(), QStringLiteral("Continue"));
        QCOMPARE(abort->text(), QStringLiteral("Abort"));
        QVERIFY(abort->isDefault());
        QVERIFY(!proceed->isDefault());
        QCOMPARE(dialog.layout()->sizeConstraint(), QLayout::SetFixedSize);
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
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        const int emptyHeight = dialog.height();
        const QString text = QStringLiteral("The device will be erased and programmed now. ").repeated(6);
        dialog.SetText(text);
        QCOMPARE(Child<QLabel>(dialog, "lblWarnText")->text(), text);
        QVERIFY2(dialog.height() > emptyHeight, "the dialog did not grow with its text");
        QCOMPARE(dialog.minimumSize(), dialog.maximumSize());
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
