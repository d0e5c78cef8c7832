// Cost of appending a trace line to a full trace table: the table at its default limit of 10000
// rows against a table of 100 rows, the model alone and with a table view attached (as in the
// main window). A full table drops its oldest row with every new one, so the cost per line must
// not grow with the limit. Prints figures; asserts nothing.
#include "trace/ui/CMultiColumnListModel.h"

#include <QApplication>
#include <QHeaderView>
#include <QPixmap>
#include <QTableView>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

QStringList Cells(int n)
{
    return {QStringLiteral("12:00:00.%1").arg(n % 1000, 3, 10, QLatin1Char('0')), n % 2 ? "rx" : "tx",
            QStringLiteral("68 0C 0C 68 53 01 0A 01 00 %1 16").arg(n % 256, 2, 16, QLatin1Char('0'))};
}

// Median over batches of the mean time of one AddRow, in microseconds, on a table already full.
double MicrosecondsPerRow(quint32 maxRows, bool withView)
{
    QPixmap rx(16, 16);
    rx.fill(Qt::green);
    QPixmap tx(16, 16);
    tx.fill(Qt::red);
    CMultiColumnListModel model;
    model.Setup({"Time", "Dir", "Telegram"}, {{"rx", rx}, {"tx", tx}}, maxRows);
    std::unique_ptr<QTableView> view;
    if (withView) {
        view = std::make_unique<QTableView>();
        view->verticalHeader()->hide();
        view->setModel(&model);
        view->resize(600, 400);
        view->show();
    }
    for (quint32 n = 0; n < maxRows; ++n)
        model.AddRow(n % 2 ? "rx" : "tx", Cells(int(n)));

    const int batches = 30;
    const int rowsPerBatch = 1000;
    std::vector<double> perRow;
    for (int batch = 0; batch < batches; ++batch) {
        const auto start = Clock::now();
        for (int n = 0; n < rowsPerBatch; ++n) {
            const QModelIndex last = model.AddRow(n % 2 ? "rx" : "tx", Cells(n));
            if (view)
                view->scrollTo(last);
        }
        if (view)
            QCoreApplication::processEvents();
        const std::chrono::duration<double, std::micro> elapsed = Clock::now() - start;
        perRow.push_back(elapsed.count() / rowsPerBatch);
    }
    std::sort(perRow.begin(), perRow.end());
    return perRow[perRow.size() / 2];
}

void Compare(bool withView)
{
    const double small = MicrosecondsPerRow(100, withView);
    const double large = MicrosecondsPerRow(10000, withView);
    std::printf("AddRow on a full table%s: %8.2f us at 100 rows, %8.2f us at 10000 rows, ratio %.2f\n",
                withView ? " with view " : " (model)  ", small, large, large / small);
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    Compare(false);
    Compare(true);
    return 0;
}
