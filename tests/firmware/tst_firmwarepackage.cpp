// The firmware package: archive members, manifest, fingerprint, raw images and versions.

#include "FirmwarePackageBuilder.h"
#include "firmware/CFirmwareException.h"
#include "firmware/CFirmwareFile.h"

#include <QTemporaryDir>
#include <QtTest>

#include <libxml/xmlerror.h>

namespace {

using Builder = FirmwarePackageBuilder;

QByteArray Counting(int length)
{
    QByteArray data;
    for (int i = 0; i < length; ++i)
        data.append(char(i));
    return data;
}

const QByteArray kImage = Builder::Image({{0x1000, Counting(40)}, {0x2001, "\x11\x22\x33"}}, false);

Builder::Manifest ManifestFor(const QByteArray &image)
{
    Builder::Manifest manifest;
    manifest.md5 = Builder::Md5(image);
    return manifest;
}

} // namespace

class TestFirmwarePackage : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void packageFormatsLoad_data();
    void packageFormatsLoad();
    void membersInAFolderAreNotFound();
    void memberNamesAreCaseSensitive();
    void laterMemberReplacesEarlierOne();
    void missingManifest();
    void rawImageNeedsPermission();
    void rawImageLoadsWithPermission();
    void rawImageWithWideAddresses();
    void packageVersionUnknown_data();
    void packageVersionUnknown();
    void packageVersionOfThePreviousLoadStands();
    void twoFingerprintElements();
    void missingTag_data();
    void missingTag();
    void lowerCaseFingerprintMatches();
    void fingerprintWithTrailingNewlineDoesNotMatch();
    void fingerprintOfAnotherImageDoesNotMatch();
    void manifestTextsAreKeptAsTheyStand();
    void unparsableManifest();
    void manifestDiagnosticsNameTheDocument();
    void missingFile();
    void directoryIsNotReadable();
    void recordFaultInsidePackage();
    void packageWithoutImageData();
    void loadStartsClean();
    void versionComparison_data();
    void versionComparison();
    void rawImageNeverComparesNewer();

private:
    QString Path(const QString &name) const { return m_dir->filePath(name); }
    QString WriteManifestPackage(const QByteArray &manifestXml, const QByteArray &image = kImage);
    CFirmwareException LoadFailure(const QString &path, bool allowRawHex = false,
                                   bool wideAddresses = false);

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestFirmwarePackage::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

QString TestFirmwarePackage::WriteManifestPackage(const QByteArray &manifestXml,
                                                  const QByteArray &image)
{
    const QString path = Path("package.fwp");
    if (!Builder::WriteArchive(path, Builder::Format::Zip,
                               {{"manifest.xml", manifestXml}, {"firmware.mhx", image}}))
        qFatal("cannot write the package fixture");
    return path;
}

CFirmwareException TestFirmwarePackage::LoadFailure(const QString &path, bool allowRawHex,
                                                    bool wideAddresses)
{
    CFirmwareFile firmware;
    try {
        firmware.Load(path.toStdString(), allowRawHex, wideAddresses);
    } catch (const CFirmwareException &error) {
        return error;
    }
    return CFirmwareException(-1, "no exception");
}

void TestFirmwarePackage::packageFormatsLoad_data()
{
    QTest::addColumn<int>("format");
    QTest::newRow("zip") << int(Builder::Format::Zip);
    QTest::newRow("tar") << int(Builder::Format::Tar);
    QTest::newRow("tar.gz") << int(Builder::Format::TarGz);
    QTest::newRow("tar.bz2") << int(Builder::Format::TarBz2);
    QTest::newRow("tar.xz") << int(Builder::Format::TarXz);
}

void TestFirmwarePackage::packageFormatsLoad()
{
    QFETCH(int, format);
    Builder::Manifest manifest = ManifestFor(kImage);
    manifest.version = "2.4.1";
    manifest.date = "2024-05-17";
    const QString path = Path("package.fwp");
    QVERIFY(Builder::WriteArchive(path, Builder::Format(format),
                                  {{"readme.txt", "not a member we need"},
                                   {"manifest.xml", Builder::ManifestXml(manifest)},
                                   {"firmware.mhx", kImage}}));
    CFirmwareFile firmware;
    firmware.Load(path.toStdString(), false, false);
    QCOMPARE(firmware.GetVersion(), std::string("2.4.1"));
    QCOMPARE(firmware.GetDate(), std::string("2024-05-17"));
    QCOMPARE(firmware.GetMd5(), manifest.md5.toStdString());
    QCOMPARE(firmware.GetProduct(), std::string("strelo-002"));
    QCOMPARE(firmware.GetReleaseNotes(), std::string("Fixes the flasher phase."));
    QCOMPARE(firmware.GetPackageVersion(), std::string("1.0"));
    QCOMPARE(firmware.GetBlocks().size(), size_t(2));
    QCOMPARE(firmware.GetBlocks()[0]->address, 0x1000u);
    QCOMPARE(firmware.GetBlocks()[1]->address, 0x2001u);
    QCOMPARE(firmware.GetTotalSize(), 44);
    QCOMPARE(firmware.GetFirmwareBytes(), ByteVector(kImage.begin(), kImage.end()));
}

void TestFirmwarePackage::membersInAFolderAreNotFound()
{
    const QString path = Path("folder.fwp");
    QVERIFY(Builder::WriteArchive(path, Builder::Format::Zip,
                                  {{"fw/manifest.xml", Builder::ManifestXml(ManifestFor(kImage))},
                                   {"fw/firmware.mhx", kImage}}));
    const CFirmwareException error = LoadFailure(path);
    QCOMPARE(error.Code(), 1);
    QCOMPARE(QString(error.what()), QString("Firmware missing in archive '%1'").arg(path));
}

void TestFirmwarePackage::memberNamesAreCaseSensitive()
{
    const QString path = Path("case.fwp");
    QVERIFY(Builder::WriteArchive(path, Builder::Format::Tar,
                                  {{"manifest.xml", Builder::ManifestXml(ManifestFor(kImage))},
                                   {"Firmware.mhx", kImage}}));
    QCOMPARE(LoadFailure(path).Code(), 1);
}

void TestFirmwarePackage::laterMemberReplacesEarlierOne()
{
    const QByteArray other = Builder::Image({{0x7000, Counting(8)}}, false);
    const QString path = Path("twice.fwp");
    QVERIFY(Builder::WriteArchive(path, Builder::Format::Tar,
                                  {{"firmware.mhx", kImage},
                                   {"manifest.xml", Builder::ManifestXml(ManifestFor(kImage))},
                                   {"firmware.mhx", other},
                                   {"manifest.xml", Builder::ManifestXml(ManifestFor(other))}}));
    CFirmwareFile firmware;
    firmware.Load(path.toStdString(), false, false);
    QCOMPARE(firmware.GetBlocks().size(), size_t(1));
    QCOMPARE(firmware.GetBlocks()[0]->address, 0x7000u);
}

void TestFirmwarePackage::missingManifest()
{
    const QString path = Path("nomanifest.fwp");
    QVERIFY(Builder::WriteArchive(path, Builder::Format::Zip, {{"firmware.mhx", kImage}}));
    const CFirmwareException error = LoadFailure(path, true);
    QCOMPARE(error.Code(), 2);
    QCOMPARE(QString(error.what()), QString("Manifest missing in archive '%1'").arg(path));
}

void TestFirmwarePackage::rawImageNeedsPermission()
{
    const QString path = Path("image.mhx");
    QVERIFY(Builder::WriteFile(path, kImage));
    const CFirmwareException error = LoadFailure(path);
    QCOMPARE(error.Code(), 1);
    QCOMPARE(QString(error.what()), QString("Firmware missing in archive '%1'").arg(path));
}

void TestFirmwarePackage::rawImageLoadsWithPermission()
{
    const QString path = Path("image.hex");
    QVERIFY(Builder::WriteFile(path, kImage));
    CFirmwareFile firmware;
    firmware.Load(path.toStdString(), true, false);
    QCOMPARE(firmware.GetVersion(), std::string("unknown due to hex file"));
    QCOMPARE(firmware.GetDate(), std::string("unknown due to hex file"));
    QCOMPARE(firmware.GetMd5(), std::string("unknown due to hex file"));
    QCOMPARE(firmware.GetTotalSize(), 44);
    QCOMPARE(firmware.GetFirmwareBytes(), ByteVector(kImage.begin(), kImage.end()));
}

void TestFirmwarePackage::rawImageWithWideAddresses()
{
    const QByteArray image = Builder::Image({{0x00400000, Counting(64)}}, true);
    const QString path = Path("image.mhx");
    QVERIFY(Builder::WriteFile(path, image));
    CFirmwareFile firmware;
    firmware.Load(path.toStdString(), true, true);
    QVERIFY(firmware.HasWideAddresses());
    QCOMPARE(firmware.GetBlocks()[0]->address, 0x00400000u);
    QCOMPARE(firmware.GetTotalSize(), 64);
    const CFirmwareException error = LoadFailure(path, true, false);
    QCOMPARE(error.Code(), 8);
    QCOMPARE(QString(error.what()), QString("Records of type 'S3' are not supported"));
}

void TestFirmwarePackage::packageVersionUnknown_data()
{
    QTest::addColumn<QByteArray>("packageVersion");
    QTest::addColumn<QString>("message");
    QTest::newRow("1.1") << QByteArray("1.1") << "The package version '1.1' is unknown";
    QTest::newRow("no attribute") << QByteArray() << "The package version '' is unknown";
    QTest::newRow("1.0 with blank") << QByteArray("1.0 ") << "The package version '1.0 ' is unknown";
}

void TestFirmwarePackage::packageVersionUnknown()
{
    QFETCH(QByteArray, packageVersion);
    QFETCH(QString, message);
    Builder::Manifest manifest = ManifestFor(kImage);
    manifest.packageVersion = packageVersion;
    const CFirmwareException error = LoadFailure(WriteManifestPackage(Builder::ManifestXml(manifest)));
    QCOMPARE(error.Code(), 6);
    QCOMPARE(QString(error.what()), message);
}

// A root without the attribute leaves the package version of the previous load in place.
void TestFirmwarePackage::packageVersionOfThePreviousLoadStands()
{
    CFirmwareFile firmware;
    firmware.Load(WriteManifestPackage(Builder::ManifestXml(ManifestFor(kImage))).toStdString(),
                  false, false);
    Builder::Manifest manifest = ManifestFor(kImage);
    manifest.packageVersion.clear();
    manifest.version = "3.0.0";
    firmware.Load(WriteManifestPackage(Builder::ManifestXml(manifest)).toStdString(), false, false);
    QCOMPARE(firmware.GetPackageVersion(), std::string("1.0"));
    QCOMPARE(firmware.GetVersion(), std::string("3.0.0"));
}

void TestFirmwarePackage::twoFingerprintElements()
{
    QByteArray xml = Builder::ManifestXml(ManifestFor(kImage));
    xml.replace("</package>", "  <md5>" + Builder::Md5(kImage) + "</md5>\n</package>");
    const CFirmwareException error = LoadFailure(WriteManifestPackage(xml));
    QCOMPARE(error.Code(), 5);
    QCOMPARE(QString(error.what()), QString("Tag '/package/md5' missing in XML manifest"));
}

void TestFirmwarePackage::missingTag_data()
{
    QTest::addColumn<QByteArray>("tag");
    for (const char *tag : {"product", "releasenotes", "version", "date", "md5"})
        QTest::newRow(tag) << QByteArray(tag);
}

void TestFirmwarePackage::missingTag()
{
    QFETCH(QByteArray, tag);
    QByteArray xml = Builder::ManifestXml(ManifestFor(kImage));
    const qsizetype from = xml.indexOf("  <" + tag + ">");
    const qsizetype to = xml.indexOf("</" + tag + ">\n") + tag.size() + 4;
    xml.remove(from, to - from);
    const CFirmwareException error = LoadFailure(WriteManifestPackage(xml));
    QCOMPARE(error.Code(), 5);
    QCOMPARE(QString(error.what()), QString("Tag '/package/%1' missing in XML manifest").arg(QString(tag)));
}

void TestFirmwarePackage::lowerCaseFingerprintMatches()
{
    Builder::Manifest manifest = ManifestFor(kImage);
    manifest.md5 = manifest.md5.toLower();
    CFirmwareFile firmware;
    firmware.Load(WriteManifestPackage(Builder::ManifestXml(manifest)).toStdString(), false, false);
    QCOMPARE(firmware.GetMd5(), Builder::Md5(kImage).toStdString());
}

void TestFirmwarePackage::fingerprintWithTrailingNewlineDoesNotMatch()
{
    Builder::Manifest manifest = ManifestFor(kImage);
    manifest.md5 += "\n";
    const CFirmwareException error = LoadFailure(WriteManifestPackage(Builder::ManifestXml(manifest)));
    QCOMPARE(error.Code(), 7);
    const QString md5 = Builder::Md5(kImage);
    QCOMPARE(QString(error.what()),
             QString("Fingerprint of manifest ('%1\n') does not match fingerprint of firmware ('%1')").arg(md5));
}

void TestFirmwarePackage::fingerprintOfAnotherImageDoesNotMatch()
{
    const QByteArray other = kImage + "\r\n";
    const CFirmwareException error =
        LoadFailure(WriteManifestPackage(Builder::ManifestXml(ManifestFor(kImage)), other));
    QCOMPARE(error.Code(), 7);
    QCOMPARE(QString(error.what()),
             QString("Fingerprint of manifest ('%1') does not match fingerprint of firmware ('%2')")
                 .arg(QString(Builder::Md5(kImage)), QString(Builder::Md5(other))));
}

void TestFirmwarePackage::manifestTextsAreKeptAsTheyStand()
{
    Builder::Manifest manifest = ManifestFor(kImage);
    manifest.product = " strelo-003 ";
    manifest.releaseNotes = "Line one\nLine &amp; two";
    manifest.version = " 1.2.3\n";
    CFirmwareFile firmware;
    firmware.Load(WriteManifestPackage(Builder::ManifestXml(manifest)).toStdString(), false, false);
    QCOMPARE(firmware.GetProduct(), std::string(" strelo-003 "));
    QCOMPARE(firmware.GetReleaseNotes(), std::string("Line one\nLine & two"));
    QCOMPARE(firmware.GetVersion(), std::string(" 1.2.3\n"));
}

void TestFirmwarePackage::unparsableManifest()
{
    const CFirmwareException error = LoadFailure(WriteManifestPackage("<package version=\"1.0\">"));
    QCOMPARE(error.Code(), 3);
    QCOMPARE(QString(error.what()), QString("Failed to parse XML manifest"));
}

void TestFirmwarePackage::manifestDiagnosticsNameTheDocument()
{
    static QStringList files;
    files.clear();
    xmlSetStructuredErrorFunc(nullptr, [](void *, xmlErrorPtr error) {
        files << QString::fromUtf8(error->file ? error->file : "");
    });
    const QString path = WriteManifestPackage("<package version=\"1.0\"><product>");
    const int code = LoadFailure(path).Code();
    xmlSetStructuredErrorFunc(nullptr, nullptr);
    QCOMPARE(code, 3);
    QVERIFY(!files.isEmpty());
    QCOMPARE(files.front(), QString("manifiest.xml"));
}

void TestFirmwarePackage::missingFile()
{
    const QString path = Path("absent.fwp");
    const CFirmwareException error = LoadFailure(path, true);
    QCOMPARE(error.Code(), 0);
    QCOMPARE(QString(error.what()), QString("Failed to read firmware file '%1'").arg(path));
    QCOMPARE(LoadFailure("", true).Code(), 0);
}

void TestFirmwarePackage::directoryIsNotReadable()
{
    QCOMPARE(LoadFailure(m_dir->path(), true).Code(), 0);
}

void TestFirmwarePackage::recordFaultInsidePackage()
{
    const QByteArray image = Builder::Image({{0x1000, Counting(8)}}, false) + "S9030000FC\r\n";
    const CFirmwareException error =
        LoadFailure(WriteManifestPackage(Builder::ManifestXml(ManifestFor(image)), image));
    QCOMPARE(error.Code(), 8);
    QCOMPARE(QString(error.what()), QString("Records of type 'S9' are not supported"));
}

void TestFirmwarePackage::packageWithoutImageData()
{
    const QByteArray image = Builder::Image({}, false);
    const CFirmwareException error =
        LoadFailure(WriteManifestPackage(Builder::ManifestXml(ManifestFor(image)), image));
    QCOMPARE(error.Code(), int(CFirmwareException::ImageEmpty));
}

void TestFirmwarePackage::loadStartsClean()
{
    CFirmwareFile firmware;
    firmware.Load(WriteManifestPackage(Builder::ManifestXml(ManifestFor(kImage))).toStdString(),
                  false, false);
    QCOMPARE(firmware.GetTotalSize(), 44);
    QVERIFY_THROWS_EXCEPTION(CFirmwareException,
                             firmware.Load(Path("absent.fwp").toStdString(), false, false));
    QCOMPARE(firmware.GetTotalSize(), 0);
    QVERIFY(firmware.GetFirmwareBytes().empty());
    quint32 address = 0;
    ByteVector data;
    QVERIFY(!firmware.GetNextBlock(32, address, data));
    QCOMPARE(firmware.GetVersion(), std::string("1.2.3")); // manifest texts are not cleared
}

void TestFirmwarePackage::versionComparison_data()
{
    QTest::addColumn<QByteArray>("fileVersion");
    QTest::addColumn<QString>("other");
    QTest::addColumn<int>("result");
    QTest::newRow("2.10 newer than 2.9") << QByteArray("2.10") << "2.9" << 1;
    QTest::newRow("2.9 older than 2.10") << QByteArray("2.9") << "2.10" << -1;
    QTest::newRow("2 equals 2.0.0") << QByteArray("2") << "2.0.0" << 0;
    QTest::newRow("2.0.0 equals 2") << QByteArray("2.0.0") << "2" << 0;
    QTest::newRow("patch decides") << QByteArray("1.4.12") << "1.4.3" << 1;
    QTest::newRow("major decides") << QByteArray("1.9.9") << "2.0.0" << -1;
    QTest::newRow("fourth component ignored") << QByteArray("1.2.3.9") << "1.2.3.1" << 0;
    QTest::newRow("blank and trailing text") << QByteArray(" 3.1rc") << "3.1" << 0;
    QTest::newRow("sign") << QByteArray("-1.0") << "0.0" << -1;
    QTest::newRow("V2.1 in file") << QByteArray("V2.1") << "2.1" << -2;
    QTest::newRow("V2.1 on device") << QByteArray("2.1") << "V2.1" << -2;
    QTest::newRow("empty") << QByteArray("2.1") << "" << -2;
}

void TestFirmwarePackage::versionComparison()
{
    QFETCH(QByteArray, fileVersion);
    QFETCH(QString, other);
    QFETCH(int, result);
    Builder::Manifest manifest = ManifestFor(kImage);
    manifest.version = fileVersion;
    CFirmwareFile firmware;
    firmware.Load(WriteManifestPackage(Builder::ManifestXml(manifest)).toStdString(), false, false);
    QCOMPARE(firmware.CompareVersion(other.toStdString()), result);
    QCOMPARE(firmware.IsNewerThan(other.toStdString()), result == 1);
    QCOMPARE(firmware.IsOlderThan(other.toStdString()), result == -1);
    QCOMPARE(firmware.IsEqualTo(other.toStdString()), result == 0);
}

void TestFirmwarePackage::rawImageNeverComparesNewer()
{
    const QString path = Path("image.mhx");
    QVERIFY(Builder::WriteFile(path, kImage));
    CFirmwareFile firmware;
    firmware.Load(path.toStdString(), true, false);
    QCOMPARE(firmware.CompareVersion("0.0.1"), -2);
    QVERIFY(!firmware.IsNewerThan("0.0.1"));
    QVERIFY(!firmware.IsOlderThan("0.0.1"));
    QVERIFY(!firmware.IsEqualTo("0.0.1"));
}

QTEST_GUILESS_MAIN(TestFirmwarePackage)
#include "tst_firmwarepackage.moc"
