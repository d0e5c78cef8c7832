#pragma once

#include <QTextStream>

// Progress of a long CLI command on stderr: a bar drawn in place when a person watches a terminal,
// otherwise one "progress: <done>/<total>" line per step, which scripts can read.
class ProgressLine
{
public:
    ProgressLine(QTextStream &err, bool bar);

    // True when the stream writes to a terminal.
    static bool IsTerminal(const QTextStream &stream);

    void Show(int value, int maximum);
    // Ends a bar drawn in place, so that the next text starts on a line of its own.
    void Break();

private:
    QTextStream &m_err;
    const bool m_bar;
    bool m_barOpen = false;
};
