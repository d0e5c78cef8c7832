#pragma once

#include <QString>
#include <QStringList>

#include <vector>

class QIODevice;

// The trace as a file or on the clipboard, for the colleague who reads it: a header row with the
// level's column titles, then one line per trace row. Comma-separated text follows RFC 4180 (a
// field holding a comma, a double quote or a line break is put in double quotes, its double quotes
// doubled; lines end in CR LF), so spreadsheets open it as it is; tab-separated text keeps one
// line per row by turning tabs and line breaks inside a cell into blanks.
class CTraceExport
{
public:
    enum class Format { Csv, Tsv };

    static QString CsvField(const QString &cell);
    static QString Line(Format format, const QStringList &cells);
    // Header and rows as one text.
    static QString Text(Format format, const QStringList &headers, const std::vector<QStringList> &rows);
    // Writes header and rows as UTF-8 to an open device; false when the device takes not all of it.
    static bool Write(QIODevice &device, Format format, const QStringList &headers,
                      const std::vector<QStringList> &rows);
};
