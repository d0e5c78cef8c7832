#include "BootLoader.h"
#include "SimTestHelpers.h"

#include <QFile>
#include <QTemporaryDir>

#include <sstream>

using namespace strelosim;
using simtest::At;
using simtest::Hex;

namespace {

constexpr std::chrono::milliseconds kEraseTime {300};

Bytes WriteFrame(std::uint8_t command, std::uint32_t address, const Bytes &payload)
{
    const int addressOctets = command == BootLoader::kWrite32 ? 4 : 3;
    Bytes data;
    for (int i = addressOctets - 1; i >= 0; --i)
        data.push_back(std::uint8_t(address >> (8 * i)));
    data.insert(data.end(), payload.begin(), payload.end());
    unsigned sum = 0;
    for (const std::uint8_t b : data)
        sum += b;
    Bytes frame;
    frame.reserve(data.size() + 5);
    frame.push_back(0x02);
    frame.push_back(std::uint8_t(data.size()));
    frame.push_back(command);
    frame.insert(frame.end(), data.begin(), data.end());
    frame.push_back(std::uint8_t(0x100 - (sum & 0xFF)));
    frame.push_back(0x03);
    return frame;
}

Bytes Range(std::uint8_t first, std::uint8_t last)
{
    Bytes bytes;
    for (int b = first; b <= last; ++b)
        bytes.push_back(std::uint8_t(b));
    return bytes;
}

} // namespace

class TestBootLoader : public QObject
{
    Q_OBJECT

private:
    struct Loader
    {
        explicit Loader(std::string imageOut = {})
            : log(nullptr, &errors)
            , loader(kEraseTime, std::move(imageOut), log)
        {
        }
        std::vector<Transmission> Send(const Bytes &bytes, int ms = 0)
        {
            std::vector<Transmission> answers;
            taken = loader.Receive(bytes.data(), bytes.size(), At(ms), answers);
            return answers;
        }
        Bytes Answer(const Bytes &bytes, int ms = 0)
        {
            Bytes all;
            for (const Transmission &t : Send(bytes, ms))
                all.insert(all.end(), t.bytes.begin(), t.bytes.end());
            return all;
        }

        std::ostringstream errors;
        EventLog log;
        BootLoader loader;
        std::size_t taken = 0;
    };

private slots:
    void enquiryIsAcknowledged()
    {
        Loader l;
        const auto answers = l.Send(Hex("05"));
        QCOMPARE(answers.size(), 1u);
        COMPARE_BYTES(answers[0].bytes, Hex("06"));
        QCOMPARE(answers[0].delay.count(), 0);
        QVERIFY(!answers[0].parityBit); // the boot loader's line runs without parity
    }

    void eraseIsAcknowledgedAfterTheEraseTime()
    {
        for (const char *frame : {"02 00 AA 00 03", "02 00 AB 00 03"}) {
            Loader l;
            COMPARE_BYTES(l.Answer(WriteFrame(BootLoader::kWrite24, 0x4000, Hex("01 02"))), Hex("06"));
            const auto answers = l.Send(Hex(frame));
            QCOMPARE(answers.size(), 1u);
            COMPARE_BYTES(answers[0].bytes, Hex("06"));
            QCOMPARE(answers[0].delay.count(), kEraseTime.count());
            QCOMPARE(l.loader.Memory().Size(), 0u);
        }
    }

    void writeWithASoundChecksumIsStored()
    {
        Loader l;
        // 02 LEN 24 address(3) data CKS 03, the data octets and CKS summing to 0.
        COMPARE_BYTES(l.Answer(Hex("02 07 24 00 40 00 01 02 03 04 B6 03")), Hex("06"));
        const auto runs = l.loader.Memory().Runs();
        QCOMPARE(runs.size(), 1u);
        QCOMPARE(runs[0].address, 0x4000u);
        COMPARE_BYTES(runs[0].bytes, Hex("01 02 03 04"));
    }

    void writeWithAWideAddressIsStored()
    {
        Loader l;
        COMPARE_BYTES(l.Answer(WriteFrame(BootLoader::kWrite32, 0x01020304, Hex("AA BB"))), Hex("06"));
        const auto runs = l.loader.Memory().Runs();
        QCOMPARE(runs.size(), 1u);
        QCOMPARE(runs[0].address, 0x01020304u);
        COMPARE_BYTES(runs[0].bytes, Hex("AA BB"));
    }

    void aFullChunkOf32BytesIsStored()
    {
        Loader l;
        const Bytes frame = WriteFrame(BootLoader::kWrite24, 0x4000, Range(0, 31));
        QCOMPARE(int(frame[1]), 0x23);
        COMPARE_BYTES(l.Answer(frame), Hex("06"));
        QCOMPARE(l.loader.Memory().Size(), 32u);
    }

    void writeWithABadChecksumIsRefusedAndNotStored()
    {
        Loader l;
        COMPARE_BYTES(l.Answer(Hex("02 07 24 00 40 00 01 02 03 04 B7 03")), Hex("15"));
        QCOMPARE(l.loader.Memory().Size(), 0u);
        // The repetition goes through.
        COMPARE_BYTES(l.Answer(Hex("02 07 24 00 40 00 01 02 03 04 B6 03")), Hex("06"));
    }

    void writeWithoutDataIsRefused()
    {
        Loader l;
        COMPARE_BYTES(l.Answer(WriteFrame(BootLoader::kWrite24, 0x4000, {})), Hex("15"));
        QCOMPARE(l.loader.Memory().Size(), 0u);
    }

    void aFrameWithoutItsEndOctetIsRefused()
    {
        Loader l;
        COMPARE_BYTES(l.Answer(Hex("02 07 24 00 40 00 01 02 03 04 B6 04")), Hex("15"));
        QCOMPARE(l.loader.Memory().Size(), 0u);
    }

    void anUnknownCommandIsRefused()
    {
        Loader l;
        COMPARE_BYTES(l.Answer(Hex("02 00 55 00 03")), Hex("15"));
    }

    void aFrameSplitOverDeliveriesIsTheSame()
    {
        Loader l;
        QVERIFY(l.Answer(Hex("02 07 24 00"), 0).empty());
        QVERIFY(l.Answer(Hex("40 00 01 02"), 5).empty());
        COMPARE_BYTES(l.Answer(Hex("03 04 B6 03"), 10), Hex("06"));
        QCOMPARE(l.loader.Memory().Size(), 4u);
    }

    void anEnquiryOctetInsideAFrameIsData()
    {
        Loader l;
        COMPARE_BYTES(l.Answer(WriteFrame(BootLoader::kWrite24, 0x4000, Hex("05 05"))), Hex("06"));
        COMPARE_BYTES(l.loader.Memory().Runs()[0].bytes, Hex("05 05"));
    }

    void anIncompleteFrameIsDroppedWhenTheLineWasQuiet()
    {
        Loader l;
        // A link poll (10 49 02 4B 16) arriving after the switch-over holds an STX.
        QVERIFY(l.Answer(Hex("10 49 02 4B 16"), 0).empty());
        COMPARE_BYTES(l.Answer(Hex("05"), 100), Hex("06"));
    }

    void resetDropsAFrameInProgress()
    {
        Loader l;
        QVERIFY(l.Answer(Hex("02 07 24 00")).empty());
        l.loader.Reset(At(1));
        COMPARE_BYTES(l.Answer(Hex("05"), 2), Hex("06"));
    }

    void startWritesTheImageFileExactly()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("flashed.mhx");
        Loader l(path.toStdString());
        COMPARE_BYTES(l.Answer(WriteFrame(BootLoader::kWrite32, 0x5000, Range(0x10, 0x30))), Hex("06"));
        COMPARE_BYTES(l.Answer(Hex("02 07 24 00 40 00 01 02 03 04 B6 03")), Hex("06"));

        const Bytes start = Hex("02 00 CC 00 03 05 05");
        QVERIFY(l.Answer(start).empty());
        QVERIFY(l.loader.Started());
        QCOMPARE(l.taken, 5u); // what follows the start command is no longer the boot loader's

        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("S00D0000737472656C6F2D73696DE3\r\n"
                                            "S3090000400001020304AC\r\n"
                                            "S32500005000101112131415161718191A1B1C1D1E1F202122232425262728292A2B2C2D2E2F9A\r\n"
                                            "S306000050203059\r\n"
                                            "S70500000000FA\r\n"));
    }

    void startWithoutImageFileStillStarts()
    {
        Loader l;
        QVERIFY(l.Answer(Hex("02 00 CC 00 03")).empty());
        QVERIFY(l.loader.Started());
        QVERIFY(l.errors.str().empty());
    }

    void anImageFileThatCannotBeWrittenIsReported()
    {
        Loader l("/nonexistent-folder/image.mhx");
        QVERIFY(l.Answer(Hex("02 00 CC 00 03")).empty());
        QVERIFY(l.loader.Started());
        QVERIFY2(l.errors.str().find("cannot write the image to /nonexistent-folder/image.mhx") != std::string::npos,
                 l.errors.str().c_str());
    }
};

QTEST_GUILESS_MAIN(TestBootLoader)
#include "tst_sim_bootloader.moc"
