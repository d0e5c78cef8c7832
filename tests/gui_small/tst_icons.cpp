#include <QImage>
#include <QPixmap>
#include <QtTest>

// Every icon the windows and dialogs name is compiled in, has its size and shows something.
class TestIcons : public QObject
{
    Q_OBJECT

private:
    static QStringList Names16()
    {
        return {"connected", "disconnected", "receive", "transmit", "bulb",   "bulb-off",
                "interface", "traceing",     "target",  "behaviour", "fwupload"};
    }
    static QStringList Names24()
    {
        return {"application", "exit",   "settings", "info",     "connect", "clear",
                "disconnect",  "target", "fsync",    "osi2addr", "fwupload", "finddevice"};
    }
    static QStringList Lamps()
    {
        QStringList lamps;
        for (const char *colour : {"red", "yel", "grn", "yel-red"})
            for (const char *state : {"off", "on", "defective"})
                lamps << QStringLiteral("%1-%2").arg(colour, state);
        return lamps;
    }
    static QStringList Names32() { return Lamps() << "dlg-warning" << "fsync"; }

    // Share of pixels that are not fully transparent.
    static double Coverage(const QImage &image)
    {
        int opaque = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                opaque += qAlpha(image.pixel(x, y)) > 0 ? 1 : 0;
        return double(opaque) / (image.width() * image.height());
    }

private slots:
    void everyIconLoads_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QSize>("size");
        const struct
        {
            QStringList names;
            int side;
        } sizes[] = {{Names16(), 16}, {Names24(), 24}, {Names32(), 32}};
        for (const auto &group : sizes)
            for (const QString &name : group.names) {
                const QString path = QStringLiteral(":/%1x%1/%2").arg(group.side).arg(name);
                QTest::newRow(qPrintable(path)) << path << QSize(group.side, group.side);
            }
    }

    void everyIconLoads()
    {
        QFETCH(QString, path);
        QFETCH(QSize, size);
        const QPixmap pixmap(path);
        QVERIFY2(!pixmap.isNull(), qPrintable(path));
        QCOMPARE(pixmap.size(), size);
        QVERIFY2(Coverage(pixmap.toImage()) > 0.2, "the icon is almost empty");
    }

    void logoLoads()
    {
        const QPixmap logo(":/logo");
        QVERIFY(!logo.isNull());
        QVERIFY(logo.width() >= 64 && logo.height() >= 64);
        QVERIFY(Coverage(logo.toImage()) > 0.2);
    }

    // The remote-control dialog names lamps and bulbs with and without the slash after the colon.
    void pathWithoutSlashNamesTheSameIcon_data()
    {
        QTest::addColumn<QString>("path");
        for (const QString &lamp : Lamps())
            QTest::newRow(qPrintable(lamp)) << QStringLiteral("32x32/%1").arg(lamp);
        QTest::newRow("bulb") << QStringLiteral("16x16/bulb");
        QTest::newRow("bulb-off") << QStringLiteral("16x16/bulb-off");
    }

    void pathWithoutSlashNamesTheSameIcon()
    {
        QFETCH(QString, path);
        const QPixmap withSlash(":/" + path);
        const QPixmap withoutSlash(":" + path);
        QVERIFY2(!withSlash.isNull(), qPrintable(":/" + path));
        QVERIFY2(!withoutSlash.isNull(), qPrintable(":" + path));
        QCOMPARE(withoutSlash.toImage(), withSlash.toImage());
    }

    // Each state of a lamp must be told apart at a glance, and so must the two bulbs.
    void statesLookDifferent()
    {
        for (const char *colour : {"red", "yel", "grn", "yel-red"}) {
            const QString base = QStringLiteral(":/32x32/%1-").arg(colour);
            const QImage off = QPixmap(base + "off").toImage();
            const QImage on = QPixmap(base + "on").toImage();
            const QImage defective = QPixmap(base + "defective").toImage();
            QVERIFY2(off != on && on != defective && off != defective, colour);
        }
        QVERIFY(QPixmap(":/16x16/bulb").toImage() != QPixmap(":/16x16/bulb-off").toImage());
        QVERIFY(QPixmap(":/16x16/connected").toImage() != QPixmap(":/16x16/disconnected").toImage());
    }

    void unknownIconDoesNotLoad()
    {
        QVERIFY(QPixmap(":/32x32/blue-on").isNull());
        QVERIFY(QPixmap(":/16x16/connected.png").isNull());
    }
};

QTEST_MAIN(TestIcons)
#include "tst_icons.moc"
