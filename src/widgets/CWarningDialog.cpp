#include "CWarningDialog.h"

#include "ui_CWarningDialog.h"

CWarningDialog::CWarningDialog(QWidget *parent) : QDialog(parent), ui(std::make_unique<Ui::WarnDialog>())
{
    ui->setupUi(this);
}

CWarningDialog::~CWarningDialog() = default;

void CWarningDialog::SetText(const QString &qstrText)
{
    ui->lblWarnText->setText(qstrText);
    adjustSize();
}

bool CWarningDialog::ShowAgain() const
{
    return !ui->checkBoxHide->isChecked();
}
