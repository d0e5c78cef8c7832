#include "CFirmwareArchive.h"

#include "CFirmwareException.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

namespace {

constexpr std::size_t kPieceBytes = 10000; // block size of the reader and of every member read

std::string MiB(std::uint64_t bytes)
{
    return std::to_string(bytes >> 20) + " MiB";
}

[[noreturn]] void FailUnreadable(const std::string &path)
{
    throw CFirmwareException(CFirmwareException::FileNotReadable,
                             "Failed to read firmware file '" + path + "'");
}

[[noreturn]] void FailTooLarge(const std::string &path)
{
    throw CFirmwareException(CFirmwareException::FileTooLarge,
                             "Firmware file '" + path + "' is larger than " +
                                 MiB(CFirmwareArchive::kMaxFileBytes));
}

bool IsRegularFile(const std::string &path)
{
    std::error_code error;
    return std::filesystem::is_regular_file(path, error);
}

// Files that are too large are turned away before the archive library reads a byte; devices and
// pipes, whose size says nothing, are bounded while reading. Returns the size of a regular file.
std::uintmax_t CheckFileSize(const std::string &path)
{
    if (!IsRegularFile(path))
        return 0;
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error)
        return 0;
    if (size > CFirmwareArchive::kMaxFileBytes)
        FailTooLarge(path);
    return size;
}

// Every archive format the library reads, except mtree: an mtree "archive" is a list of files on
// the local disk, and reading its headers opens them (a device or a pipe named there could block or
// leak). A firmware package is only ever the one file the user chose.
void SupportPackageFormats(struct archive *reader)
{
    archive_read_support_format_7zip(reader);
    archive_read_support_format_ar(reader);
    archive_read_support_format_cab(reader);
    archive_read_support_format_cpio(reader);
    archive_read_support_format_empty(reader);
    archive_read_support_format_iso9660(reader);
    archive_read_support_format_lha(reader);
    archive_read_support_format_rar(reader);
    archive_read_support_format_rar5(reader);
    archive_read_support_format_tar(reader);
    archive_read_support_format_warc(reader);
    archive_read_support_format_xar(reader);
    archive_read_support_format_zip(reader);
    archive_read_support_format_raw(reader);
}

std::string ErrorText(struct archive *reader)
{
    const char *text = archive_error_string(reader);
    return text != nullptr ? text : "unknown error";
}

} // namespace

CFirmwareArchive::CFirmwareArchive(const std::string &path)
    : path(path), regularFile(IsRegularFile(path))
{
    CheckFileSize(path);
    archive.reset(archive_read_new());
    // An empty name would make the library read standard input.
    if (!archive || path.empty())
        FailUnreadable(path);
    archive_read_support_filter_all(archive.get());
    SupportPackageFormats(archive.get());
    if (archive_read_open_filename(archive.get(), path.c_str(), kPieceBytes) != ARCHIVE_OK)
        FailUnreadable(path);
}

void CFirmwareArchive::ReaderFree::operator()(struct archive *reader) const
{
    archive_read_free(reader);
}

void CFirmwareArchive::ReadMembers(ByteVector &firmware, ByteVector &manifest)
{
    archive_entry *entry = nullptr;
    while (NextHeader(&entry)) {
        const char *name = archive_entry_pathname(entry);
        if (name != nullptr && std::strcmp(name, kFirmwareMember) == 0)
            ReadMember(entry, kFirmwareMember, kMaxFileBytes, firmware);
        else if (name != nullptr && std::strcmp(name, kManifestMember) == 0)
            ReadMember(entry, kManifestMember, kMaxManifestBytes, manifest);
        else
            SkipMember();
    }
}

// The next header, counted against the bounds on members and header bytes: a package of a
// million empty members holds no data, yet walking it would hold the caller for minutes. A file
// that no package format claims is read as one plain member; an mtree file list is turned away
// there, before the walk goes any further.
bool CFirmwareArchive::NextHeader(archive_entry **entry)
{
    const std::int64_t before = archive_filter_bytes(archive.get(), 0);
    if (archive_read_next_header(archive.get(), entry) != ARCHIVE_OK)
        return false;
    headerBytes += std::uint64_t(std::max<std::int64_t>(0, archive_filter_bytes(archive.get(), 0) - before));
    if (++members == 1 && archive_format(archive.get()) == ARCHIVE_FORMAT_RAW && StartsFileList())
        throw CFirmwareException(CFirmwareException::ArchiveFormatRefused,
                                 "'" + path + "' is a file list (mtree) that names files on this "
                                 "computer; a firmware package must be a ZIP or tar archive");
    if (members > kMaxMembers)
        throw CFirmwareException(CFirmwareException::ArchiveTooManyHeaders,
                                 "Archive '" + path + "' holds more than " +
                                     std::to_string(kMaxMembers) +
                                     " members; a firmware package holds two");
    if (headerBytes > kMaxHeaderBytes)
        throw CFirmwareException(CFirmwareException::ArchiveTooManyHeaders,
                                 "Archive '" + path + "' has more than " + MiB(kMaxHeaderBytes) +
                                     " of member headers; a firmware package has a few hundred bytes");
    return true;
}

// Whether the plain member begins with the signature of an mtree file list. The list itself is
// never read as one (the format is not enabled), so nothing it names is opened; the signature only
// lets the refusal say what the file is. The piece looked at counts as read.
bool CFirmwareArchive::StartsFileList()
{
    static constexpr char kSignature[] = "#mtree";
    const void *block = nullptr;
    std::size_t bytes = 0;
    la_int64_t offset = 0;
    if (archive_read_data_block(archive.get(), &block, &bytes, &offset) != ARCHIVE_OK)
        return false;
    CountUnpacked(bytes);
    return bytes >= sizeof kSignature - 1 && std::memcmp(block, kSignature, sizeof kSignature - 1) == 0;
}

// The size a member's header declares, if it declares one; a negative size or one beyond limit
// turns the member away before anything is read.
std::optional<std::uint64_t> CFirmwareArchive::DeclaredSize(archive_entry *entry, const char *name,
                                                            std::size_t limit) const
{
    if (archive_entry_size_is_set(entry) == 0)
        return std::nullopt;
    const std::int64_t size = archive_entry_size(entry);
    if (size < 0)
        FailMember(CFirmwareException::MemberSizeIllegal, name,
                   "declares an illegal size (" + std::to_string(size) + " bytes)");
    if (std::uint64_t(size) > limit)
        FailMember(CFirmwareException::MemberSizeIllegal, name, "is larger than " + MiB(limit));
    return std::uint64_t(size);
}

// Reads a member in pieces until the library reports its end, holding the data against the
// declared size and the limit as they come, so that a member that holds more than it declares is
// turned away early.
void CFirmwareArchive::ReadMember(archive_entry *entry, const char *name, std::size_t limit,
                                  ByteVector &into)
{
    const std::optional<std::uint64_t> declared = DeclaredSize(entry, name, limit);
    into.clear();
    into.reserve(std::size_t(declared.value_or(0)));
    std::uint8_t piece[kPieceBytes];
    for (;;) {
        const la_ssize_t read = archive_read_data(archive.get(), piece, sizeof piece);
        if (read < 0)
            FailMember(CFirmwareException::MemberNotReadable, name,
                       "cannot be read: " + ErrorText(archive.get()));
        if (read == 0)
            break;
        CountUnpacked(std::size_t(read));
        into.insert(into.end(), piece, piece + read);
        if (declared && into.size() > *declared)
            FailMember(CFirmwareException::MemberSizeMismatch, name,
                       "holds more data than the " + std::to_string(*declared) +
                           " bytes its header declares");
        if (into.size() > limit)
            FailMember(CFirmwareException::MemberSizeIllegal, name, "is larger than " + MiB(limit));
    }
    if (declared && into.size() != *declared)
        FailMember(CFirmwareException::MemberSizeMismatch, name,
                   "holds " + std::to_string(into.size()) + " bytes while its header declares " +
                       std::to_string(*declared));
}

// Skipping a compressed member means unpacking it, so skipped data count against the limit too.
// Only a plain file read as a single member is passed over unread: its data are the file itself,
// whose size was checked. A member that cannot be read to its end is left where it broke off; the
// next header then ends the walk.
void CFirmwareArchive::SkipMember()
{
    if (regularFile && archive_format(archive.get()) == ARCHIVE_FORMAT_RAW &&
        archive_filter_code(archive.get(), 0) == ARCHIVE_FILTER_NONE) {
        archive_read_data_skip(archive.get());
        return;
    }
    const void *block = nullptr;
    std::size_t bytes = 0;
    la_int64_t offset = 0;
    while (archive_read_data_block(archive.get(), &block, &bytes, &offset) == ARCHIVE_OK)
        CountUnpacked(bytes);
}

void CFirmwareArchive::CountUnpacked(std::size_t bytes)
{
    unpacked += bytes;
    if (unpacked > kMaxUnpackedBytes)
        throw CFirmwareException(CFirmwareException::ArchiveTooLarge,
                                 "Archive '" + path + "' unpacks to more than " +
                                     MiB(kMaxUnpackedBytes));
}

void CFirmwareArchive::FailMember(int code, const char *name, const std::string &what) const
{
    throw CFirmwareException(code, "Member '" + std::string(name) + "' of archive '" + path +
                                       "' " + what);
}

ByteVector CFirmwareArchive::ReadPlainFile(const std::string &path)
{
    const std::uintmax_t size = CheckFileSize(path);
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "rb"),
                                                                 &std::fclose);
    if (!file)
        FailUnreadable(path);
    // Read straight into place; a file that grows while it is read, or a device, goes on in
    // pieces up to the limit.
    ByteVector bytes(std::size_t(size) + 1);
    std::size_t filled = 0;
    std::size_t read = 0;
    while ((read = std::fread(bytes.data() + filled, 1, bytes.size() - filled, file.get())) > 0) {
        filled += read;
        if (filled > kMaxFileBytes)
            FailTooLarge(path);
        if (filled == bytes.size())
            bytes.resize(std::min(bytes.size() + kPieceBytes, kMaxFileBytes + 1));
    }
    bytes.resize(filled);
    if (std::ferror(file.get()))
        FailUnreadable(path);
    return bytes;
}
