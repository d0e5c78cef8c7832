#include "CWarningAbortDialog.h"

#include "ui_CWarningAbortDialog.h"

CWarningAbortDialog::CWarningAbortDialog(QWidget *parent)
    : QDialog(parent), ui(std::make_unique<Ui::WarnAbortDialog>())
{
    ui->setupUi(this);
}

CWarningAbortDialog::~CWarningAbortDialog() = default;

void CWarningAbortDialog::SetText(const QString &qstrText)
{
    ui->lblWarnText->setText(qstrText);
    adjustSize();
}

bool CWarningAbortDialog::ShowAgain() const
{
    return !ui->checkBoxHide->isChecked();
}
