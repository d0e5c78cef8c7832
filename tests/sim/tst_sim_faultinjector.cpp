#include "FaultInjector.h"
#include "FrameCodec.h"
#include "SimTestHelpers.h"

using namespace strelosim;
using simtest::Hex;

namespace {

// Answers as the head sends them: acknowledgements, S1 and long replies.
std::vector<Bytes> TypicalAnswers()
{
    return {
        Hex("E5"),
        Hex("10 0B 01 0C 16"),
        Hex("68 0E 0E 68 08 01 00 0A 04 85 01 01 05 01 37 01 6B 00 47 16"),
        Hex("68 11 11 68 08 01 00 0D FE 83 01 01 08 FF 85 02 01 00 01 05 00 2E 16"),
        Hex("68 0C 0C 68 08 01 00 08 04 85 02 01 03 01 31 64 36 16"),
        Hex("06"),
    };
}

} // namespace

class TestFaultInjector : public QObject
{
    Q_OBJECT

private slots:
    void withoutFaultsEverythingPassesUnchanged()
    {
        FaultInjector faults;
        QVERIFY(!faults.Active());
        for (const Bytes &answer : TypicalAnswers()) {
            const auto result = faults.Apply(answer);
            COMPARE_BYTES(result.bytes, answer);
            QCOMPARE(result.dropped, 0);
            QCOMPARE(result.corrupted, 0);
            QVERIFY(!result.guarded);
        }
    }

    void theSameSeedGivesTheSameFaults()
    {
        FaultInjector a(0.2, 0.2, 42);
        FaultInjector b(0.2, 0.2, 42);
        FaultInjector c(0.2, 0.2, 43);
        bool differsFromOtherSeed = false;
        for (int round = 0; round < 50; ++round) {
            for (const Bytes &answer : TypicalAnswers()) {
                const auto ra = a.Apply(answer);
                const auto rb = b.Apply(answer);
                const auto rc = c.Apply(answer);
                COMPARE_BYTES(ra.bytes, rb.bytes);
                QCOMPARE(ra.dropped, rb.dropped);
                QCOMPARE(ra.corrupted, rb.corrupted);
                differsFromOtherSeed = differsFromOtherSeed || ra.bytes != rc.bytes;
            }
        }
        QVERIFY(differsFromOtherSeed);
    }

    void dropEverything()
    {
        FaultInjector faults(1.0, 0.0, 1);
        const auto result = faults.Apply(Hex("10 0B 01 0C 16"));
        QVERIFY(result.bytes.empty());
        QCOMPARE(result.dropped, 5);
    }

    void corruptedBytesAlwaysDiffer()
    {
        FaultInjector faults(0.0, 1.0, 7);
        const Bytes clean = Hex("10 0B 01 0C 16");
        int spoiled = 0;
        for (int i = 0; i < 200; ++i) {
            const auto result = faults.Apply(clean);
            if (result.guarded) {
                COMPARE_BYTES(result.bytes, clean);
                continue;
            }
            ++spoiled;
            QCOMPARE(result.bytes.size(), clean.size());
            QCOMPARE(result.corrupted, 5);
            for (std::size_t k = 0; k < clean.size(); ++k)
                QVERIFY(result.bytes[k] != clean[k]);
        }
        QVERIFY(spoiled > 150);
    }

    void theRatesAreRoughlyThoseAsked()
    {
        FaultInjector faults(0.1, 0.05, 99);
        const Bytes answer = Hex("68 0E 0E 68 08 01 00 0A 04 85 01 01 05 01 37 01 6B 00 47 16");
        int dropped = 0;
        int corrupted = 0;
        int total = 0;
        for (int i = 0; i < 5000; ++i) {
            const auto result = faults.Apply(answer);
            if (result.guarded)
                continue;
            dropped += result.dropped;
            corrupted += result.corrupted;
            total += int(answer.size());
        }
        QVERIFY2(dropped > total * 0.08 && dropped < total * 0.12, qPrintable(QString::number(double(dropped) / total)));
        // Corruption is drawn for the bytes that were not dropped.
        QVERIFY2(corrupted > total * 0.035 && corrupted < total * 0.055, qPrintable(QString::number(double(corrupted) / total)));
    }

    void theLineNeverShowsALengthOctetBelowTwo()
    {
        FaultInjector faults(0.3, 0.3, 2024);
        Bytes line;
        int guarded = 0;
        for (int round = 0; round < 3000; ++round) {
            for (const Bytes &answer : TypicalAnswers()) {
                const auto result = faults.Apply(answer);
                guarded += result.guarded ? 1 : 0;
                line.insert(line.end(), result.bytes.begin(), result.bytes.end());
            }
        }
        // Across answer boundaries as well: the whole stream is checked.
        QVERIFY(!FrameCodec::ContainsLengthTrap(line));
        QVERIFY(guarded > 0); // the guard really had work to do
    }

    void theGuardLooksAtTheByteSentBefore()
    {
        // Answers of one byte can only form the pair together with the answer before.
        FaultInjector faults(0.0, 1.0, 5);
        Bytes line;
        int guarded = 0;
        const Bytes ack = Hex("E5");
        for (int i = 0; i < 500000; ++i) {
            const auto result = faults.Apply(ack);
            guarded += result.guarded ? 1 : 0;
            line.insert(line.end(), result.bytes.begin(), result.bytes.end());
        }
        QVERIFY(guarded > 0);
        QVERIFY(!FrameCodec::ContainsLengthTrap(line));
    }
};

QTEST_GUILESS_MAIN(TestFaultInjector)
#include "tst_sim_faultinjector.moc"
