// Damaged and hostile firmware files end in an exception, never in a crash or an exhausted machine.

#include "FirmwarePackageBuilder.h"
#include "firmware/CFirmwareArchive.h"
#include "firmware/CFirmwareException.h"
#include "firmware/CFirmwareFile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

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
    void memberHoldingMoreThanDeclared();
    void fileListIsRefusedWithoutOpeningWhatItNames();
    void compressedFileListIsRefused();
    void tooManyMembers();
    void oversizedHeaders();
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
    // mtree lists name files relative to the working folder; keep that folder to ourselves.
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

// An mtree file list names files on this computer, and reading its headers would open them. It is
// refused at its first header; the file it names is never opened (a watch on it sees no access).
void TestFirmwareHostile::fileListIsRefusedWithoutOpeningWhatItNames()
{
    const QString named = Path("secret.mhx");
    QVERIFY(Builder::WriteFile(named, kImage));
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    QVERIFY(watch >= 0);
    QVERIFY(inotify_add_watch(watch, named.toLocal8Bit().constData(), IN_OPEN | IN_ACCESS) >= 0);

    const QString path = Path("list.fwp");
    QVERIFY(Builder::WriteFile(path, "#mtree\nfirmware.mhx type=file contents=" + named.toLocal8Bit() +
                                         "\nmanifest.xml type=file size=100\n"));
    for (const bool allowRawHex : {false, true}) {
        const CFirmwareException error = LoadFailure(path, allowRawHex);
        QCOMPARE(error.Code(), int(CFirmwareException::ArchiveFormatRefused));
        QCOMPARE(QString(error.what()),
                 QString("'%1' is a file list (mtree) that names files on this computer; a firmware "
                         "package must be a ZIP or tar archive").arg(path));
    }
    char events[4096];
    QCOMPARE(read(watch, events, sizeof events), ssize_t(-1));
    QCOMPARE(errno, EAGAIN);
    close(watch);
}

// The same list compressed is still recognised and refused.
void TestFirmwareHostile::compressedFileListIsRefused()
{
    const QString path = Path("list.fwp");
    QVERIFY(Builder::WriteArchive(path, Builder::Format::GzipOnly,
                                  {{"list", "#mtree\nfirmware.mhx type=file size=100\n"}}));
    QCOMPARE(LoadFailure(path).Code(), int(CFirmwareException::ArchiveFormatRefused));
}

// A package of empty members holds no data, yet walking a million of them would hold the caller.
void TestFirmwareHostile::tooManyMembers()
{
    QByteArray tar;
    for (int i = 0; i <= 10000; ++i)
        tar += Builder::TarHeader("empty" + QByteArray::number(i), 0);
    const QString path = Path("many.tar");
    QVERIFY(Builder::WriteFile(path, tar + TarEnd()));
    const CFirmwareException error = LoadFailure(path);
    QCOMPARE(error.Code(), int(CFirmwareException::ArchiveTooManyHeaders));
    QCOMPARE(QString(error.what()),
             QString("Archive '%1' holds more than 10000 members; a firmware package holds two").arg(path));

    // Ten thousand are still walked (and then miss the firmware).
    tar.chop(512);
    QVERIFY(Builder::WriteFile(path, tar + TarEnd()));
    QCOMPARE(LoadFailure(path).Code(), int(CFirmwareException::FirmwareMissing));
}

// Few members, but each behind an extended header of 900 kB (the archive library takes up to
// about 1 MB each): the header bytes are bounded.
void TestFirmwareHostile::oversizedHeaders()
{
    const QByteArray value(900000 - 16, 'c');
    const QByteArray record = QByteArray::number(900000) + " comment=" + value + "\n";
    QCOMPARE(record.size(), 900000);
    const QByteArray padding(512 - record.size() % 512, '\0');
    QByteArray tar;
    for (int i = 0; i < 20; ++i)
        tar += Builder::TarHeader("pax", record.size(), 'x') + record + padding +
               Builder::TarHeader("empty" + QByteArray::number(i), 0);
    const QString path = Path("headers.tar");
    QVERIFY(Builder::WriteFile(path, tar + TarEnd()));
    const CFirmwareException error = LoadFailure(path);
    QCOMPARE(error.Code(), int(CFirmwareException::ArchiveTooManyHeaders));
    QCOMPARE(QString(error.what()),
             QString("Archive '%1' has more than 16 MiB of member headers; a firmware package has a "
                     "few hundred bytes").arg(path));
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
