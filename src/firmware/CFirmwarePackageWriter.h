#pragma once

#include "comm/ByteVector.h"

#include <optional>
#include <string>

// Writes firmware packages: the S-record image as the member "firmware.mhx", byte for byte, and the
// manifest "manifest.xml" that carries the package version "1.0", product, release notes, version,
// date and the image's MD5 fingerprint. A package is only put in place once it loads exactly as
// the upgrade loads it for its product, so a written package always loads.
class CFirmwarePackageWriter
{
public:
    enum class Format { Zip, Tar, TarGz };

    struct Manifest
    {
        std::string product;
        std::string releaseNotes;
        std::string version;
        std::string date;
    };

    // "zip", "tar" or "tar.gz"; nothing for any other name.
    static std::optional<Format> FormatNamed(const std::string &name);

    // The manifest text for an image with the fingerprint md5. The XML writer escapes every text,
    // so release notes with markup characters come back as they were given.
    static std::string ManifestXml(const Manifest &manifest, const std::string &md5);

    // Writes the package to path (UTF-8). The image is first parsed as the head's loader parses it
    // (wideAddresses: 32-bit address records, as for a product of variant 1); then the package is
    // written under a temporary name beside path, loaded as the upgrade loads it, and only then
    // renamed to path. Throws CFirmwareException when the loader refuses image or package (path is
    // then left as it was and no temporary file remains) and std::runtime_error when the file
    // cannot be written.
    static void Write(const std::string &path, Format format, const Manifest &manifest, const ByteVector &image,
                      bool wideAddresses);

private:
    static void WriteArchive(const std::string &path, Format format, const Manifest &manifest,
                             const ByteVector &image);
};
