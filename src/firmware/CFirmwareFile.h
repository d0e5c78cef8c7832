#pragma once

#include "FirmwareBlock.h"
#include "comm/ByteVector.h"

#include <cstddef>
#include <cstdint>
#include <string>

// A firmware file: a package (an archive with the S-record image "firmware.mhx" and the manifest
// "manifest.xml" carrying the image's MD5 fingerprint) or, where allowed, a bare S-record image.
// Loading reads the package, checks manifest and fingerprint and assembles the image into blocks,
// which are then handed out in chunks for the boot loader. Every fault throws CFirmwareException.
class CFirmwareFile
{
public:
    // Loads the package or raw image at path (UTF-8). wideAddresses selects 32-bit address
    // records (S3/S7) instead of 24-bit ones (S2/S8). allowRawHex lets a file that holds no
    // "firmware.mhx" be read as the image itself, without manifest or fingerprint. Throws
    // CFirmwareException; on success the chunk cursor is at the first block.
    void Load(const std::string &path, bool allowRawHex, bool wideAddresses);

    // Puts an S-record text in place of the image read by Load, for ParseRecords.
    void SetFirmwareBytes(ByteVector text, bool wideAddresses);
    // Parses the image text into the block list and puts the cursor on the first block. Throws at
    // the first bad line (the records before it stay in the list, unassembled), for an image
    // without any data and for a block that reaches past the top of the address space.
    void ParseRecords();

    // The next chunk of at most maximumLength bytes; a chunk never spans two blocks. False when
    // all blocks have been handed out (and for a maximum of 0, which hands out nothing).
    bool GetNextBlock(std::uint32_t maximumLength, std::uint32_t &address, ByteVector &data);
    // Puts the chunk cursor back on the first byte of the first block.
    void RewindToFirstBlock();
    // The bytes of all blocks together.
    std::int32_t GetTotalSize() const;
    const FirmwareBlockList &GetBlocks() const { return blocks; }

    // Compares the file's version with other: 1 the file is newer, -1 older, 0 equal, -2 when
    // either text is no version.
    std::int32_t CompareVersion(const std::string &other) const;
    bool IsNewerThan(const std::string &other) const { return CompareVersion(other) == 1; }
    bool IsOlderThan(const std::string &other) const { return CompareVersion(other) == -1; }
    bool IsEqualTo(const std::string &other) const { return CompareVersion(other) == 0; }

    const std::string &GetVersion() const { return version; }
    const std::string &GetDate() const { return date; }
    const std::string &GetMd5() const { return md5; }
    const std::string &GetProduct() const { return product; }
    const std::string &GetReleaseNotes() const { return releaseNotes; }
    const std::string &GetPackageVersion() const { return packageVersion; }
    const ByteVector &GetFirmwareBytes() const { return firmwareBytes; }
    bool HasWideAddresses() const { return wideAddresses; }
    // True when the last load read a package with its manifest; false for a raw image, which
    // names no product or version.
    bool HasManifest() const { return fromPackage; }

    // Shown for version, date and fingerprint of a raw image, which has no manifest.
    static constexpr const char *kUnknownForHexFile = "unknown due to hex file";

private:
    void ParseManifest();
    void CheckFingerprint() const;
    void CheckAddressSpace() const;
    void NextBlock();

    ByteVector firmwareBytes;
    ByteVector manifestBytes;
    bool wideAddresses = false;
    bool fromPackage = false;
    FirmwareBlockList blocks;
    std::size_t blockCursor = 0;
    std::size_t byteCursor = 0;

    std::string packageVersion;
    std::string product;
    std::string releaseNotes;
    std::string version;
    std::string date;
    std::string md5;
};
