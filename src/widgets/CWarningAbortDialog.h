#pragma once

#include "CWarningDialogBase.h"

// A warning before an operation that cannot be taken back (form WarnAbortDialog): Continue
// accepts, Abort rejects. Abort is the default button, so a hasty Enter stops the operation.
class CWarningAbortDialog : public CWarningDialogBase
{
    Q_OBJECT

public:
    explicit CWarningAbortDialog(QWidget *parent = nullptr);
};
