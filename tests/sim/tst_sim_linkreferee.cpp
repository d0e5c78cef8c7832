// The simulator's referee: the telegrams no head may receive are counted and logged, a master
// that keeps to the link procedure is never blamed.
#include "SimTestHelpers.h"

#include "LinkReferee.h"

#include <sstream>

using strelosim::EventLog;
using strelosim::LinkFrame;
using strelosim::LinkReferee;

namespace {

constexpr std::uint8_t kHead = 1;

struct Referee
{
    std::ostringstream trace;
    EventLog log {&trace};
    LinkReferee referee {log};

    void Judge(const LinkFrame &frame) { referee.Judge(frame, kHead, simtest::At(0)); }
    // Status request, reset, first poll, as the master brings the link up.
    void LinkUp()
    {
        Judge(LinkFrame::Short(0x49, kHead));
        Judge(LinkFrame::Short(0x40, kHead));
        Judge(LinkFrame::Short(0x78, kHead));
    }
};

const strelosim::Bytes kData = simtest::Hex("000704150101020137");

} // namespace

class TestSimLinkReferee : public QObject
{
    Q_OBJECT

private slots:
    void linkProcedureIsNeverBlamed();
    void shortTelegramWithUserDataFunction();
    void broadcastAskingForAnAnswer();
    void repetitionOfABroadcast();
    void firstTelegramAfterResetWithoutFcb();
    void repetitionWithAnotherFunction();
    void broadcastWithoutNewFcb();
    void otherStationsAndAnswersAreNotJudged();
    void restartForgetsTheFrameCountBit();
    void summaryLine();
};

void TestSimLinkReferee::linkProcedureIsNeverBlamed()
{
    Referee r;
    r.LinkUp();
    r.Judge(LinkFrame::Short(0x78, kHead));              // repetition of the first poll
    r.Judge(LinkFrame::Long(0x53, kHead, kData));        // user data, FCB 0
    r.Judge(LinkFrame::Long(0x53, kHead, simtest::Hex("000704150102020137"))); // repeated with new data
    r.Judge(LinkFrame::Long(0x74, 255, kData));          // broadcast, FCB 1
    r.Judge(LinkFrame::Short(0x58, kHead));              // poll, FCB 0
    r.Judge(LinkFrame::Short(0x58, kHead));              // its repetition
    r.Judge(LinkFrame::Short(0x49, kHead));              // the link lost: status request again
    r.Judge(LinkFrame::Short(0x40, kHead));
    r.Judge(LinkFrame::Short(0x78, kHead));
    QCOMPARE(r.referee.Count(), 0);
    QVERIFY(r.trace.str().empty());
}

void TestSimLinkReferee::shortTelegramWithUserDataFunction()
{
    Referee r;
    r.LinkUp();
    r.Judge(LinkFrame::Long(0x54, 255, kData));
    r.Judge(LinkFrame::Short(0x54, kHead)); // 10 54 01 55 16
    r.Judge(LinkFrame::Short(0x73, kHead));
    QCOMPARE(r.referee.Count(LinkReferee::Kind::ShortUserData), 2);
    QCOMPARE(r.referee.Count(), 2);
    QVERIFY(r.trace.str().find("link violation KIND=short-user-data WHY=user-data-in-a-short-telegram "
                               "short C=54 A=1")
            != std::string::npos);
}

void TestSimLinkReferee::broadcastAskingForAnAnswer()
{
    Referee r;
    r.LinkUp();
    r.Judge(LinkFrame::Long(0x73, 255, kData)); // confirmed user data to every head
    r.Judge(LinkFrame::Short(0x49, 255));       // status request to every head
    r.Judge(LinkFrame::Short(0x58, 255));       // poll of every head
    QCOMPARE(r.referee.Count(LinkReferee::Kind::BroadcastAnswer), 3);
    QCOMPARE(r.referee.Count(), 3);
}

void TestSimLinkReferee::repetitionOfABroadcast()
{
    Referee r;
    r.LinkUp();
    r.Judge(LinkFrame::Long(0x54, 255, kData));
    r.Judge(LinkFrame::Long(0x53, kHead, kData)); // same FCB as the broadcast
    QCOMPARE(r.referee.Count(LinkReferee::Kind::FrameCount), 1);
    QVERIFY(r.trace.str().find("WHY=repeats-a-broadcast") != std::string::npos);
}

void TestSimLinkReferee::firstTelegramAfterResetWithoutFcb()
{
    Referee r;
    r.Judge(LinkFrame::Short(0x49, kHead));
    r.Judge(LinkFrame::Short(0x40, kHead));
    r.Judge(LinkFrame::Short(0x58, kHead));
    QCOMPARE(r.referee.Count(LinkReferee::Kind::FrameCount), 1);
    QVERIFY(r.trace.str().find("WHY=first-after-reset-without-FCB") != std::string::npos);
}

void TestSimLinkReferee::repetitionWithAnotherFunction()
{
    Referee r;
    r.LinkUp();
    r.Judge(LinkFrame::Short(0x58, kHead));
    r.Judge(LinkFrame::Long(0x53, kHead, kData)); // FCB 0 again, but user data instead of the poll
    QCOMPARE(r.referee.Count(LinkReferee::Kind::FrameCount), 1);
    QVERIFY(r.trace.str().find("WHY=repetition-with-another-function") != std::string::npos);
}

void TestSimLinkReferee::broadcastWithoutNewFcb()
{
    Referee r;
    r.LinkUp();
    r.Judge(LinkFrame::Long(0x74, 255, kData)); // FCB 1, as the first poll
    QCOMPARE(r.referee.Count(LinkReferee::Kind::FrameCount), 1);
    QVERIFY(r.trace.str().find("WHY=broadcast-without-new-FCB") != std::string::npos);
}

void TestSimLinkReferee::otherStationsAndAnswersAreNotJudged()
{
    Referee r;
    r.LinkUp();
    r.Judge(LinkFrame::Short(0x78, 9));         // FCB 1 again, but to another head
    r.Judge(LinkFrame::Short(0x08, kHead));     // an answer (PRM 0), not a request
    r.Judge(LinkFrame::Ack());
    r.Judge(LinkFrame::Long(0x08, 255, kData)); // an answer to 255 asks nothing
    QCOMPARE(r.referee.Count(), 0);
}

void TestSimLinkReferee::restartForgetsTheFrameCountBit()
{
    Referee r;
    r.LinkUp();
    r.referee.Forget();
    // After a restart the master goes on polling until it notices; nothing is known to compare.
    r.Judge(LinkFrame::Short(0x78, kHead));
    QCOMPARE(r.referee.Count(), 0);
}

void TestSimLinkReferee::summaryLine()
{
    Referee r;
    QCOMPARE(r.referee.Summary(), std::string("violations=0 short-user-data=0 broadcast-answer=0 frame-count=0"));
    r.LinkUp();
    r.Judge(LinkFrame::Short(0x54, kHead));
    r.Judge(LinkFrame::Short(0x58, 255));
    r.Judge(LinkFrame::Short(0x58, 255));
    QCOMPARE(r.referee.Summary(), std::string("violations=3 short-user-data=1 broadcast-answer=2 frame-count=0"));
}

QTEST_GUILESS_MAIN(TestSimLinkReferee)
#include "tst_sim_linkreferee.moc"
