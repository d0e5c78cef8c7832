#include "app/AboutDialog.h"

#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QtTest>

class TestAboutDialog : public QObject
{
    Q_OBJECT

private:
    template <class T> static T *Child(const QWidget &dialog, const char *name)
    {
        T *child = dialog.findChild<T *>(name);
        if (!child)
            qFatal("the about box has no %s", name);
        return child;
    }

    static QImage Image(const QLabel *label) { return label->pixmap().toImage(); }

private slots:
    void formAsDesigned()
    {
        AboutDialog dialog;
        QCOMPARE(dialog.objectName(), QStringLiteral("AboutDialog"));
        QCOMPARE(dialog.windowTitle(), QStringLiteral("About Lichtwart"));
        QVERIFY(!dialog.windowIcon().isNull());
        QCOMPARE(dialog.windowIcon().pixmap(24, 24).toImage(), QPixmap(":/24x24/info").toImage());

        QCOMPARE(Image(Child<QLabel>(dialog, "lblInfoicon")), QPixmap(":/24x24/application").toImage());
        QCOMPARE(Image(Child<QLabel>(dialog, "label")), QPixmap(":/logo").toImage());
        QVERIFY(!QPixmap(":/logo").isNull());

        const QLabel *topline = Child<QLabel>(dialog, "lblTopline");
        QCOMPARE(topline->text(), QStringLiteral("Lichtwart"));
        QCOMPARE(topline->font().pointSize(), 10);
        QVERIFY(topline->font().bold());
        QCOMPARE(Child<QLabel>(dialog, "lblVersion")->text(), QStringLiteral("Version"));
        QVERIFY(Child<QLabel>(dialog, "lblBottomline")->text().contains(QStringLiteral("Varnholt GmbH")));
        QCOMPARE(Child<QPushButton>(dialog, "pushButton")->text(), QStringLiteral("Ok"));
    }

    void textLabelsAreCentred()
    {
        AboutDialog dialog;
        for (const char *name : {"lblTopline", "lblVersion", "lblBottomline"})
            QCOMPARE(Child<QLabel>(dialog, name)->alignment(), Qt::AlignHCenter | Qt::AlignVCenter);
    }

    void sizeIsFixed()
    {
        AboutDialog dialog;
        QCOMPARE(dialog.layout()->sizeConstraint(), QLayout::SetFixedSize);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QCOMPARE(dialog.minimumSize(), dialog.maximumSize());
        QCOMPARE(dialog.size(), dialog.minimumSize());
        // 295 x 225 as designed; a larger system font may widen it, never shrink it.
        QVERIFY2(dialog.width() >= 295 && dialog.height() >= 225, qPrintable(QStringLiteral("%1 x %2").arg(dialog.width()).arg(dialog.height())));
    }

    void setVersionReplacesTheVersionLine()
    {
        AboutDialog dialog;
        dialog.SetVersion(QStringLiteral("Version 1.22.2"));
        QCOMPARE(Child<QLabel>(dialog, "lblVersion")->text(), QStringLiteral("Version 1.22.2"));
    }

    void okAcceptsTheDialog()
    {
        AboutDialog dialog;
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QTest::mouseClick(Child<QPushButton>(dialog, "pushButton"), Qt::LeftButton);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QVERIFY(!dialog.isVisible());
    }
};

QTEST_MAIN(TestAboutDialog)
#include "tst_aboutdialog.moc"
