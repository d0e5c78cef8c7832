#include "FindDeviceDialog.h"

#include "ports/PortOpenReason.h"
#include "settings/LichtwartSettings.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QTimer>
#include <QVBoxLayout>

namespace {

QString StoredDevice()
{
    const QSettings settings;
    return LichtwartSettings::Read(settings, LichtwartSettings::InterfaceDevice).toString();
}

} // namespace

QList<CHeadSearch::Probe> FindDeviceDialog::StoredPlan()
{
    const QSettings settings;
    return CHeadSearch::Plan(LichtwartSettings::BaudRates(), CHeadSearch::kFirstAddress, CHeadSearch::kLastAddress,
                             LichtwartSettings::Read(settings, LichtwartSettings::InterfaceBaudrate).toInt(),
                             LichtwartSettings::Read(settings, LichtwartSettings::AddressOsi2).toInt());
}

FindDeviceDialog::FindDeviceDialog(QWidget *parent)
    : FindDeviceDialog(StoredDevice(), StoredPlan(), parent)
{
}

FindDeviceDialog::FindDeviceDialog(const QString &device, const QList<CHeadSearch::Probe> &plan, QWidget *parent)
    : QDialog(parent)
    , m_device(device)
    , m_search(device, plan)
{
    setObjectName(QStringLiteral("FindDeviceDialog"));
    setWindowTitle(tr("Find Device"));
    BuildWidgets();
    connect(&m_search, &CHeadSearch::Progress, m_progress, &QProgressBar::setValue);
    connect(&m_search, &CHeadSearch::HeadFound, this, &FindDeviceDialog::OnHeadFound);
    connect(&m_search, &CHeadSearch::Finished, this, &FindDeviceDialog::OnFinished);
    connect(&m_search, &CHeadSearch::PortFailed, this, &FindDeviceDialog::OnPortFailed);
    connect(&m_search, &CHeadSearch::RateRefused, this,
            [this](const QString &, int rate) { m_refusedRates << QString::number(rate); });
}

FindDeviceDialog::~FindDeviceDialog()
{
    // The port is released now; the widgets no longer hear of it.
    m_search.disconnect(this);
    m_search.Cancel();
}

void FindDeviceDialog::BuildWidgets()
{
    m_status = new QLabel(tr("Searching %1 for heads at every baud rate and OSI 2 address...").arg(m_device));
    m_status->setObjectName(QStringLiteral("labelStatus"));
    m_status->setWordWrap(true);
    m_progress = new QProgressBar;
    m_progress->setObjectName(QStringLiteral("progressBar"));
    m_progress->setRange(0, m_search.Total());
    m_progress->setValue(0);
    m_list = new QListWidget;
    m_list->setObjectName(QStringLiteral("listHeads"));
    auto *buttons = new QDialogButtonBox;
    m_use = buttons->addButton(tr("Use"), QDialogButtonBox::AcceptRole);
    m_use->setObjectName(QStringLiteral("buttonUse"));
    m_use->setEnabled(false);
    m_cancel = buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
    m_cancel->setObjectName(QStringLiteral("buttonCancel"));
    connect(m_use, &QPushButton::clicked, this, &FindDeviceDialog::UseSelected);
    connect(m_cancel, &QPushButton::clicked, this, &FindDeviceDialog::OnCancel);
    connect(m_list, &QListWidget::currentRowChanged, this, [this](int row) { m_use->setEnabled(row >= 0); });
    connect(m_list, &QListWidget::itemDoubleClicked, this, &FindDeviceDialog::UseSelected);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_status);
    layout->addWidget(m_progress);
    layout->addWidget(new QLabel(tr("Heads found:")));
    layout->addWidget(m_list, 1);
    layout->addWidget(buttons);
    resize(600, 340);
}

void FindDeviceDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    if (m_started)
        return;
    m_started = true;
    m_searching = true;
    // From the event loop, so that the dialog is on screen before the port is opened.
    QTimer::singleShot(0, &m_search, &CHeadSearch::Start);
}

void FindDeviceDialog::OnHeadFound(const FoundHead &head)
{
    m_heads.append(head);
    const auto shown = [](const QString &value) { return value.isEmpty() ? tr("unknown") : value; };
    const QString osi7 = head.osi7 != 0 ? QString::number(head.osi7) : tr("unknown");
    m_list->addItem(tr("%1 baud, OSI 2 address %2, OSI 7 address %3\n%4, hardware %5, software %6, UID %7")
                        .arg(head.rate)
                        .arg(head.osi2)
                        .arg(osi7, shown(head.product), shown(head.hardware), shown(head.software), shown(head.uid)));
    if (m_list->currentRow() < 0)
        m_list->setCurrentRow(0);
}

void FindDeviceDialog::OnFinished(int found, bool cancelled)
{
    m_searching = false;
    m_cancel->setText(tr("Close"));
    if (cancelled)
        m_status->setText(tr("The search was cancelled. Heads found so far: %1.").arg(found));
    else if (found == 0 && !m_portFailed)
        m_status->setText(tr("No head answered on %1. Check the cable and the head's power, then search again.")
                              .arg(m_device));
    else if (found > 0)
        m_status->setText(tr("The search has ended. Heads found: %1. Choose one and press Use.").arg(found));
    if (!m_refusedRates.isEmpty() && !m_portFailed)
        m_status->setText(m_status->text() + QLatin1Char(' ')
                          + tr("%1 refused these baud rates, so no head could be searched for at them: %2.")
                                .arg(m_device, m_refusedRates.join(QStringLiteral(", "))));
}

void FindDeviceDialog::OnPortFailed(const QString &device)
{
    m_portFailed = true;
    const QString reason = PortOpenReason::Text(m_search.OpenFailure());
    if (reason.isEmpty())
        m_status->setText(tr("The device %1 could not be opened. Choose another device in the options, or close "
                             "the program that uses it.").arg(device));
    else
        m_status->setText(tr("The device %1 could not be opened. %2").arg(device, reason));
}

void FindDeviceDialog::OnCancel()
{
    if (m_searching) {
        m_search.Cancel();
        return;
    }
    reject();
}

void FindDeviceDialog::UseSelected()
{
    const int row = m_list->currentRow();
    if (row < 0 || row >= m_heads.size())
        return;
    const FoundHead &head = m_heads.at(row);
    m_search.Cancel();
    QSettings settings;
    settings.setValue(LichtwartSettings::InterfaceBaudrate, head.rate);
    settings.setValue(LichtwartSettings::AddressOsi2, head.osi2);
    if (head.osi7 != 0)
        settings.setValue(LichtwartSettings::AddressOsi7, head.osi7);
    accept();
}
