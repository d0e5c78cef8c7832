#pragma once

#include "ModalAnswerer.h"

#include "app/MainWindow.h"
#include "firmware/ui/FWUpgradeDialog.h"

#include <QAction>
#include <QLabel>
#include <QString>

#include <memory>

// The main window with its firmware upgrade dialog, driven as a technician drives it: the settings
// let an upgrade run without questions, the window connects to a head, and the dialog's widgets
// are found by object name. The modal boxes the dialog opens go to Answerer().
class UpgradeWindow
{
public:
    // Upload and operating rate 115200, no warning before programming or for an older package.
    static void PrepareSettings();

    // Opens the window on device and connects; false when the link is not up within linkMs.
    bool Open(const QString &device, int linkMs);
    // Closes the window (its threads end with it).
    void Close();

    ModalAnswerer &Answerer() { return *m_answerer; }
    QAction *Action(const char *name) const { return m_window->findChild<QAction *>(QLatin1String(name)); }
    FWUpgradeDialog *Dialog() const { return m_window->findChild<FWUpgradeDialog *>(); }
    template <typename Widget>
    Widget *Find(const char *name) const
    {
        return Dialog()->findChild<Widget *>(QLatin1String(name));
    }
    QString Status() const { return Find<QLabel>("txtStatus")->text(); }
    // Waits, with the event loop running, until the status line reads text.
    bool WaitForStatus(const QString &text, int timeoutMs) const;

private:
    std::unique_ptr<ModalAnswerer> m_answerer;
    std::unique_ptr<MainWindow> m_window;
};
