#pragma once

#include <QObject>
#include <QString>

#include <thread>

// A program that races on purpose, so that a test can see what the thread sanitizer reports with
// the project's suppressions in force. Each mode is one situation:
//   plain     two std::threads increment one counter without a lock;
//   slot      a std::thread writes the counter, and a slot that Qt's event loop calls reads it;
//   qtthread  a thread that Qt starts writes the counter while the main thread writes it too;
//   handover  a std::thread sends queued signals with arguments of our own types and shares
//             nothing else: the only cross-thread traffic is Qt's, and nothing may be reported.
class RaceProbe : public QObject
{
    Q_OBJECT

public:
    enum Verdict { Accepted, Refused };
    Q_ENUM(Verdict)

    struct Record
    {
        int code;
        const char *name;
    };

    // Runs `mode` to its end; false for an unknown mode.
    bool Run(const QString &mode);

signals:
    void Tick(RaceProbe::Verdict verdict, const RaceProbe::Record *record, const QString &text);

private slots:
    void OnTick(RaceProbe::Verdict verdict, const RaceProbe::Record *record, const QString &text);

private:
    void RunPlain();
    void RunSlot();
    void RunQtThread();
    void RunHandover();
    void Bump();
    void WriteFromWorker();
    void EmitTicks(int count);
    void WaitForTicks(int count);

    int m_counter = 0; // deliberately unguarded
    int m_ticks = 0;   // touched by the main thread only
};
