#pragma once

#include <QDialog>

#include <memory>

namespace Ui
{
class WarnAbortDialog;
}

// A warning before an operation that cannot be taken back: Continue accepts, Abort rejects.
// Abort is the default button, so a hasty Enter stops the operation. Like CWarningDialog it
// offers to suppress the warning in future.
class CWarningAbortDialog : public QDialog
{
    Q_OBJECT

public:
    explicit CWarningAbortDialog(QWidget *parent = nullptr);
    ~CWarningAbortDialog() override;

    // Shows the message and fits the dialog to it.
    void SetText(const QString &qstrText);
    // False once the user ticked "Don't show this message in future".
    bool ShowAgain() const;

private:
    std::unique_ptr<Ui::WarnAbortDialog> ui;
};
