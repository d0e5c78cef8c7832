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
    DrawBar(value, maximum);
    m_err.flush();
}

void ProgressLine::ShowTransfer(int sent, int acknowledged, int maximum)
{
    if (m_lastSent < 0 || sent < m_lastSent)
        m_transferTime.start();
    m_lastSent = sent;
    if (!m_bar) {
        m_err << "progress: " << sent << "/" << maximum << "\n";
        m_err.flush();
        return;
    }
    DrawBar(acknowledged, maximum);
    const qint64 elapsed = m_transferTime.elapsed();
    m_err << " bytes, " << Duration(elapsed);
    if (acknowledged > 0 && elapsed > 0) {
        const qint64 left = qint64(maximum - acknowledged) * elapsed / acknowledged;
        m_err << ", " << qint64(acknowledged) * 1000 / elapsed << " B/s, " << Duration(left) << " left";
    }
    // Blanks wipe the tail of a longer line drawn before.
    m_err << "   ";
    m_err.flush();
}

void ProgressLine::DrawBar(int value, int maximum)
{
    const int filled = maximum > 0 ? static_cast<int>(qint64(value) * kBarWidth / maximum) : kBarWidth;
    const int percent = maximum > 0 ? static_cast<int>(qint64(value) * 100 / maximum) : 100;
    m_err << "\r[" << QString(filled, QLatin1Char('#')) << QString(kBarWidth - filled, QLatin1Char('.')) << "] "
          << percent << "% " << value << "/" << maximum;
    m_barOpen = true;
}

// Minutes and seconds, "m:ss".
QString ProgressLine::Duration(qint64 milliseconds)
{
    const qint64 seconds = milliseconds / 1000;
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

void ProgressLine::Break()
{
    if (!m_barOpen)
        return;
    m_err << "\n";
    m_err.flush();
    m_barOpen = false;
}
