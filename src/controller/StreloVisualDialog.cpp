#include "StreloVisualDialog.h"

#include "ui_StreloVisualDialog.h"

StreloVisualDialog::StreloVisualDialog(QWidget *parent) : QDialog(parent), ui(new Ui::StreloVisualDialog)
{
    ui->setupUi(this);
    // Closing only hides the dialog; it lives as long as its controller.
    connect(ui->pbClose, &QPushButton::clicked, this, &QDialog::reject);
}

StreloVisualDialog::~StreloVisualDialog()
{
    delete ui;
}

void StreloVisualDialog::EnableControls(bool bEnable)
{
    const QList<QWidget *> controls = {ui->pbRED,     ui->pbGRN,       ui->pbYEL,     ui->pbYELRED, ui->pbOFF,
                                       ui->pbRefresh, ui->hsIntensity, ui->lblLumDim, ui->lblLumFull};
    for (QWidget *control : controls)
        control->setEnabled(bEnable);
}
