#include "UpgradeSequencer.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

constexpr int kBarWidth = 40;

} // namespace

UpgradeSequencer::UpgradeSequencer(QTextStream &out, QTextStream &err, bool progressBar)
    : m_out(out)
    , m_err(err)
    , m_progressBar(progressBar)
{
}

QString UpgradeSequencer::PlainText(const QString &richText)
{
    static const QRegularExpression tag(QStringLiteral("<[^>]*>"));
    return QString(richText).remove(tag);
}

void UpgradeSequencer::ShowStatus(const QString &qstrText)
{
    if (m_barOpen) {
        m_err << "\n";
        m_err.flush();
        m_barOpen = false;
    }
    m_lastStatus = PlainText(qstrText);
    m_out << m_lastStatus << "\n";
    m_out.flush();
}

void UpgradeSequencer::ShowProgress(int nValue, int nMaximum)
{
    // Only the upload moves the bar; the resets around it carry no news.
    if (UpgradeStateValue() < UPGRADE_WRITING)
        return;
    // The procedure counts a chunk when it sends it and sends the next one only on the
    // acknowledgement of the last, so what was counted before this chunk has been acknowledged;
    // once the upload is done, all of it has.
    const int acknowledged = UpgradeStateValue() == UPGRADE_DONE ? nValue : std::max(m_lastValue, 0);
    if (m_lastValue < 0 || nValue < m_lastValue)
        m_uploadTime.start();
    const bool sentMoved = nValue != m_lastValue || nMaximum != m_lastMaximum;
    const bool acknowledgedMoved = acknowledged != m_lastAcknowledged || sentMoved;
    m_lastValue = nValue;
    m_lastMaximum = nMaximum;
    m_lastAcknowledged = acknowledged;
    if (m_progressBar && acknowledgedMoved)
        DrawBar(acknowledged, nMaximum);
    else if (!m_progressBar && sentMoved)
        m_err << "progress: " << nValue << "/" << nMaximum << "\n";
    m_err.flush();
}

void UpgradeSequencer::DrawBar(int acknowledged, int maximum)
{
    const int filled = maximum > 0 ? static_cast<int>(qint64(acknowledged) * kBarWidth / maximum) : kBarWidth;
    const int percent = maximum > 0 ? static_cast<int>(qint64(acknowledged) * 100 / maximum) : 100;
    const qint64 elapsed = m_uploadTime.elapsed();
    m_err << "\r[" << QString(filled, QLatin1Char('#')) << QString(kBarWidth - filled, QLatin1Char('.')) << "] "
          << percent << "% " << acknowledged << "/" << maximum << " bytes, " << Duration(elapsed);
    if (acknowledged > 0 && elapsed > 0) {
        const qint64 left = qint64(maximum - acknowledged) * elapsed / acknowledged;
        m_err << ", " << qint64(acknowledged) * 1000 / elapsed << " B/s, " << Duration(left) << " left";
    }
    m_err << "   ";
    m_barOpen = true;
}

// Minutes and seconds, "m:ss".
QString UpgradeSequencer::Duration(qint64 milliseconds)
{
    const qint64 seconds = milliseconds / 1000;
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}
