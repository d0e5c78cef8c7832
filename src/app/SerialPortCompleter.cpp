#include "SerialPortCompleter.h"

#include "ports/SerialPortCatalog.h"

#include <QAction>
#include <QHeaderView>
#include <QLineEdit>
#include <QStandardItemModel>
#include <QStyle>
#include <QTreeView>

SerialPortCompleter::SerialPortCompleter(QLineEdit *edit)
    : QCompleter(BuildModel(edit), edit)
{
    setCompletionColumn(NameColumn);
    setCaseSensitivity(Qt::CaseInsensitive);
    setFilterMode(Qt::MatchContains);

    auto *list = new QTreeView;
    list->setRootIsDecorated(false);
    list->setHeaderHidden(true);
    list->setSelectionBehavior(QAbstractItemView::SelectRows);
    list->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    setPopup(list);
    edit->setCompleter(this);

    QAction *showAll = edit->addAction(edit->style()->standardIcon(QStyle::SP_ArrowDown), QLineEdit::TrailingPosition);
    showAll->setObjectName(QStringLiteral("actionShowSerialPorts"));
    showAll->setToolTip(tr("Serial ports present"));
    connect(showAll, &QAction::triggered, this, &SerialPortCompleter::ShowAll);
}

void SerialPortCompleter::ShowAll()
{
    setCompletionPrefix(QString());
    complete();
}

QStandardItemModel *SerialPortCompleter::BuildModel(QObject *parent)
{
    auto *model = new QStandardItemModel(0, 2, parent);
    for (const SerialPortEntry &entry : SerialPortCatalog::Present()) {
        for (const QString &name : {entry.path, entry.stablePath}) {
            if (!name.isEmpty())
                model->appendRow({new QStandardItem(name), new QStandardItem(entry.description)});
        }
    }
    return model;
}
