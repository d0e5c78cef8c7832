#include "FWUpgradeDialog.h"

#include "ui_FWUpgradeDialog.h"

FWUpgradeDialog::FWUpgradeDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::FWUpgradeDialog>())
{
    ui->setupUi(this);
}

FWUpgradeDialog::~FWUpgradeDialog() = default;

void FWUpgradeDialog::reject()
{
    if (closeAllowed)
        QDialog::reject();
}
