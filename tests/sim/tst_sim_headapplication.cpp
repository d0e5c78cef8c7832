#include "FrameCodec.h"
#include "HeadApplication.h"
#include "SimTestHelpers.h"

using namespace strelosim;
using simtest::At;
using simtest::Hex;

namespace {

const Bytes kActualValueRequest = Hex("00 07 04 15 11 01 02 01 37");
const Bytes kLuminosityRequest = Hex("00 07 04 15 12 01 02 01 31");
const Bytes kDefectRequest = Hex("00 07 04 11 13 01 02 01 02");
const Bytes kVersionsRequest = Hex("00 07 FE 13 14 01 02 FF 85");
const Bytes kUidRequest = Hex("00 07 FE 13 15 01 02 FF 87");
const Bytes kCurrentsRequest = Hex("00 07 04 12 16 01 02 01 82");

Bytes Setpoint(std::uint8_t image, std::uint8_t value)
{
    return {0x00, 0x0A, 0x04, 0x05, 0x20, 0x01, 0x05, 0x01, 0x37, 0x01, image, value};
}

Bytes Intensity(std::uint8_t value)
{
    return {0x00, 0x09, 0x04, 0x05, 0x21, 0x01, 0x04, 0x01, 0x31, value, 0x00};
}

} // namespace

class TestHeadApplication : public QObject
{
    Q_OBJECT

private:
    struct App
    {
        explicit App(HeadConfig c = {})
            : config(std::move(c))
            , application(config, log)
        {
        }
        void Send(const Bytes &telegram, bool broadcast = false) { application.Receive(telegram, broadcast, At(0)); }
        Bytes Take() { return application.TakeReply([](const Bytes &) { return true; }); }
        Bytes Ask(const Bytes &telegram)
        {
            Send(telegram);
            return Take();
        }

        HeadConfig config;
        EventLog log;
        HeadApplication application;
    };

    static Bytes CurrentsOf(App &app) { return app.Ask(kCurrentsRequest); }

private slots:
    void actualValueReply()
    {
        App app;
        COMPARE_BYTES(app.Ask(kActualValueRequest), Hex("00 0A 04 85 01 01 05 01 37 01 6B 00"));
    }

    void luminosityReply()
    {
        App app;
        COMPARE_BYTES(app.Ask(kLuminosityRequest), Hex("00 08 04 85 01 01 03 01 31 64"));
        HeadConfig dim;
        dim.luminosity = 10;
        App dimmed(dim);
        COMPARE_BYTES(dimmed.Ask(kLuminosityRequest), Hex("00 08 04 85 01 01 03 01 31 0A"));
    }

    void defectReplyWithoutDefects()
    {
        App app;
        COMPARE_BYTES(app.Ask(kDefectRequest), Hex("00 08 04 81 01 01 03 01 02 00"));
    }

    void defectReplyListsTheBrokenLamps()
    {
        HeadConfig config;
        config.defects = {107, 109, 110};
        App app(config);
        COMPARE_BYTES(app.Ask(kDefectRequest), Hex("00 0B 04 81 01 01 06 01 02 03 6B 6D 6E"));
    }

    void versionsReply()
    {
        App app;
        COMPARE_BYTES(app.Ask(kVersionsRequest), Hex("00 0D FE 83 01 01 08 FF 85 02 01 00 01 04 02"));
        HeadConfig config;
        config.hardware = {3, 0, 7};
        config.software = {2, 10, 255};
        App other(config);
        COMPARE_BYTES(other.Ask(kVersionsRequest), Hex("00 0D FE 83 01 01 08 FF 85 03 00 07 02 0A FF"));
    }

    void uidReply()
    {
        App app;
        // Block length 14: a 12-octet UID that the master shows in three groups.
        COMPARE_BYTES(app.Ask(kUidRequest), Hex("00 13 FE 83 01 01 0E FF 87 53 54 52 4C 00 02 91 3E 4A 7C 05 D2"));
        HeadConfig config;
        config.uid = Hex("01 02 03 0A 0B 0C");
        App shortUid(config);
        COMPARE_BYTES(shortUid.Ask(kUidRequest), Hex("00 0D FE 83 01 01 08 FF 87 01 02 03 0A 0B 0C"));
    }

    void currentsReplyWhileDark()
    {
        App app;
        COMPARE_BYTES(CurrentsOf(app), Hex("00 0D 04 82 01 01 08 01 82 02 00 02 00 02 00"));
    }

    void currentsFollowTheLitLamps()
    {
        App app;
        app.Send(Setpoint(107, 1));
        app.Take();
        COMPARE_BYTES(CurrentsOf(app), Hex("00 0D 04 82 02 01 08 01 82 D8 04 02 00 02 00"));
        app.Send(Setpoint(110, 1));
        app.Take();
        COMPARE_BYTES(CurrentsOf(app), Hex("00 0D 04 82 04 01 08 01 82 D8 04 9C 04 02 00"));
        app.Send(Setpoint(109, 1));
        app.Take();
        app.Send(Intensity(10));
        app.Take();
        COMPARE_BYTES(CurrentsOf(app), Hex("00 0D 04 82 07 01 08 01 82 02 00 02 00 83 00"));
        app.Send(Setpoint(61, 0x52));
        app.Take();
        COMPARE_BYTES(CurrentsOf(app), Hex("00 0D 04 82 09 01 08 01 82 02 00 76 00 02 00"));
    }

    void aBrokenLampDrawsNothing()
    {
        HeadConfig config;
        config.defects = {107};
        App app(config);
        app.Send(Setpoint(110, 1));
        app.Take();
        COMPARE_BYTES(CurrentsOf(app), Hex("00 0D 04 82 02 01 08 01 82 02 00 9C 04 02 00"));
    }

    void aCurrentNeverFormsTheLengthTrap()
    {
        // Green at intensity 8 would draw 10.4 mA: 68 00 on the line. It reads 10.5 mA instead.
        HeadConfig config;
        config.luminosity = 8;
        App app(config);
        app.Send(Setpoint(109, 1));
        app.Take();
        QCOMPARE(int(app.application.Currents()[2]), 105);
        for (int intensity = 0; intensity < 256; ++intensity) {
            for (const std::uint8_t image : {107, 108, 109, 110, 61}) {
                app.Send(Setpoint(image, 1));
                app.Send(Intensity(std::uint8_t(intensity)));
                app.Take();
                app.Take();
                QVERIFY2(!FrameCodec::ContainsLengthTrap(CurrentsOf(app)), qPrintable(QString::number(intensity)));
            }
        }
    }

    void setpointChangesTheStateAndReportsTheActualValue()
    {
        App app;
        app.Send(Setpoint(109, 1));
        QCOMPARE(int(app.application.Image()), 109);
        QVERIFY(app.application.Mode() == HeadApplication::LampMode::Steady);
        COMPARE_BYTES(app.Take(), Hex("00 0A 04 02 01 01 05 01 37 01 6D 01"));
        QVERIFY(!app.application.HasReply());

        app.Send(Setpoint(108, 0x52));
        QVERIFY(app.application.Mode() == HeadApplication::LampMode::Flashing);
        COMPARE_BYTES(app.Take(), Hex("00 0A 04 02 02 01 05 01 37 01 6C 03"));

        app.Send(Setpoint(61, 0x22));
        COMPARE_BYTES(app.Take(), Hex("00 0A 04 02 03 01 05 01 37 01 3D 03"));

        app.Send(Setpoint(107, 0));
        QVERIFY(app.application.Mode() == HeadApplication::LampMode::Off);
        COMPARE_BYTES(app.Take(), Hex("00 0A 04 02 04 01 05 01 37 01 6B 00"));
        // And the next request sees the state.
        COMPARE_BYTES(app.Ask(kActualValueRequest), Hex("00 0A 04 85 05 01 05 01 37 01 6B 00"));
    }

    void aSetpointForAnUnknownImageOrValueChangesNothing()
    {
        App app;
        app.Send(Setpoint(111, 1));
        app.Send(Setpoint(109, 0x03));
        QVERIFY(!app.application.HasReply());
        QCOMPARE(int(app.application.Image()), 107);
        QVERIFY(app.application.Mode() == HeadApplication::LampMode::Off);
    }

    void intensityChangesTheLuminosityAndReportsIt()
    {
        App app;
        app.Send(Intensity(0x0A));
        QCOMPARE(int(app.application.Luminosity()), 10);
        COMPARE_BYTES(app.Take(), Hex("00 08 04 02 01 01 03 01 31 0A"));
        app.Send(Intensity(0x64));
        COMPARE_BYTES(app.Take(), Hex("00 08 04 02 02 01 03 01 31 64"));
    }

    void signalRequestsForAnotherEndPointAreIgnored()
    {
        App app;
        app.Send(Hex("00 07 04 15 11 01 02 02 37"));
        app.Send(Hex("00 0A 04 05 20 01 05 02 37 01 6D 01"));
        QVERIFY(!app.application.HasReply());
        QCOMPARE(int(app.application.Image()), 107);
    }

    void repliesCarryTheHeadsOsi7Address()
    {
        HeadConfig config;
        config.osi7Address = 3;
        App app(config);
        COMPARE_BYTES(app.Ask(Hex("00 07 04 15 11 01 02 03 37")), Hex("00 0A 04 85 01 01 05 03 37 01 6B 00"));
        // System requests go to DE 255 and come back from it.
        COMPARE_BYTES(app.Ask(kVersionsRequest), Hex("00 0D FE 83 02 01 08 FF 85 02 01 00 01 04 02"));
    }

    void linkAddressAssignment()
    {
        App app;
        app.Send(Hex("00 08 FE 03 30 01 03 FF 84 05"));
        QVERIFY(!app.application.HasReply());
        QCOMPARE(app.application.TakeLinkAddressChange(), std::optional<std::uint8_t>(5));
        QCOMPARE(app.application.TakeLinkAddressChange(), std::optional<std::uint8_t>());
        app.Send(Hex("00 08 FE 03 31 01 03 FF 84 FF"));
        QCOMPARE(app.application.TakeLinkAddressChange(), std::optional<std::uint8_t>());
    }

    void osi7AssignmentIsAcceptedWithoutReply()
    {
        App app;
        app.Send(Hex("00 0B FE 03 32 01 06 01 21 01 01 04 09"));
        QVERIFY(!app.application.HasReply());
        COMPARE_BYTES(app.Ask(kActualValueRequest), Hex("00 0A 04 85 01 01 05 01 37 01 6B 00"));
    }

    void flasherSynchronisationIsAcceptedWithoutReply()
    {
        App app;
        app.Send(Hex("00 09 04 05 33 01 04 FF 83 0C 00"), true);
        app.Send(Hex("00 09 04 05 34 01 04 01 83 00 00"));
        QVERIFY(!app.application.HasReply());
        QVERIFY(app.application.Mode() == HeadApplication::LampMode::Off);
    }

    void uploadModeRequest()
    {
        App app;
        app.Send(Hex("00 0A FE 05 35 01 05 01 FE 00 03 1F"));
        QVERIFY(!app.application.HasReply());
        const auto request = app.application.TakeUploadRequest();
        QVERIFY(request);
        QCOMPARE(int(request->port), 0);
        QCOMPARE(int(request->baudCode), 3);
        QCOMPARE(int(request->features), 31);
        QVERIFY(!app.application.TakeUploadRequest());
    }

    void malformedTelegramsAreIgnored()
    {
        App app;
        app.Send(Hex("00 07 04 15"));
        app.Send(Hex("00 07 04 15 11 01 09 01 37")); // block longer than the telegram
        app.Send(Hex("00 07 07 15 11 01 02 01 37")); // unknown function group
        app.Send(Hex("00 07 04 15 11 01 02 01 99")); // unknown type
        QVERIFY(!app.application.HasReply());
    }

    void jobNumbersRunFromOneTo255AndSkip0x68()
    {
        App app;
        std::vector<int> numbers;
        for (int i = 0; i < 260; ++i)
            numbers.push_back(app.Ask(kActualValueRequest)[4]);
        QCOMPARE(numbers[0], 1);
        QCOMPARE(numbers[102], 103);
        QCOMPARE(numbers[103], 105); // 104 = 0x68 is skipped
        QCOMPARE(numbers[253], 255);
        QCOMPARE(numbers[254], 1);
        QVERIFY(std::find(numbers.begin(), numbers.end(), 0) == numbers.end());
        QVERIFY(std::find(numbers.begin(), numbers.end(), 0x68) == numbers.end());
    }

    void aJobNumberTheLinkCannotFrameCleanlyIsSkipped()
    {
        App app;
        app.Send(kActualValueRequest);
        const Bytes reply = app.application.TakeReply([](const Bytes &data) { return data[4] > 3; });
        QCOMPARE(int(reply[4]), 4);
    }

    void repliesAreHandedOutInOrder()
    {
        App app;
        app.Send(kActualValueRequest);
        app.Send(kLuminosityRequest);
        app.Send(kUidRequest);
        QCOMPARE(int(app.Take()[8]), 0x37);
        QCOMPARE(int(app.Take()[8]), 0x31);
        QCOMPARE(int(app.Take()[8]), 0x87);
        QVERIFY(!app.application.HasReply());
        QVERIFY(app.Take().empty());
    }
};

QTEST_GUILESS_MAIN(TestHeadApplication)
#include "tst_sim_headapplication.moc"
