#pragma once

#include "firmware/CUpgradeProcedure.h"

#include <QStringList>

#include <vector>

// The upgrade procedure with a view that records what it is shown, for tests without widgets.
class RecordingUpgrade : public CUpgradeProcedure
{
public:
    struct ProgressStep
    {
        int value;
        int maximum;
        int state; // the upgrade state when the step was shown
    };

    QList<Status> statuses;
    QString software = "unknown";
    QString hardware = "unknown";
    std::vector<ProgressStep> progress;
    bool confirm = true;
    int confirmations = 0;
    int viewCalls = 0;

    // The last status shown; Unknown before any.
    Status LastStatus() const { return statuses.isEmpty() ? Status::Unknown : statuses.last(); }

protected:
    void ShowStatus(Status status) override
    {
        ++viewCalls;
        statuses << status;
    }
    void ShowDeviceVersions(const QString &qstrSoftware, const QString &qstrHardware) override
    {
        ++viewCalls;
        software = qstrSoftware;
        hardware = qstrHardware;
    }
    void ShowProgress(int nValue, int nMaximum) override
    {
        ++viewCalls;
        progress.push_back({nValue, nMaximum, UpgradeStateValue()});
    }
    bool ConfirmProgramming() override
    {
        ++confirmations;
        return confirm;
    }
};
