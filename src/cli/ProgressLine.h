#pragma once

#include <QElapsedTimer>
#include <QTextStream>

// Progress of a long CLI command on stderr: a bar drawn in place when a person watches a terminal,
// otherwise one "progress: <done>/<total>" line per step, which scripts can read.
class ProgressLine
{
public:
    ProgressLine(QTextStream &err, bool bar);

    // True when the stream writes to a terminal.
    static bool IsTerminal(const QTextStream &stream);

    // A count of steps (probes, say): the line or the bar show the same number.
    void Show(int value, int maximum);
    // A transfer of bytes: the lines count what was sent (as a script has always read them); the bar
    // counts what the far end has acknowledged and adds the elapsed time, the rate and the time left.
    // The clock starts with the first call and again whenever the sent count goes back.
    void ShowTransfer(int sent, int acknowledged, int maximum);
    // Ends a bar drawn in place, so that the next text starts on a line of its own.
    void Break();

private:
    void DrawBar(int value, int maximum);
    static QString Duration(qint64 milliseconds);

    QTextStream &m_err;
    const bool m_bar;
    bool m_barOpen = false;
    int m_lastSent = -1;
    QElapsedTimer m_transferTime;
};
