#pragma once

#include <QLabel>

// The status-bar label showing the device's UID ("UID: 12 34 AB"). A click copies the bare UID,
// without the "UID:" tag and without any blanks, to the clipboard; an empty label copies nothing.
class CCopy2ClipboardLabel : public QLabel
{
    Q_OBJECT

public:
    // Created without a parent; the status bar adopts it.
    explicit CCopy2ClipboardLabel(QWidget *parent = nullptr);

protected:
    void mousePressEvent(QMouseEvent *e) override;
};
