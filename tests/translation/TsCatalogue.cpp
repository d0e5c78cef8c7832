#include "TsCatalogue.h"

#include <QFile>
#include <QXmlStreamReader>

bool TsCatalogue::Load(const QString &path)
{
    m_entries.clear();
    m_index.clear();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        m_error = QStringLiteral("cannot read %1").arg(path);
        return false;
    }
    QXmlStreamReader xml(&file);
    QString context;
    Entry entry;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QStringView name = xml.name();
        if (name == QLatin1String("name")) {
            context = xml.readElementText();
        } else if (name == QLatin1String("message")) {
            entry = Entry{context, QString(), QString(), QString()};
        } else if (name == QLatin1String("source")) {
            entry.source = xml.readElementText();
        } else if (name == QLatin1String("translation")) {
            entry.type = xml.attributes().value(QLatin1String("type")).toString();
            entry.translation = xml.readElementText();
            m_index.insert(entry.context + QLatin1Char('\n') + entry.source, int(m_entries.size()));
            m_entries.append(entry);
        }
    }
    if (xml.hasError()) {
        m_error = QStringLiteral("%1: %2").arg(path, xml.errorString());
        m_entries.clear();
        m_index.clear();
        return false;
    }
    return true;
}

QString TsCatalogue::Translation(const QString &context, const QString &source) const
{
    const int at = m_index.value(context + QLatin1Char('\n') + source, -1);
    if (at < 0 || !m_entries.at(at).type.isEmpty())
        return QString();
    return m_entries.at(at).translation;
}
