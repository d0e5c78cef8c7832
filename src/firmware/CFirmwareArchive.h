#pragma once

#include "comm/ByteVector.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

struct archive;
struct archive_entry;

// Reads a firmware package: any archive format and compression the archive library knows except
// mtree file lists (which name files on the local disk), and a plain file as a single member. Everything read is bounded, so that a damaged or hostile file ends
// in a CFirmwareException instead of exhausting the machine: the file itself, each member we keep,
// and all members together (a small compressed file may unpack to gigabytes).
class CFirmwareArchive
{
public:
    // Firmware images of these heads are a few MiB at most; these limits leave ample room.
    static constexpr std::size_t kMaxFileBytes = std::size_t(64) << 20;     // file and image
    static constexpr std::size_t kMaxManifestBytes = std::size_t(1) << 20;  // a few lines of XML
    static constexpr std::uint64_t kMaxUnpackedBytes = std::uint64_t(256) << 20;
    // A package has two members; the walk stops long before a crafted one could hold the caller.
    static constexpr std::uint64_t kMaxMembers = 10000;
    static constexpr std::uint64_t kMaxHeaderBytes = std::uint64_t(16) << 20;

    static constexpr const char *kFirmwareMember = "firmware.mhx";
    static constexpr const char *kManifestMember = "manifest.xml";

    // Opens the file; throws when it is larger than kMaxFileBytes or cannot be opened.
    explicit CFirmwareArchive(const std::string &path);
    CFirmwareArchive(const CFirmwareArchive &) = delete;
    CFirmwareArchive &operator=(const CFirmwareArchive &) = delete;

    // Walks all members in archive order. The members named exactly "firmware.mhx" and
    // "manifest.xml" (no folder) are read into firmware and manifest, a later one replacing an
    // earlier one; all others are skipped. The walk ends at the end of the archive or at the first
    // header that cannot be read. An mtree file list is refused at its first header, before any
    // file it names is opened; more than kMaxMembers members or kMaxHeaderBytes of headers end the
    // walk with an error.
    void ReadMembers(ByteVector &firmware, ByteVector &manifest);

    // The file at path byte for byte, for an image that is no package.
    static ByteVector ReadPlainFile(const std::string &path);

private:
    bool NextHeader(archive_entry **entry);
    bool StartsFileList();
    std::optional<std::uint64_t> DeclaredSize(archive_entry *entry, const char *name,
                                              std::size_t limit) const;
    void ReadMember(archive_entry *entry, const char *name, std::size_t limit, ByteVector &into);
    void SkipMember();
    void CountUnpacked(std::size_t bytes);
    [[noreturn]] void FailMember(int code, const char *name, const std::string &what) const;

    struct ReaderFree
    {
        void operator()(struct archive *reader) const;
    };

    std::string path;
    bool regularFile;
    std::unique_ptr<struct archive, ReaderFree> archive;
    std::uint64_t unpacked = 0; // bytes of member data read or skipped so far
    std::uint64_t members = 0;
    std::uint64_t headerBytes = 0; // bytes of the unpacked stream consumed by the headers so far
};
