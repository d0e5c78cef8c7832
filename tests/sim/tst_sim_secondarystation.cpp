#include "FrameCodec.h"
#include "SecondaryStation.h"
#include "SimTestHelpers.h"

using namespace strelosim;
using simtest::At;
using simtest::Hex;

namespace {

// Telegrams as the master sends them (job numbers are arbitrary; the head does not check them).
const Bytes kActualValueRequest = Hex("00 07 04 15 01 01 02 01 37");
const Bytes kRedSetpoint = Hex("00 0A 04 05 02 01 05 01 37 01 6B 01");
const Bytes kGreenSetpoint = Hex("00 0A 04 05 03 01 05 01 37 01 6D 01");
const Bytes kSetLinkAddress5 = Hex("00 08 FE 03 04 01 03 FF 84 05");

} // namespace

class TestSecondaryStation : public QObject
{
    Q_OBJECT

private:
    struct Head
    {
        explicit Head(std::uint8_t address = 1)
            : application(config(address), log)
            , station(address, application, log)
        {
        }
        static HeadConfig config(std::uint8_t address)
        {
            HeadConfig c;
            c.linkAddress = address;
            return c;
        }
        std::optional<LinkFrame> Send(const LinkFrame &frame) { return station.Handle(frame, At(0)); }

        EventLog log;
        HeadApplication application;
        SecondaryStation station;
    };

    static bool IsAck(const std::optional<LinkFrame> &answer) { return answer && answer->form == LinkFrame::Form::Ack; }

    // Brings the link up as the master does: status request, reset, first poll with FCB 1.
    static void BringUp(Head &head)
    {
        QVERIFY(head.Send(LinkFrame::Short(0x49, head.station.Address())));
        QVERIFY(IsAck(head.Send(LinkFrame::Short(0x40, head.station.Address()))));
        QVERIFY(IsAck(head.Send(LinkFrame::Short(0x78, head.station.Address()))));
    }

private slots:
    void statusRequestIsAnsweredWithS1()
    {
        Head head(7);
        const auto answer = head.Send(LinkFrame::Short(0x49, 7));
        QVERIFY(answer);
        COMPARE_BYTES(FrameCodec::Encode(*answer), Hex("10 0B 07 12 16"));
    }

    void resetIsAnsweredWithE5()
    {
        Head head;
        const auto answer = head.Send(LinkFrame::Short(0x40, 1));
        QVERIFY(answer);
        COMPARE_BYTES(FrameCodec::Encode(*answer), Hex("E5"));
    }

    void pollWithoutPendingReplyIsAnsweredWithE5()
    {
        Head head;
        BringUp(head);
        QVERIFY(IsAck(head.Send(LinkFrame::Short(0x58, 1))));
    }

    void confirmedUserDataIsAnsweredWithE5AndTheReplyComesWithTheNextPoll()
    {
        Head head;
        BringUp(head);
        QVERIFY(IsAck(head.Send(LinkFrame::Long(0x53, 1, kActualValueRequest))));
        const auto reply = head.Send(LinkFrame::Short(0x78, 1));
        QVERIFY(reply);
        COMPARE_BYTES(FrameCodec::Encode(*reply), Hex("68 0E 0E 68 08 01 00 0A 04 85 01 01 05 01 37 01 6B 00 47 16"));
        // Nothing further is pending.
        QVERIFY(IsAck(head.Send(LinkFrame::Short(0x58, 1))));
    }

    void aSetpointIsReportedInAnswerToTheNextPoll()
    {
        Head head;
        BringUp(head);
        QVERIFY(IsAck(head.Send(LinkFrame::Long(0x53, 1, kRedSetpoint))));
        const auto report = head.Send(LinkFrame::Short(0x78, 1));
        QVERIFY(report);
        COMPARE_BYTES(FrameCodec::Encode(*report), Hex("68 0E 0E 68 08 01 00 0A 04 02 01 01 05 01 37 01 6B 01 C5 16"));
    }

    void aRepeatedPollGetsTheSameReplyAgain()
    {
        Head head;
        BringUp(head);
        QVERIFY(IsAck(head.Send(LinkFrame::Long(0x53, 1, kActualValueRequest))));
        const auto first = head.Send(LinkFrame::Short(0x78, 1));
        const auto repeated = head.Send(LinkFrame::Short(0x78, 1));
        QVERIFY(first && repeated);
        QVERIFY(first->form == LinkFrame::Form::Long);
        QVERIFY(*first == *repeated);
        // A fresh FCB asks for new data: there is none.
        QVERIFY(IsAck(head.Send(LinkFrame::Short(0x58, 1))));
    }

    void aRepeatedUserDataTelegramIsNotProcessedTwice()
    {
        Head head;
        BringUp(head);
        QVERIFY(IsAck(head.Send(LinkFrame::Long(0x53, 1, kRedSetpoint))));
        // The master lost the E5 and repeats with the same FCB; its buffer may even hold another
        // command by then. Either way it is the same transmission.
        QVERIFY(IsAck(head.Send(LinkFrame::Long(0x53, 1, kRedSetpoint))));
        QVERIFY(IsAck(head.Send(LinkFrame::Long(0x53, 1, kGreenSetpoint))));
        QCOMPARE(int(head.application.Image()), 107);
        QVERIFY(head.application.Mode() == HeadApplication::LampMode::Steady);

        const auto report = head.Send(LinkFrame::Short(0x78, 1));
        QVERIFY(report && report->form == LinkFrame::Form::Long);
        QVERIFY(IsAck(head.Send(LinkFrame::Short(0x58, 1)))); // only one actual value was queued
    }

    void aFreshFcbIsProcessed()
    {
        Head head;
        BringUp(head);
        QVERIFY(IsAck(head.Send(LinkFrame::Long(0x53, 1, kRedSetpoint))));
        QVERIFY(IsAck(head.Send(LinkFrame::Long(0x73, 1, kGreenSetpoint))));
        QCOMPARE(int(head.application.Image()), 109);
    }

    void resetForgetsTheFrameCountBit()
    {
        Head head;
        BringUp(head); // last FCB 1
        QVERIFY(IsAck(head.Send(LinkFrame::Short(0x40, 1))));
        // FCB 1 again right after the reset is a new telegram, not a repetition.
        QVERIFY(IsAck(head.Send(LinkFrame::Long(0x73, 1, kGreenSetpoint))));
        QCOMPARE(int(head.application.Image()), 109);
    }

    void resetDropsRepliesNotYetFetched()
    {
        Head head;
        BringUp(head);
        // Two replies wait when the link is lost; the master rebuilds it and will ask again.
        QVERIFY(IsAck(head.Send(LinkFrame::Long(0x53, 1, kActualValueRequest))));
        QVERIFY(IsAck(head.Send(LinkFrame::Long(0x73, 1, kRedSetpoint))));
        QVERIFY(head.application.HasReply());
        BringUp(head);
        QVERIFY(!head.application.HasReply());
        QVERIFY(IsAck(head.Send(LinkFrame::Short(0x58, 1))));
        // What is asked after the reset is answered as ever.
        QVERIFY(IsAck(head.Send(LinkFrame::Long(0x73, 1, kActualValueRequest))));
        const auto reply = head.Send(LinkFrame::Short(0x58, 1));
        QVERIFY(reply && reply->form == LinkFrame::Form::Long);
    }

    void telegramsToAnotherAddressAreIgnored()
    {
        Head head(1);
        QVERIFY(!head.Send(LinkFrame::Short(0x49, 2)));
        QVERIFY(!head.Send(LinkFrame::Short(0x40, 2)));
        QVERIFY(!head.Send(LinkFrame::Long(0x73, 2, kGreenSetpoint)));
        QCOMPARE(int(head.application.Image()), 107);
        QVERIFY(!head.application.HasReply());
    }

    void broadcastUserDataIsProcessedWithoutAnswer()
    {
        Head head;
        BringUp(head); // last FCB 1
        QVERIFY(!head.Send(LinkFrame::Long(0x54, 255, kGreenSetpoint)));
        QCOMPARE(int(head.application.Image()), 109);
        // The master toggled its FCB for the broadcast; the next poll carries FCB 1 again and is new.
        const auto report = head.Send(LinkFrame::Short(0x78, 1));
        QVERIFY(report && report->form == LinkFrame::Form::Long);
    }

    void otherRequestsToTheBroadcastAddressAreIgnored()
    {
        Head head;
        QVERIFY(!head.Send(LinkFrame::Short(0x49, 255)));
        QVERIFY(!head.Send(LinkFrame::Long(0x73, 255, kGreenSetpoint)));
        QCOMPARE(int(head.application.Image()), 107);
    }

    void telegramsFromASecondaryAndAcknowledgementsAreIgnored()
    {
        Head head;
        QVERIFY(!head.Send(LinkFrame::Short(0x0B, 1)));
        QVERIFY(!head.Send(LinkFrame::Ack()));
        QVERIFY(!head.Send(LinkFrame::Long(0x08, 1, kGreenSetpoint)));
        QCOMPARE(int(head.application.Image()), 107);
    }

    void theNewLinkAddressTakesEffectAfterTheAcknowledgement()
    {
        Head head(1);
        BringUp(head);
        QVERIFY(IsAck(head.Send(LinkFrame::Long(0x53, 1, kSetLinkAddress5))));
        QCOMPARE(int(head.station.Address()), 5);
        QVERIFY(!head.Send(LinkFrame::Short(0x49, 1)));
        const auto answer = head.Send(LinkFrame::Short(0x49, 5));
        QVERIFY(answer);
        COMPARE_BYTES(FrameCodec::Encode(*answer), Hex("10 0B 05 10 16"));
        QVERIFY(IsAck(head.Send(LinkFrame::Short(0x40, 5))));
    }

    void aLongAnswerCarriesTheCurrentAddress()
    {
        Head head(1);
        BringUp(head);
        QVERIFY(IsAck(head.Send(LinkFrame::Long(0x53, 1, kSetLinkAddress5))));
        QVERIFY(IsAck(head.Send(LinkFrame::Long(0x73, 5, kActualValueRequest))));
        const auto reply = head.Send(LinkFrame::Short(0x58, 5));
        QVERIFY(reply);
        QCOMPARE(int(reply->control), 0x08);
        QCOMPARE(int(reply->address), 5);
    }
};

QTEST_GUILESS_MAIN(TestSecondaryStation)
#include "tst_sim_secondarystation.moc"
