#include "CKeyModPushButton.h"

#include <QMouseEvent>

CKeyModPushButton::CKeyModPushButton(QWidget *parent) : QPushButton(parent) {}

void CKeyModPushButton::mouseReleaseEvent(QMouseEvent *e)
{
    const Qt::KeyboardModifiers modifiers = e->modifiers();
    if (modifiers != Qt::ShiftModifier && modifiers != Qt::ControlModifier) {
        QPushButton::mouseReleaseEvent(e);
        return;
    }
    // The base release handling would emit clicked() too, so it is skipped; the press left the
    // button drawn sunken, which is undone here.
    setDown(false);
    if (modifiers == Qt::ShiftModifier)
        emit clickedWithShift();
    else
        emit clickedWithCtrl();
}
