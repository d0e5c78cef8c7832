#include "UiFormTexts.h"

#include <QFile>
#include <QStringList>
#include <QXmlStreamReader>

bool UiFormTexts::Load(const QString &path)
{
    m_texts.clear();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        m_error = QStringLiteral("cannot read %1").arg(path);
        return false;
    }
    QXmlStreamReader xml(&file);
    QStringList owners; // the widget or action each open element belongs to
    QString property;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement()) {
            const QStringView name = xml.name();
            const QString objectName = xml.attributes().value(QLatin1String("name")).toString();
            if (name == QLatin1String("widget") || name == QLatin1String("action"))
                owners.append(objectName);
            else if (name == QLatin1String("property") || name == QLatin1String("attribute"))
                property = objectName;
            else if (name == QLatin1String("string") && !owners.isEmpty() && !property.isEmpty())
                m_texts.insert(owners.last() + QLatin1Char('\n') + property, xml.readElementText());
        } else if (xml.isEndElement()) {
            const QStringView name = xml.name();
            if (name == QLatin1String("widget") || name == QLatin1String("action"))
                owners.removeLast();
            else if (name == QLatin1String("property") || name == QLatin1String("attribute"))
                property.clear();
        }
    }
    if (xml.hasError()) {
        m_error = QStringLiteral("%1: %2").arg(path, xml.errorString());
        return false;
    }
    return true;
}

QString UiFormTexts::Text(const QString &objectName, const QString &property) const
{
    return m_texts.value(objectName + QLatin1Char('\n') + property);
}
