#include "FrameCodec.h"
#include "SimTestHelpers.h"
#include "StreloHead.h"

#include <QFile>
#include <QTemporaryDir>

#include <sstream>

using namespace strelosim;
using simtest::At;
using simtest::Hex;

namespace {

const Bytes kUploadMode = Hex("00 0A FE 05 07 01 05 01 FE 00 03 1F");
const Bytes kSetLinkAddress5 = Hex("00 08 FE 03 04 01 03 FF 84 05");
const Bytes kVersionsRequest = Hex("00 07 FE 13 14 01 02 FF 85");
const Bytes kGreenSetpoint = Hex("00 0A 04 05 07 01 05 01 37 01 6D 01");

Bytes Long(std::uint8_t c, std::uint8_t a, const Bytes &data)
{
    return FrameCodec::Encode(LinkFrame::Long(c, a, data));
}

Bytes Short(std::uint8_t c, std::uint8_t a)
{
    return FrameCodec::Encode(LinkFrame::Short(c, a));
}

Bytes Concat(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

} // namespace

class TestStreloHead : public QObject
{
    Q_OBJECT

private:
    struct Rig
    {
        explicit Rig(HeadConfig config = {})
            : log(&trace, &errors)
            , head(config, log)
        {
        }
        std::vector<Transmission> Send(const Bytes &bytes) { return head.Receive(bytes.data(), bytes.size(), At(clock += 10)); }
        Bytes Answer(const Bytes &bytes)
        {
            Bytes all;
            for (const Transmission &t : Send(bytes))
                all.insert(all.end(), t.bytes.begin(), t.bytes.end());
            return all;
        }
        void BringUp(std::uint8_t address = 1)
        {
            COMPARE_BYTES(Answer(Short(0x49, address)), Short(0x0B, address));
            COMPARE_BYTES(Answer(Short(0x40, address)), Hex("E5"));
            COMPARE_BYTES(Answer(Short(0x78, address)), Hex("E5"));
        }
        void EnterBootLoader(std::uint8_t address = 1, std::uint8_t control = 0x53)
        {
            COMPARE_BYTES(Answer(Long(control, address, kUploadMode)), Hex("E5"));
            QVERIFY(head.InBootLoader());
        }

        std::ostringstream trace;
        std::ostringstream errors;
        EventLog log;
        StreloHead head;
        int clock = 1000;
    };

private slots:
    void linkAnswersCarryTheLinkFrame()
    {
        Rig rig;
        const auto answers = rig.Send(Hex("10 49 01 4A 16"));
        QCOMPARE(answers.size(), 1u);
        COMPARE_BYTES(answers[0].bytes, Hex("10 0B 01 0C 16"));
        QVERIFY(answers[0].parityBit);
        QCOMPARE(answers[0].channel, std::string("link"));
        QCOMPARE(answers[0].description, std::string("tx short C=0B A=1 PRM=0 ACD=0 DFC=0 FN=11 NAME=S1"));
    }

    void theVerboseTraceHasOneLinePerTelegram()
    {
        Rig rig;
        rig.head.Receive(Hex("3F 10 49 01 4A 16").data(), 6, At(1234));
        QCOMPARE(rig.trace.str(), std::string("1234.000 link rx noise DATA=3F\n"
                                              "1234.000 link rx short C=49 A=1 PRM=1 FCB=0 FCV=0 FN=9 NAME=RQS\n"));
    }

    void switchOverAcknowledgesAndLeavesTheLink()
    {
        Rig rig;
        rig.BringUp();
        // Switch-over telegram exactly as the master frames it.
        COMPARE_BYTES(rig.Answer(Hex("68 0E 0E 68 53 01 00 0A FE 05 07 01 05 01 FE 00 03 1F 8F 16")), Hex("E5"));
        QVERIFY(rig.head.InBootLoader());
        // Link telegrams get no answer any more; the boot loader answers its enquiry.
        QVERIFY(rig.Answer(Short(0x7B, 1)).empty());
        QVERIFY(rig.Answer(Short(0x49, 1)).empty());
        const auto answers = rig.Send(Hex("05"));
        QCOMPARE(answers.size(), 1u);
        COMPARE_BYTES(answers[0].bytes, Hex("06"));
        QVERIFY(!answers[0].parityBit);
        QVERIFY(rig.trace.str().find("boot enter PORT=0 BAUD=3 RATE=9600 FEATURES=31") != std::string::npos);
    }

    void bytesBehindTheSwitchOverReachTheBootLoader()
    {
        Rig rig;
        rig.BringUp();
        const auto answers = rig.Send(Concat({Long(0x53, 1, kUploadMode), Hex("05")}));
        QCOMPARE(answers.size(), 2u);
        COMPARE_BYTES(answers[0].bytes, Hex("E5"));
        COMPARE_BYTES(answers[1].bytes, Hex("06"));
    }

    void eraseDelayReachesTheLine()
    {
        HeadConfig config;
        config.eraseTime = std::chrono::milliseconds(1234);
        Rig rig(config);
        rig.BringUp();
        rig.EnterBootLoader();
        const auto answers = rig.Send(Hex("02 00 AB 00 03"));
        QCOMPARE(answers.size(), 1u);
        QCOMPARE(answers[0].delay.count(), 1234);
    }

    void startRestartsIntoTheLinkWithTheFlashedVersion()
    {
        QTemporaryDir dir;
        HeadConfig config;
        config.imageOut = dir.filePath("image.mhx").toStdString();
        Rig rig(config);
        rig.BringUp();
        COMPARE_BYTES(rig.Answer(Long(0x53, 1, kGreenSetpoint)), Hex("E5"));
        QVERIFY(rig.head.Application().Mode() == HeadApplication::LampMode::Steady);
        rig.EnterBootLoader(1, 0x73);
        COMPARE_BYTES(rig.Answer(Hex("05")), Hex("06"));
        COMPARE_BYTES(rig.Answer(Hex("02 00 AA 00 03")), Hex("06"));
        // "STRELO-SWV:1.5.0" at 0x004000.
        COMPARE_BYTES(rig.Answer(Hex("02 13 24 00 40 00 53 54 52 45 4C 4F 2D 53 57 56 3A 31 2E 35 2E 30 8E 03")), Hex("06"));
        // The link telegram right behind the start command is the new firmware's.
        COMPARE_BYTES(rig.Answer(Concat({Hex("02 00 CC 00 03"), Short(0x49, 1)})), Short(0x0B, 1));
        QVERIFY(!rig.head.InBootLoader());
        QCOMPARE(rig.head.Software(), (Version {1, 5, 0}));
        QVERIFY(QFile::exists(QString::fromStdString(config.imageOut)));

        // As after power-up: the lamp is dark again and the link starts over.
        QVERIFY(rig.head.Application().Mode() == HeadApplication::LampMode::Off);
        COMPARE_BYTES(rig.Answer(Short(0x40, 1)), Hex("E5"));
        COMPARE_BYTES(rig.Answer(Short(0x78, 1)), Hex("E5"));
        COMPARE_BYTES(rig.Answer(Long(0x53, 1, kVersionsRequest)), Hex("E5"));
        COMPARE_BYTES(rig.Answer(Short(0x78, 1)), Hex("68 11 11 68 08 01 00 0D FE 83 01 01 08 FF 85 02 01 00 01 05 00 2E 16"));
    }

    void anImageWithoutMarkerKeepsTheVersion()
    {
        Rig rig;
        rig.BringUp();
        rig.EnterBootLoader();
        COMPARE_BYTES(rig.Answer(Hex("02 07 24 00 40 00 01 02 03 04 B6 03")), Hex("06"));
        QVERIFY(rig.Answer(Hex("02 00 CC 00 03")).empty());
        QVERIFY(!rig.head.InBootLoader());
        QCOMPARE(rig.head.Software(), (Version {1, 4, 2}));
    }

    // --software-after overrides the image: a head whose upgrade "did not take" keeps reporting
    // the given version, whatever marker was flashed; without a marker the given version counts too.
    void softwareAfterOverridesTheFlashedVersion()
    {
        HeadConfig config;
        config.softwareAfter = Version {1, 4, 2};
        Rig rig(config);
        rig.BringUp();
        rig.EnterBootLoader();
        // "STRELO-SWV:1.5.0" at 0x004000.
        COMPARE_BYTES(rig.Answer(Hex("02 13 24 00 40 00 53 54 52 45 4C 4F 2D 53 57 56 3A 31 2E 35 2E 30 8E 03")), Hex("06"));
        QVERIFY(rig.Answer(Hex("02 00 CC 00 03")).empty());
        QCOMPARE(rig.head.Software(), (Version {1, 4, 2}));

        HeadConfig newer;
        newer.softwareAfter = Version {9, 1, 0};
        Rig other(newer);
        other.BringUp();
        other.EnterBootLoader();
        COMPARE_BYTES(other.Answer(Hex("02 07 24 00 40 00 01 02 03 04 B6 03")), Hex("06"));
        QVERIFY(other.Answer(Hex("02 00 CC 00 03")).empty());
        QCOMPARE(other.head.Software(), (Version {9, 1, 0}));
    }

    void aVersionThatCannotBeReportedSafelyIsNotTaken()
    {
        HeadConfig config;
        config.hardware = {2, 1, 0x68}; // followed by a software major of 1: 68 01
        config.software = {2, 0, 0};
        Rig rig(config);
        rig.BringUp();
        rig.EnterBootLoader();
        // "STRELO-SWV:1.5.0" again.
        COMPARE_BYTES(rig.Answer(Hex("02 13 24 00 40 00 53 54 52 45 4C 4F 2D 53 57 56 3A 31 2E 35 2E 30 8E 03")), Hex("06"));
        QVERIFY(rig.Answer(Hex("02 00 CC 00 03")).empty());
        QCOMPARE(rig.head.Software(), (Version {2, 0, 0}));
        QVERIFY(rig.errors.str().find("1.5.0 cannot be reported safely") != std::string::npos);
    }

    void anAssignedLinkAddressSurvivesTheRestart()
    {
        Rig rig;
        rig.BringUp();
        COMPARE_BYTES(rig.Answer(Long(0x53, 1, kSetLinkAddress5)), Hex("E5"));
        QCOMPARE(int(rig.head.LinkAddress()), 5);
        rig.BringUp(5);
        rig.EnterBootLoader(5);
        QVERIFY(rig.Answer(Hex("02 00 CC 00 03")).empty());
        QCOMPARE(int(rig.head.LinkAddress()), 5);
        QVERIFY(rig.Answer(Short(0x49, 1)).empty());
        COMPARE_BYTES(rig.Answer(Short(0x49, 5)), Hex("10 0B 05 10 16"));
    }

    void closingThePortDropsAHalfReceivedTelegram()
    {
        Rig rig;
        QVERIFY(rig.Answer(Hex("10 49 01")).empty());
        rig.head.PortClosed(At(rig.clock));
        QVERIFY(rig.Answer(Hex("4A 16")).empty());
        COMPARE_BYTES(rig.Answer(Hex("10 49 01 4A 16")), Hex("10 0B 01 0C 16"));
    }

    void closingThePortDropsAHalfReceivedBootFrame()
    {
        Rig rig;
        rig.BringUp();
        rig.EnterBootLoader();
        QVERIFY(rig.Answer(Hex("02 07 24")).empty());
        rig.head.PortClosed(At(rig.clock));
        COMPARE_BYTES(rig.Answer(Hex("05")), Hex("06"));
    }

    void aSlowLineWaitsLongerForTheRestOfATelegram()
    {
        // At 110 bit/s a character takes 100 ms: bytes of one telegram arrive that far apart.
        const Bytes request = Hex("10 49 01 4A 16");
        Rig quick;
        Rig slow;
        slow.head.SetCharacterTime(std::chrono::milliseconds(100));
        Bytes quickAnswer;
        Bytes slowAnswer;
        for (std::size_t i = 0; i < request.size(); ++i) {
            for (const Transmission &t : quick.head.Receive(&request[i], 1, At(int(i) * 100)))
                quickAnswer.insert(quickAnswer.end(), t.bytes.begin(), t.bytes.end());
            for (const Transmission &t : slow.head.Receive(&request[i], 1, At(int(i) * 100)))
                slowAnswer.insert(slowAnswer.end(), t.bytes.begin(), t.bytes.end());
        }
        QVERIFY(quickAnswer.empty());
        COMPARE_BYTES(slowAnswer, Hex("10 0B 01 0C 16"));
    }

    void uploadRateByCode()
    {
        QCOMPARE(StreloHead::UploadRate(1), 2400u);
        QCOMPARE(StreloHead::UploadRate(2), 4800u);
        QCOMPARE(StreloHead::UploadRate(3), 9600u);
        QCOMPARE(StreloHead::UploadRate(4), 19200u);
        QCOMPARE(StreloHead::UploadRate(5), 38400u);
        QCOMPARE(StreloHead::UploadRate(6), 57600u);
        QCOMPARE(StreloHead::UploadRate(7), 115200u);
        QCOMPARE(StreloHead::UploadRate(0), 2400u);
    }
};

QTEST_GUILESS_MAIN(TestStreloHead)
#include "tst_sim_strelohead.moc"
