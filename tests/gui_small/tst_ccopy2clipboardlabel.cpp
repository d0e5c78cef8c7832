#include "app/CCopy2ClipboardLabel.h"

#include <QApplication>
#include <QClipboard>
#include <QtTest>

class TestCCopy2ClipboardLabel : public QObject
{
    Q_OBJECT

private:
    static QClipboard *Clipboard() { return QGuiApplication::clipboard(); }

private slots:
    void init() { Clipboard()->setText(QStringLiteral("left over"), QClipboard::Clipboard); }

    void createdWithoutParent()
    {
        CCopy2ClipboardLabel label;
        QCOMPARE(label.parentWidget(), nullptr);
        QVERIFY(label.text().isEmpty());
    }

    void clickCopiesTheBareUid_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("copied");
        QTest::newRow("status bar text") << QStringLiteral("UID: 12 34 AB") << QStringLiteral("1234AB");
        QTest::newRow("no tag") << QStringLiteral("00 11 22") << QStringLiteral("001122");
        QTest::newRow("tag twice") << QStringLiteral("UID: 0A UID: 0B") << QStringLiteral("0A0B");
        QTest::newRow("tag is case-sensitive") << QStringLiteral("uid: 12 UID:34") << QStringLiteral("uid:1234");
        QTest::newRow("blanks around") << QStringLiteral("  UID:   FF  ") << QStringLiteral("FF");
    }

    void clickCopiesTheBareUid()
    {
        QFETCH(QString, text);
        QFETCH(QString, copied);
        CCopy2ClipboardLabel label;
        label.setText(text);
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        QTest::mouseClick(&label, Qt::LeftButton);
        QCOMPARE(Clipboard()->text(QClipboard::Clipboard), copied);
        QCOMPARE(label.text(), text);
    }

    void emptyLabelLeavesTheClipboard()
    {
        CCopy2ClipboardLabel label;
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        QTest::mouseClick(&label, Qt::LeftButton);
        QCOMPARE(Clipboard()->text(QClipboard::Clipboard), QStringLiteral("left over"));
    }

    void anyButtonCopies()
    {
        CCopy2ClipboardLabel label;
        label.setText(QStringLiteral("UID: 12 34 AB"));
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        QTest::mousePress(&label, Qt::RightButton);
        QCOMPARE(Clipboard()->text(QClipboard::Clipboard), QStringLiteral("1234AB"));
    }

    // Only the clipboard proper is written, never the X11-style selection.
    void selectionIsLeftAlone()
    {
        if (Clipboard()->supportsSelection())
            Clipboard()->setText(QStringLiteral("selected"), QClipboard::Selection);
        const QString selectionBefore = Clipboard()->text(QClipboard::Selection);
        CCopy2ClipboardLabel label;
        label.setText(QStringLiteral("UID: 12 34 AB"));
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        QTest::mouseClick(&label, Qt::LeftButton);
        QCOMPARE(Clipboard()->text(QClipboard::Selection), selectionBefore);
        QCOMPARE(Clipboard()->text(QClipboard::Clipboard), QStringLiteral("1234AB"));
    }
};

QTEST_MAIN(TestCCopy2ClipboardLabel)
#include "tst_ccopy2clipboardlabel.moc"
