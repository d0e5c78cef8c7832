#pragma once

#include <QHash>
#include <QString>

// The English texts of a designer form (.ui), the program's own language: a widget's or action's
// property "text", "title", "windowTitle" or "toolTip", or a tab page's attribute "title", by
// object name.
class UiFormTexts
{
public:
    bool Load(const QString &path);
    QString ErrorText() const { return m_error; }

    // The text, or a null string when the form has none under that name.
    QString Text(const QString &objectName, const QString &property) const;

private:
    QHash<QString, QString> m_texts; // object name + '\n' + property -> text
    QString m_error;
};
