#pragma once

#include <QDialog>
#include <QSettings>
#include <QString>
#include <QVariant>

class QComboBox;
class QLineEdit;
class QPushButton;

namespace Ui {
class OptionsDialog;
}

// Edits the user settings: interface, trace, target addresses and flasher, behaviour and firmware
// upload. Every value is loaded when the dialog is built and written back only when OK is pressed;
// Cancel writes nothing, not even the dialog's size.
class OptionsDialog : public QDialog
{
    Q_OBJECT

public:
    explicit OptionsDialog(QWidget *parent = nullptr);
    ~OptionsDialog() override;

public slots:
    void savesettings();
    void TraceLinesChanged(QString qstrText);
    void OSI2AddressChanged(QString qstrText);
    void OSI7AddressChanged(QString qstrText);

private:
    void FillLists();
    void AttachValidators();
    void OfferSerialPorts();
    void LoadSettings();
    void LoadInterface();
    void LoadTrace();
    void LoadTarget();
    void LoadBehaviour();
    void LoadFirmware();
    void SaveInterface();
    void SaveTrace();
    void SaveTarget();
    void SaveBehaviour();
    void SaveFirmware();
    void ConnectSignals();

    QVariant Stored(const char *key) const;
    void Store(const char *key, const QVariant &value);
    // OK follows the validator of the field that changed last, and only that one.
    void EnableOkFor(const QLineEdit *edit, QString qstrText);

    Ui::OptionsDialog *ui = nullptr;
    QSettings m_settings;
    QPushButton *m_okButton = nullptr;
};
