#pragma once

#include <QDialog>

class QPushButton;

namespace Ui {
class FlasherSyncDialog;
}

// Asks for a soft or a hard flasher synchronisation. The dialog itself only offers the buttons;
// whoever opens it connects them to the synchronisation and enables them while the link is up.
class FlasherSyncDialog : public QDialog
{
    Q_OBJECT

public:
    explicit FlasherSyncDialog(QWidget *parent = nullptr);
    ~FlasherSyncDialog() override;

    QPushButton *SoftSyncButton() const;
    QPushButton *HardSyncButton() const;
    void EnableSyncButtons(bool bEnable);

private:
    Ui::FlasherSyncDialog *ui = nullptr;
};
