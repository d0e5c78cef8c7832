#pragma once

#include <QWidget>

// What the traffic-light controller needs of the main window: a parent for its remote-control
// dialog and the slot that dialog reports its closing to.
class WindowStandIn : public QWidget
{
    Q_OBJECT

public slots:
    void StreloDialogClosed(int) {}
};
