#pragma once

#include <QDialog>

namespace Ui {
class StreloVisualDialog;
}

// The remote control of one lamp head: a button per lamp image that sends the setpoint and shows
// what the head reports back, the lamp currents and the intensity switch. The dialog is only the
// form; the traffic light controller that owns it wires its widgets and draws the reported state.
class StreloVisualDialog : public QDialog
{
    Q_OBJECT

public:
    explicit StreloVisualDialog(QWidget *parent = nullptr);
    ~StreloVisualDialog() override;

    // The generated widgets, for the controller that drives them.
    Ui::StreloVisualDialog &Form() { return *ui; }

public slots:
    // The controls are usable exactly while the link to the head is up.
    void EnableControls(bool bEnable);

private:
    Ui::StreloVisualDialog *ui;
};
