#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

// A translation file (.ts) as the tests read it: every entry by context and source text, with its
// translation and its state (type="unfinished", "vanished" or "obsolete"; empty when finished).
class TsCatalogue
{
public:
    struct Entry {
        QString context;
        QString source;
        QString translation;
        QString type;
    };

    // Reads the file; false (and an empty catalogue) when it cannot be read or parsed.
    bool Load(const QString &path);
    QString ErrorText() const { return m_error; }

    const QList<Entry> &Entries() const { return m_entries; }
    // The finished translation of a source text, or an empty string when there is none.
    QString Translation(const QString &context, const QString &source) const;

private:
    QList<Entry> m_entries;
    QHash<QString, int> m_index; // context + '\n' + source -> entry
    QString m_error;
};
