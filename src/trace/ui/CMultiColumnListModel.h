#pragma once

#include <QAbstractItemModel>
#include <QMap>
#include <QPixmap>
#include <QStringList>

#include <deque>

// The flat table behind the trace view: rows of text cells under a list of column headers, an
// icon per row in the first column, and an optional limit on the number of rows beyond which the
// oldest row is dropped. A full table drops one row and gains one with every trace line, so both
// ends of the row sequence must be cheap to change.
class CMultiColumnListModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    explicit CMultiColumnListModel(QObject *parent = nullptr);

    QModelIndex index(int row, int column, const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    bool hasChildren(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    // New columns, icons and row limit (0: no limit); the table starts empty.
    void Setup(const QStringList &headers, const QMap<QString, QPixmap> &iconMap, quint32 maxRows);
    void Clear();
    // Appends a row showing the icon named by qstrIconKey, dropping the oldest row when the table
    // is over its limit. Returns the index of the last row, column 0.
    QModelIndex AddRow(const QString &qstrIconKey, const QStringList &cells);

    // What the table shows, for saving and copying the trace.
    QStringList Headers() const { return m_headers; }
    QStringList RowCells(int row) const { return m_rows.at(static_cast<std::size_t>(row)); }

private:
    bool IsLastColumn(int column) const { return column == m_headers.size() - 1; }

    QStringList m_headers;
    QMap<QString, QPixmap> m_iconMap;
    std::deque<QStringList> m_rows;
    std::deque<QString> m_rowIcons; // parallel to m_rows
    quint32 m_maxRows = 0;
};
