#include "FlasherSyncDialog.h"
#include "ui_FlasherSyncDialog.h"

FlasherSyncDialog::FlasherSyncDialog(QWidget *parent)
    : QDialog(parent)
    , ui(new Ui::FlasherSyncDialog)
{
    ui->setupUi(this);
}

FlasherSyncDialog::~FlasherSyncDialog()
{
    delete ui;
}

QPushButton *FlasherSyncDialog::SoftSyncButton() const
{
    return ui->pbSoftSync;
}

QPushButton *FlasherSyncDialog::HardSyncButton() const
{
    return ui->pbHardSync;
}

void FlasherSyncDialog::EnableSyncButtons(bool bEnable)
{
    ui->pbSoftSync->setEnabled(bEnable);
    ui->pbHardSync->setEnabled(bEnable);
}
