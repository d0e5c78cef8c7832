#include "CMultiColumnListModel.h"

namespace
{
// Text alignments as the view reads them: the last column holds free text and reads from the
// left, the short fields before it are centred.
constexpr int AlignLeftMiddle = Qt::AlignLeft | Qt::AlignVCenter;     // 0x81
constexpr int AlignCentreMiddle = Qt::AlignHCenter | Qt::AlignVCenter; // 0x84
} // namespace

CMultiColumnListModel::CMultiColumnListModel(QObject *parent) : QAbstractItemModel(parent) {}

QModelIndex CMultiColumnListModel::index(int row, int column, const QModelIndex &parent) const
{
    if (parent.isValid() || row < 0 || row >= rowCount() || column < 0 || column >= columnCount())
        return QModelIndex();
    return createIndex(row, column);
}

QModelIndex CMultiColumnListModel::parent(const QModelIndex &) const
{
    return QModelIndex();
}

int CMultiColumnListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int CMultiColumnListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_headers.size());
}

bool CMultiColumnListModel::hasChildren(const QModelIndex &parent) const
{
    return !parent.isValid();
}

QVariant CMultiColumnListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return QVariant();
    const size_t row = size_t(index.row());
    switch (role) {
    case Qt::DisplayRole:
        // A row may carry fewer cells than there are columns; the missing ones are empty.
        return m_rows.at(row).value(index.column());
    case Qt::DecorationRole: {
        if (index.column() != 0)
            return QVariant();
        const auto icon = m_iconMap.constFind(m_rowIcons.at(row));
        return icon == m_iconMap.constEnd() ? QVariant() : QVariant(*icon);
    }
    case Qt::TextAlignmentRole:
        return IsLastColumn(index.column()) ? AlignLeftMiddle : AlignCentreMiddle;
    default:
        return QVariant();
    }
}

QVariant CMultiColumnListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= m_headers.size())
        return QVariant();
    if (role == Qt::DisplayRole)
        return m_headers.at(section);
    if (role == Qt::TextAlignmentRole && IsLastColumn(section))
        return AlignLeftMiddle;
    return QVariant();
}

void CMultiColumnListModel::Setup(const QStringList &headers, const QMap<QString, QPixmap> &iconMap, quint32 maxRows)
{
    beginResetModel();
    m_headers = headers;
    m_iconMap = iconMap;
    m_maxRows = maxRows;
    m_rows.clear();
    m_rowIcons.clear();
    endResetModel();
}

void CMultiColumnListModel::Clear()
{
    beginResetModel();
    m_rows.clear();
    m_rowIcons.clear();
    endResetModel();
}

QModelIndex CMultiColumnListModel::AddRow(const QString &qstrIconKey, const QStringList &cells)
{
    const int oldCount = rowCount();
    beginInsertRows(QModelIndex(), oldCount, oldCount);
    m_rows.push_back(cells);
    m_rowIcons.push_back(qstrIconKey);
    endInsertRows();

    // The limit is reached one row at a time and Setup empties the table when it changes, so
    // dropping the single oldest row is always enough.
    if (m_maxRows != 0 && m_maxRows < m_rows.size()) {
        beginRemoveRows(QModelIndex(), 0, 0);
        m_rows.pop_front();
        m_rowIcons.pop_front();
        endRemoveRows();
    }
    return index(rowCount() - 1, 0);
}
