#include "widgets/CKeyModPushButton.h"

#include <QSignalSpy>
#include <QtTest>

class TestCKeyModPushButton : public QObject
{
    Q_OBJECT

private slots:
    void clickEmitsOneSignal_data()
    {
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<int>("clicked");
        QTest::addColumn<int>("withShift");
        QTest::addColumn<int>("withCtrl");
        QTest::newRow("plain") << int(Qt::NoModifier) << 1 << 0 << 0;
        QTest::newRow("shift") << int(Qt::ShiftModifier) << 0 << 1 << 0;
        QTest::newRow("ctrl") << int(Qt::ControlModifier) << 0 << 0 << 1;
        QTest::newRow("ctrl+shift") << int(Qt::ControlModifier | Qt::ShiftModifier) << 1 << 0 << 0;
        QTest::newRow("shift+keypad") << int(Qt::ShiftModifier | Qt::KeypadModifier) << 1 << 0 << 0;
        QTest::newRow("ctrl+keypad") << int(Qt::ControlModifier | Qt::KeypadModifier) << 1 << 0 << 0;
        QTest::newRow("shift+alt") << int(Qt::ShiftModifier | Qt::AltModifier) << 1 << 0 << 0;
        QTest::newRow("alt") << int(Qt::AltModifier) << 1 << 0 << 0;
    }

    void clickEmitsOneSignal()
    {
        QFETCH(int, modifiers);
        QFETCH(int, clicked);
        QFETCH(int, withShift);
        QFETCH(int, withCtrl);

        CKeyModPushButton button;
        button.setText(QStringLiteral("YEL"));
        button.show();
        QVERIFY(QTest::qWaitForWindowExposed(&button));
        QSignalSpy clickedSpy(&button, &QPushButton::clicked);
        QSignalSpy shiftSpy(&button, &CKeyModPushButton::clickedWithShift);
        QSignalSpy ctrlSpy(&button, &CKeyModPushButton::clickedWithCtrl);

        QTest::mouseClick(&button, Qt::LeftButton, Qt::KeyboardModifiers(modifiers));

        QCOMPARE(clickedSpy.count(), clicked);
        QCOMPARE(shiftSpy.count(), withShift);
        QCOMPARE(ctrlSpy.count(), withCtrl);
        QVERIFY2(!button.isDown(), "the button stayed pressed");
    }

    // A modified click leaves the button ready for an ordinary click.
    void plainClickAfterModifiedClicks()
    {
        CKeyModPushButton button;
        button.show();
        QVERIFY(QTest::qWaitForWindowExposed(&button));
        QSignalSpy clickedSpy(&button, &QPushButton::clicked);
        QSignalSpy shiftSpy(&button, &CKeyModPushButton::clickedWithShift);
        QSignalSpy ctrlSpy(&button, &CKeyModPushButton::clickedWithCtrl);

        QTest::mouseClick(&button, Qt::LeftButton, Qt::ShiftModifier);
        QTest::mouseClick(&button, Qt::LeftButton, Qt::ControlModifier);
        QTest::mouseClick(&button, Qt::LeftButton);

        QCOMPARE(shiftSpy.count(), 1);
        QCOMPARE(ctrlSpy.count(), 1);
        QCOMPARE(clickedSpy.count(), 1);
    }

    void keyboardActivationIsAnOrdinaryClick()
    {
        CKeyModPushButton button;
        button.show();
        QVERIFY(QTest::qWaitForWindowActive(&button));
        QSignalSpy clickedSpy(&button, &QPushButton::clicked);
        QSignalSpy shiftSpy(&button, &CKeyModPushButton::clickedWithShift);
        button.setFocus();
        QTest::keyClick(&button, Qt::Key_Space);
        QCOMPARE(clickedSpy.count(), 1);
        QCOMPARE(shiftSpy.count(), 0);
    }
};

QTEST_MAIN(TestCKeyModPushButton)
#include "tst_ckeymodpushbutton.moc"
