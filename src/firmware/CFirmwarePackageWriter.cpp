#include "CFirmwarePackageWriter.h"

#include "CArchiveWriter.h"
#include "CFirmwareArchive.h"
#include "CFirmwareFile.h"
#include "Md5Fingerprint.h"

#include <QFile>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QString>

#include <libxml/xmlwriter.h>

#include <filesystem>
#include <memory>
#include <stdexcept>

namespace {

constexpr QFileDevice::Permissions kNewFilePermissions =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup | QFileDevice::WriteGroup
    | QFileDevice::ReadOther | QFileDevice::WriteOther;

constexpr const char *kPackageVersion = "1.0";

struct WriterFree
{
    void operator()(xmlTextWriter *writer) const { xmlFreeTextWriter(writer); }
};
struct BufferFree
{
    void operator()(xmlBuffer *buffer) const { xmlBufferFree(buffer); }
};

const xmlChar *Xml(const char *text)
{
    return reinterpret_cast<const xmlChar *>(text);
}

void Check(int result)
{
    if (result < 0)
        throw std::runtime_error("The manifest could not be written");
}

} // namespace

std::optional<CFirmwarePackageWriter::Format> CFirmwarePackageWriter::FormatNamed(const std::string &name)
{
    if (name == "zip")
        return Format::Zip;
    if (name == "tar")
        return Format::Tar;
    if (name == "tar.gz")
        return Format::TarGz;
    return std::nullopt;
}

std::string CFirmwarePackageWriter::ManifestXml(const Manifest &manifest, const std::string &md5)
{
    const std::unique_ptr<xmlBuffer, BufferFree> buffer(xmlBufferCreate());
    if (!buffer)
        throw std::runtime_error("The manifest could not be written");
    {
        const std::unique_ptr<xmlTextWriter, WriterFree> writer(xmlNewTextWriterMemory(buffer.get(), 0));
        if (!writer)
            throw std::runtime_error("The manifest could not be written");
        xmlTextWriter *w = writer.get();
        Check(xmlTextWriterSetIndent(w, 1));
        Check(xmlTextWriterStartDocument(w, nullptr, "UTF-8", nullptr));
        Check(xmlTextWriterStartElement(w, Xml("package")));
        Check(xmlTextWriterWriteAttribute(w, Xml("version"), Xml(kPackageVersion)));
        const std::pair<const char *, const std::string *> elements[] = {
            {"product", &manifest.product}, {"releasenotes", &manifest.releaseNotes},
            {"version", &manifest.version}, {"date", &manifest.date},
            {"md5", &md5}};
        for (const auto &[tag, text] : elements)
            Check(xmlTextWriterWriteElement(w, Xml(tag), Xml(text->c_str())));
        Check(xmlTextWriterEndDocument(w));
    } // freeing the writer flushes it into the buffer
    return std::string(reinterpret_cast<const char *>(xmlBufferContent(buffer.get())),
                       static_cast<std::size_t>(xmlBufferLength(buffer.get())));
}

void CFirmwarePackageWriter::Write(const std::string &path, Format format, const Manifest &manifest,
                                   const ByteVector &image, bool wideAddresses)
{
    // The image alone first, so a fault of the records is reported as the loader reports it.
    CFirmwareFile check;
    check.SetFirmwareBytes(image, wideAddresses);
    check.ParseRecords();

    // The package is built beside its target and renamed into place. The part file is created as
    // any new file of the user (0666 less the umask, applied by the system): a package is handed
    // on to colleagues and put on shares, so it must not be its owner's alone as a temporary
    // file would be.
    QFile part(QString::fromStdString(path) + QStringLiteral(".part-")
               + QString::number(QRandomGenerator::global()->generate64(), 36));
    if (!part.open(QIODevice::WriteOnly | QIODevice::NewOnly, kNewFilePermissions))
        throw std::runtime_error("The file '" + path + "' cannot be created: " + part.errorString().toStdString());
    part.close();
    auto removePart = qScopeGuard([&part] { part.remove(); });
    const std::string partPath = QFile::encodeName(part.fileName()).toStdString();
    WriteArchive(partPath, format, manifest, image);
    check.Load(partPath, false, wideAddresses);

    // Renaming replaces an older package of the same name in one step.
    std::error_code error;
    std::filesystem::rename(partPath, path, error);
    if (error)
        throw std::runtime_error("The file '" + path + "' cannot be written: " + error.message());
    removePart.dismiss();
}

void CFirmwarePackageWriter::WriteArchive(const std::string &path, Format format, const Manifest &manifest,
                                          const ByteVector &image)
{
    const std::string xml = ManifestXml(manifest, Md5Fingerprint::Of(image));
    CArchiveWriter archive(path, format == Format::Zip ? "zip" : "ustar", format == Format::TarGz ? "gzip" : "");
    archive.AddMember(CFirmwareArchive::kManifestMember, ByteVector(xml.begin(), xml.end()));
    archive.AddMember(CFirmwareArchive::kFirmwareMember, image);
    archive.Close();
}
