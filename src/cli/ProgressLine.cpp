#include "ProgressLine.h"

#include <QFile>

#include <unistd.h>

namespace {

constexpr int kBarWidth = 40;

} // namespace

ProgressLine::ProgressLine(QTextStream &err, bool bar)
    : m_err(err)
    , m_bar(bar)
{
}

bool ProgressLine::IsTerminal(const QTextStream &stream)
{
    const auto *file = qobject_cast<const QFile *>(stream.device());
    return file && file->handle() >= 0 && isatty(file->handle()) != 0;
}

void ProgressLine::Show(int value, int maximum)
{
    if (!m_bar) {
        m_err << "progress: " << value << "/" << maximum << "\n";
        m_err.flush();
        return;
    }
    const int filled = maximum > 0 ? static_cast<int>(qint64(value) * kBarWidth / maximum) : kBarWidth;
    const int percent = maximum > 0 ? static_cast<int>(qint64(value) * 100 / maximum) : 100;
    m_err << "\r[" << QString(filled, QLatin1Char('#')) << QString(kBarWidth - filled, QLatin1Char('.')) << "] "
          << percent << "% " << value << "/" << maximum;
    m_err.flush();
    m_barOpen = true;
}

void ProgressLine::Break()
{
    if (!m_barOpen)
        return;
    m_err << "\n";
    m_err.flush();
    m_barOpen = false;
}
