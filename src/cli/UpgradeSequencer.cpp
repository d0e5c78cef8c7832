#include "UpgradeSequencer.h"

#include <QRegularExpression>

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
    if (UpgradeStateValue() < UPGRADE_WRITING || (nValue == m_lastValue && nMaximum == m_lastMaximum))
        return;
    m_lastValue = nValue;
    m_lastMaximum = nMaximum;
    if (m_progressBar)
        DrawBar(nValue, nMaximum);
    else
        m_err << "progress: " << nValue << "/" << nMaximum << "\n";
    m_err.flush();
}

void UpgradeSequencer::DrawBar(int value, int maximum)
{
    const int filled = maximum > 0 ? static_cast<int>(qint64(value) * kBarWidth / maximum) : kBarWidth;
    const int percent = maximum > 0 ? static_cast<int>(qint64(value) * 100 / maximum) : 100;
    m_err << "\r[" << QString(filled, QLatin1Char('#')) << QString(kBarWidth - filled, QLatin1Char('.')) << "] "
          << percent << "% " << value << "/" << maximum;
    m_barOpen = true;
}
