#include "SetOSI2AddressDialog.h"
#include "ui_SetOSI2AddressDialog.h"

SetOSI2AddressDialog::SetOSI2AddressDialog(QWidget *parent)
    : QDialog(parent)
    , ui(new Ui::SetOSI2AddressDialog)
{
    ui->setupUi(this);
}

SetOSI2AddressDialog::~SetOSI2AddressDialog()
{
    delete ui;
}

void SetOSI2AddressDialog::SetAddress(int nAddress)
{
    ui->spinOSI2Address->setValue(nAddress);
}

int SetOSI2AddressDialog::Address() const
{
    return ui->spinOSI2Address->value();
}
