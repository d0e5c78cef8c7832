#pragma once

#include <QCompleter>

class QLineEdit;
class QStandardItemModel;

// Offers the serial ports present in a device-name field: each port's path (and its stable
// by-id path, where the system made one) with the port's description beside it. The field stays
// free text; an arrow at its end shows the whole list.
class SerialPortCompleter : public QCompleter
{
    Q_OBJECT

public:
    explicit SerialPortCompleter(QLineEdit *edit);

    static constexpr int NameColumn = 0;
    static constexpr int DescriptionColumn = 1;

    // Shows every port, whatever the field holds.
    void ShowAll();

private:
    static QStandardItemModel *BuildModel(QObject *parent);
};
