#pragma once

#include "tls/CHeadSearch.h"

#include <QDialog>
#include <QList>
#include <QStringList>

class QLabel;
class QListWidget;
class QProgressBar;
class QPushButton;

// Tools > Find Device...: searches the configured serial device for heads at every rate of the
// options dialog and every OSI 2 address (the stored ones first), lists each head found with its
// identity, and on "Use" stores the chosen head's rate and addresses for the next Connect.
// Cancel stops the search at once; once the search has ended it closes the dialog.
class FindDeviceDialog : public QDialog
{
    Q_OBJECT

public:
    // The search of the stored device over the plan the settings suggest.
    explicit FindDeviceDialog(QWidget *parent = nullptr);
    // The search of `device` over `plan` (tests search a small part of it).
    FindDeviceDialog(const QString &device, const QList<CHeadSearch::Probe> &plan, QWidget *parent = nullptr);
    ~FindDeviceDialog() override;

    static QList<CHeadSearch::Probe> StoredPlan();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void BuildWidgets();
    void OnHeadFound(const FoundHead &head);
    void OnFinished(int found, bool cancelled);
    void OnPortFailed(const QString &device);
    void OnCancel();
    void UseSelected();

    const QString m_device;
    CHeadSearch m_search;
    QList<FoundHead> m_heads;
    bool m_started = false;
    bool m_searching = false;
    bool m_portFailed = false;
    QStringList m_refusedRates;
    QLabel *m_status = nullptr;
    QProgressBar *m_progress = nullptr;
    QListWidget *m_list = nullptr;
    QPushButton *m_use = nullptr;
    QPushButton *m_cancel = nullptr;
};
