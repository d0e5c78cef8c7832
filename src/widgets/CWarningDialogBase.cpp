#include "CWarningDialogBase.h"

#include <QCheckBox>
#include <QLabel>

CWarningDialogBase::~CWarningDialogBase() = default;

void CWarningDialogBase::SetText(const QString &qstrText)
{
    m_text->setText(qstrText);
    adjustSize();
}

bool CWarningDialogBase::ShowAgain() const
{
    return !m_hide->isChecked();
}
