#pragma once

#include <QDialog>

namespace Ui {
class SetOSI2AddressDialog;
}

// Asks for the device's new OSI 2 (link) address, 1 to 199, and warns that the device resets and
// the master disconnects afterwards.
class SetOSI2AddressDialog : public QDialog
{
    Q_OBJECT

public:
    explicit SetOSI2AddressDialog(QWidget *parent = nullptr);
    ~SetOSI2AddressDialog() override;

    void SetAddress(int nAddress);
    int Address() const;

private:
    Ui::SetOSI2AddressDialog *ui = nullptr;
};
