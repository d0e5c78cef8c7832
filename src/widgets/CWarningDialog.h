#pragma once

#include "CWarningDialogBase.h"

// A warning the user confirms with OK (form WarnDialog).
class CWarningDialog : public CWarningDialogBase
{
    Q_OBJECT

public:
    explicit CWarningDialog(QWidget *parent = nullptr);
};
