#include "CFirmwareFile.h"

#include "CBlockAssembler.h"
#include "CFirmwareArchive.h"
#include "CFirmwareException.h"
#include "CManifestDocument.h"
#include "CSRecordReader.h"
#include "FirmwareVersion.h"
#include "Md5Fingerprint.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace {

constexpr const char *kPackageVersion = "1.0";

std::string ToUpper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return char(std::toupper(c)); });
    return text;
}

} // namespace

void CFirmwareFile::Load(const std::string &path, bool allowRawHex, bool wideAddresses)
{
    this->wideAddresses = wideAddresses;
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
    address = block.address + std::uint32_t(byteCursor);
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
