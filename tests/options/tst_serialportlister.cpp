#include "app/SerialPortLister.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class tst_SerialPortLister : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void listsStableLinksThenAdaptersThenBuiltInPorts();
    void danglingStableLinkIsNotOffered();
    void withoutStableLinksListsShortNames();
    void missingDeviceRootListsNothing();

private:
    void Touch(const QString &qstrRelativePath);
    void Link(const QString &qstrTarget, const QString &qstrRelativePath);

    std::unique_ptr<QTemporaryDir> m_root;
};

void tst_SerialPortLister::init()
{
    m_root = std::make_unique<QTemporaryDir>();
    QVERIFY(m_root->isValid());
}

void tst_SerialPortLister::Touch(const QString &qstrRelativePath)
{
    QFile file(m_root->filePath(qstrRelativePath));
    QVERIFY(file.open(QIODevice::WriteOnly));
}

void tst_SerialPortLister::Link(const QString &qstrTarget, const QString &qstrRelativePath)
{
    QVERIFY(QFile::link(qstrTarget, m_root->filePath(qstrRelativePath)));
}

void tst_SerialPortLister::listsStableLinksThenAdaptersThenBuiltInPorts()
{
    for (const char *name : {"ttyS0", "ttyS1", "ttyS10", "ttyS2", "ttyUSB10", "ttyUSB1", "ttyUSB0",
                             "ttyACM0", "tty0", "tty12", "ttyAMA0", "console", "null", "ttyprintk"})
        Touch(QLatin1String(name));
    QVERIFY(QDir(m_root->path()).mkpath("serial/by-id"));
    QVERIFY(QDir(m_root->path()).mkpath("serial/by-path"));
    Link("../../ttyUSB1", "serial/by-id/usb-Prolific_USB-Serial-if00-port0");
    Link("../../ttyUSB0", "serial/by-id/usb-FTDI_FT232R_A1B2C3-if00-port0");
    Link("../../ttyUSB0", "serial/by-path/pci-0000:00:14.0-usb-0:2:1.0-port0");
    QVERIFY(QDir(m_root->path()).mkdir("ttySdir"));

    const QString qstrById = m_root->path() + "/serial/by-id/";
    QCOMPARE(SerialPortLister(m_root->path()).Ports(),
             QStringList({qstrById + "usb-FTDI_FT232R_A1B2C3-if00-port0",
                          qstrById + "usb-Prolific_USB-Serial-if00-port0", "ttyUSB0", "ttyUSB1",
                          "ttyUSB10", "ttyACM0", "ttyS0", "ttyS1", "ttyS2", "ttyS10"}));
}

void tst_SerialPortLister::danglingStableLinkIsNotOffered()
{
    Touch("ttyUSB0");
    QVERIFY(QDir(m_root->path()).mkpath("serial/by-id"));
    Link("../../ttyUSB0", "serial/by-id/usb-present");
    Link("../../ttyUSB7", "serial/by-id/usb-unplugged");
    QCOMPARE(SerialPortLister(m_root->path()).Ports(),
             QStringList({m_root->path() + "/serial/by-id/usb-present", "ttyUSB0"}));
}

void tst_SerialPortLister::withoutStableLinksListsShortNames()
{
    Touch("ttyS0");
    Touch("ttyACM3");
    QCOMPARE(SerialPortLister(m_root->path()).Ports(), QStringList({"ttyACM3", "ttyS0"}));
}

void tst_SerialPortLister::missingDeviceRootListsNothing()
{
    QCOMPARE(SerialPortLister(m_root->filePath("absent")).Ports(), QStringList());
    QCOMPARE(SerialPortLister(m_root->path()).Ports(), QStringList());
}

QTEST_GUILESS_MAIN(tst_SerialPortLister)
#include "tst_serialportlister.moc"
