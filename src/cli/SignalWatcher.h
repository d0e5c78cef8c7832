#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGINT and SIGTERM into a Qt signal on the main thread (through a self-pipe), so a
// command stops the link cleanly instead of dying with the port open.
class SignalWatcher : public QObject
{
    Q_OBJECT

public:
    explicit SignalWatcher(QObject *parent = nullptr);
    ~SignalWatcher() override;

signals:
    void Interrupted();

private:
    static void Handler(int signal);
    void Drain();

    static int s_pipe[2];
    QSocketNotifier *m_notifier = nullptr;
};
