// Damaged and hostile firmware files end in an exception, never in a crash or an exhausted machine.

#include "FirmwarePackageBuilder.h"
#include "firmware/CFirmwareArchive.h"
#include "firmware/CFirmwareException.h"
#include "firmware/CFirmwareFile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

#include <csignal>
#include <thread>

namespace {

using Builder = FirmwarePackageBuilder;

constexpr qint64 kMiB = qint64(1) << 20;

const QByteArray kImage = Builder::Image({{0x1000, QByteArray(64, 'x')}}, false);

QByteArray Manifest()
{
    Builder::Manifest manifest;
    manifest.md5 = Builder::Md5(kImage);
    return Builder::ManifestXml(manifest);
}

QByteArray TarEnd()
{
    return QByteArray(1024, '\0');
}

} // namespace

class TestFirmwareHostile : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void memberDeclaringHugeSize_data();
    void memberDeclaringHugeSize();
    void memberDeclaringNegativeSize();
    void memberHoldingMoreThanDeclared();
    void memberHoldingLessThanDeclared();
    void truncatedMember();
    void memberWithoutDeclaredSizeIsBounded();
    void oversizedManifest();
    void decompressionBombInFirmwareMember();
    void decompressionBombInSkippedMember();
    void decompressionBombOfPlainFile();
    void manifestWithEntityExpansion();
    void manifestWithExternalEntity();
    void manifestWithPlainDocumentType();
    void rawFileOfSeveralGigabytes();
    void endlessDevice();

private:
    QString Path(const QString &name) const { return m_dir->filePath(name); }
    CFirmwareException LoadFailure(const QString &path, bool allowRawHex = false);
    void ExpectManifestRefused(const QByteArray &xml);

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_previousDir;
};

void TestFirmwareHostile::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    // mtree archives name files relative to the working folder; keep that folder to ourselves.
    m_previousDir = QDir::currentPath();
    QVERIFY(QDir::setCurrent(m_dir->path()));
}

void TestFirmwareHostile::cleanup()
{
    QDir::setCurrent(m_previousDir);
    m_dir.reset();
}

CFirmwareException TestFirmwareHostile::LoadFailure(const QString &path, bool allowRawHex)
{
    CFirmwareFile firmware;
    try {
        firmware.Load(path.toStdString(), allowRawHex, false);
    } catch (const CFirmwareException &error) {
        return error;
    }
    return CFirmwareException(-1, "no exception");
}

void TestFirmwareHostile::memberDeclaringHugeSize_data()
{
    QTest::addColumn<qint64>("size");
    QTest::newRow("1 GiB") << (qint64(1) << 30);
    QTest::newRow("1 TiB (base-256)") << (qint64(1) << 40);
    QTest::newRow("just above the limit") << qint64(CFirmwareArchive::kMaxFileBytes) + 1;
}

// The header claims far more than the file holds; nothing is allocated for it.
void TestFirmwareHostile::memberDeclaringHugeSize()
{
    QFETCH(qint64, size);
    const QString path = Path("huge.tar");
    QVERIFY(Builder::WriteFile(path, Builder::TarHeader("firmware.mhx", size) + kImage.left(512) +
                                         QByteArray(512 - kImage.left(512).size(), '\0') + TarEnd()));
    const CFirmwareException error = LoadFailure(path);
    QCOMPARE(error.Code(), int(CFirmwareException::MemberSizeIllegal));
    QCOMPARE(QString(error.what()),
             QString("Member 'firmware.mhx' of archive '%1' is larger than 64 MiB").arg(path));
}

void TestFirmwareHostile::memberDeclaringNegativeSize()
{
    const QString path = Path("negative.mtree");
    QVERIFY(Builder::WriteFile(path, "#mtree\nfirmware.mhx type=file size=-5\n"));
    const CFirmwareException error = LoadFailure(path);
    QCOMPARE(error.Code(), int(CFirmwareException::MemberSizeIllegal));
    QCOMPARE(QString(error.what()),
             QString("Member 'firmware.mhx' of archive '%1' declares an illegal size (-5 bytes)").arg(path));
}

void TestFirmwareHostile::memberHoldingMoreThanDeclared()
{
    const QString path = Path("more.zip");
    QVERIFY(Builder::WriteFile(path, Builder::StoredZipDeclaring("firmware.mhx", kImage.repeated(200), 10)));
    const CFirmwareException error = LoadFailure(path);
    QCOMPARE(error.Code(), int(CFirmwareException::MemberSizeMismatch));
    QCOMPARE(QString(error.what()),
             QString("Member 'firmware.mhx' of archive '%1' holds more data than the 10 bytes its "
                     "header declares").arg(path));
}

void TestFirmwareHostile::memberHoldingLessThanDeclared()
{
    const QString path = Path("less.mtree");
    QVERIFY(Builder::WriteFile(path, "#mtree\nfirmware.mhx type=file size=100\n"));
    const CFirmwareException error = LoadFailure(path);
    QCOMPARE(error.Code(), int(CFirmwareException::MemberSizeMismatch));
    QCOMPARE(QString(error.what()),
             QString("Member 'firmware.mhx' of archive '%1' holds 0 bytes while its header "
                     "declares 100").arg(path));
}

void TestFirmwareHostile::truncatedMember()
{
    const QString path = Path("truncated.tar");
    QVERIFY(Builder::WriteFile(path, Builder::TarHeader("firmware.mhx", 4000) + kImage.left(50)));
    const CFirmwareException error = LoadFailure(path);
    QCOMPARE(error.Code(), int(CFirmwareException::MemberNotReadable));
    QVERIFY2(QString(error.what()).startsWith(
                 QString("Member 'firmware.mhx' of archive '%1' cannot be read: ").arg(path)),
             error.what());
}

// Read from a pipe, a ZIP member whose size follows its data has no size in its header; reading
// it stops at the limit.
void TestFirmwareHostile::memberWithoutDeclaredSizeIsBounded()
{
    const QString zip = Path("stream.zip");
    QVERIFY(Builder::WriteFilledArchive(zip, Builder::Format::Zip, "firmware.mhx", 70 * kMiB, 'S',
                                        false));
    QFile source(zip);
    QVERIFY(source.open(QIODevice::ReadOnly));
    const QByteArray bytes = source.readAll();
    const QString pipe = Path("stream.fifo");
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    std::signal(SIGPIPE, SIG_IGN); // the loader gives up before the writer is done
    std::thread writer([&] {
        QFile fifo(pipe);
        if (fifo.open(QIODevice::WriteOnly))
            fifo.write(bytes);
    });
    const CFirmwareException error = LoadFailure(pipe);
    writer.join();
    QCOMPARE(error.Code(), int(CFirmwareException::MemberSizeIllegal));
    QCOMPARE(QString(error.what()),
             QString("Member 'firmware.mhx' of archive '%1' is larger than 64 MiB").arg(pipe));
}

void TestFirmwareHostile::oversizedManifest()
{
    const QString path = Path("bigmanifest.zip");
    QByteArray xml = Manifest();
    xml.replace("</package>", QByteArray(2 * kMiB, ' ') + "</package>");
    QVERIFY(Builder::WriteArchive(path, Builder::Format::Zip,
                                  {{"firmware.mhx", kImage}, {"manifest.xml", xml}}));
    const CFirmwareException error = LoadFailure(path);
    QCOMPARE(error.Code(), int(CFirmwareException::MemberSizeIllegal));
    QCOMPARE(QString(error.what()),
             QString("Member 'manifest.xml' of archive '%1' is larger than 1 MiB").arg(path));
}

void TestFirmwareHostile::decompressionBombInFirmwareMember()
{
    const QString path = Path("bomb.tar.gz");
    QVERIFY(Builder::WriteFilledArchive(path, Builder::Format::TarGz, "firmware.mhx", 80 * kMiB));
    QVERIFY(QFileInfo(path).size() < kMiB);
    const CFirmwareException error = LoadFailure(path);
    QCOMPARE(error.Code(), int(CFirmwareException::MemberSizeIllegal));
    QCOMPARE(QString(error.what()),
             QString("Member 'firmware.mhx' of archive '%1' is larger than 64 MiB").arg(path));
}

void TestFirmwareHostile::decompressionBombInSkippedMember()
{
    const QString path = Path("junk.tar.gz");
    QVERIFY(Builder::WriteFilledArchive(path, Builder::Format::TarGz, "junk.bin", 300 * kMiB));
    QVERIFY(QFileInfo(path).size() < 4 * kMiB);
    const CFirmwareException error = LoadFailure(path);
    QCOMPARE(error.Code(), int(CFirmwareException::ArchiveTooLarge));
    QCOMPARE(QString(error.what()), QString("Archive '%1' unpacks to more than 256 MiB").arg(path));
}

void TestFirmwareHostile::decompressionBombOfPlainFile()
{
    const QString path = Path("image.mhx.gz");
    QVERIFY(Builder::WriteFilledArchive(path, Builder::Format::GzipOnly, "data", 300 * kMiB));
    const CFirmwareException error = LoadFailure(path, true);
    QCOMPARE(error.Code(), int(CFirmwareException::ArchiveTooLarge));
}

void TestFirmwareHostile::ExpectManifestRefused(const QByteArray &xml)
{
    const QString path = Path("entities.fwp");
    QVERIFY(Builder::WriteArchive(path, Builder::Format::Zip,
                                  {{"firmware.mhx", kImage}, {"manifest.xml", xml}}));
    const CFirmwareException error = LoadFailure(path);
    QCOMPARE(error.Code(), int(CFirmwareException::ManifestHasDocumentType));
    QCOMPARE(QString(error.what()),
             QString("The XML manifest must not contain a document type declaration"));
}

void TestFirmwareHostile::manifestWithEntityExpansion()
{
    QByteArray entities = "<!ENTITY l0 \"" + Builder::Md5(kImage) + "\">\n";
    for (int i = 1; i <= 12; ++i)
        entities += QByteArray("<!ENTITY l%1 \"").replace("%1", QByteArray::number(i)) +
                    QByteArray("&l" + QByteArray::number(i - 1) + ";").repeated(10) + "\">\n";
    QByteArray xml = Manifest();
    xml.replace("<package", "<!DOCTYPE package [\n" + entities + "]>\n<package");
    xml.replace("<releasenotes>", "<releasenotes>&l12;");
    ExpectManifestRefused(xml);
}

void TestFirmwareHostile::manifestWithExternalEntity()
{
    const QString secret = Path("secret.txt");
    QVERIFY(Builder::WriteFile(secret, Builder::Md5(kImage)));
    QByteArray xml = Manifest();
    xml.replace("<package", "<!DOCTYPE package [ <!ENTITY fp SYSTEM \"file://" +
                                QFile::encodeName(secret) + "\"> ]>\n<package");
    xml.replace(Builder::Md5(kImage), "&fp;");
    ExpectManifestRefused(xml);
}

void TestFirmwareHostile::manifestWithPlainDocumentType()
{
    QByteArray xml = Manifest();
    xml.replace("<package", "<!DOCTYPE package SYSTEM \"http://example.invalid/package.dtd\">\n<package");
    ExpectManifestRefused(xml);
}

// A sparse file: gigabytes long, no disk space used.
void TestFirmwareHostile::rawFileOfSeveralGigabytes()
{
    const QString path = Path("huge.hex");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write(kImage) == kImage.size());
    QVERIFY(file.resize(qint64(5) << 30));
    file.close();
    for (const bool allowRawHex : {true, false}) {
        const CFirmwareException error = LoadFailure(path, allowRawHex);
        QCOMPARE(error.Code(), int(CFirmwareException::FileTooLarge));
        QCOMPARE(QString(error.what()), QString("Firmware file '%1' is larger than 64 MiB").arg(path));
    }
}

// A device without an end: read as a raw image, reading stops at the limit.
void TestFirmwareHostile::endlessDevice()
{
    const CFirmwareException error = LoadFailure("/dev/zero", true);
    QCOMPARE(error.Code(), int(CFirmwareException::FileTooLarge));
    QCOMPARE(QString(error.what()), QString("Firmware file '/dev/zero' is larger than 64 MiB"));
}

QTEST_GUILESS_MAIN(TestFirmwareHostile)
#include "tst_firmwarehostile.moc"
