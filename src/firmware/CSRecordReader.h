#pragma once

#include "SRecordTable.h"

// Reads the text of a Motorola S-record image. Lines end at a carriage return; a line feed right
// after it is dropped, so CR LF and CR line ends work while a file with LF line ends is one long
// line. Every line is checked (type, size, byte count, hex pairs, checksum) and the first bad one
// ends the read with a CFirmwareException. Only the header record and the data and end records of
// the chosen address width are accepted: S0, S2 and S8 for 24-bit addresses, S0, S3 and S7 for
// 32-bit addresses. Lines are measured in characters of UTF-8 text.
class CSRecordReader
{
public:
    explicit CSRecordReader(bool wideAddresses);

    // Appends the data records of text to table; throws at the first bad line, leaving the
    // records before it in the table.
    void Read(const ByteVector &text, SRecordTable &table) const;

private:
    bool wideAddresses;
};
