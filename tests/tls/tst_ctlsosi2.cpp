#include "PtyPair.h"
#include "RecordingDevice.h"
#include "tls/CTlsOsi2.h"

#include <QTest>

#include <condition_variable>
#include <mutex>

namespace {

// A link whose callbacks record what arrives, as lines of text. Sent telegrams are captured
// instead of written unless the probe is told to use its port.
class LinkProbe : public CTlsOsi2
{
public:
    explicit LinkProbe(bool wantsDecodeLines = true)
        : m_wantsDecodeLines(wantsDecodeLines)
    {
    }
    ~LinkProbe() override { Close(); }

    // Deliveries follow each other without a pause unless a test asks for one, so that a loaded
    // machine cannot trip the character time-out between two of them.
    void Feed(const QByteArray &bytes) { FeedAfter(std::chrono::microseconds(1), bytes); }
    void FeedAfter(std::chrono::microseconds pause, const QByteArray &bytes)
    {
        m_clock += pause;
        Assemble(Octets(bytes), m_clock);
    }
    void SetDecode(bool on) { m_decode = on; }
    void UsePort(bool on) { m_usePort = on; }

    unsigned State() const { return m_state.load(); }
    void SetState(unsigned state) { m_state = state; }
    std::uint8_t Type() const { return m_type.load(); }
    void SetType(std::uint8_t type) { m_type = type; }
    bool Decode() const { return m_decode.load(); }
    ByteVector RxData() const { return m_rxData; }

    QStringList Telegrams() const { return Copy(m_telegrams); }
    QStringList Errors() const { return Copy(m_errors); }
    QStringList Records() const { return Copy(m_records); }
    QStringList DecodeLines() const { return Copy(m_decodeLines); }
    QList<QByteArray> Sent() const
    {
        std::lock_guard lock(m_mutex);
        return m_sent;
    }
    bool WaitForTelegrams(int count, int timeoutMs)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                  [&] { return m_telegrams.size() >= count; });
    }
    void Clear()
    {
        std::lock_guard lock(m_mutex);
        m_telegrams.clear();
        m_errors.clear();
        m_records.clear();
        m_decodeLines.clear();
        m_sent.clear();
    }

    bool Tx(const ByteVector &data) override
    {
        if (m_usePort)
            return CTlsOsi2::Tx(data);
        std::lock_guard lock(m_mutex);
        m_sent.append(QByteArray(reinterpret_cast<const char *>(data.data()), qsizetype(data.size())));
        return true;
    }

protected:
    void OnAck() override { Add(m_telegrams, QStringLiteral("ack")); }
    void OnShortTelegram(std::uint8_t control, std::uint8_t address) override
    {
        Add(m_telegrams, QStringLiteral("short %1").arg(HexText(ByteVector {control, address})));
    }
    void OnLongTelegram(std::uint8_t control, std::uint8_t address, const ByteVector &userData) override
    {
        Add(m_telegrams, QStringLiteral("long %1 | %2").arg(HexText(ByteVector {control, address}), HexText(userData)));
    }
    void ReportError(const std::string &text) override { Add(m_errors, QString::fromStdString(text)); }
    void TraceDecode(const std::string &line) override { Add(m_decodeLines, QString::fromStdString(line)); }
    bool WantsDecodeLines() const override { return m_wantsDecodeLines; }
    void TraceTelegram(int level, int direction, int frameType, int data1, int data2, bool prm, bool fcbOrAcd,
                       bool fcvOrDfc, const std::string &function, int address, int checksum,
                       const ByteVector &userData) override
    {
        Add(m_records, QStringLiteral("%1|%2|%3|%4|%5|%6|%7|%8|%9|%10|%11|%12")
                           .arg(level)
                           .arg(direction)
                           .arg(frameType)
                           .arg(data1)
                           .arg(data2)
                           .arg(int(prm))
                           .arg(int(fcbOrAcd))
                           .arg(int(fcvOrDfc))
                           .arg(QString::fromStdString(function))
                           .arg(address)
                           .arg(checksum)
                           .arg(HexText(userData)));
    }

private:
    void Add(QStringList &list, const QString &text)
    {
        {
            std::lock_guard lock(m_mutex);
            list.append(text);
        }
        m_changed.notify_all();
    }
    QStringList Copy(const QStringList &list) const
    {
        std::lock_guard lock(m_mutex);
        return list;
    }

    const bool m_wantsDecodeLines;
    bool m_usePort = false;
    ArrivalTime m_clock {};
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    QStringList m_telegrams;
    QStringList m_errors;
    QStringList m_records;
    QStringList m_decodeLines;
    QList<QByteArray> m_sent;
};

QByteArray Hex(const char *text)
{
    return QByteArray::fromHex(text);
}

} // namespace

class TestCTlsOsi2 : public QObject
{
    Q_OBJECT

private slots:
    void shortTelegramDelivered();
    void longTelegramDelivered();
    void everySplitMatchesWhole();
    void lengthMismatchReportedThenDelivered();
    void secondStartMissingReportedThenDelivered();
    void lengthTwoRejected();
    void lengthBelowTwoNeverCompletes_data();
    void lengthBelowTwoNeverCompletes();
    void ackInsideLongTelegramIsData();
    void strayByteInIdle_data();
    void strayByteInIdle();
    void wrongChecksumRejected();
    void endByteMissingRejectedThenResynchronised();
    void ackDelivered();
    void unknownStateReportedAndKept();
    void typeWithoutAddressRejected();
    void typeWithoutDataRejected();
    void longErrorFormatNamesTheState();
    void errorAndStateTexts();
    void spoiledLengthThenPauseNextTelegramWhole();
    void spoiledLengthWithoutPauseSwallowsNextTelegram();
    void piecesWithShortPausesAreOneTelegram();
    void pauseOfExactlyTheTimeOutKeepsTheTelegram();
    void pauseOnAQuietLineReportsNothing();
    void pauseEndsTheEndlessShortLength();
    void realDeliveriesUseTheirArrivalTime();
    void sendShortBytes();
    void sendLongBytes();
    void send254OctetsWrapsLength();
    void sendAck();
    void traceRecordsOfEveryForm();
    void decodeLinesExact();
    void undefinedFunctionCode();
    void decodeFunctionNameTable();
    void traceFunctionNameTable();
    void controlFieldTexts_data();
    void controlFieldTexts();
    void decodeOffBuildsNoLines();
    void decodeLinesOnlyForAConsumer();
    void openLinkOnPty();
    void openLinkFailsOnMissingDevice();
};

void TestCTlsOsi2::shortTelegramDelivered()
{
    LinkProbe link;
    link.Feed(Hex("100B051016"));
    QCOMPARE(link.Telegrams(), QStringList {"short 0B 05"});
    QVERIFY(link.Errors().isEmpty());
    QCOMPARE(link.State(), unsigned(CTlsOsi2::kIdle));
}

void TestCTlsOsi2::longTelegramDelivered()
{
    LinkProbe link;
    // L = 5: control, address and three data octets; 08 + 05 + 01 + 02 + 03 = 0x13.
    link.Feed(Hex("68050568080501020313" "16"));
    QCOMPARE(link.Telegrams(), QStringList {"long 08 05 | 01 02 03"});
    QVERIFY(link.Errors().isEmpty());
}

void TestCTlsOsi2::everySplitMatchesWhole()
{
    const QByteArray stream = Hex("100B051016" "68050568080501020313" "16" "E5");
    LinkProbe whole;
    whole.Feed(stream);
    QCOMPARE(whole.Telegrams(), (QStringList {"short 0B 05", "long 08 05 | 01 02 03", "ack"}));

    for (int first = 1; first < stream.size(); ++first) {
        for (int second = first; second < stream.size(); ++second) {
            LinkProbe split;
            split.Feed(stream.left(first));
            if (second > first)
                split.Feed(stream.mid(first, second - first));
            split.Feed(stream.mid(second));
            QCOMPARE(split.Telegrams(), whole.Telegrams());
            QVERIFY(split.Errors().isEmpty());
        }
    }
    LinkProbe byteByByte;
    for (char byte : stream)
        byteByByte.Feed(QByteArray(1, byte));
    QCOMPARE(byteByByte.Telegrams(), whole.Telegrams());
    QCOMPARE(byteByByte.Records(), whole.Records());
}

void TestCTlsOsi2::lengthMismatchReportedThenDelivered()
{
    LinkProbe link;
    // The second length says 6; the first (5) stays in force and matches the data.
    link.Feed(Hex("68050668080501020313" "16"));
    QCOMPARE(link.Errors(), QStringList {"CTlsOsi2::AssemblyError: The 2 length indicators do not match"});
    QCOMPARE(link.Telegrams(), QStringList {"long 08 05 | 01 02 03"});
}

void TestCTlsOsi2::secondStartMissingReportedThenDelivered()
{
    LinkProbe link;
    link.Feed(Hex("68050569080501020313" "16"));
    QCOMPARE(link.Errors(), QStringList {"CTlsOsi2::AssemblyError: Second start byte of long telegram not found"});
    QCOMPARE(link.Telegrams(), QStringList {"long 08 05 | 01 02 03"});
}

void TestCTlsOsi2::lengthTwoRejected()
{
    LinkProbe link;
    // No user data: the checksum octet is taken as data, which is one too many.
    link.Feed(Hex("680202680805" "0D"));
    QCOMPARE(link.Errors(), QStringList {"CTlsOsi2::AssemblyError: Effective numer of data bytes does not match header"});
    QCOMPARE(link.State(), unsigned(CTlsOsi2::kIdle));
    // The end octet then meets an idle assembler.
    link.Feed(Hex("16"));
    QVERIFY(link.Telegrams().isEmpty());
    QCOMPARE(link.Errors().last(),
             QStringLiteral("CTlsOsi2::AssmblyError:Data stream out of sync / Assembler state: Idle / byte processed: 0x16"));
}

void TestCTlsOsi2::lengthBelowTwoNeverCompletes_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::newRow("L = 1") << Hex("680101680805");
    QTest::newRow("L = 0") << Hex("680000680805");
}

void TestCTlsOsi2::lengthBelowTwoNeverCompletes()
{
    QFETCH(QByteArray, header);
    LinkProbe link;
    link.Feed(header);
    const QByteArray later = Hex("100B051016" "68050568080501020313" "16" "E5");
    link.Feed(later);
    link.Feed(later);
    QVERIFY(link.Telegrams().isEmpty());
    QVERIFY(link.Errors().isEmpty());
    QCOMPARE(link.State(), unsigned(CTlsOsi2::kMoreData));
    QCOMPARE(HexText(link.RxData()), HexText(later + later));
}

void TestCTlsOsi2::ackInsideLongTelegramIsData()
{
    LinkProbe link;
    // 08 + 05 + E5 + 01 + 02 = 0xF5.
    link.Feed(Hex("680505680805E50102F516"));
    QCOMPARE(link.Telegrams(), QStringList {"long 08 05 | E5 01 02"});
}

void TestCTlsOsi2::strayByteInIdle_data()
{
    QTest::addColumn<QByteArray>("byte");
    QTest::addColumn<QString>("report");
    QTest::newRow("0x00") << Hex("00")
                          << "CTlsOsi2::AssmblyError:Data stream out of sync / Assembler state: Idle / byte processed: 0x00";
    QTest::newRow("0x3F") << Hex("3F")
                          << "CTlsOsi2::AssmblyError:Data stream out of sync / Assembler state: Idle / byte processed: 0x3F";
    QTest::newRow("0xAB") << Hex("AB")
                          << "CTlsOsi2::AssmblyError:Data stream out of sync / Assembler state: Idle / byte processed: 0xAB";
}

void TestCTlsOsi2::strayByteInIdle()
{
    QFETCH(QByteArray, byte);
    QFETCH(QString, report);
    LinkProbe link;
    link.Feed(byte + Hex("100B051016"));
    QCOMPARE(link.Errors(), QStringList {report});
    // The stray byte is dropped and the next telegram is assembled.
    QCOMPARE(link.Telegrams(), QStringList {"short 0B 05"});
}

void TestCTlsOsi2::wrongChecksumRejected()
{
    LinkProbe link;
    link.Feed(Hex("100B0511"));
    QCOMPARE(link.Errors(), QStringList {"CTlsOsi2::AssemblyError: Wrong checksum"});
    QCOMPARE(link.State(), unsigned(CTlsOsi2::kIdle));
    link.Feed(Hex("16"));
    QVERIFY(link.Telegrams().isEmpty());
    QCOMPARE(link.Errors().size(), 2);

    LinkProbe longLink;
    longLink.Feed(Hex("68050568080501020314" "16"));
    QCOMPARE(longLink.Errors().first(), QStringLiteral("CTlsOsi2::AssemblyError: Wrong checksum"));
    QVERIFY(longLink.Telegrams().isEmpty());
}

void TestCTlsOsi2::endByteMissingRejectedThenResynchronised()
{
    LinkProbe link;
    // The wrong end octet is consumed; the next octet is examined as a start octet at once.
    link.Feed(Hex("100B051017" "100B051016"));
    QCOMPARE(link.Errors(), QStringList {"CTlsOsi2::AssemblyError: Telegram end byte missing"});
    QCOMPARE(link.Telegrams(), QStringList {"short 0B 05"});
}

void TestCTlsOsi2::ackDelivered()
{
    LinkProbe link;
    link.SetDecode(true);
    link.Feed(Hex("E5"));
    QCOMPARE(link.Telegrams(), QStringList {"ack"});
    QCOMPARE(link.Type(), std::uint8_t(0xE5));
    QCOMPARE(link.State(), unsigned(CTlsOsi2::kIdle));
    QCOMPARE(link.DecodeLines(), QStringList {"CTlsOsi2::Decode: Rx ack"});
}

void TestCTlsOsi2::unknownStateReportedAndKept()
{
    LinkProbe link;
    link.SetState(9);
    link.Feed(Hex("10"));
    QCOMPARE(link.Errors(), QStringList {"CTlsOsi2::AssemblyError: Data stream out of sync"});
    QCOMPARE(link.State(), 9u);
    QVERIFY(link.Telegrams().isEmpty());
}

void TestCTlsOsi2::typeWithoutAddressRejected()
{
    LinkProbe link;
    link.SetState(CTlsOsi2::kWaitAddress);
    link.SetType(0xE5);
    link.Feed(Hex("05"));
    QCOMPARE(link.Errors(), QStringList {"CTlsOsi2::Assemble: Telegram type can not have an address"});
    QCOMPARE(link.State(), unsigned(CTlsOsi2::kIdle));
}

void TestCTlsOsi2::typeWithoutDataRejected()
{
    LinkProbe link;
    link.SetState(CTlsOsi2::kWaitEnd);
    link.SetType(0xE5);
    link.Feed(Hex("16"));
    QCOMPARE(link.Errors(), QStringList {"CTlsOsi2::Assemble: Telegram type can not have any data at all"});
    QCOMPARE(link.State(), unsigned(CTlsOsi2::kIdle));
    QVERIFY(link.Telegrams().isEmpty());
}

void TestCTlsOsi2::longErrorFormatNamesTheState()
{
    LinkProbe link;
    link.SetState(CTlsOsi2::kMoreData);
    QCOMPARE(QString::fromStdString(link.AssmblyError(CTlsOsi2::kWrongChecksum, 0x0A)),
             QStringLiteral("CTlsOsi2::AssmblyError:Wrong checksum / Assembler state: More date expected / byte processed: 0x0A"));
    link.SetState(12);
    QCOMPARE(QString::fromStdString(link.AssmblyError(0, 0xFF)),
             QStringLiteral("CTlsOsi2::AssmblyError:Unknown error / Assembler state: Unknown assembler state! / byte processed: 0xFF"));
}

void TestCTlsOsi2::errorAndStateTexts()
{
    const QStringList errors {"Unknown error",
                              "The 2 length indicators do not match",
                              "Second start byte of long telegram not found",
                              "Effective numer of data bytes does not match header",
                              "Wrong checksum",
                              "Telegram end byte missing",
                              "Data stream out of sync",
                              "Line idle within telegram",
                              "Unknown error"};
    for (int error = 0; error < errors.size(); ++error)
        QCOMPARE(QString::fromStdString(CTlsOsi2::ErrorText(error)), errors.at(error));

    const QStringList states {"Idle",
                              "Wait first LEN byte",
                              "Wait repeated LEN byte",
                              "Wait reapeaded START byte",
                              "Wait COMMAND byte",
                              "Wait ADRESS byte",
                              "More date expected",
                              "Wait CHECKSUM byte",
                              "Wait END byte",
                              "Unknown assembler state!"};
    for (int state = 0; state < states.size(); ++state)
        QCOMPARE(QString::fromStdString(CTlsOsi2::StateName(unsigned(state))), states.at(state));
}

namespace {

using std::chrono::milliseconds;

const QString kLineIdleReport = QStringLiteral("CTlsOsi2::AssemblyError: Line idle within telegram");

// The start of a long telegram whose length octets arrived spoiled as 0xC8 (200 data octets
// announced), cut off after two data octets: the rest was lost on the line.
const char *const kSpoiledStart = "68C8C868" "0805" "0102";

} // namespace

void TestCTlsOsi2::spoiledLengthThenPauseNextTelegramWhole()
{
    LinkProbe link;
    link.Feed(Hex(kSpoiledStart));
    QCOMPARE(link.State(), unsigned(CTlsOsi2::kMoreData));
    // The repetition's answer comes after the link's response time-out.
    link.FeedAfter(milliseconds(60), Hex("100B051016"));
    QCOMPARE(link.Telegrams(), QStringList {"short 0B 05"});
    QCOMPARE(link.Errors(), QStringList {kLineIdleReport});
    QCOMPARE(link.State(), unsigned(CTlsOsi2::kIdle));
}

void TestCTlsOsi2::spoiledLengthWithoutPauseSwallowsNextTelegram()
{
    // Without a pause the frame format's rules hold: the octets are the announced data.
    LinkProbe link;
    link.Feed(Hex(kSpoiledStart));
    link.FeedAfter(milliseconds(10), Hex("100B051016"));
    QVERIFY(link.Telegrams().isEmpty());
    QVERIFY(link.Errors().isEmpty());
    QCOMPARE(link.RxData().size(), std::size_t(7));
}

void TestCTlsOsi2::piecesWithShortPausesAreOneTelegram()
{
    // A USB adapter hands the bytes over in chunks up to 16 ms apart; a loaded machine adds to
    // that. The whole telegram takes far longer than the time-out, each gap stays below it.
    LinkProbe link;
    link.Feed(Hex("6805"));
    link.FeedAfter(milliseconds(16), Hex("0568"));
    link.FeedAfter(milliseconds(40), Hex("0805"));
    link.FeedAfter(milliseconds(45), Hex("010203"));
    link.FeedAfter(milliseconds(30), Hex("1316"));
    QCOMPARE(link.Telegrams(), QStringList {"long 08 05 | 01 02 03"});
    QVERIFY(link.Errors().isEmpty());
}

void TestCTlsOsi2::pauseOfExactlyTheTimeOutKeepsTheTelegram()
{
    LinkProbe link;
    link.Feed(Hex("100B"));
    link.FeedAfter(CTlsOsi2::kCharacterTimeout, Hex("051016"));
    QCOMPARE(link.Telegrams(), QStringList {"short 0B 05"});
    QVERIFY(link.Errors().isEmpty());
}

void TestCTlsOsi2::pauseOnAQuietLineReportsNothing()
{
    LinkProbe link;
    link.Feed(Hex("E5"));
    link.FeedAfter(milliseconds(5000), Hex("100B051016"));
    QCOMPARE(link.Telegrams(), (QStringList {"ack", "short 0B 05"}));
    QVERIFY(link.Errors().isEmpty());
}

void TestCTlsOsi2::pauseEndsTheEndlessShortLength()
{
    // A length octet of 1 keeps the assembler taking data while the octets keep coming; the
    // first pause ends it, and the byte after the pause is looked at as a start octet.
    LinkProbe link;
    link.Feed(Hex("68010168080501020304"));
    link.Feed(Hex("100B051016"));
    QVERIFY(link.Telegrams().isEmpty());
    link.FeedAfter(milliseconds(51), Hex("E5"));
    QCOMPARE(link.Telegrams(), QStringList {"ack"});
    QCOMPARE(link.Errors(), QStringList {kLineIdleReport});
}

void TestCTlsOsi2::realDeliveriesUseTheirArrivalTime()
{
    // Through the port's receive callback the arrival time is the clock's: a pause longer than
    // the time-out between two real deliveries drops the partial telegram.
    LinkProbe link;
    link.OnReceive(Octets(Hex(kSpoiledStart)));
    QTest::qSleep(int(CTlsOsi2::kCharacterTimeout.count()) + 20);
    link.OnReceive(Octets(Hex("100B051016")));
    QCOMPARE(link.Telegrams(), QStringList {"short 0B 05"});
    QCOMPARE(link.Errors(), QStringList {kLineIdleReport});
}

void TestCTlsOsi2::sendShortBytes()
{
    LinkProbe link;
    QVERIFY(link.SendShort(0x49, 5));
    QCOMPARE(link.Sent(), QList<QByteArray> {Hex("1049054E16")});
    QVERIFY(link.SendShort(0xF0, 0x20)); // the checksum wraps: 0xF0 + 0x20 = 0x110
    QCOMPARE(link.Sent().last(), Hex("10F0201016"));
}

void TestCTlsOsi2::sendLongBytes()
{
    LinkProbe link;
    QVERIFY(link.SendLong(0x53, 1, Octets(Hex("000704150101020137"))));
    // 53 + 01 + 00 + 07 + 04 + 15 + 01 + 01 + 02 + 01 + 37 = 0xB0
    QCOMPARE(link.Sent(), QList<QByteArray> {Hex("680B0B685301000704150101020137B016")});
}

void TestCTlsOsi2::send254OctetsWrapsLength()
{
    LinkProbe link;
    const QByteArray data(254, char(0x01));
    QVERIFY(link.SendLong(0x53, 1, Octets(data)));
    const QByteArray sent = link.Sent().value(0);
    QCOMPARE(sent.size(), 254 + 8);
    QCOMPARE(sent.left(6), Hex("680000685301"));
    QCOMPARE(sent.mid(6, 254), data);
    // 0x53 + 0x01 + 254 = 0x152
    QCOMPARE(sent.right(2), Hex("5216"));
}

void TestCTlsOsi2::sendAck()
{
    LinkProbe link;
    link.SetDecode(true);
    QVERIFY(link.SendAck());
    QCOMPARE(link.Sent(), QList<QByteArray> {Hex("E5")});
    QCOMPARE(link.DecodeLines(), QStringList {"CTlsOsi2::Decode: Tx ack"});
    QCOMPARE(link.Records(), QStringList {"12|1|2|0|0|0|0|0|RES0|0|0|"});
}

void TestCTlsOsi2::traceRecordsOfEveryForm()
{
    LinkProbe link;
    link.Feed(Hex("100B051016"));
    link.Feed(Hex("680505680805" "3F0001" "4D16"));
    link.Feed(Hex("E5"));
    link.SendShort(0x49, 5);
    link.SendLong(0x73, 1, Octets(Hex("0A0B")));
    link.SendShort(0x7A, 9);
    const QStringList expected {
        // level|direction|frame type|data1|data2|PRM|FCB/ACD|FCV/DFC|function|address|checksum|data
        "12|0|1|0|0|0|0|0|S1|5|16|",
        "12|0|0|63|0|0|0|0|D|5|77|3F 00 01",
        "12|0|2|0|0|0|0|0|ANR1|0|0|",
        "12|1|1|0|0|1|0|0|RQS|5|78|",
        "12|1|0|10|11|1|1|1|D|1|137|0A 0B",
        "12|1|1|0|0|1|1|1|RQD1|9|131|",
    };
    QCOMPARE(link.Records(), expected);
}

void TestCTlsOsi2::decodeLinesExact()
{
    LinkProbe link;
    link.SetDecode(true);
    link.SendShort(0x49, 5);
    link.Feed(Hex("100B051016"));
    link.SendLong(0x73, 1, Octets(Hex("3F00")));
    link.Feed(Hex("680404680801" "3F00" "4816"));
    const QStringList expected {
        "CTlsOsi2::Decode: Tx short: CMD(0X49) P->S: FCB=0 FCV=0 Function (9) =RQS   ADR=  5",
        "CTlsOsi2::Decode: Rx short: CMD(0X0B) S->P: ACD=0 DFC= 0 Function (11) =S1    ADR=  5",
        "CTlsOsi2::Decode: Tx long:  CMD(0X73) P->S: FCB=1 FCV=1 Function (3) =D     ADR=  1 - Data(  2): 3Fh 00h ",
        "CTlsOsi2::Decode: Rx long:  CMD(0X08) S->P: ACD=0 DFC= 0 Function (8) =D     ADR=  1 - Data(  2): 3Fh 00h ",
    };
    QCOMPARE(link.DecodeLines(), expected);

    link.Clear();
    link.SendShort(0x40, 255);
    QCOMPARE(link.DecodeLines(),
             QStringList {"CTlsOsi2::Decode: Tx short: CMD(0X40) P->S: FCB=0 FCV=0 Function (0) =RES0  ADR=255"});
}

void TestCTlsOsi2::undefinedFunctionCode()
{
    LinkProbe link;
    link.SetDecode(true);
    link.SendShort(0x42, 1);
    QCOMPARE(link.DecodeLines(),
             QStringList {"CTlsOsi2::Decode: Tx short: CMD(0X42) P->S: FCB=0 FCV=0 Function (2) =N/A   ADR=  1"});
    QCOMPARE(link.Records(), QStringList {"12|1|1|0|0|1|0|0|Invalid Function !|1|67|"});

    // A received telegram is named by the secondary's column: 3 is defined only for the primary.
    link.Clear();
    link.Feed(Hex("1003010416"));
    QCOMPARE(link.Records(), QStringList {"12|0|1|0|0|0|0|0|Invalid Function !|1|4|"});
    QCOMPARE(link.DecodeLines(),
             QStringList {"CTlsOsi2::Decode: Rx short: CMD(0X03) S->P: ACD=0 DFC= 0 Function (3) =N/A   ADR=  1"});
}

void TestCTlsOsi2::decodeFunctionNameTable()
{
    const QStringList primary {"RES0 ", "RES1 ", "N/A  ", "D    ", "DNR  ", "N/A  ", "N/A  ", "(TD2)",
                               "RQD3 ", "RQS  ", "RQD1 ", "RQD2 ", "N/A  ", "N/A  ", "N/A  ", "RQT  "};
    const QStringList secondary {"ANR1 ", "REJ1 ", "N/A  ", "N/A  ", "N/A  ", "N/A  ", "N/A  ", "N/A  ",
                                 "D    ", "ANR2 ", "REJ2 ", "S1   ", "N/A  ", "N/A  ", "N/A  ", "(TD1)"};
    for (int code = 0; code < 16; ++code) {
        QCOMPARE(QString::fromStdString(CTlsOsi2::DecodeFunctionName(code, true)), primary.at(code));
        QCOMPARE(QString::fromStdString(CTlsOsi2::DecodeFunctionName(code, false)), secondary.at(code));
    }
}

void TestCTlsOsi2::traceFunctionNameTable()
{
    const QString invalid = QStringLiteral("Invalid Function !");
    const QStringList sent {"RES0", "RES1", invalid, "D", "DNR", invalid, invalid, "TD2",
                            "RQD3", "RQS", "RQD1", "RQD2", invalid, invalid, invalid, "RQT"};
    const QStringList received {"ANR1", "REJ1", invalid, invalid, invalid, invalid, invalid, invalid,
                                "D", "ANR2", "REJ2", "S1", invalid, invalid, invalid, "TD1"};
    for (int code = 0; code < 16; ++code) {
        QCOMPARE(QString::fromStdString(CTlsOsi2::TraceFunctionName(code, CAsync::kDirectionSent)), sent.at(code));
        QCOMPARE(QString::fromStdString(CTlsOsi2::TraceFunctionName(code, CAsync::kDirectionReceived)),
                 received.at(code));
    }
    QCOMPARE(QString::fromStdString(CTlsOsi2::TraceFunctionName(9, 2)), QStringLiteral("Invalid Direction !"));
    QCOMPARE(QString::fromStdString(CTlsOsi2::TraceFunctionName(9, -1)), QStringLiteral("Invalid Direction !"));
}

void TestCTlsOsi2::controlFieldTexts_data()
{
    QTest::addColumn<int>("control");
    QTest::addColumn<QString>("text");
    QTest::newRow("0x49") << 0x49 << "CMD(0X49) P->S: FCB=0 FCV=0 Function (9) =RQS  ";
    QTest::newRow("0x0B") << 0x0B << "CMD(0X0B) S->P: ACD=0 DFC= 0 Function (11) =S1   ";
    QTest::newRow("0x78") << 0x78 << "CMD(0X78) P->S: FCB=1 FCV=1 Function (8) =RQD3 ";
    QTest::newRow("0x3B") << 0x3B << "CMD(0X3B) S->P: ACD=1 DFC= 1 Function (11) =S1   ";
    QTest::newRow("0x4F") << 0x4F << "CMD(0X4F) P->S: FCB=0 FCV=0 Function (15) =RQT  ";
    QTest::newRow("0x0F") << 0x0F << "CMD(0X0F) S->P: ACD=0 DFC= 0 Function (15) =(TD1)";
    QTest::newRow("0x47") << 0x47 << "CMD(0X47) P->S: FCB=0 FCV=0 Function (7) =(TD2)";
}

void TestCTlsOsi2::controlFieldTexts()
{
    QFETCH(int, control);
    QFETCH(QString, text);
    QCOMPARE(QString::fromStdString(CTlsOsi2::ControlFieldText(std::uint8_t(control))), text);
}

void TestCTlsOsi2::decodeOffBuildsNoLines()
{
    LinkProbe link;
    link.SetDecode(false);
    link.SendShort(0x49, 5);
    link.SendLong(0x53, 1, Octets(Hex("00")));
    link.SendAck();
    link.Feed(Hex("100B051016" "E5" "6803036808010009" "16"));
    QVERIFY(link.DecodeLines().isEmpty());
    QCOMPARE(link.Records().size(), 6);
    QCOMPARE(link.Telegrams().size(), 3);
}

void TestCTlsOsi2::decodeLinesOnlyForAConsumer()
{
    // Decode on, but the subclass does not consume decode lines: none is built.
    LinkProbe link(false);
    link.SetDecode(true);
    link.SendShort(0x49, 5);
    link.Feed(Hex("100B051016E5"));
    QVERIFY(link.DecodeLines().isEmpty());
    QCOMPARE(link.Records().size(), 3);
}

void TestCTlsOsi2::openLinkOnPty()
{
    PtyPair pty;
    QVERIFY(pty.IsValid());
    LinkProbe link;
    link.UsePort(true);
    link.SetState(CTlsOsi2::kMoreData);
    link.SetType(0x10);
    QVERIFY(link.OpenLink(pty.SlavePath().toStdString(), 6, true));
    QCOMPARE(link.State(), unsigned(CTlsOsi2::kIdle));
    QCOMPARE(link.Type(), std::uint8_t(0x68));
    QVERIFY(link.Decode());

    QVERIFY(link.SendShort(0x49, 1));
    QCOMPARE(pty.Read(5, 2000), Hex("1049014A16"));

    // Received bytes reach the assembler on the reader thread, in two deliveries.
    pty.Write(Hex("100B01"));
    pty.Write(Hex("0C16"));
    QVERIFY(link.WaitForTelegrams(1, 5000));
    QCOMPARE(link.Telegrams(), QStringList {"short 0B 01"});
    link.Close();
    QVERIFY(!link.SendShort(0x49, 1)); // a closed port sends nothing
}

void TestCTlsOsi2::openLinkFailsOnMissingDevice()
{
    LinkProbe link;
    link.UsePort(true);
    QVERIFY(!link.OpenLink("/nonexistent/lichtwart-tty", 6, true));
    QVERIFY(!link.Errors().isEmpty());
}

QTEST_GUILESS_MAIN(TestCTlsOsi2)
#include "tst_ctlsosi2.moc"
