#pragma once

#include <exception>
#include <string>

// The one error of the firmware file layer: a code and the sentence shown to the user.
//
// Codes 0 to 13 are the faults of a package, its manifest and its records. The codes from 14 on
// guard the machine against damaged or hostile files: a file, a member or an archive larger than a
// firmware package can sensibly be, a member that does not hold what its header declares, a
// manifest that declares a document type (and so could expand entities), and an image without
// any data to write.
//
// Code 21 keeps an image inside the address space of its records: a block that reaches past the
// top would be written at the bottom of the flash. Codes 22 and 23 keep the archive reader to the
// one file it was given and to the work a package of two members needs.
class CFirmwareException : public std::exception
{
public:
    enum ErrorCode : int {
        FileNotReadable = 0,       // "Failed to read firmware file '<path>'"
        FirmwareMissing = 1,       // "Firmware missing in archive '<path>'"
        ManifestMissing = 2,       // "Manifest missing in archive '<path>'"
        ManifestNotParsable = 3,   // "Failed to parse XML manifest"
        XPathContextFailed = 4,    // "Failed to create a XML path context"
        TagMissing = 5,            // "Tag '<XPath>' missing in XML manifest"
        PackageVersionUnknown = 6, // "The package version '<version>' is unknown"
        FingerprintMismatch = 7,   // "Fingerprint of manifest ('<md5>') does not match ..."
        RecordTypeUnsupported = 8, // "Records of type '<type>' are not supported"
        RecordSizeIllegal = 9,     // "Record has illegal size (<length>)"
        RecordByteCounterIllegal = 10, // "Record has illegal byte counter"
        RecordByteCountMismatch = 11,  // "Records byte-count does not correspond to ..."
        RecordDataIllegal = 12,    // "Record has illegal binary data value"
        RecordChecksumWrong = 13,  // "Record has wrong checksum"
        ImageEmpty = 14,           // "The firmware image holds no data to write"
        FileTooLarge = 15,         // "Firmware file '<path>' is larger than 64 MiB"
        MemberSizeIllegal = 16,    // "Member '<name>' of archive '<path>' is larger than <limit>"
                                   // or "... declares an illegal size (<size> bytes)"
        MemberSizeMismatch = 17,   // "Member '<name>' of archive '<path>' holds more data than the
                                   // <size> bytes its header declares" or "... holds <n> bytes
                                   // while its header declares <size>"
        ArchiveTooLarge = 18,      // "Archive '<path>' unpacks to more than 256 MiB"
        MemberNotReadable = 19,    // "Member '<name>' of archive '<path>' cannot be read: <reason>"
        ManifestHasDocumentType = 20, // "The XML manifest must not contain a document type
                                      // declaration"
        BlockOutsideAddressSpace = 21, // "The block at 0x<address> of <size> bytes reaches past
                                       // the top of the <24|32>-bit address space (0x<top>) ..."
        ArchiveFormatRefused = 22,  // "'<path>' is a file list (mtree) that names files on this
                                    // computer ..."
        ArchiveTooManyHeaders = 23, // "Archive '<path>' holds more than 10000 members ..." or
                                    // "... has more than 16 MiB of member headers ..."
    };

    CFirmwareException(int code, std::string message);
    ~CFirmwareException() override = default;

    const char *what() const noexcept override;

    int Code() const { return code; }
    const std::string &Message() const { return message; }

private:
    int code;
    std::string message;
};
