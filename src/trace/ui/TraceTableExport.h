#pragma once

#include "trace/CTraceExport.h"

#include <QObject>
#include <QString>

class CMultiColumnListModel;
class QTableView;
class QWidget;

// Keeps the trace for the colleague who must read it: saves the rows of the trace table to a
// comma-separated file (for spreadsheets) or a tab-separated text file, by the file filter the
// user picks, and copies the selected rows (Ctrl+C in the table) as tab-separated text, each with
// the header row of the level's column titles.
//
// The rows are copied out of the model on the user-interface thread and written from that copy;
// no protocol lock is involved, so the link goes on polling, and the rows that arrive meanwhile
// wait in the event queue and are appended after the save.
class TraceTableExport : public QObject
{
    Q_OBJECT

public:
    TraceTableExport(QTableView *table, CMultiColumnListModel *model, QWidget *dialogParent);

    static QString CsvFilter() { return tr("Comma-separated values (*.csv)"); }
    static QString TextFilter() { return tr("Tab-separated text (*.txt)"); }

    // Writes every row of the table to path; false (with the reason in ErrorText) when it cannot.
    bool Save(const QString &path, CTraceExport::Format format);
    QString ErrorText() const { return m_error; }

public slots:
    // Asks for a file name and a format, then saves; a failure is shown in a message box.
    void SaveTrace();
    // The selected rows, in table order, with the header, to the clipboard.
    void CopySelection();

private:
    QTableView *m_table;
    CMultiColumnListModel *m_model;
    QWidget *m_dialogParent;
    QString m_folder; // where the last trace was saved in this run
    QString m_error;
};
