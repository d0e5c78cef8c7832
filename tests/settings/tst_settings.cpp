#include "SettingsSandbox.h"
#include "settings/LichtwartSettings.h"

#include <QCoreApplication>
#include <QPoint>
#include <QSettings>
#include <QSize>
#include <QTest>

class TestSettings : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_sandbox.Clear(); }
    void identity();
    void baudRatesAreTheSevenOfferedRates();
    void everyKeyOfTheTableOnce();
    void emptyStoreYieldsTheDefaults_data();
    void emptyStoreYieldsTheDefaults();
    void keysWithoutDefault();
    void storedValueWins();
    void uploadReadersKeepTheirOwnDefaults();
    void nonNumericTextReadsAsZero();

private:
    SettingsSandbox m_sandbox;
};

void TestSettings::identity()
{
    LichtwartSettings::SetIdentity();
    QCOMPARE(QCoreApplication::organizationName(), QStringLiteral("Varnholt GmbH"));
    QCOMPARE(QCoreApplication::applicationName(), QStringLiteral("Lichtwart"));
    QVERIFY(!QCoreApplication::organizationDomain().isEmpty());
    // The store lives under the organisation and application names.
    QSettings settings;
    QVERIFY(settings.fileName().endsWith(QStringLiteral("Varnholt GmbH/Lichtwart.conf")));
    QVERIFY(settings.fileName().startsWith(m_sandbox.ConfigDir()));
}

void TestSettings::everyKeyOfTheTableOnce()
{
    const QStringList expected = {
        "interface/device", "interface/baudrate", "trace/enabled", "trace/level", "trace/lines",
        "address/osi2", "address/osi7", "address/assign", "flasher/cycleperiod",
        "flasher/softsynccycles", "flasher/syncosi2broadcast", "flasher/syncosi7broadcast",
        "behavior/ignoreactval", "firmware/baudrate", "firmware/warnings/outdated",
        "firmware/warnings/baudrate", "firmware/warnings/progstart", "firmware/warnings/product", "firmware/directory",
        "options-dlg/size", "mainwindow/size", "mainwindow/position"};
    QStringList keys;
    for (const auto &entry : LichtwartSettings::Table())
        keys << QString::fromLatin1(entry.key);
    QCOMPARE(keys, expected);
}

void TestSettings::emptyStoreYieldsTheDefaults_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<int>("type");
    QTest::newRow("device") << "interface/device" << QVariant(QStringLiteral("COM1")) << int(QMetaType::QString);
    QTest::newRow("baudrate") << "interface/baudrate" << QVariant(9600) << int(QMetaType::Int);
    QTest::newRow("trace enabled") << "trace/enabled" << QVariant(false) << int(QMetaType::Bool);
    QTest::newRow("trace level") << "trace/level" << QVariant(0) << int(QMetaType::Int);
    QTest::newRow("trace lines") << "trace/lines" << QVariant(100) << int(QMetaType::Int);
    QTest::newRow("osi2") << "address/osi2" << QVariant(1) << int(QMetaType::Int);
    QTest::newRow("osi7") << "address/osi7" << QVariant(1) << int(QMetaType::Int);
    QTest::newRow("assign") << "address/assign" << QVariant(true) << int(QMetaType::Bool);
    QTest::newRow("cycle period") << "flasher/cycleperiod" << QVariant(1000) << int(QMetaType::Int);
    QTest::newRow("soft cycles") << "flasher/softsynccycles" << QVariant(12) << int(QMetaType::Int);
    QTest::newRow("osi2 broadcast") << "flasher/syncosi2broadcast" << QVariant(true) << int(QMetaType::Bool);
    QTest::newRow("osi7 broadcast") << "flasher/syncosi7broadcast" << QVariant(true) << int(QMetaType::Bool);
    QTest::newRow("ignore actual") << "behavior/ignoreactval" << QVariant(true) << int(QMetaType::Bool);
    QTest::newRow("firmware baud") << "firmware/baudrate" << QVariant(9600) << int(QMetaType::Int);
    QTest::newRow("warn outdated") << "firmware/warnings/outdated" << QVariant(true) << int(QMetaType::Bool);
    QTest::newRow("warn baudrate") << "firmware/warnings/baudrate" << QVariant(true) << int(QMetaType::Bool);
    QTest::newRow("warn progstart") << "firmware/warnings/progstart" << QVariant(true) << int(QMetaType::Bool);
    QTest::newRow("warn product") << "firmware/warnings/product" << QVariant(true) << int(QMetaType::Bool);
    QTest::newRow("firmware dir") << "firmware/directory" << QVariant(QString()) << int(QMetaType::QString);
    QTest::newRow("window size") << "mainwindow/size" << QVariant(QSize(400, 400)) << int(QMetaType::QSize);
    QTest::newRow("window position") << "mainwindow/position" << QVariant(QPoint(200, 200)) << int(QMetaType::QPoint);
}

void TestSettings::emptyStoreYieldsTheDefaults()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    QFETCH(int, type);
    const QSettings settings;
    QVERIFY(!settings.contains(key));
    const QByteArray latin = key.toLatin1();
    const QVariant read = LichtwartSettings::Read(settings, latin.constData());
    QCOMPARE(read, value);
    QCOMPARE(read.metaType().id(), type);
}

void TestSettings::keysWithoutDefault()
{
    const QSettings settings;
    QVERIFY(!LichtwartSettings::Read(settings, LichtwartSettings::OptionsDlgSize).isValid());
    QVERIFY(!LichtwartSettings::Default("no/such/key").isValid());
}

void TestSettings::storedValueWins()
{
    {
        QSettings settings;
        settings.setValue(LichtwartSettings::InterfaceDevice, QStringLiteral("ttyUSB0"));
        settings.setValue(LichtwartSettings::AddressOsi2, 42);
    }
    const QSettings settings;
    QCOMPARE(LichtwartSettings::Read(settings, LichtwartSettings::InterfaceDevice).toString(), QStringLiteral("ttyUSB0"));
    QCOMPARE(LichtwartSettings::Read(settings, LichtwartSettings::AddressOsi2).toInt(), 42);
}

void TestSettings::uploadReadersKeepTheirOwnDefaults()
{
    QSettings settings;
    // Absent keys: the upload reads no device name and rate 0, the warning compares against 0,
    // while the table default (used where the upload parameters are prepared) is 9600.
    QCOMPARE(LichtwartSettings::ReadUploadDevice(settings), QString());
    QCOMPARE(LichtwartSettings::ReadUploadBaudrateWithoutDefault(settings), 0);
    QCOMPARE(LichtwartSettings::ReadUploadBaudrateForWarning(settings), 0);
    QCOMPARE(LichtwartSettings::Read(settings, LichtwartSettings::FirmwareBaudrate).toInt(), 9600);

    settings.setValue(LichtwartSettings::FirmwareBaudrate, 57600);
    settings.setValue(LichtwartSettings::InterfaceDevice, QStringLiteral("ttyS1"));
    QCOMPARE(LichtwartSettings::ReadUploadBaudrateWithoutDefault(settings), 57600);
    QCOMPARE(LichtwartSettings::ReadUploadBaudrateForWarning(settings), 57600);
    QCOMPARE(LichtwartSettings::ReadUploadDevice(settings), QStringLiteral("ttyS1"));
}

void TestSettings::nonNumericTextReadsAsZero()
{
    QSettings settings;
    settings.setValue(LichtwartSettings::InterfaceBaudrate, QStringLiteral("fast"));
    QCOMPARE(LichtwartSettings::Read(settings, LichtwartSettings::InterfaceBaudrate).toInt(), 0);
}

void TestSettings::baudRatesAreTheSevenOfferedRates()
{
    QCOMPARE(LichtwartSettings::BaudRates(), (QList<int> {2400, 4800, 9600, 19200, 38400, 57600, 115200}));
}

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
