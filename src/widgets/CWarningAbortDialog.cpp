#include "CWarningAbortDialog.h"

#include "ui_CWarningAbortDialog.h"

CWarningAbortDialog::CWarningAbortDialog(QWidget *parent)
    : CWarningDialogBase(parent, std::make_unique<Ui::WarnAbortDialog>())
{
}
