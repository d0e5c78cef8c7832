#include "TraceTableExport.h"

#include "CMultiColumnListModel.h"

#include <QAction>
#include <QClipboard>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QItemSelectionModel>
#include <QMessageBox>
#include <QSaveFile>
#include <QTableView>

#include <algorithm>

TraceTableExport::TraceTableExport(QTableView *table, CMultiColumnListModel *model, QWidget *dialogParent)
    : QObject(dialogParent)
    , m_table(table)
    , m_model(model)
    , m_dialogParent(dialogParent)
    , m_folder(QDir::homePath())
{
    auto *copy = new QAction(tr("Copy"), table);
    copy->setObjectName(QStringLiteral("actionCopyTrace"));
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, this, &TraceTableExport::CopySelection);
    table->addAction(copy);
    table->setContextMenuPolicy(Qt::ActionsContextMenu);
}

void TraceTableExport::SaveTrace()
{
    QFileDialog dialog(m_dialogParent, tr("Save Trace"), m_folder);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters({CsvFilter(), TextFilter()});
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    const bool text = dialog.selectedNameFilter() == TextFilter();
    const auto format = text ? CTraceExport::Format::Tsv : CTraceExport::Format::Csv;
    // A name without an extension gets the one of the chosen filter.
    QString path = dialog.selectedFiles().first();
    if (QFileInfo(path).suffix().isEmpty())
        path += text ? QStringLiteral(".txt") : QStringLiteral(".csv");
    m_folder = QFileInfo(path).absolutePath();
    if (!Save(path, format))
        QMessageBox::warning(m_dialogParent, tr("Saving the trace failed"),
                             tr("The trace could not be written to %1: %2\nChoose another file or folder "
                                "and save again.").arg(QDir::toNativeSeparators(path), m_error));
}

bool TraceTableExport::Save(const QString &path, CTraceExport::Format format)
{
    const QStringList headers = m_model->Headers();
    std::vector<QStringList> rows;
    rows.reserve(static_cast<std::size_t>(m_model->rowCount()));
    for (int row = 0; row < m_model->rowCount(); ++row)
        rows.push_back(m_model->RowCells(row));

    // The file appears whole or not at all, so a failed save never leaves half a trace behind.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !CTraceExport::Write(file, format, headers, rows) || !file.commit()) {
        m_error = file.errorString();
        return false;
    }
    return true;
}

void TraceTableExport::CopySelection()
{
    QList<int> selected;
    for (const QModelIndex &index : m_table->selectionModel()->selectedRows())
        selected << index.row();
    if (selected.isEmpty())
        return;
    std::sort(selected.begin(), selected.end());
    std::vector<QStringList> rows;
    for (int row : selected)
        rows.push_back(m_model->RowCells(row));
    QGuiApplication::clipboard()->setText(CTraceExport::Text(CTraceExport::Format::Tsv, m_model->Headers(), rows));
}
