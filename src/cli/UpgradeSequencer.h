#pragma once

#include "ProgressLine.h"
#include "firmware/CUpgradeProcedure.h"

#include <QTextStream>

// The upgrade procedure on a terminal: every status text becomes one plain line on the output,
// the upload's progress becomes "progress: <done>/<total>" lines on the error stream (bytes sent,
// as the dialog's bar counts them), or a bar drawn in place when that stream is a terminal. The
// bar counts the bytes the boot loader has acknowledged and shows elapsed time, rate and time left.
// Buttons and closing have no meaning here, and programming needs no confirmation: the command
// itself is the user's request.
class UpgradeSequencer : public CUpgradeProcedure
{
    Q_OBJECT

public:
    UpgradeSequencer(QTextStream &out, QTextStream &err, bool progressBar);

    // The last status text, without markup.
    QString LastStatus() const { return m_lastStatus; }

    // The status text as plain text: the markup of the dialog removed.
    static QString PlainText(const QString &richText);

protected:
    void ShowStatus(const QString &qstrText) override;
    void ShowProgress(int nValue, int nMaximum) override;
    void ShowDeviceVersions(const QString &, const QString &) override {}
    void EnableButton(Button, bool) override {}
    void ShowRetryButton(bool) override {}
    void MakeDefaultButton(Button) override {}
    void AllowClose(bool) override {}
    bool ConfirmProgramming() override { return true; }

private:
    QTextStream &m_out;
    QTextStream &m_err;
    ProgressLine m_progress;
    QString m_lastStatus;
    int m_lastValue = -1;
    int m_lastMaximum = -1;
};
