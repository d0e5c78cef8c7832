// lichtwart-cli firmware-info: output lines, exit codes and the firmware error line.

#include "FirmwareInfoCommand.h"
#include "FirmwarePackageBuilder.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

using Builder = FirmwarePackageBuilder;

struct Run
{
    int exitCode = -1;
    QString out;
    QString err;
};

Run RunCommand(const QStringList &arguments)
{
    Run run;
    QTextStream out(&run.out);
    QTextStream err(&run.err);
    run.exitCode = RunFirmwareInfoCommand(arguments, out, err);
    return run;
}

QByteArray Counting(int length)
{
    QByteArray data;
    for (int i = 0; i < length; ++i)
        data.append(char(i));
    return data;
}

} // namespace

class TestFirmwareInfoCommand : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void printsPackage();
    void printsWideRawImage();
    void rawImageWithoutPermission();
    void recordErrorOfWrongWidth();
    void blockPastTopOfAddressSpace_data();
    void blockPastTopOfAddressSpace();
    void usageErrors_data();
    void usageErrors();

private:
    QString Path(const QString &name) const { return m_dir->filePath(name); }
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestFirmwareInfoCommand::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void TestFirmwareInfoCommand::printsPackage()
{
    const QByteArray image = Builder::Image({{0x1000, Counting(16)}, {0x1010, Counting(16)},
                                             {0x2001, Counting(3)}, {0xABCDEF, Counting(40)}},
                                            false);
    const QString path = Path("package.fwp");
    QVERIFY(Builder::WritePackage(path, image, "4.0.12", Builder::Format::TarGz));
    const Run run = RunCommand({path});
    QCOMPARE(run.err, QString());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, QString("version: 4.0.12\n"
                              "date: 2024-03-01\n"
                              "md5: %1\n"
                              "blocks: 3\n"
                              "bytes: 78\n"
                              "block: 0x00001000 32\n"
                              "block: 0x00002001 4\n"
                              "block: 0x00ABCDEF 42\n")
                          .arg(QString(Builder::Md5(image))));
}

void TestFirmwareInfoCommand::printsWideRawImage()
{
    const QString path = Path("image.mhx");
    QVERIFY(Builder::WriteFile(path, Builder::Image({{0xFF000000, Counting(64)}}, true)));
    const Run run = RunCommand({"--wide", path, "--allow-raw-hex"});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, QString("version: unknown due to hex file\n"
                              "date: unknown due to hex file\n"
                              "md5: unknown due to hex file\n"
                              "blocks: 1\n"
                              "bytes: 64\n"
                              "block: 0xFF000000 64\n"));
}

void TestFirmwareInfoCommand::rawImageWithoutPermission()
{
    const QString path = Path("image.mhx");
    QVERIFY(Builder::WriteFile(path, Builder::Image({{0x1000, Counting(4)}}, false)));
    const Run run = RunCommand({path});
    QCOMPARE(run.exitCode, 4);
    QCOMPARE(run.out, QString());
    QCOMPARE(run.err, QString("firmware error 1: Firmware missing in archive '%1'\n").arg(path));
}

void TestFirmwareInfoCommand::recordErrorOfWrongWidth()
{
    const QString path = Path("package.fwp");
    QVERIFY(Builder::WriteProductPackage(path, {{0x1000, Counting(4)}}, false));
    const Run run = RunCommand({path, "--wide"});
    QCOMPARE(run.exitCode, 4);
    QCOMPARE(run.err, QString("firmware error 8: Records of type 'S2' are not supported\n"));
}

void TestFirmwareInfoCommand::blockPastTopOfAddressSpace_data()
{
    QTest::addColumn<bool>("wide");
    QTest::addColumn<quint32>("address");
    QTest::addColumn<QString>("error");
    QTest::newRow("24-bit") << false << quint32(0xFFFFF0)
                            << "firmware error 21: Block 0x00FFFFF0 (64 bytes) reaches past the top of the 24-bit "
                               "address space at 0x00FFFFFF; check that the image was built for this product\n";
    QTest::newRow("32-bit") << true << quint32(0xFFFFFFF0)
                            << "firmware error 21: Block 0xFFFFFFF0 (64 bytes) reaches past the top of the 32-bit "
                               "address space at 0xFFFFFFFF; check that the image was built for this product\n";
}

// One record of 64 bytes just below the top: no block is listed, the image is refused.
void TestFirmwareInfoCommand::blockPastTopOfAddressSpace()
{
    QFETCH(bool, wide);
    QFETCH(quint32, address);
    QFETCH(QString, error);
    const QString path = Path("top.hex");
    QVERIFY(Builder::WriteFile(path, Builder::Image({{address, Counting(64)}}, wide, 64)));
    QStringList arguments {path, "--allow-raw-hex"};
    if (wide)
        arguments << "--wide";
    const Run run = RunCommand(arguments);
    QCOMPARE(run.exitCode, 4);
    QCOMPARE(run.out, QString());
    QCOMPARE(run.err, error);
}

void TestFirmwareInfoCommand::usageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("no file") << QStringList{};
    QTest::newRow("only options") << QStringList{"--wide", "--allow-raw-hex"};
    QTest::newRow("two files") << QStringList{"a.fwp", "b.fwp"};
    QTest::newRow("unknown option") << QStringList{"a.fwp", "--narrow"};
}

void TestFirmwareInfoCommand::usageErrors()
{
    QFETCH(QStringList, arguments);
    const Run run = RunCommand(arguments);
    QCOMPARE(run.exitCode, 2);
    QCOMPARE(run.out, QString());
    QVERIFY(run.err.endsWith("usage: lichtwart-cli firmware-info FILE [--allow-raw-hex] [--wide]\n"));
}

QTEST_GUILESS_MAIN(TestFirmwareInfoCommand)
#include "tst_firmwareinfocommand.moc"
