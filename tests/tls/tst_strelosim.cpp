// The device against the simulated head: link-up, the start-up jobs with their job numbers, the
// identification, and commands whose effect the head reports back.
#include "SimLink.h"

#include <QTest>

namespace {

constexpr int kWaitMs = 10000;

// A command is dropped while another telegram waits; try again until it is taken.
bool Issue(const std::function<bool()> &command)
{
    QElapsedTimer clock;
    clock.start();
    while (!command()) {
        if (clock.elapsed() > kWaitMs)
            return false;
        QTest::qWait(20);
    }
    return true;
}

} // namespace

class TestStreloSim : public QObject
{
    Q_OBJECT

private slots:
    void startUpJobsAndIdentification();
    void unknownHardwareAndShortUid();
    void setpointsComeBackAsActualValues();
    void defectsAndCurrents();
    void replyFromAForeignEndPointIsIgnored();
};

void TestStreloSim::startUpJobsAndIdentification()
{
    SimLink link;
    QVERIFY(link.Start({"--osi2", "4", "--osi7", "6", "--hardware", "3.1.2", "--software", "4.5.6", "--uid",
                        "00112233445566778899AABB"},
                       4, 6));
    RecordingDevice &device = link.Device();
    QVERIFY(device.WaitForEvent("uid", 1, kWaitMs));
    QVERIFY(device.IsLinkUp());

    const QStringList sent = device.EventsStartingWith("osi7 13 1").mid(0, 6);
    const QStringList expected {
        "osi7 13 1 11|System|Parameter assignment|1|1|06 04 21 01 01 04 06",
        "osi7 13 1 7|Signal|Command status request|2|1|02 06 37",
        "osi7 13 1 7|Signal|Command status request|3|1|02 06 31",
        "osi7 13 1 7|Signal|Error message request|4|1|02 06 02",
        "osi7 13 1 7|System|Parameter request|5|1|02 FF 85",
        "osi7 13 1 7|System|Parameter request|6|1|02 FF 87",
    };
    QCOMPARE(sent, expected);
    QCOMPARE(device.EventsStartingWith("version"), QStringList {"version 3 1 2 4 5 6"});
    QCOMPARE(device.EventsStartingWith("device"), QStringList {"device strelo-003"});
    QCOMPARE(device.EventsStartingWith("uid"), QStringList {"uid 00112233 - 44556677 - 8899AABB"});
    QCOMPARE(device.EventsStartingWith("luminosity").value(0), QStringLiteral("luminosity full"));
    // No defects: all four intact, and the actual value is asked for once more.
    QCOMPARE(device.EventsStartingWith("defect"),
             (QStringList {"defect 107 1", "defect 108 1", "defect 109 1", "defect 110 1"}));
    QVERIFY(device.WaitForEvent("osi7 13 1 7|Signal|Command status request|7|1|02 06 37", 1, kWaitMs));
    QVERIFY(device.WaitForEvent("actual", 2, kWaitMs));
    QCOMPARE(device.EventsStartingWith("actual").first(), QStringLiteral("actual 107 0 0"));
    QCOMPARE(device.EventsStartingWith("link"), (QStringList {"link 0", "link 1"}));
}

void TestStreloSim::unknownHardwareAndShortUid()
{
    SimLink link;
    QVERIFY(link.Start({"--hardware", "7.0.1", "--software", "1.2.3", "--uid", "0102030A0B0C"}, 1, 1));
    RecordingDevice &device = link.Device();
    QVERIFY(device.WaitForEvent("uid", 1, kWaitMs));
    QCOMPARE(device.EventsStartingWith("version"), QStringList {"version 7 0 1 1 2 3"});
    QCOMPARE(device.EventsStartingWith("device"), QStringList {"device null"});
    QCOMPARE(device.EventsStartingWith("uid"), QStringList {"uid 0102030A0B0C"});
}

void TestStreloSim::setpointsComeBackAsActualValues()
{
    SimLink link;
    QVERIFY(link.Start({}, 1, 1));
    RecordingDevice &device = link.Device();
    QVERIFY(device.WaitForEvent("uid", 1, kWaitMs));
    QVERIFY(Issue([&] { return device.SetSetpoint(CTlsOsi7Codec::kImageGreen, 1); }));
    QVERIFY(device.WaitForEvent("actual 109 1 0", 1, kWaitMs));
    QVERIFY(Issue([&] { return device.SetSetpoint(CTlsOsi7Codec::kImageYellow, CTlsOsi7Codec::FlashingValue(1000)); }));
    QVERIFY(device.WaitForEvent("actual 108 1 1", 1, kWaitMs));
    QVERIFY(Issue([&] { return device.SetSetpoint(CTlsOsi7Codec::kImageRed, 0); }));
    QVERIFY(device.WaitForEvent("actual 107 0 0", 2, kWaitMs));
    QVERIFY(Issue([&] { return device.SetIntensity(false); }));
    QVERIFY(Issue([&] { return device.RefreshCurrentMeters(); }));
    QVERIFY(device.WaitForEvent("current", 3, kWaitMs));
    QVERIFY(device.IsLinkUp());
}

void TestStreloSim::defectsAndCurrents()
{
    SimLink link;
    QVERIFY(link.Start({"--defect", "yellow,red-yellow"}, 1, 1));
    RecordingDevice &device = link.Device();
    QVERIFY(device.WaitForEvent("defect", 6, kWaitMs));
    QCOMPARE(device.EventsStartingWith("defect"),
             (QStringList {"defect 107 1", "defect 108 1", "defect 109 1", "defect 110 1", "defect 108 0",
                           "defect 110 0"}));
    QVERIFY(device.WaitForEvent("uid", 1, kWaitMs));
    QVERIFY(Issue([&] { return device.SetSetpoint(CTlsOsi7Codec::kImageRed, 1); }));
    QVERIFY(device.WaitForEvent("actual 107 1 0", 1, kWaitMs));
    QVERIFY(Issue([&] { return device.RefreshCurrentMeters(); }));
    QVERIFY(device.WaitForEvent("current", 3, kWaitMs));
    QCOMPARE(device.EventsStartingWith("current"),
             (QStringList {"current 107 124.0", "current 108 0.2", "current 109 0.2"}));
}

void TestStreloSim::replyFromAForeignEndPointIsIgnored()
{
    // The master addresses the head's requests to DE 255, which the head serves, and the head
    // answers from its own OSI 7 address 2: the signal group's replies are dropped, the system
    // end point's are still taken.
    SimLink link;
    QVERIFY(link.Start({"--osi7", "2"}, 1, 255));
    RecordingDevice &device = link.Device();
    QVERIFY(device.WaitForEvent("uid", 1, kWaitMs));
    QVERIFY(device.WaitForEvent("osi7 13 0", 5, kWaitMs));
    QVERIFY(device.EventsStartingWith("actual").isEmpty());
    QVERIFY(device.EventsStartingWith("luminosity").isEmpty());
    QVERIFY(device.EventsStartingWith("defect").isEmpty());
    QCOMPARE(device.EventsStartingWith("version").size(), 1);
}

QTEST_GUILESS_MAIN(TestStreloSim)
#include "tst_strelosim.moc"
