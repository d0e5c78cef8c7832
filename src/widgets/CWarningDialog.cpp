#include "CWarningDialog.h"

#include "ui_CWarningDialog.h"

CWarningDialog::CWarningDialog(QWidget *parent) : CWarningDialogBase(parent, std::make_unique<Ui::WarnDialog>())
{
}
