// The package loader: archive walk, manifest, fingerprint and records, through a file as the
// upgrade loads it. The first byte holds the options: bit 0 allows raw images, bit 1 selects wide
// addresses, bit 2 selects the structured form. Unstructured, the rest is the file. Structured, the
// rest is a manifest and an image separated by a NUL byte; they are packed as a tar archive, with
// every "@MD5@" in the manifest replaced by the image's fingerprint, so that mutations reach the
// manifest parser and the records behind a matching fingerprint.

#include "firmware/CFirmwareException.h"
#include "firmware/CFirmwareFile.h"
#include "firmware/Md5Fingerprint.h"

#include <archive.h>
#include <archive_entry.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

std::string g_path;

void Quiet(void *, const char *, ...) {}
void QuietStructured(void *, xmlErrorPtr) {}

void AddMember(archive *writer, const char *name, const std::string &data)
{
    archive_entry *entry = archive_entry_new();
    archive_entry_set_pathname(entry, name);
    archive_entry_set_size(entry, la_int64_t(data.size()));
    archive_entry_set_filetype(entry, AE_IFREG);
    archive_entry_set_perm(entry, 0644);
    archive_write_header(writer, entry);
    archive_write_data(writer, data.data(), data.size());
    archive_entry_free(entry);
}

void WritePackage(const std::string &input)
{
    const std::size_t split = input.find('\0');
    std::string manifest = input.substr(0, split);
    const std::string image = split == std::string::npos ? std::string() : input.substr(split + 1);
    const std::string md5 = Md5Fingerprint::Of(ByteVector(image.begin(), image.end()));
    for (std::size_t at = manifest.find("@MD5@"); at != std::string::npos;
         at = manifest.find("@MD5@", at + md5.size()))
        manifest.replace(at, 5, md5);
    archive *writer = archive_write_new();
    archive_write_set_format_pax_restricted(writer);
    archive_write_open_filename(writer, g_path.c_str());
    AddMember(writer, "manifest.xml", manifest);
    AddMember(writer, "firmware.mhx", image);
    archive_write_close(writer);
    archive_write_free(writer);
}

void WriteFile(const std::uint8_t *data, std::size_t size)
{
    std::FILE *file = std::fopen(g_path.c_str(), "wb");
    if (file == nullptr)
        std::abort();
    std::fwrite(data, 1, size, file);
    std::fclose(file);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Every input is written to a file; in memory when the machine has a tmpfs for it.
    const std::string folder = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    g_path = folder + "/lichtwart-fuzz-package-" + std::to_string(getpid()) + ".fwp";
    xmlSetGenericErrorFunc(nullptr, &Quiet);
    xmlSetStructuredErrorFunc(nullptr, &QuietStructured);
    std::atexit([] { std::remove(g_path.c_str()); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::uint8_t options = data[0];
    if (options & 4)
        WritePackage(std::string(reinterpret_cast<const char *>(data + 1), size - 1));
    else
        WriteFile(data + 1, size - 1);
    CFirmwareFile firmware;
    try {
        firmware.Load(g_path, (options & 1) != 0, (options & 2) != 0);
    } catch (const CFirmwareException &) {
        return 0;
    }
    if (firmware.GetBlocks().empty())
        std::abort();
    return 0;
}
