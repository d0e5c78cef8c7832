#include "UpgradeSequencer.h"

#include <algorithm>

UpgradeSequencer::UpgradeSequencer(QTextStream &out, QTextStream &err, bool progressBar)
    : m_out(out)
    , m_err(err)
    , m_progress(err, progressBar)
{
}

void UpgradeSequencer::ShowStatus(Status status)
{
    m_progress.Break();
    m_lastStatus = PlainText(status);
    m_out << m_lastStatus << "\n";
    m_out.flush();
}

void UpgradeSequencer::ShowProgress(int nValue, int nMaximum)
{
    // Only the upload moves the bar; the resets around it carry no news.
    if (UpgradeStateValue() < UPGRADE_WRITING || (nValue == m_lastValue && nMaximum == m_lastMaximum))
        return;
    // The procedure counts a chunk when it sends it and sends the next one only on the
    // acknowledgement of the last, so what was counted before this chunk has been acknowledged;
    // once the upload is done, all of it has.
    const int acknowledged = UpgradeStateValue() == UPGRADE_DONE ? nValue : std::max(m_lastValue, 0);
    m_lastValue = nValue;
    m_lastMaximum = nMaximum;
    m_progress.ShowTransfer(nValue, acknowledged, nMaximum);
}
