#include "CArchiveWriter.h"

#include <archive.h>
#include <archive_entry.h>

#include <stdexcept>

namespace {

// Every member gets the same fixed time, owner-less ordinary permissions and no owner names, so
// the same input always gives the same archive.
constexpr std::int64_t kMemberTime = 1700000000;
constexpr int kMemberPermissions = 0644;

struct EntryFree
{
    void operator()(archive_entry *entry) const { archive_entry_free(entry); }
};

} // namespace

void CArchiveWriter::WriterFree::operator()(struct archive *writer) const
{
    archive_write_free(writer);
}

CArchiveWriter::CArchiveWriter(const std::string &path, const std::string &format, const std::string &filter)
    : path(path)
    , writer(archive_write_new())
{
    if (!writer)
        throw std::runtime_error("The archive writer could not be created");
    if (archive_write_set_format_by_name(writer.get(), format.c_str()) != ARCHIVE_OK)
        Fail("cannot write the archive format '" + format + "'");
    if (!filter.empty() && archive_write_add_filter_by_name(writer.get(), filter.c_str()) != ARCHIVE_OK)
        Fail("cannot compress with '" + filter + "'");
}

CArchiveWriter::~CArchiveWriter() = default;

void CArchiveWriter::SetOptions(const std::string &options)
{
    if (archive_write_set_options(writer.get(), options.c_str()) != ARCHIVE_OK)
        Fail("refuses the options '" + options + "'");
}

// The file is opened with the first member, after the options have been set.
void CArchiveWriter::Open(const std::string &path)
{
    if (archive_write_open_filename(writer.get(), path.c_str()) != ARCHIVE_OK)
        Fail("cannot be created");
    opened = true;
}

void CArchiveWriter::BeginMember(const std::string &name, std::int64_t size)
{
    if (!opened)
        Open(path);
    const std::unique_ptr<archive_entry, EntryFree> entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), name.c_str());
    if (size >= 0)
        archive_entry_set_size(entry.get(), size);
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), kMemberPermissions);
    archive_entry_set_mtime(entry.get(), kMemberTime, 0);
    if (archive_write_header(writer.get(), entry.get()) != ARCHIVE_OK)
        Fail("cannot take the member '" + name + "'");
}

void CArchiveWriter::WriteData(const std::uint8_t *data, std::size_t length)
{
    if (archive_write_data(writer.get(), data, length) != static_cast<la_ssize_t>(length))
        Fail("cannot take the data of a member");
}

void CArchiveWriter::AddMember(const std::string &name, const ByteVector &data)
{
    BeginMember(name, static_cast<std::int64_t>(data.size()));
    WriteData(data.data(), data.size());
}

void CArchiveWriter::Close()
{
    if (!opened)
        Open(path);
    if (archive_write_close(writer.get()) != ARCHIVE_OK)
        Fail("could not be completed");
}

void CArchiveWriter::Fail(const std::string &what) const
{
    const char *reason = archive_error_string(writer.get());
    throw std::runtime_error("The archive '" + path + "' " + what +
                             (reason != nullptr ? std::string(": ") + reason : std::string()));
}
