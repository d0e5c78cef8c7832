// The S-record image: line splitting, record checks, assembly into blocks and chunking.

#include "FirmwarePackageBuilder.h"
#include "firmware/CFirmwareException.h"
#include "firmware/CFirmwareFile.h"

#include <QtTest>

namespace {

using Builder = FirmwarePackageBuilder;

ByteVector Bytes(const QByteArray &text)
{
    return ByteVector(text.begin(), text.end());
}

QByteArray Data(const ByteVector &bytes)
{
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), qsizetype(bytes.size()));
}

QByteArray Counting(int length, int first = 0)
{
    QByteArray data;
    for (int i = 0; i < length; ++i)
        data.append(char(first + i));
    return data;
}

// A record whose checksum byte is off by delta.
QByteArray WithChecksumOff(QByteArray record, int delta)
{
    const qsizetype at = record.size() - 4; // two checksum digits before CR LF
    const int checksum = record.mid(at, 2).toInt(nullptr, 16);
    record.replace(at, 2, QByteArray::number((checksum + delta) & 0xFF, 16).rightJustified(2, '0').toUpper());
    return record;
}

void Parse(CFirmwareFile &firmware, const QByteArray &text, bool wideAddresses)
{
    firmware.SetFirmwareBytes(Bytes(text), wideAddresses);
    firmware.ParseRecords();
}

// The exception that parsing text throws; code -1 when it throws none.
CFirmwareException Failure(const QByteArray &text, bool wideAddresses, CFirmwareFile *into = nullptr)
{
    CFirmwareFile local;
    CFirmwareFile &firmware = into ? *into : local;
    try {
        Parse(firmware, text, wideAddresses);
    } catch (const CFirmwareException &error) {
        return error;
    }
    return CFirmwareException(-1, "no exception");
}

struct Chunk
{
    quint32 address;
    QByteArray data;
    bool operator==(const Chunk &other) const = default;
};

QList<Chunk> AllChunks(CFirmwareFile &firmware, quint32 maximum = 32)
{
    QList<Chunk> chunks;
    quint32 address = 0;
    ByteVector data;
    while (firmware.GetNextBlock(maximum, address, data))
        chunks.append({address, Data(data)});
    return chunks;
}

const QByteArray kHeader = Builder::Record('0', 0, "hdr");
const QByteArray kEnd24 = Builder::Record('8', 0x1000, {});
const QByteArray kEnd32 = Builder::Record('7', 0x1000, {});

} // namespace

namespace QTest {
template <>
char *toString(const Chunk &chunk)
{
    return qstrdup(QByteArray("0x" + QByteArray::number(chunk.address, 16) + " " + chunk.data.toHex()).constData());
}
} // namespace QTest

class TestFirmwareRecords : public QObject
{
    Q_OBJECT

private slots:
    void narrowImageLoadsIntoMergedBlocks();
    void narrowImageWithWideAddressesNamesS2();
    void wideImageLoads();
    void wideImageWithNarrowAddressesNamesS3();
    void unsupportedRecordTypes_data();
    void unsupportedRecordTypes();
    void lineOfOnlyTypeHasIllegalSize_data();
    void lineOfOnlyTypeHasIllegalSize();
    void checksumOffByOneIsWrong();
    void onePairTooManyBreaksByteCount();
    void trailingBlankBreaksByteCount();
    void unreadableByteCounter();
    void unreadableDataPair();
    void lineFeedOnlyFileIsOneLine();
    void finalLineFeedPieceIsIgnored();
    void emptyLinesAndCrOnlyLineEnds();
    void lowerCaseDigitsAreRead();
    void adjacentRecordsMergeIntoOneChunk();
    void fortyByteBlockIsHandedOutInTwoChunks();
    void hundredByteBlockChunks();
    void oddAddressGetsPaddingInFrontAndKeepsAddress();
    void oddLengthGetsPaddingAtTheEnd();
    void paddingMakesBlocksAdjacent();
    void recordsAreSortedByAddress();
    void overlappingRecordsStaySeparate();
    void emptyDataRecordIsDropped();
    void blockPastTopOfAddressSpaceIsRefused_data();
    void blockPastTopOfAddressSpaceIsRefused();
    void blockEndingAtTopOfAddressSpaceLoads_data();
    void blockEndingAtTopOfAddressSpaceLoads();
    void imageWithoutDataIsRejected_data();
    void imageWithoutDataIsRejected();
    void recordsBeforeAFaultStayInTheList();
    void rewindStartsOverAtTheFirstBlock();
    void zeroMaximumHandsOutNothing();
    void lineLengthCountsCharacters();
    void typeOfNonAsciiLineIsNamed();
    void signedPairsReadAsTheConversionReadsThem();
};

void TestFirmwareRecords::narrowImageLoadsIntoMergedBlocks()
{
    const QByteArray text = kHeader + Builder::Record('2', 0x012340, Counting(16)) +
                            Builder::Record('2', 0x012350, Counting(16, 16)) +
                            Builder::Record('2', 0x020000, Counting(4, 0xA0)) + kEnd24;
    CFirmwareFile firmware;
    Parse(firmware, text, false);
    QCOMPARE(firmware.GetBlocks().size(), size_t(2));
    QCOMPARE(firmware.GetBlocks()[0]->address, 0x012340u);
    QCOMPARE(Data(firmware.GetBlocks()[0]->data), Counting(32));
    QCOMPARE(firmware.GetBlocks()[1]->address, 0x020000u);
    QCOMPARE(Data(firmware.GetBlocks()[1]->data), Counting(4, 0xA0));
    QCOMPARE(firmware.GetTotalSize(), 36);
}

void TestFirmwareRecords::narrowImageWithWideAddressesNamesS2()
{
    const QByteArray text = kHeader + Builder::Record('2', 0x1000, Counting(16)) + kEnd24;
    const CFirmwareException error = Failure(text, true);
    QCOMPARE(error.Code(), 8);
    QCOMPARE(QString(error.what()), QString("Records of type 'S2' are not supported"));
}

void TestFirmwareRecords::wideImageLoads()
{
    const QByteArray text = kHeader + Builder::Record('3', 0x80001000, Counting(8)) +
                            Builder::Record('3', 0x80001008, Counting(8, 8)) + kEnd32;
    CFirmwareFile firmware;
    Parse(firmware, text, true);
    QCOMPARE(AllChunks(firmware), (QList<Chunk>{{0x80001000, Counting(16)}}));
}

void TestFirmwareRecords::wideImageWithNarrowAddressesNamesS3()
{
    const QByteArray text = kHeader + Builder::Record('3', 0x1000, Counting(8)) + kEnd32;
    const CFirmwareException error = Failure(text, false);
    QCOMPARE(error.Code(), 8);
    QCOMPARE(QString(error.what()), QString("Records of type 'S3' are not supported"));
}

void TestFirmwareRecords::unsupportedRecordTypes_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("wideAddresses");
    QTest::addColumn<QString>("type");
    QTest::newRow("S1 narrow") << Builder::Record('1', 0x1000, Counting(4)) << false << "S1";
    QTest::newRow("S1 wide") << Builder::Record('1', 0x1000, Counting(4)) << true << "S1";
    QTest::newRow("S9 narrow") << Builder::Record('9', 0x1000, {}) << false << "S9";
    QTest::newRow("S9 wide") << Builder::Record('9', 0x1000, {}) << true << "S9";
    QTest::newRow("S5") << Builder::Record('5', 1, {}) << false << "S5";
    QTest::newRow("S8 wide") << kEnd24 << true << "S8";
    QTest::newRow("S7 narrow") << kEnd32 << false << "S7";
    QTest::newRow("lower-case s2") << Builder::Record('2', 0x1000, Counting(4)).replace(0, 1, "s") << false << "s2";
    QTest::newRow("one character") << QByteArray("S\r\n") << false << "S";
    QTest::newRow("blank line") << QByteArray(" \r\n") << false << " ";
}

void TestFirmwareRecords::unsupportedRecordTypes()
{
    QFETCH(QByteArray, line);
    QFETCH(bool, wideAddresses);
    QFETCH(QString, type);
    const CFirmwareException error = Failure(kHeader + line, wideAddresses);
    QCOMPARE(error.Code(), 8);
    QCOMPARE(QString(error.what()), QString("Records of type '%1' are not supported").arg(type));
}

void TestFirmwareRecords::lineOfOnlyTypeHasIllegalSize_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("message");
    QTest::newRow("S0") << QByteArray("S0") << "Record has illegal size (2)";
    QTest::newRow("S0 with CR LF") << QByteArray("S0\r\n") << "Record has illegal size (2)";
    QTest::newRow("S21") << QByteArray("S21\r\n") << "Record has illegal size (3)";
}

void TestFirmwareRecords::lineOfOnlyTypeHasIllegalSize()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, message);
    const CFirmwareException error = Failure(line, false);
    QCOMPARE(error.Code(), 9);
    QCOMPARE(QString(error.what()), message);
}

void TestFirmwareRecords::checksumOffByOneIsWrong()
{
    for (const int delta : {1, -1}) {
        const QByteArray text =
            kHeader + WithChecksumOff(Builder::Record('2', 0x1000, Counting(16)), delta) + kEnd24;
        const CFirmwareException error = Failure(text, false);
        QCOMPARE(error.Code(), 13);
        QCOMPARE(QString(error.what()), QString("Record has wrong checksum"));
    }
}

void TestFirmwareRecords::onePairTooManyBreaksByteCount()
{
    QByteArray record = Builder::Record('2', 0x1000, Counting(16));
    record.insert(record.size() - 2, "00");
    const CFirmwareException error = Failure(kHeader + record + kEnd24, false);
    QCOMPARE(error.Code(), 11);
    QCOMPARE(QString(error.what()),
             QString("Records byte-count does not correspond to the number of bytes in the record"));
}

void TestFirmwareRecords::trailingBlankBreaksByteCount()
{
    QByteArray record = Builder::Record('2', 0x1000, Counting(16));
    record.insert(record.size() - 2, " ");
    QCOMPARE(Failure(kHeader + record + kEnd24, false).Code(), 11);
}

void TestFirmwareRecords::unreadableByteCounter()
{
    QByteArray record = Builder::Record('2', 0x1000, Counting(16));
    record.replace(2, 2, "ZZ");
    const CFirmwareException error = Failure(kHeader + record + kEnd24, false);
    QCOMPARE(error.Code(), 10);
    QCOMPARE(QString(error.what()), QString("Record has illegal byte counter"));
}

void TestFirmwareRecords::unreadableDataPair()
{
    QByteArray record = Builder::Record('2', 0x1000, Counting(16));
    record.replace(12, 2, "G1");
    const CFirmwareException error = Failure(kHeader + record + kEnd24, false);
    QCOMPARE(error.Code(), 12);
    QCOMPARE(QString(error.what()), QString("Record has illegal binary data value"));
}

void TestFirmwareRecords::lineFeedOnlyFileIsOneLine()
{
    QByteArray text = kHeader + Builder::Record('2', 0x1000, Counting(16)) + kEnd24;
    text.replace("\r\n", "\n");
    const CFirmwareException error = Failure(text, false);
    QCOMPARE(error.Code(), 11);
    QCOMPARE(QString(error.what()),
             QString("Records byte-count does not correspond to the number of bytes in the record"));
}

void TestFirmwareRecords::finalLineFeedPieceIsIgnored()
{
    const QByteArray text = kHeader + Builder::Record('2', 0x1000, Counting(16)) + kEnd24;
    QVERIFY(text.endsWith("\r\n"));
    CFirmwareFile firmware;
    Parse(firmware, text, false);
    QCOMPARE(AllChunks(firmware), (QList<Chunk>{{0x1000, Counting(16)}}));
}

void TestFirmwareRecords::emptyLinesAndCrOnlyLineEnds()
{
    QByteArray text = kHeader + "\r\n\r\n" + Builder::Record('2', 0x1000, Counting(16)) + kEnd24;
    text.replace("\r\n", "\r");
    CFirmwareFile firmware;
    Parse(firmware, text + "\r\r", false);
    QCOMPARE(AllChunks(firmware), (QList<Chunk>{{0x1000, Counting(16)}}));
}

void TestFirmwareRecords::lowerCaseDigitsAreRead()
{
    const QByteArray record = Builder::Record('2', 0x00ABCD, QByteArray::fromHex("deadbeef")).toLower().replace(0, 1, "S");
    CFirmwareFile firmware;
    Parse(firmware, kHeader + record, false);
    QCOMPARE(AllChunks(firmware), (QList<Chunk>{{0xABCD, QByteArray::fromHex("ffdeadbeefff")}}));
}

void TestFirmwareRecords::adjacentRecordsMergeIntoOneChunk()
{
    const QByteArray text = kHeader + Builder::Record('2', 0x1000, Counting(16)) +
                            Builder::Record('2', 0x1010, Counting(16, 16)) + kEnd24;
    CFirmwareFile firmware;
    Parse(firmware, text, false);
    QCOMPARE(firmware.GetBlocks().size(), size_t(1));
    QCOMPARE(AllChunks(firmware), (QList<Chunk>{{0x1000, Counting(32)}}));
}

void TestFirmwareRecords::fortyByteBlockIsHandedOutInTwoChunks()
{
    CFirmwareFile firmware;
    Parse(firmware, Builder::Image({{0x4000, Counting(40)}}, false), false);
    QCOMPARE(AllChunks(firmware),
             (QList<Chunk>{{0x4000, Counting(32)}, {0x4020, Counting(8, 32)}}));
}

void TestFirmwareRecords::hundredByteBlockChunks()
{
    CFirmwareFile firmware;
    Parse(firmware, Builder::Image({{0x8000, Counting(100)}, {0x9000, Counting(10)}}, false), false);
    QCOMPARE(firmware.GetTotalSize(), 110);
    QCOMPARE(AllChunks(firmware), (QList<Chunk>{{0x8000, Counting(32)},
                                                {0x8020, Counting(32, 32)},
                                                {0x8040, Counting(32, 64)},
                                                {0x8060, Counting(4, 96)},
                                                {0x9000, Counting(10)}}));
}

void TestFirmwareRecords::oddAddressGetsPaddingInFrontAndKeepsAddress()
{
    CFirmwareFile firmware;
    Parse(firmware, kHeader + Builder::Record('2', 0x2001, "\x11\x22\x33") + kEnd24, false);
    QCOMPARE(AllChunks(firmware), (QList<Chunk>{{0x2001, QByteArray("\xFF\x11\x22\x33")}}));
}

void TestFirmwareRecords::oddLengthGetsPaddingAtTheEnd()
{
    CFirmwareFile firmware;
    Parse(firmware, kHeader + Builder::Record('2', 0x3000, "\x11\x22\x33") + kEnd24, false);
    QCOMPARE(AllChunks(firmware), (QList<Chunk>{{0x3000, QByteArray("\x11\x22\x33\xFF")}}));
}

// 0x2001 + 3 bytes becomes 4 bytes ending at 0x2005, where the next (padded) block starts.
void TestFirmwareRecords::paddingMakesBlocksAdjacent()
{
    const QByteArray text = kHeader + Builder::Record('2', 0x2005, "\x44") +
                            Builder::Record('2', 0x2001, "\x11\x22\x33") + kEnd24;
    CFirmwareFile firmware;
    Parse(firmware, text, false);
    QCOMPARE(AllChunks(firmware),
             (QList<Chunk>{{0x2001, QByteArray("\xFF\x11\x22\x33\xFF\x44")}}));
}

void TestFirmwareRecords::recordsAreSortedByAddress()
{
    const QByteArray text = kHeader + Builder::Record('2', 0x3000, Counting(4)) +
                            Builder::Record('2', 0x1010, Counting(16, 16)) +
                            Builder::Record('2', 0x1000, Counting(16)) + kEnd24;
    CFirmwareFile firmware;
    Parse(firmware, text, false);
    QCOMPARE(AllChunks(firmware), (QList<Chunk>{{0x1000, Counting(32)}, {0x3000, Counting(4)}}));
}

void TestFirmwareRecords::overlappingRecordsStaySeparate()
{
    const QByteArray text = kHeader + Builder::Record('2', 0x1008, Counting(8, 0x80)) +
                            Builder::Record('2', 0x1000, Counting(16)) + kEnd24;
    CFirmwareFile firmware;
    Parse(firmware, text, false);
    QCOMPARE(firmware.GetBlocks().size(), size_t(2));
    QCOMPARE(AllChunks(firmware),
             (QList<Chunk>{{0x1000, Counting(16)}, {0x1008, Counting(8, 0x80)}}));
}

void TestFirmwareRecords::emptyDataRecordIsDropped()
{
    const QByteArray text = kHeader + Builder::Record('2', 0x5000, {}) +
                            Builder::Record('2', 0x1000, Counting(4)) + kEnd24;
    CFirmwareFile firmware;
    Parse(firmware, text, false);
    QCOMPARE(AllChunks(firmware), (QList<Chunk>{{0x1000, Counting(4)}}));
}

// A record just below the top of the address space may carry data past it; written in chunks, the
// part past the top would land at the bottom of the flash. Such an image is refused at load time.
void TestFirmwareRecords::blockPastTopOfAddressSpaceIsRefused_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("wideAddresses");
    QTest::addColumn<QString>("message");
    QTest::newRow("24-bit, 64 bytes at 0xFFFFF0")
        << kHeader + Builder::Record('2', 0xFFFFF0, Counting(64)) + kEnd24 << false
        << "Block 0x00FFFFF0 (64 bytes) reaches past the top of the 24-bit address space at 0x00FFFFFF; "
           "check that the image was built for this product";
    QTest::newRow("32-bit, 64 bytes at 0xFFFFFFF0")
        << kHeader + Builder::Record('3', 0xFFFFFFF0, Counting(64)) + kEnd32 << true
        << "Block 0xFFFFFFF0 (64 bytes) reaches past the top of the 32-bit address space at 0xFFFFFFFF; "
           "check that the image was built for this product";
    // The padding in front of an odd block adds the byte that crosses the top.
    QTest::newRow("24-bit, one byte at the top, padded")
        << kHeader + Builder::Record('2', 0xFFFFFF, Counting(1)) + kEnd24 << false
        << "Block 0x00FFFFFF (2 bytes) reaches past the top of the 24-bit address space at 0x00FFFFFF; "
           "check that the image was built for this product";
}

void TestFirmwareRecords::blockPastTopOfAddressSpaceIsRefused()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, wideAddresses);
    QFETCH(QString, message);
    const CFirmwareException error = Failure(text, wideAddresses);
    QCOMPARE(error.Code(), int(CFirmwareException::BlockOutsideAddressSpace));
    QCOMPARE(error.Code(), 21);
    QCOMPARE(QString(error.what()), message);
}

void TestFirmwareRecords::blockEndingAtTopOfAddressSpaceLoads_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("wideAddresses");
    QTest::addColumn<quint32>("address");
    QTest::newRow("24-bit") << kHeader + Builder::Record('2', 0xFFFFF0, Counting(16)) + kEnd24 << false
                            << quint32(0xFFFFF0);
    QTest::newRow("32-bit") << kHeader + Builder::Record('3', 0xFFFFFFC0, Counting(64)) + kEnd32 << true
                            << quint32(0xFFFFFFC0);
}

void TestFirmwareRecords::blockEndingAtTopOfAddressSpaceLoads()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, wideAddresses);
    QFETCH(quint32, address);
    CFirmwareFile firmware;
    Parse(firmware, text, wideAddresses);
    const QByteArray data = wideAddresses ? Counting(64) : Counting(16);
    QList<Chunk> expected;
    for (int offset = 0; offset < data.size(); offset += 32)
        expected.append({address + quint32(offset), data.mid(offset, 32)});
    QCOMPARE(AllChunks(firmware), expected);
}

void TestFirmwareRecords::imageWithoutDataIsRejected_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty file") << QByteArray();
    QTest::newRow("header and end only") << kHeader + kEnd24;
    QTest::newRow("data records without bytes") << kHeader + Builder::Record('2', 0x1000, {}) + kEnd24;
}

void TestFirmwareRecords::imageWithoutDataIsRejected()
{
    QFETCH(QByteArray, text);
    CFirmwareFile firmware;
    const CFirmwareException error = Failure(text, false, &firmware);
    QCOMPARE(error.Code(), int(CFirmwareException::ImageEmpty));
    QCOMPARE(QString(error.what()), QString("The firmware image holds no data to write"));
    QCOMPARE(firmware.GetTotalSize(), 0);
    firmware.RewindToFirstBlock();
    QVERIFY(AllChunks(firmware).isEmpty());
}

void TestFirmwareRecords::recordsBeforeAFaultStayInTheList()
{
    const QByteArray text = kHeader + Builder::Record('2', 0x1010, Counting(16, 16)) +
                            Builder::Record('2', 0x1000, Counting(16)) + "S1030000FC\r\n" +
                            Builder::Record('2', 0x2000, Counting(16)) + kEnd24;
    CFirmwareFile firmware;
    QCOMPARE(Failure(text, false, &firmware).Code(), 8);
    QCOMPARE(firmware.GetTotalSize(), 32);
    QCOMPARE(firmware.GetBlocks().size(), size_t(2));
    QCOMPARE(firmware.GetBlocks()[0]->address, 0x1010u);
}

void TestFirmwareRecords::rewindStartsOverAtTheFirstBlock()
{
    CFirmwareFile firmware;
    Parse(firmware, Builder::Image({{0x1000, Counting(40)}}, false), false);
    quint32 address = 0;
    ByteVector data;
    QVERIFY(firmware.GetNextBlock(32, address, data));
    firmware.RewindToFirstBlock();
    QCOMPARE(AllChunks(firmware), (QList<Chunk>{{0x1000, Counting(32)}, {0x1020, Counting(8, 32)}}));
}

void TestFirmwareRecords::zeroMaximumHandsOutNothing()
{
    CFirmwareFile firmware;
    Parse(firmware, Builder::Image({{0x1000, Counting(4)}}, false), false);
    quint32 address = 0;
    ByteVector data;
    QVERIFY(!firmware.GetNextBlock(0, address, data));
    QCOMPARE(AllChunks(firmware), (QList<Chunk>{{0x1000, Counting(4)}}));
}

// "ä" is one character of two bytes: the line "S0ä" is three characters long.
void TestFirmwareRecords::lineLengthCountsCharacters()
{
    const CFirmwareException error = Failure("S0\xC3\xA4\r\n", false);
    QCOMPARE(error.Code(), 9);
    QCOMPARE(QString(error.what()), QString("Record has illegal size (3)"));
}

void TestFirmwareRecords::typeOfNonAsciiLineIsNamed()
{
    const CFirmwareException error = Failure(kHeader + "S\xC3\xA4" "0000\r\n", false);
    QCOMPARE(error.Code(), 8);
    QCOMPARE(QString::fromUtf8(error.what()), QString::fromUtf8("Records of type 'S\xC3\xA4' are not supported"));
}

// Each pair reads as the standard conversion reads it: a blank before a digit is skipped and a
// minus sign negates, and the checksum counts the pair with that value.
void TestFirmwareRecords::signedPairsReadAsTheConversionReadsThem()
{
    // count 06, address 001000, data " 1" (1) and "-1" (-1, written as 0xFF), and a checksum
    // that makes 6 + 0x10 + 1 - 1 + checksum end in 0xFF.
    const int checksum = (0xFF - (6 + 0x10 + 1 - 1)) & 0xFF;
    const QByteArray record = "S206001000 1-1" + QByteArray::number(checksum, 16).rightJustified(2, '0').toUpper() + "\r\n";
    CFirmwareFile firmware;
    Parse(firmware, kHeader + record, false);
    QCOMPARE(AllChunks(firmware), (QList<Chunk>{{0x1000, QByteArray("\x01\xFF")}}));
}

QTEST_GUILESS_MAIN(TestFirmwareRecords)
#include "tst_firmwarerecords.moc"
