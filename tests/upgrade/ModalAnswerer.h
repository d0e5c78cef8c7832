#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

#include <deque>
#include <functional>

class QFileDialog;

// Answers the modal windows that the code under test runs with exec(): each modal window that
// appears is handed to the next handler in the queue. A window for which no handler is queued is
// recorded as unexpected and rejected, and so is a window its handler left open for seconds, so a
// test never hangs on a forgotten box.
class ModalAnswerer : public QObject
{
public:
    using Handler = std::function<void(QWidget *window)>;

    ModalAnswerer();

    void Expect(Handler handler) { m_handlers.push_back(std::move(handler)); }
    // A handler for a file dialog: chooses path, or cancels the dialog when path is empty.
    static Handler ChooseFile(const QString &path);
    // Chooses path in an open file dialog as a user does, by typing it and accepting (empty:
    // cancels it). A dialog that does not take the name is cancelled with a warning, so the test
    // fails on the missing file instead of waiting for ever in the dialog's exec().
    static void Choose(QWidget *fileDialog, const QString &path);
    // Goes to the folder of path and types its name into the file name field, without accepting;
    // a folder that does not exist cannot be opened, so then the whole path is typed.
    static void TypeFileName(QFileDialog *fileDialog, const QString &path);
    // Modal windows seen so far, by class name, and those nobody expected.
    QStringList Seen() const { return m_seen; }
    QStringList Unexpected() const { return m_unexpected; }
    int PendingHandlers() const { return static_cast<int>(m_handlers.size()); }

private:
    // Makes the dialog the active window and waits until its file name field has the focus.
    static void Activate(QFileDialog *fileDialog);
    static void EnterName(QFileDialog *fileDialog, const QString &path);
    void Poll();
    void CloseIfLeftOpen(QWidget *window);

    QTimer m_timer;
    std::deque<Handler> m_handlers;
    QList<QPointer<QWidget>> m_handled;
    QElapsedTimer m_sinceHandled; // since the last window was handed to its handler
    QStringList m_seen;
    QStringList m_unexpected;
};
