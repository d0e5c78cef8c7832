#pragma once

#include "comm/ByteVector.h"

#include <cstdint>
#include <memory>
#include <string>

struct archive;

// Writes an archive file with the archive library's writer: members one after another, each
// declared by a header and then its data, in one or more pieces. The archive format and the
// compression are named as the library names them ("zip", "ustar", "paxr", "raw";
// "gzip", "bzip2", "xz"), so a firmware package can be written in every form the loader reads.
// Every failure throws std::runtime_error with the library's reason.
class CArchiveWriter
{
public:
    // Creates (or replaces) the file at path. An empty filter writes the archive uncompressed.
    CArchiveWriter(const std::string &path, const std::string &format, const std::string &filter = {});
    CArchiveWriter(const CArchiveWriter &) = delete;
    CArchiveWriter &operator=(const CArchiveWriter &) = delete;
    ~CArchiveWriter();

    // Passes options to the format or filter ("gzip:compression-level=1"); call before the first
    // member.
    void SetOptions(const std::string &options);
    // Starts a regular member; a negative size leaves the size out of the header, where the format
    // allows it (a ZIP member then carries its size after the data).
    void BeginMember(const std::string &name, std::int64_t size);
    void WriteData(const std::uint8_t *data, std::size_t length);
    // A whole member: header and data.
    void AddMember(const std::string &name, const ByteVector &data);
    // Finishes the archive; until then the file is incomplete.
    void Close();

private:
    void Open(const std::string &path);
    [[noreturn]] void Fail(const std::string &what) const;

    struct WriterFree
    {
        void operator()(struct archive *writer) const;
    };

    std::string path;
    std::unique_ptr<struct archive, WriterFree> writer;
    bool opened = false;
};
