#include "app/CStartup.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

class TestStartup : public QObject
{
    Q_OBJECT

private:
    static QString Program() { return QDir(qEnvironmentVariable("LICHTWART_BIN_DIR")).filePath("lichtwart"); }

    static bool WriteFile(const QString &path, const QByteArray &content)
    {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    }

    // Runs the program with the arguments until it ends by itself; returns its exit code.
    static int RunProgram(const QStringList &arguments, QString *errorText)
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        process.setProcessEnvironment(environment);
        process.start(Program(), arguments);
        if (!process.waitForFinished(20000)) {
            process.kill();
            process.waitForFinished();
            return -1;
        }
        *errorText = QString::fromUtf8(process.readAllStandardError());
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

private slots:
    void init() { qApp->setStyleSheet(QString()); }

    void theOnlyOptionIsAFlagToAllowRawHex()
    {
        const QCommandLineOption option = CStartup::RawHexOption();
        QCOMPARE(option.names(), QStringList({"allow-raw-hex"}));
        QCOMPARE(option.description(), QStringLiteral("Allow firmware upgrade from raw HEX files"));
        QVERIFY(option.valueName().isEmpty());
        QVERIFY(option.defaultValues().isEmpty());
    }

    void withoutArgumentsRawHexIsNotAllowed()
    {
        QVERIFY(!CStartup::ProcessCommandLine({QStringLiteral("lichtwart")}));
    }

    void theFlagAllowsRawHex()
    {
        QVERIFY(CStartup::ProcessCommandLine({QStringLiteral("lichtwart"), QStringLiteral("--allow-raw-hex")}));
    }

    void anUnknownOptionEndsTheProgramBeforeAnyWindow_data()
    {
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QString>("message");
        QTest::newRow("unknown") << "--bogus" << "Unknown option 'bogus'.";
        QTest::newRow("no help option") << "--help" << "Unknown option 'help'.";
        QTest::newRow("no version option") << "--version" << "Unknown option 'version'.";
    }

    void anUnknownOptionEndsTheProgramBeforeAnyWindow()
    {
        QFETCH(QString, argument);
        QFETCH(QString, message);
        QString errorText;
        QCOMPARE(RunProgram({argument}, &errorText), 1);
        QVERIFY2(errorText.contains(message), qPrintable(errorText));
    }

    void theStyleSheetLiesBesideTheExecutable()
    {
        QCOMPARE(CStartup::StyleSheetPath(QStringLiteral("/opt/lichtwart/bin")),
                 QStringLiteral("/opt/lichtwart/bin") + QDir::separator() + QStringLiteral("lichtwart.qss"));
    }

    void aStyleSheetFileIsAppliedAsUtf8()
    {
        QTemporaryDir dir;
        const QByteArray sheet = QStringLiteral("/* Grüße */ QTableView { gridline-color: #808080; }").toUtf8();
        QVERIFY(WriteFile(CStartup::StyleSheetPath(dir.path()), sheet));
        CStartup::ApplyStyleSheet(*qApp, dir.path());
        QCOMPARE(qApp->styleSheet(), QString::fromUtf8(sheet));
    }

    void withoutAFileThePlatformStyleStays()
    {
        QTemporaryDir dir;
        CStartup::ApplyStyleSheet(*qApp, dir.path());
        QVERIFY(qApp->styleSheet().isEmpty());
    }

    void aStyleSheetAlreadySetWinsOverTheFile()
    {
        QTemporaryDir dir;
        QVERIFY(WriteFile(CStartup::StyleSheetPath(dir.path()), "QWidget { color: red; }"));
        qApp->setStyleSheet(QStringLiteral("QWidget { color: blue; }"));
        CStartup::ApplyStyleSheet(*qApp, dir.path());
        QCOMPARE(qApp->styleSheet(), QStringLiteral("QWidget { color: blue; }"));
    }
};

QTEST_MAIN(TestStartup)
#include "tst_startup.moc"
