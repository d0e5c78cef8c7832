#include "FrameCodec.h"
#include "SimTestHelpers.h"

using namespace strelosim;
using simtest::At;
using simtest::Hex;

class TestFrameCodec : public QObject
{
    Q_OBJECT

private:
    static std::vector<LinkFrame> FeedAll(FrameCodec &codec, const Bytes &bytes, int ms = 0)
    {
        return codec.Feed(bytes.data(), bytes.size(), At(ms));
    }

private slots:
    void encodesTheThreeForms()
    {
        COMPARE_BYTES(FrameCodec::Encode(LinkFrame::Ack()), Hex("E5"));
        COMPARE_BYTES(FrameCodec::Encode(LinkFrame::Short(0x0B, 1)), Hex("10 0B 01 0C 16"));
        COMPARE_BYTES(FrameCodec::Encode(LinkFrame::Short(0x0B, 5)), Hex("10 0B 05 10 16"));
        COMPARE_BYTES(FrameCodec::Encode(LinkFrame::Long(0x08, 1, Hex("00 0A 04 85 01 01 05 01 37 01 6B 00"))),
                      Hex("68 0E 0E 68 08 01 00 0A 04 85 01 01 05 01 37 01 6B 00 47 16"));
    }

    void checksumWrapsModulo256()
    {
        COMPARE_BYTES(FrameCodec::Encode(LinkFrame::Short(0xF0, 0x20)), Hex("10 F0 20 10 16"));
    }

    void decodesAWholeShortTelegram()
    {
        FrameCodec codec;
        const auto frames = FeedAll(codec, Hex("10 49 01 4A 16"));
        QCOMPARE(frames.size(), 1u);
        QVERIFY(frames[0] == LinkFrame::Short(0x49, 1));
        QVERIFY(codec.TakeDiscarded().empty());
    }

    void decodesALongTelegram()
    {
        FrameCodec codec;
        const auto frames = FeedAll(codec, Hex("68 0B 0B 68 73 01 00 07 04 15 01 01 02 01 37 D0 16"));
        QCOMPARE(frames.size(), 1u);
        QVERIFY(frames[0] == LinkFrame::Long(0x73, 1, Hex("00 07 04 15 01 01 02 01 37")));
    }

    void decodesTheSingleCharacter()
    {
        FrameCodec codec;
        const auto frames = FeedAll(codec, Hex("E5"));
        QCOMPARE(frames.size(), 1u);
        QVERIFY(frames[0].form == LinkFrame::Form::Ack);
    }

    void aTelegramSplitOverDeliveriesIsAssembledTheSame()
    {
        const Bytes whole = Hex("68 0B 0B 68 73 01 00 07 04 15 01 01 02 01 37 D0 16");
        FrameCodec bytewise;
        std::vector<LinkFrame> frames;
        for (std::size_t i = 0; i < whole.size(); ++i) {
            const auto got = bytewise.Feed(&whole[i], 1, At(int(i)));
            QCOMPARE(got.size(), i + 1 == whole.size() ? 1u : 0u);
            frames.insert(frames.end(), got.begin(), got.end());
        }
        FrameCodec uneven;
        QVERIFY(uneven.Feed(whole.data(), 3, At(0)).empty());
        QVERIFY(uneven.Feed(whole.data() + 3, 9, At(1)).empty());
        const auto last = uneven.Feed(whole.data() + 12, whole.size() - 12, At(2));
        QCOMPARE(last.size(), 1u);
        QVERIFY(frames[0] == last[0]);
        QVERIFY(last[0] == LinkFrame::Long(0x73, 1, Hex("00 07 04 15 01 01 02 01 37")));
    }

    void twoTelegramsInOneDeliveryComeOutInOrder()
    {
        FrameCodec codec;
        const auto frames = FeedAll(codec, Hex("10 49 01 4A 16 E5 10 40 01 41 16"));
        QCOMPARE(frames.size(), 3u);
        QVERIFY(frames[0] == LinkFrame::Short(0x49, 1));
        QVERIFY(frames[1] == LinkFrame::Ack());
        QVERIFY(frames[2] == LinkFrame::Short(0x40, 1));
    }

    void noiseInFrontOfATelegramIsDiscarded()
    {
        FrameCodec codec;
        const auto frames = FeedAll(codec, Hex("3F 00 FF 10 49 01 4A 16"));
        QCOMPARE(frames.size(), 1u);
        QVERIFY(frames[0] == LinkFrame::Short(0x49, 1));
        COMPARE_BYTES(codec.TakeDiscarded(), Hex("3F 00 FF"));
        QVERIFY(codec.TakeDiscarded().empty());
    }

    void aStrayStartOctetDoesNotCostTheTelegramBehindIt()
    {
        FrameCodec codec;
        auto frames = FeedAll(codec, Hex("68 10 49 01 4A 16"));
        QCOMPARE(frames.size(), 1u);
        QVERIFY(frames[0] == LinkFrame::Short(0x49, 1));
        COMPARE_BYTES(codec.TakeDiscarded(), Hex("68"));

        frames = FeedAll(codec, Hex("10 10 40 01 41 16"));
        QCOMPARE(frames.size(), 1u);
        QVERIFY(frames[0] == LinkFrame::Short(0x40, 1));
        COMPARE_BYTES(codec.TakeDiscarded(), Hex("10"));
    }

    void aBadChecksumYieldsNothing()
    {
        FrameCodec codec;
        QVERIFY(FeedAll(codec, Hex("10 49 01 4B 16")).empty());
        QVERIFY(FeedAll(codec, Hex("68 0B 0B 68 73 01 00 07 04 15 01 01 02 01 37 D1 16")).empty());
        // The line is usable again right away.
        const auto frames = FeedAll(codec, Hex("10 49 01 4A 16"));
        QCOMPARE(frames.size(), 1u);
        QVERIFY(frames[0] == LinkFrame::Short(0x49, 1));
    }

    void aMissingEndOctetYieldsNothing()
    {
        FrameCodec codec;
        QVERIFY(FeedAll(codec, Hex("10 49 01 4A 17")).empty());
        QVERIFY(FeedAll(codec, Hex("68 0B 0B 68 73 01 00 07 04 15 01 01 02 01 37 D0 00")).empty());
    }

    void lengthOctetsThatDifferYieldNothing()
    {
        FrameCodec codec;
        QVERIFY(FeedAll(codec, Hex("68 0B 0C 68 73 01 00 07 04 15 01 01 02 01 37 D0 16")).empty());
    }

    void aLongTelegramWithoutUserDataIsRefusedAtOnce()
    {
        FrameCodec codec;
        // L = 2: no user data. The short telegram right behind must not wait for it.
        const auto frames = FeedAll(codec, Hex("68 02 02 68 10 49 01 4A 16"));
        QCOMPARE(frames.size(), 1u);
        QVERIFY(frames[0] == LinkFrame::Short(0x49, 1));
    }

    void anIncompleteTelegramIsDroppedWhenTheLineWasQuiet()
    {
        FrameCodec codec;
        QVERIFY(FeedAll(codec, Hex("68 0B 0B 68 73 01 00"), 0).empty());
        // 100 ms later the master repeats: the torn telegram must not swallow it.
        const auto frames = FeedAll(codec, Hex("10 49 01 4A 16"), 100);
        QCOMPARE(frames.size(), 1u);
        QVERIFY(frames[0] == LinkFrame::Short(0x49, 1));
        COMPARE_BYTES(codec.TakeDiscarded(), Hex("68 0B 0B 68 73 01 00"));
    }

    void aTelegramWithShortPausesIsStillAssembled()
    {
        FrameCodec codec;
        QVERIFY(FeedAll(codec, Hex("68 0B 0B 68 73 01 00"), 0).empty());
        QVERIFY(FeedAll(codec, Hex("07 04 15 01"), 30).empty());
        QCOMPARE(FeedAll(codec, Hex("01 02 01 37 D0 16"), 60).size(), 1u);
    }

    void resetDropsTheTelegramInProgress()
    {
        FrameCodec codec;
        QVERIFY(FeedAll(codec, Hex("10 49 01")).empty());
        codec.Reset();
        COMPARE_BYTES(codec.TakeDiscarded(), Hex("10 49 01"));
        QVERIFY(FeedAll(codec, Hex("4A 16")).empty());
    }

    void findsTheLengthTrap()
    {
        QVERIFY(FrameCodec::ContainsLengthTrap(Hex("10 68 00")));
        QVERIFY(FrameCodec::ContainsLengthTrap(Hex("68 01 16")));
        QVERIFY(!FrameCodec::ContainsLengthTrap(Hex("68 02 02 68")));
        QVERIFY(!FrameCodec::ContainsLengthTrap(Hex("00 68 16 01")));
        QVERIFY(!FrameCodec::ContainsLengthTrap(Hex("68")));
        QVERIFY(FrameCodec::ContainsLengthTrap(Hex("00 16"), 0x68));
        QVERIFY(!FrameCodec::ContainsLengthTrap(Hex("00 16"), 0x16));
        QVERIFY(!FrameCodec::ContainsLengthTrap({}, 0x68));
    }

    void describesTelegramsInOneLine()
    {
        QCOMPARE(FrameCodec::Describe(LinkFrame::Ack()), std::string("ack"));
        QCOMPARE(FrameCodec::Describe(LinkFrame::Short(0x49, 1)), std::string("short C=49 A=1 PRM=1 FCB=0 FCV=0 FN=9 NAME=RQS"));
        QCOMPARE(FrameCodec::Describe(LinkFrame::Short(0x0B, 12)), std::string("short C=0B A=12 PRM=0 ACD=0 DFC=0 FN=11 NAME=S1"));
        QCOMPARE(FrameCodec::Describe(LinkFrame::Long(0x73, 1, Hex("00 07 04"))),
                 std::string("long C=73 A=1 PRM=1 FCB=1 FCV=1 FN=3 NAME=D LEN=3 DATA=000704"));
        QCOMPARE(FrameCodec::Describe(LinkFrame::Long(0x08, 255, Hex("AB"))),
                 std::string("long C=08 A=255 PRM=0 ACD=0 DFC=0 FN=8 NAME=D LEN=1 DATA=AB"));
        QCOMPARE(FrameCodec::Describe(LinkFrame::Short(0x42, 1)), std::string("short C=42 A=1 PRM=1 FCB=0 FCV=0 FN=2 NAME=?"));
    }
};

QTEST_GUILESS_MAIN(TestFrameCodec)
#include "tst_sim_framecodec.moc"
