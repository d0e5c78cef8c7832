#include "FlashMemory.h"
#include "SRecordWriter.h"
#include "SimTestHelpers.h"

#include <string>

using namespace strelosim;
using simtest::Hex;

namespace {

Bytes Ascii(const std::string &text)
{
    return Bytes(text.begin(), text.end());
}

} // namespace

class TestFlashMemory : public QObject
{
    Q_OBJECT

private slots:
    void adjacentWritesFormOneRun()
    {
        FlashMemory memory;
        memory.Write(0x4020, Hex("03 04"));
        memory.Write(0x401E, Hex("01 02"));
        memory.Write(0x5000, Hex("FF"));
        const auto runs = memory.Runs();
        QCOMPARE(runs.size(), 2u);
        QVERIFY((runs[0] == FlashMemory::Run {0x401E, Hex("01 02 03 04")}));
        QVERIFY((runs[1] == FlashMemory::Run {0x5000, Hex("FF")}));
        QCOMPARE(memory.Size(), 5u);
    }

    void aLaterWriteReplacesBytes()
    {
        FlashMemory memory;
        memory.Write(0x10, Hex("01 02 03"));
        memory.Write(0x11, Hex("AA"));
        QVERIFY((memory.Runs()[0] == FlashMemory::Run {0x10, Hex("01 AA 03")}));
        memory.Erase();
        QVERIFY(memory.Runs().empty());
    }

    void findsTheVersionMarker()
    {
        FlashMemory memory;
        memory.Write(0x100, Ascii("firmware STRELO-SWV:1.5.0 built"));
        QCOMPARE(memory.FindVersionMarker(), std::optional<Version>(Version {1, 5, 0}));
    }

    void theMarkerMayEndWithAFullStopOrTheImage()
    {
        FlashMemory dot;
        dot.Write(0, Ascii("STRELO-SWV:2.10.255."));
        QCOMPARE(dot.FindVersionMarker(), std::optional<Version>(Version {2, 10, 255}));
        FlashMemory end;
        end.Write(0, Ascii("STRELO-SWV:3.0.1"));
        QCOMPARE(end.FindVersionMarker(), std::optional<Version>(Version {3, 0, 1}));
    }

    void aMalformedMarkerIsPassedOver()
    {
        FlashMemory memory;
        memory.Write(0, Ascii("STRELO-SWV:1.5 STRELO-SWV:1.256.0 STRELO-SWV:4.4.4"));
        QCOMPARE(memory.FindVersionMarker(), std::optional<Version>(Version {4, 4, 4}));
        FlashMemory none;
        none.Write(0, Ascii("STRELO-SWV:x"));
        QVERIFY(!none.FindVersionMarker());
    }

    void aMarkerSplitByAGapIsNotFound()
    {
        FlashMemory memory;
        memory.Write(0, Ascii("STRELO-"));
        memory.Write(0x100, Ascii("SWV:1.2.3"));
        QVERIFY(!memory.FindVersionMarker());
    }

    void sRecordsOfAnEmptyMemory()
    {
        QCOMPARE(SRecordWriter::Text(FlashMemory()), std::string("S00D0000737472656C6F2D73696DE3\r\nS70500000000FA\r\n"));
    }

    void sRecordsBreakRunsAfter32Bytes()
    {
        FlashMemory memory;
        Bytes bytes;
        for (int i = 0; i < 33; ++i)
            bytes.push_back(std::uint8_t(0x10 + i));
        memory.Write(0x5000, bytes);
        QCOMPARE(SRecordWriter::Text(memory),
                 std::string("S00D0000737472656C6F2D73696DE3\r\n"
                             "S32500005000101112131415161718191A1B1C1D1E1F202122232425262728292A2B2C2D2E2F9A\r\n"
                             "S306000050203059\r\n"
                             "S70500000000FA\r\n"));
    }
};

QTEST_GUILESS_MAIN(TestFlashMemory)
#include "tst_sim_flashmemory.moc"
