#pragma once

#include <QDialog>

#include <memory>

namespace Ui
{
class WarnDialog;
}

// A warning the user confirms with OK, with a check box to suppress it in future. The caller
// stores ShowAgain() under the warning's setting and skips the dialog while that reads false.
class CWarningDialog : public QDialog
{
    Q_OBJECT

public:
    explicit CWarningDialog(QWidget *parent = nullptr);
    ~CWarningDialog() override;

    // Shows the message and fits the dialog to it.
    void SetText(const QString &qstrText);
    // False once the user ticked "Don't show this message in future".
    bool ShowAgain() const;

private:
    std::unique_ptr<Ui::WarnDialog> ui;
};
