#include "ports/SerialPortCatalog.h"

#include <QSerialPortInfo>
#include <QTest>

class tst_SerialPortCatalog : public QObject
{
    Q_OBJECT

private slots:
    void lineHasThePathThenEveryKnownField();
    void lineLeavesOutWhatIsNotKnown();
    void nameShowsTheDescriptionBesideThePath();
    void presentHoldsEveryPortTheSystemReports();
};

void tst_SerialPortCatalog::lineHasThePathThenEveryKnownField()
{
    const SerialPortEntry entry {"/dev/ttyUSB0", "/dev/serial/by-id/usb-FTDI_FT232R_USB_UART_A10K5Z2B-if00-port0",
                                 "FT232R USB UART", "FTDI", "A10K5Z2B", "0403:6001"};
    QCOMPARE(SerialPortCatalog::Line(entry),
             QStringLiteral("/dev/ttyUSB0\tby-id=/dev/serial/by-id/usb-FTDI_FT232R_USB_UART_A10K5Z2B-if00-port0"
                            "\tdescription=FT232R USB UART\tmanufacturer=FTDI\tserial=A10K5Z2B\tusb=0403:6001"));
}

void tst_SerialPortCatalog::lineLeavesOutWhatIsNotKnown()
{
    QCOMPARE(SerialPortCatalog::Line(SerialPortEntry {"/dev/ttyS0", {}, {}, {}, {}, {}}), QStringLiteral("/dev/ttyS0"));
    QCOMPARE(SerialPortCatalog::Line(SerialPortEntry {"/dev/ttyACM1", {}, "Strelo service cable", {}, {}, "1d6b:0104"}),
             QStringLiteral("/dev/ttyACM1\tdescription=Strelo service cable\tusb=1d6b:0104"));
}

void tst_SerialPortCatalog::nameShowsTheDescriptionBesideThePath()
{
    QCOMPARE(SerialPortCatalog::Name(SerialPortEntry {"/dev/ttyUSB0", {}, "FT232R USB UART", {}, {}, {}}),
             QStringLiteral("/dev/ttyUSB0 (FT232R USB UART)"));
    QCOMPARE(SerialPortCatalog::Name(SerialPortEntry {"/dev/ttyS0", {}, {}, {}, {}, {}}), QStringLiteral("/dev/ttyS0"));
}

// Where the machine has serial ports, each is listed once.
void tst_SerialPortCatalog::presentHoldsEveryPortTheSystemReports()
{
    QStringList expected;
    for (const QSerialPortInfo &info : QSerialPortInfo::availablePorts())
        expected << info.systemLocation();
    QStringList listed;
    for (const SerialPortEntry &entry : SerialPortCatalog::Present())
        listed << entry.path;
    QCOMPARE(QSet<QString>(listed.begin(), listed.end()), QSet<QString>(expected.begin(), expected.end()));
    QCOMPARE(listed.size(), expected.size());
}

QTEST_GUILESS_MAIN(tst_SerialPortCatalog)
#include "tst_serialportcatalog.moc"
