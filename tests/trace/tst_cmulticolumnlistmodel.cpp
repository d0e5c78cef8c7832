#include "trace/ui/CMultiColumnListModel.h"

#include <QAbstractItemModelTester>
#include <QImage>
#include <QSignalSpy>
#include <QtTest>

#include <stdexcept>

class TestCMultiColumnListModel : public QObject
{
    Q_OBJECT

private:
    static QPixmap Swatch(Qt::GlobalColor colour)
    {
        QPixmap pixmap(16, 16);
        pixmap.fill(colour);
        return pixmap;
    }
    static QMap<QString, QPixmap> Icons() { return {{"rx", Swatch(Qt::green)}, {"tx", Swatch(Qt::red)}}; }
    static QStringList Headers() { return {"Time", "Dir", "Telegram"}; }

    // Rows whose cells name their number: {"1", "rx", "telegram 1"}.
    static void AddNumberedRows(CMultiColumnListModel &model, int first, int last)
    {
        for (int n = first; n <= last; ++n)
            model.AddRow(n % 2 ? "rx" : "tx", {QString::number(n), n % 2 ? "rx" : "tx", QStringLiteral("telegram %1").arg(n)});
    }

    static QStringList FirstColumn(const CMultiColumnListModel &model)
    {
        QStringList cells;
        for (int row = 0; row < model.rowCount(); ++row)
            cells << model.data(model.index(row, 0)).toString();
        return cells;
    }

private slots:
    void emptyModel()
    {
        CMultiColumnListModel model;
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(model.columnCount(), 0);
        QVERIFY(!model.index(0, 0).isValid());
        QVERIFY(model.hasChildren());
    }

    void addRowAppendsAndReturnsTheLastRow()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 0);
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);

        const QModelIndex first = model.AddRow("rx", {"0.000", "rx", "10 49 01 4A 16"});
        QCOMPARE(first.row(), 0);
        QCOMPARE(first.column(), 0);
        const QModelIndex second = model.AddRow("tx", {"0.010", "tx", "E5"});
        QCOMPARE(second.row(), 1);
        QCOMPARE(second.column(), 0);

        QCOMPARE(model.rowCount(), 2);
        QCOMPARE(model.data(model.index(1, 2)).toString(), QStringLiteral("E5"));
        QCOMPARE(model.data(model.index(0, 2), Qt::DisplayRole).toString(), QStringLiteral("10 49 01 4A 16"));
        QCOMPARE(inserted.count(), 2);
        QCOMPARE(inserted.at(0).at(1).toInt(), 0);
        QCOMPARE(inserted.at(0).at(2).toInt(), 0);
        QCOMPARE(inserted.at(1).at(1).toInt(), 1);
        QCOMPARE(inserted.at(1).at(2).toInt(), 1);
    }

    void fullTableDropsTheOldestRow()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 3);
        AddNumberedRows(model, 1, 3);
        QSignalSpy aboutToBeRemoved(&model, &QAbstractItemModel::rowsAboutToBeRemoved);
        QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);

        const QModelIndex last = model.AddRow("tx", {"4", "tx", "telegram 4"});

        QCOMPARE(FirstColumn(model), QStringList({"2", "3", "4"}));
        QCOMPARE(model.data(model.index(2, 2)).toString(), QStringLiteral("telegram 4"));
        QCOMPARE(last, model.index(2, 0));
        // The new row is announced at the end of the full table, then row 0 leaves.
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(inserted.at(0).at(1).toInt(), 3);
        QCOMPARE(aboutToBeRemoved.count(), 1);
        QCOMPARE(removed.count(), 1);
        for (const QList<QVariant> &signal : {aboutToBeRemoved.at(0), removed.at(0)}) {
            QVERIFY(!signal.at(0).value<QModelIndex>().isValid());
            QCOMPARE(signal.at(1).toInt(), 0);
            QCOMPARE(signal.at(2).toInt(), 0);
        }
        // Each row keeps its own icon as the rows move up.
        QCOMPARE(model.data(model.index(0, 0), Qt::DecorationRole).value<QPixmap>().toImage(), Swatch(Qt::red).toImage());
        QCOMPARE(model.data(model.index(1, 0), Qt::DecorationRole).value<QPixmap>().toImage(), Swatch(Qt::green).toImage());
    }

    void oneRowPerInsertionLeaves()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 1);
        QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
        AddNumberedRows(model, 1, 5);
        QCOMPARE(FirstColumn(model), QStringList({"5"}));
        QCOMPARE(removed.count(), 4);
    }

    void noLimitNeverDrops()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 0);
        QSignalSpy removed(&model, &QAbstractItemModel::rowsAboutToBeRemoved);
        AddNumberedRows(model, 1, 12000);
        QCOMPARE(model.rowCount(), 12000);
        QCOMPARE(model.data(model.index(0, 0)).toString(), QStringLiteral("1"));
        QCOMPARE(model.data(model.index(11999, 0)).toString(), QStringLiteral("12000"));
        QCOMPARE(removed.count(), 0);
    }

    void unknownIconKeyShowsTextWithoutIcon()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 0);
        model.AddRow("xx", {"0.000", "??", "garbage"});
        model.AddRow(QString(), {"0.001", "", "no key"});
        for (int row = 0; row < 2; ++row) {
            QVERIFY(!model.data(model.index(row, 0), Qt::DecorationRole).isValid());
            QVERIFY(!model.data(model.index(row, 0)).toString().isEmpty());
        }
        QCOMPARE(model.data(model.index(0, 2)).toString(), QStringLiteral("garbage"));
    }

    void iconOnlyInTheFirstColumn()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 0);
        model.AddRow("rx", {"0.000", "rx", "E5"});
        const QVariant icon = model.data(model.index(0, 0), Qt::DecorationRole);
        QVERIFY(icon.canConvert<QPixmap>());
        QCOMPARE(icon.value<QPixmap>().toImage(), Swatch(Qt::green).toImage());
        QVERIFY(!model.data(model.index(0, 1), Qt::DecorationRole).isValid());
        QVERIFY(!model.data(model.index(0, 2), Qt::DecorationRole).isValid());
    }

    void setupCopiesTheIconMap()
    {
        QMap<QString, QPixmap> icons = Icons();
        CMultiColumnListModel model;
        model.Setup(Headers(), icons, 0);
        icons.clear();
        model.AddRow("tx", {"0.000", "tx", "E5"});
        QVERIFY(model.data(model.index(0, 0), Qt::DecorationRole).isValid());
    }

    void lastColumnLeftOthersCentred()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 0);
        model.AddRow("rx", {"0.000", "rx", "E5"});
        QCOMPARE(model.data(model.index(0, 0), Qt::TextAlignmentRole).toInt(), 0x84);
        QCOMPARE(model.data(model.index(0, 1), Qt::TextAlignmentRole).toInt(), 0x84);
        QCOMPARE(model.data(model.index(0, 2), Qt::TextAlignmentRole).toInt(), 0x81);
        QCOMPARE(0x81, int(Qt::AlignLeft | Qt::AlignVCenter));
        QCOMPARE(0x84, int(Qt::AlignHCenter | Qt::AlignVCenter));
    }

    void otherRolesAreInvalid()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 0);
        model.AddRow("rx", {"0.000", "rx", "E5"});
        for (const int role : {int(Qt::ToolTipRole), int(Qt::EditRole), int(Qt::FontRole), int(Qt::ForegroundRole), int(Qt::UserRole)})
            QVERIFY2(!model.data(model.index(0, 2), role).isValid(), qPrintable(QString::number(role)));
    }

    void invalidIndexGivesNothing()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 0);
        model.AddRow("rx", {"0.000", "rx", "E5"});
        for (const int role : {int(Qt::DisplayRole), int(Qt::DecorationRole), int(Qt::TextAlignmentRole)})
            QVERIFY(!model.data(QModelIndex(), role).isValid());
    }

    void indexOnlyInsideTheTable()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 0);
        AddNumberedRows(model, 1, 2);
        QVERIFY(model.index(0, 0).isValid());
        QVERIFY(model.index(1, 2).isValid());
        QVERIFY(!model.index(2, 0).isValid());
        QVERIFY(!model.index(0, 3).isValid());
        QVERIFY(!model.index(-1, 0).isValid());
        QVERIFY(!model.index(0, -1).isValid());
        const QModelIndex cell = model.index(1, 1);
        QVERIFY(!model.index(0, 0, cell).isValid());
        QVERIFY(!model.parent(cell).isValid());
        QCOMPARE(model.rowCount(cell), 0);
        QCOMPARE(model.columnCount(cell), 0);
        QVERIFY(model.hasChildren(QModelIndex()));
        QVERIFY(!model.hasChildren(cell));
        QCOMPARE(model.columnCount(), 3);
    }

    void headerData()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 0);
        QCOMPARE(model.headerData(0, Qt::Horizontal).toString(), QStringLiteral("Time"));
        QCOMPARE(model.headerData(2, Qt::Horizontal, Qt::DisplayRole).toString(), QStringLiteral("Telegram"));
        QCOMPARE(model.headerData(2, Qt::Horizontal, Qt::TextAlignmentRole).toInt(), 0x81);
        QVERIFY(!model.headerData(0, Qt::Horizontal, Qt::TextAlignmentRole).isValid());
        QVERIFY(!model.headerData(1, Qt::Horizontal, Qt::TextAlignmentRole).isValid());
        QVERIFY(!model.headerData(0, Qt::Horizontal, Qt::ToolTipRole).isValid());
        QVERIFY(!model.headerData(3, Qt::Horizontal).isValid());
        QVERIFY(!model.headerData(-1, Qt::Horizontal).isValid());
    }

    void verticalHeaderIsInvalid()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 0);
        AddNumberedRows(model, 1, 3);
        for (const int role : {int(Qt::DisplayRole), int(Qt::TextAlignmentRole), int(Qt::DecorationRole)})
            for (int section = 0; section < 3; ++section)
                QVERIFY(!model.headerData(section, Qt::Vertical, role).isValid());
    }

    void setupReplacesEverythingInOneReset()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 2);
        AddNumberedRows(model, 1, 2);
        QSignalSpy aboutToReset(&model, &QAbstractItemModel::modelAboutToBeReset);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);

        model.Setup({"Bytes"}, {}, 5);

        QCOMPARE(aboutToReset.count(), 1);
        QCOMPARE(reset.count(), 1);
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(model.columnCount(), 1);
        QCOMPARE(model.headerData(0, Qt::Horizontal).toString(), QStringLiteral("Bytes"));
        QCOMPARE(model.headerData(0, Qt::Horizontal, Qt::TextAlignmentRole).toInt(), 0x81);
        // The new limit holds, and the old icons are gone.
        for (int n = 1; n <= 6; ++n)
            model.AddRow("rx", {QString::number(n)});
        QCOMPARE(FirstColumn(model), QStringList({"2", "3", "4", "5", "6"}));
        QVERIFY(!model.data(model.index(0, 0), Qt::DecorationRole).isValid());
        QCOMPARE(model.data(model.index(0, 0), Qt::TextAlignmentRole).toInt(), 0x81);
    }

    void clearEmptiesTheRowsInOneReset()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 3);
        AddNumberedRows(model, 1, 3);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        model.Clear();
        QCOMPARE(reset.count(), 1);
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(model.columnCount(), 3);
        // Headers, icons and limit stay.
        AddNumberedRows(model, 1, 4);
        QCOMPARE(FirstColumn(model), QStringList({"2", "3", "4"}));
        QVERIFY(model.data(model.index(0, 0), Qt::DecorationRole).isValid());
    }

    void rowWithFewerCellsShowsEmptyCells()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 0);
        model.AddRow("rx", {"0.000"});
        QCOMPARE(model.data(model.index(0, 0)).toString(), QStringLiteral("0.000"));
        QCOMPARE(model.data(model.index(0, 2)).toString(), QString());
    }

    // Views only ask for rows that exist; a stale index past the end is a programming error.
    void rowOutsideTheTableRaisesOutOfRange()
    {
        CMultiColumnListModel model;
        model.Setup(Headers(), Icons(), 0);
        AddNumberedRows(model, 1, 3);
        const QModelIndex stale = model.index(2, 0);
        model.Clear();
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, model.data(stale));
    }

    void passesTheModelTester()
    {
        CMultiColumnListModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.Setup(Headers(), Icons(), 50);
        AddNumberedRows(model, 1, 120);
        QCOMPARE(model.rowCount(), 50);
        model.AddRow("unknown", {"x"});
        model.Clear();
        AddNumberedRows(model, 1, 10);
        model.Setup({"Only"}, {}, 0);
        AddNumberedRows(model, 1, 10);
        QCOMPARE(model.rowCount(), 10);
    }
};

QTEST_MAIN(TestCMultiColumnListModel)
#include "tst_cmulticolumnlistmodel.moc"
