#include "CFirmwareFile.h"

#include "CBlockAssembler.h"
#include "CFirmwareArchive.h"
#include "CFirmwareException.h"
#include "CManifestDocument.h"
#include "CSRecordReader.h"
#include "FirmwareAddressSpace.h"
#include "FirmwareVersion.h"
#include "Md5Fingerprint.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <utility>

namespace {

constexpr const char *kPackageVersion = "1.0";

std::string ToUpper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return char(std::toupper(c)); });
    return text;
}

std::string Hex8(std::uint64_t value)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%08llX", static_cast<unsigned long long>(value));
    return text;
}

} // namespace

void CFirmwareFile::Load(const std::string &path, bool allowRawHex, bool wideAddresses)
{
    this->wideAddresses = wideAddresses;
    fromPackage = false;
    blocks.clear();
    RewindToFirstBlock();
    firmwareBytes.clear();
    manifestBytes.clear();

    CFirmwareArchive archive(path);
    archive.ReadMembers(firmwareBytes, manifestBytes);
    if (firmwareBytes.empty()) {
        if (!allowRawHex)
            throw CFirmwareException(CFirmwareException::FirmwareMissing,
                                     "Firmware missing in archive '" + path + "'");
        firmwareBytes = CFirmwareArchive::ReadPlainFile(path);
        version = date = md5 = kUnknownForHexFile;
    } else if (manifestBytes.empty()) {
        throw CFirmwareException(CFirmwareException::ManifestMissing,
                                 "Manifest missing in archive '" + path + "'");
    } else {
        ParseManifest();
        CheckFingerprint();
        fromPackage = true;
    }
    ParseRecords();
}

// The package version is taken only from a root that has it; otherwise the one of the previous
// load stands. The tags are read in order, each replacing its field as it is read.
void CFirmwareFile::ParseManifest()
{
    const CManifestDocument manifest(manifestBytes);
    if (std::optional<std::string> rootVersion = manifest.PackageVersion())
        packageVersion = std::move(*rootVersion);
    if (packageVersion != kPackageVersion)
        throw CFirmwareException(CFirmwareException::PackageVersionUnknown,
                                 "The package version '" + packageVersion + "' is unknown");
    product = manifest.TagText("product");
    releaseNotes = manifest.TagText("releasenotes");
    version = manifest.TagText("version");
    date = manifest.TagText("date");
    md5 = ToUpper(manifest.TagText("md5"));
}

// The fingerprint is taken over the image exactly as packed and compared as it stands, so blanks
// or a line break around the manifest's digest make it fail.
void CFirmwareFile::CheckFingerprint() const
{
    const std::string computed = Md5Fingerprint::Of(firmwareBytes);
    if (computed != md5)
        throw CFirmwareException(CFirmwareException::FingerprintMismatch,
                                 "Fingerprint of manifest ('" + md5 +
                                     "') does not match fingerprint of firmware ('" + computed +
                                     "')");
}

void CFirmwareFile::SetFirmwareBytes(ByteVector text, bool wideAddresses)
{
    firmwareBytes = std::move(text);
    this->wideAddresses = wideAddresses;
}

void CFirmwareFile::ParseRecords()
{
    SRecordTable table;
    try {
        CSRecordReader(wideAddresses).Read(firmwareBytes, table);
    } catch (const CFirmwareException &) {
        blocks = CBlockAssembler::Unassembled(table);
        throw;
    }
    blocks = CBlockAssembler::Assemble(table);
    RewindToFirstBlock();
    if (blocks.empty())
        throw CFirmwareException(CFirmwareException::ImageEmpty,
                                 "The firmware image holds no data to write");
    CheckAddressSpace();
}

// Deliberately stricter than the records themselves: a record may start just below the top of the
// address space and carry data past it (and the padding of an odd block adds a byte at its end).
// Written in chunks, the part past the top would go out with the address's high bits cut off, at
// the bottom of the flash. Such an image is refused here, at load time, so that the dialog and
// firmware-info show the fault before anything is erased.
void CFirmwareFile::CheckAddressSpace() const
{
    for (const auto &block : blocks) {
        if (FirmwareAddressSpace::Holds(block->address, block->data.size(), wideAddresses))
            continue;
        throw CFirmwareException(
            CFirmwareException::BlockOutsideAddressSpace,
            "Block " + Hex8(block->address) + " (" + std::to_string(block->data.size()) +
                " bytes) reaches past the top of the " + (wideAddresses ? "32" : "24") +
                "-bit address space at " + Hex8(FirmwareAddressSpace::Top(wideAddresses)) +
                "; check that the image was built for this product");
    }
}

bool CFirmwareFile::GetNextBlock(std::uint32_t maximumLength, std::uint32_t &address,
                                 ByteVector &data)
{
    if (blockCursor >= blocks.size() || maximumLength == 0)
        return false;
    const FirmwareBlock &block = *blocks[blockCursor];
    if (block.data.size() <= maximumLength) {
        address = block.address;
        data = block.data;
        NextBlock();
        return true;
    }
    const std::size_t left = block.data.size() - byteCursor;
    const std::size_t length = std::min<std::size_t>(left, maximumLength);
    const auto begin = block.data.begin() + std::ptrdiff_t(byteCursor);
    // The load keeps every block inside the address space, so the end is exact in 32 bits.
    address = std::uint32_t(FirmwareAddressSpace::End(block.address, byteCursor));
    data.assign(begin, begin + std::ptrdiff_t(length));
    if (length == left)
        NextBlock();
    else
        byteCursor += length;
    return true;
}

void CFirmwareFile::NextBlock()
{
    ++blockCursor;
    byteCursor = 0;
}

void CFirmwareFile::RewindToFirstBlock()
{
    blockCursor = 0;
    byteCursor = 0;
}

std::int32_t CFirmwareFile::GetTotalSize() const
{
    std::int64_t total = 0;
    for (const auto &block : blocks)
        total += std::int64_t(block->data.size());
    return std::int32_t(total);
}

std::int32_t CFirmwareFile::CompareVersion(const std::string &other) const
{
    return FirmwareVersion::Compare(version, other);
}
