#pragma once

#include <QApplication>
#include <QObject>
#include <QThread>
#include <QTimer>
#include <QWidget>

#include <functional>

// Handles the next modal dialog of type Dialog as soon as it runs: the test arms this, then
// triggers the action that opens the dialog and blocks in its event loop.
template <typename Dialog>
// inItsLoop: handle the dialog only once its exec() runs its own event loop. A dialog closed while
// it is still being shown, before that loop starts, leaves exec() waiting for ever.
void OnNextModal(QObject *context, std::function<void(Dialog *)> handle, bool inItsLoop = false)
{
    auto *poll = new QTimer(context);
    poll->setInterval(10);
    const int level = QThread::currentThread()->loopLevel();
    QObject::connect(poll, &QTimer::timeout, context, [poll, handle, inItsLoop, level] {
        if (inItsLoop && QThread::currentThread()->loopLevel() <= level)
            return;
        if (auto *dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget())) {
            poll->stop();
            poll->deleteLater();
            handle(dialog);
        }
    });
    poll->start();
}
