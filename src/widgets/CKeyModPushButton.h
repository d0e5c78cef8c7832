#pragma once

#include <QPushButton>

// A push button that tells a Shift-click and a Ctrl-click apart from a plain click. A modified
// click emits only its own signal, never clicked() as well; any other combination of modifiers
// (Shift with Ctrl, or with the keypad flag) is an ordinary click.
class CKeyModPushButton : public QPushButton
{
    Q_OBJECT

public:
    explicit CKeyModPushButton(QWidget *parent = nullptr);

signals:
    void clickedWithShift();
    void clickedWithCtrl();

protected:
    void mouseReleaseEvent(QMouseEvent *e) override;
};
