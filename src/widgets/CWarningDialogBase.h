#pragma once

#include <QDialog>

#include <memory>

class QCheckBox;
class QLabel;

// What both warning dialogs do, whatever their buttons: show a message with the warning icon, fit
// the dialog to it, and offer "Don't show this message in future". The caller stores ShowAgain()
// under the warning's setting and skips the dialog while that reads false. Each dialog has its
// own form (and class name); the form names its message label lblWarnText and its check box
// checkBoxHide.
class CWarningDialogBase : public QDialog
{
    Q_OBJECT

public:
    ~CWarningDialogBase() override;

    // Shows the message and fits the dialog to it.
    void SetText(const QString &qstrText);
    // False once the user ticked "Don't show this message in future".
    bool ShowAgain() const;

protected:
    // Sets the form up on this dialog and keeps it for the dialog's life.
    template <class Form>
    CWarningDialogBase(QWidget *parent, std::unique_ptr<Form> form) : QDialog(parent)
    {
        form->setupUi(this);
        m_text = form->lblWarnText;
        m_hide = form->checkBoxHide;
        m_form = std::shared_ptr<Form>(std::move(form));
    }

private:
    std::shared_ptr<void> m_form;
    QLabel *m_text = nullptr;
    QCheckBox *m_hide = nullptr;
};
