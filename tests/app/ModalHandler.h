#pragma once

#include <QApplication>
#include <QObject>
#include <QTimer>
#include <QWidget>

#include <functional>

// Handles the next modal dialog of type Dialog as soon as it runs: the test arms this, then
// triggers the action that opens the dialog and blocks in its event loop. A file dialog is best
// answered with ModalAnswerer::Choose, which types the name as a user does.
template <typename Dialog>
void OnNextModal(QObject *context, std::function<void(Dialog *)> handle)
{
    auto *poll = new QTimer(context);
    poll->setInterval(10);
    QObject::connect(poll, &QTimer::timeout, context, [poll, handle] {
        if (auto *dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget())) {
            poll->stop();
            poll->deleteLater();
            handle(dialog);
        }
    });
    poll->start();
}
