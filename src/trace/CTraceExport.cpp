#include "CTraceExport.h"

#include <QIODevice>
#include <QRegularExpression>

QString CTraceExport::CsvField(const QString &cell)
{
    static const QRegularExpression needsQuotes(QStringLiteral("[\",\r\n]"));
    if (!cell.contains(needsQuotes))
        return cell;
    QString quoted = cell;
    quoted.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

QString CTraceExport::Line(Format format, const QStringList &cells)
{
    QStringList fields;
    fields.reserve(cells.size());
    if (format == Format::Csv) {
        for (const QString &cell : cells)
            fields << CsvField(cell);
        return fields.join(QLatin1Char(',')) + QLatin1String("\r\n");
    }
    static const QRegularExpression breaks(QStringLiteral("[\t\r\n]"));
    for (const QString &cell : cells)
        fields << QString(cell).replace(breaks, QStringLiteral(" "));
    return fields.join(QLatin1Char('\t')) + QLatin1Char('\n');
}

QString CTraceExport::Text(Format format, const QStringList &headers, const std::vector<QStringList> &rows)
{
    QString text = Line(format, headers);
    for (const QStringList &row : rows)
        text += Line(format, row);
    return text;
}

bool CTraceExport::Write(QIODevice &device, Format format, const QStringList &headers,
                         const std::vector<QStringList> &rows)
{
    if (device.write(Line(format, headers).toUtf8()) < 0)
        return false;
    for (const QStringList &row : rows)
        if (device.write(Line(format, row).toUtf8()) < 0)
            return false;
    return true;
}
