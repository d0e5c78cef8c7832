// The build's check of translations/lichtwart_de.ts: lupdate, run over the same sources as the
// build's refresh target, into a copy of the file must find every text of the forms and every
// marked constant already translated, and no entry whose text has left the sources.
#include "TsCatalogue.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

class TestTranslationFile : public QObject
{
    Q_OBJECT

private:
    static QString Describe(const TsCatalogue::Entry &entry)
    {
        return QStringLiteral("  [%1] \"%2\"").arg(entry.context, entry.source);
    }

    // Runs lupdate over the sources into the file; returns its output on failure.
    static bool RunLupdate(const QString &tsFile, QString *output)
    {
        QProcess lupdate;
        lupdate.setProcessChannelMode(QProcess::MergedChannels);
        lupdate.start(QStringLiteral(LICHTWART_LUPDATE),
                      {QStringLiteral("@" LICHTWART_LUPDATE_LIST), QStringLiteral("-locations"), QStringLiteral("none"),
                       QStringLiteral("-ts"), tsFile});
        const bool finished = lupdate.waitForFinished(120000);
        *output = QString::fromLocal8Bit(lupdate.readAll());
        return finished && lupdate.exitStatus() == QProcess::NormalExit && lupdate.exitCode() == 0;
    }

private slots:
    void everyTextHasAFinishedEntryAndNoEntryIsObsolete()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString copy = dir.filePath(QStringLiteral("lichtwart_de.ts"));
        QVERIFY(QFile::copy(QStringLiteral(LICHTWART_TS_FILE), copy));
        QString output;
        QVERIFY2(RunLupdate(copy, &output), qPrintable(output));

        TsCatalogue catalogue;
        QVERIFY2(catalogue.Load(copy), qPrintable(catalogue.ErrorText()));
        QVERIFY(!catalogue.Entries().isEmpty());
        QStringList untranslated;
        QStringList obsolete;
        for (const TsCatalogue::Entry &entry : catalogue.Entries()) {
            if (entry.type == QLatin1String("unfinished") || (entry.type.isEmpty() && entry.translation.isEmpty()))
                untranslated << Describe(entry);
            else if (!entry.type.isEmpty())
                obsolete << Describe(entry);
        }
        if (untranslated.isEmpty() && obsolete.isEmpty())
            return;

        QString message = QStringLiteral("translations/lichtwart_de.ts is not up to date.\n");
        if (!untranslated.isEmpty())
            message += QStringLiteral("No German text yet for:\n%1\n").arg(untranslated.join(QLatin1Char('\n')));
        if (!obsolete.isEmpty())
            message += QStringLiteral("No longer in the sources (obsolete):\n%1\n").arg(obsolete.join(QLatin1Char('\n')));
        message += QStringLiteral(
            "To fix: run  cmake --build build --target update_translations  (adds the new texts as\n"
            "type=\"unfinished\" and drops the obsolete ones), then write the German text into each\n"
            "<translation type=\"unfinished\"> of translations/lichtwart_de.ts and remove the type\n"
            "attribute (or use: linguist translations/lichtwart_de.ts). Terms: docs/design.md, Translations.");
        QFAIL(qPrintable(message));
    }
};

QTEST_MAIN(TestTranslationFile)
#include "tst_translation_file.moc"
