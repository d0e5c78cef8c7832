#pragma once

#include <QDialog>

#include <memory>

namespace Ui
{
class AboutDialog;
}

// The about box: the program's name, version and maker under its logo.
class AboutDialog : public QDialog
{
    Q_OBJECT

public:
    explicit AboutDialog(QWidget *parent = nullptr);
    ~AboutDialog() override;

    // The line under the name; the main window passes "Version " and the program version.
    void SetVersion(const QString &qstrVersion);

private:
    std::unique_ptr<Ui::AboutDialog> ui;
};
