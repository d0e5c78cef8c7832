#include "SimOptions.h"
#include "SimTestHelpers.h"
#include "Version.h"

using namespace strelosim;
using simtest::Hex;

class TestSimOptions : public QObject
{
    Q_OBJECT

private:
    static SimOptions::Outcome Parse(std::vector<std::string> arguments, SimOptions &options, std::string &error)
    {
        return SimOptions::Parse(arguments, options, error);
    }

    static std::string ErrorOf(std::vector<std::string> arguments)
    {
        SimOptions options;
        std::string error;
        if (Parse(std::move(arguments), options, error) != SimOptions::Outcome::Error)
            return "<accepted>";
        return error;
    }

private slots:
    void defaults()
    {
        SimOptions options;
        std::string error;
        QVERIFY(Parse({}, options, error) == SimOptions::Outcome::Run);
        QCOMPARE(int(options.head.linkAddress), 1);
        QCOMPARE(int(options.head.osi7Address), 1);
        QCOMPARE(options.head.hardware, (Version {2, 1, 0}));
        QCOMPARE(options.head.software, (Version {1, 4, 2}));
        QCOMPARE(options.head.uid.size(), 12u);
        QVERIFY(options.head.defects.empty());
        QCOMPARE(int(options.head.luminosity), 100);
        QCOMPARE(options.head.eraseTime.count(), 300);
        QCOMPARE(options.latency.count(), 0);
        QVERIFY(!options.silent && !options.pace && !options.verbose);
        QCOMPARE(options.drop, 0.0);
        QCOMPARE(options.corrupt, 0.0);
        QCOMPARE(options.seed, FaultInjector::kDefaultSeed);
        QVERIFY(options.link.empty());
        QVERIFY(options.head.imageOut.empty());
        QVERIFY(!options.head.softwareAfter);
    }

    void everyOption()
    {
        SimOptions options;
        std::string error;
        const auto outcome = Parse({"--link", "/tmp/port", "--osi2", "7", "--osi7=9", "--hardware", "3.0.1", "--software", "2.5.17",
                                    "--uid", "00 11 AA bb", "--defect", "red,red-yellow,red", "--luminosity", "10", "--latency", "25",
                                    "--silent", "--drop", "0.25", "--corrupt=1", "--seed", "77", "--pace", "--image-out", "/tmp/img.mhx",
                                    "--erase-ms", "0", "--verbose"},
                                   options, error);
        QVERIFY2(outcome == SimOptions::Outcome::Run, error.c_str());
        QCOMPARE(options.link, std::string("/tmp/port"));
        QCOMPARE(int(options.head.linkAddress), 7);
        QCOMPARE(int(options.head.osi7Address), 9);
        QCOMPARE(options.head.hardware, (Version {3, 0, 1}));
        QCOMPARE(options.head.software, (Version {2, 5, 17}));
        COMPARE_BYTES(options.head.uid, Hex("00 11 AA BB"));
        QCOMPARE(options.head.defects, (std::vector<std::uint8_t> {107, 110}));
        QCOMPARE(int(options.head.luminosity), 10);
        QCOMPARE(options.latency.count(), 25);
        QVERIFY(options.silent && options.pace && options.verbose);
        QCOMPARE(options.drop, 0.25);
        QCOMPARE(options.corrupt, 1.0);
        QCOMPARE(options.seed, std::uint64_t(77));
        QCOMPARE(options.head.imageOut, std::string("/tmp/img.mhx"));
        QCOMPARE(options.head.eraseTime.count(), 0);
    }

    void baudRates()
    {
        SimOptions options;
        std::string error;
        QCOMPARE(options.baud, 0u);
        QVERIFY(Parse({"--baud", "19200"}, options, error) == SimOptions::Outcome::Run);
        QCOMPARE(options.baud, 19200u);
        QVERIFY(Parse({"--baud=110"}, options, error) == SimOptions::Outcome::Run);
        QCOMPARE(options.baud, 110u);
        const std::string rates = "needs one of the rates 110, 300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200";
        QCOMPARE(ErrorOf({"--baud", "9601"}), "--baud " + rates + " (got '9601')");
        QCOMPARE(ErrorOf({"--baud", "230400"}), "--baud " + rates + " (got '230400')");
        QCOMPARE(ErrorOf({"--baud", "fast"}), "--baud " + rates + " (got 'fast')");
        QCOMPARE(ErrorOf({"--baud"}), std::string("--baud needs a value"));
    }

    void defectNames()
    {
        SimOptions options;
        std::string error;
        QVERIFY(Parse({"--defect", "red,yellow,green,red-yellow"}, options, error) == SimOptions::Outcome::Run);
        QCOMPARE(options.head.defects, (std::vector<std::uint8_t> {107, 108, 109, 110}));
        QVERIFY(Parse({"--defect", ""}, options, error) == SimOptions::Outcome::Run);
        QVERIFY(options.head.defects.empty());
    }

    void helpAndVersion()
    {
        SimOptions options;
        std::string error;
        QVERIFY(Parse({"--osi2", "3", "--help"}, options, error) == SimOptions::Outcome::Help);
        QVERIFY(Parse({"--version"}, options, error) == SimOptions::Outcome::Version);
        QVERIFY(SimOptions::Usage().find("--image-out FILE") != std::string::npos);
        QVERIFY(SimOptions::Usage().find("--software-after A.B.C") != std::string::npos);
    }

    void badValuesNameTheOption()
    {
        QCOMPARE(ErrorOf({"--osi2", "0"}), std::string("--osi2 needs a whole number from 1 to 254 (got '0')"));
        QCOMPARE(ErrorOf({"--osi2", "255"}), std::string("--osi2 needs a whole number from 1 to 254 (got '255')"));
        QCOMPARE(ErrorOf({"--osi7", "x"}), std::string("--osi7 needs a whole number from 1 to 254 (got 'x')"));
        QCOMPARE(ErrorOf({"--hardware", "2.1"}), std::string("--hardware needs a version A.B.C with parts from 0 to 255 (got '2.1')"));
        QCOMPARE(ErrorOf({"--software", "1.256.0"}), std::string("--software needs a version A.B.C with parts from 0 to 255 (got '1.256.0')"));
        QCOMPARE(ErrorOf({"--software-after", "9.1"}), std::string("--software-after needs a version A.B.C with parts from 0 to 255 (got '9.1')"));
        QCOMPARE(ErrorOf({"--uid", "123"}), std::string("--uid needs 1 to 32 octets as hexadecimal digits (got '123')"));
        QCOMPARE(ErrorOf({"--defect", "blue"}), std::string("--defect takes a list of red, yellow, green and red-yellow, not 'blue' (got 'blue')"));
        QCOMPARE(ErrorOf({"--drop", "1.5"}), std::string("--drop needs a probability from 0 to 1 (got '1.5')"));
        QCOMPARE(ErrorOf({"--corrupt", "-0.1"}), std::string("--corrupt needs a probability from 0 to 1 (got '-0.1')"));
        QCOMPARE(ErrorOf({"--latency", "-1"}), std::string("--latency needs a whole number from 0 to 600000 (got '-1')"));
        QCOMPARE(ErrorOf({"--luminosity", "256"}), std::string("--luminosity needs a whole number from 0 to 255 (got '256')"));
    }

    void malformedCommandLines()
    {
        QCOMPARE(ErrorOf({"--bogus"}), std::string("unknown option '--bogus'"));
        QCOMPARE(ErrorOf({"osi2"}), std::string("unknown option 'osi2'"));
        QCOMPARE(ErrorOf({"--osi2"}), std::string("--osi2 needs a value"));
        QCOMPARE(ErrorOf({"--pace=1"}), std::string("--pace takes no value"));
        QCOMPARE(ErrorOf({"--link", ""}), std::string("--link needs a value (got '')"));
    }

    void identitiesThatWouldTrapTheMasterAreRefused()
    {
        QCOMPARE(ErrorOf({"--osi2", "104"}),
                 std::string("--osi2 104 cannot be used: every long reply would carry 0x68 followed by the OSI 3 id 0x00"));
        QCOMPARE(ErrorOf({"--software", "104.1.0"}),
                 std::string("--hardware/--software: the versions reply would carry 0x68 followed by 0x00 or 0x01"));
        QCOMPARE(ErrorOf({"--hardware", "2.1.104", "--software", "0.1.0"}),
                 std::string("--hardware/--software: the versions reply would carry 0x68 followed by 0x00 or 0x01"));
        QCOMPARE(ErrorOf({"--software-after", "104.0.0"}),
                 std::string("--hardware/--software-after: the versions reply would carry 0x68 followed by 0x00 or 0x01"));
        QCOMPARE(ErrorOf({"--software-after", "9.1.0"}), std::string("<accepted>"));
        QCOMPARE(ErrorOf({"--uid", "AA6801BB"}), std::string("--uid must not contain the octet 68 followed by 00 or 01"));
        QCOMPARE(ErrorOf({"--uid", "AA6802BB"}), std::string("<accepted>"));
        QCOMPARE(ErrorOf({"--osi7", "104"}), std::string("<accepted>"));
    }

    void versionText()
    {
        QCOMPARE(Version::Parse("0.0.0"), std::optional<Version>(Version {0, 0, 0}));
        QCOMPARE(Version::Parse("255.255.255"), std::optional<Version>(Version {255, 255, 255}));
        QVERIFY(!Version::Parse("1.2.3.4"));
        QVERIFY(!Version::Parse("1..3"));
        QVERIFY(!Version::Parse("1.2.0003"));
        QVERIFY(!Version::Parse(" 1.2.3"));
        QCOMPARE((Version {1, 14, 2}).Text(), std::string("1.14.2"));
    }
};

QTEST_GUILESS_MAIN(TestSimOptions)
#include "tst_sim_options.moc"
