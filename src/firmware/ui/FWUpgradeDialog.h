#pragma once

#include <QDialog>

#include <memory>

namespace Ui
{
class FWUpgradeDialog;
}

// The window of the firmware upgrade: the loaded file's version, date and fingerprint beside the
// connected head's versions, the Program button, the status line and the progress bar. It only
// lays out its widgets and guards closing; CFirmwareUpgrade drives them.
class FWUpgradeDialog : public QDialog
{
    Q_OBJECT

public:
    explicit FWUpgradeDialog(QWidget *parent = nullptr);
    ~FWUpgradeDialog() override;

    Ui::FWUpgradeDialog &Form() { return *ui; }

    // While closing is not allowed, the Close button, the window's close box and Escape do
    // nothing: an upgrade that is running must not lose its window.
    void SetCloseAllowed(bool allowed) { closeAllowed = allowed; }
    bool IsCloseAllowed() const { return closeAllowed; }

public slots:
    void reject() override;

private:
    std::unique_ptr<Ui::FWUpgradeDialog> ui;
    bool closeAllowed = true;
};
