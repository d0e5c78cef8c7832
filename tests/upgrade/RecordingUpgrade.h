#pragma once

#include "firmware/CUpgradeProcedure.h"

#include <QStringList>

#include <map>
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

    QStringList statuses;
    QString software = "unknown";
    QString hardware = "unknown";
    std::vector<ProgressStep> progress;
    std::map<Button, bool> enabled {{Button::Load, true}, {Button::Program, false}, {Button::Close, true}};
    bool retryVisible = true;
    Button defaultButton = Button::Close;
    bool closeAllowed = false;
    bool confirm = true;
    int confirmations = 0;
    int viewCalls = 0;

    QString Status() const { return statuses.isEmpty() ? QString() : statuses.last(); }
    bool IsEnabled(Button button) const { return enabled.at(button); }

protected:
    void ShowStatus(const QString &qstrText) override
    {
        ++viewCalls;
        statuses << qstrText;
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
    void EnableButton(Button button, bool bEnabled) override
    {
        ++viewCalls;
        enabled[button] = bEnabled;
    }
    void ShowRetryButton(bool bVisible) override
    {
        ++viewCalls;
        retryVisible = bVisible;
    }
    void MakeDefaultButton(Button button) override
    {
        ++viewCalls;
        defaultButton = button;
    }
    void AllowClose(bool bAllowed) override
    {
        ++viewCalls;
        closeAllowed = bAllowed;
    }
    bool ConfirmProgramming() override
    {
        ++confirmations;
        return confirm;
    }
};
