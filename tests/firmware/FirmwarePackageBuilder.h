#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstdint>

// Builds firmware images and packages for tests: S-record text with correct checksums, manifests,
// and archives written by the program's archive writer (the one `lichtwart-cli pack` uses). Nothing
// here reads a file with the code under test, so a fixture never inherits a fault of the parser it
// checks.
class FirmwarePackageBuilder
{
public:
    enum class Format { Zip, Tar, TarGz, TarBz2, TarXz, GzipOnly };

    struct Block
    {
        std::uint32_t address = 0;
        QByteArray data;
    };

    struct Member
    {
        QString name;
        QByteArray data;
    };

    struct Manifest
    {
        QByteArray packageVersion = "1.0"; // an empty text leaves the attribute out
        QByteArray product = "strelo-002";
        QByteArray releaseNotes = "Fixes the flasher phase.";
        QByteArray version = "1.2.3";
        QByteArray date = "2024-03-01";
        QByteArray md5;
    };

    // One record "S<type>" with its byte count and checksum, ending in CR LF. The address takes
    // 2 bytes for S0, S1, S5, S9, 3 bytes for S2, S8 and 4 bytes for S3, S7.
    static QByteArray Record(char type, std::uint32_t address, const QByteArray &data);
    // A whole image: an S0 header, the blocks as data records of at most recordSize bytes (S2 or
    // S3) and an end record (S8 or S7).
    static QByteArray Image(const QList<Block> &blocks, bool wideAddresses, int recordSize = 32);
    // The MD5 digest of bytes, 32 upper-case hexadecimal digits.
    static QByteArray Md5(const QByteArray &bytes);
    static QByteArray ManifestXml(const Manifest &manifest);

    // Writes an archive of the given members; false (with a warning) when the writer fails.
    static bool WriteArchive(const QString &path, Format format, const QList<Member> &members);
    // A package of image and a manifest that fingerprints it, with the given version.
    static bool WritePackage(const QString &path, const QByteArray &image,
                             const QByteArray &version = "1.2.3", Format format = Format::Zip);
    // A package for a strelo-002 (24-bit records) or strelo-003 (wideAddresses, 32-bit records).
    static bool WriteProductPackage(const QString &path, const QList<Block> &blocks,
                                    bool wideAddresses, const QByteArray &version = "1.2.3");
    // An archive holding one member of size bytes, all equal to fill, written in pieces so that
    // large members never sit in memory; for the limits of the loader. Without declareSize the
    // header leaves the size open (a ZIP member then carries it after its data).
    static bool WriteFilledArchive(const QString &path, Format format, const QString &name,
                                   qint64 size, char fill = 'S', bool declareSize = true);
    // A tar header for a member whose header declares size (base-256 beyond the octal field), of
    // the given type ('0' a file, 'x' a pax extended header).
    static QByteArray TarHeader(const QByteArray &name, qint64 size, char type = '0');
    // A ZIP archive of one stored member whose headers declare declaredSize as its size.
    static QByteArray StoredZipDeclaring(const QByteArray &name, const QByteArray &data,
                                         quint32 declaredSize);
    static bool WriteFile(const QString &path, const QByteArray &bytes);
};
