#pragma once

#include "ProgressLine.h"
#include "firmware/CUpgradeProcedure.h"

#include <QTextStream>

// The upgrade procedure on a terminal: every status becomes one line of its plain text on the output,
// the upload's progress becomes "progress: <done>/<total>" lines on the error stream (bytes sent,
// as the dialog's bar counts them), or a bar drawn in place when that stream is a terminal. The
// bar counts the bytes the boot loader has acknowledged and shows elapsed time, rate and time left.
// Programming needs no confirmation: the command itself is the user's request.
class UpgradeSequencer : public CUpgradeProcedure
{
    Q_OBJECT

public:
    UpgradeSequencer(QTextStream &out, QTextStream &err, bool progressBar);

    // The text of the last status.
    QString LastStatus() const { return m_lastStatus; }

protected:
    void ShowStatus(Status status) override;
    void ShowProgress(int nValue, int nMaximum) override;
    bool ConfirmProgramming() override { return true; }

private:
    QTextStream &m_out;
    QTextStream &m_err;
    ProgressLine m_progress;
    QString m_lastStatus;
    int m_lastValue = -1;
    int m_lastMaximum = -1;
};
