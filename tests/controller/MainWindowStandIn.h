#pragma once

#include <QWidget>

// The main window as the traffic-light controller knows it: a parent for its remote-control
// dialog and the slot that dialog reports its closing to, which counts the reports.
class MainWindowStandIn : public QWidget
{
    Q_OBJECT

public:
    int closedCount = 0;

public slots:
    void StreloDialogClosed(int) { ++closedCount; }
};
