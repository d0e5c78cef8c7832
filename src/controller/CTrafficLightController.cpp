#include "CTrafficLightController.h"

#include "StreloVisualDialog.h"
#include "ui_StreloVisualDialog.h"

#include "settings/LichtwartSettings.h"
#include "trace/CTraceFormat.h"

#include <QMap>
#include <QSignalBlocker>
#include <QTimer>

namespace {

constexpr int kBlinkFlashMs = 200; // the yellow flasher lights briefly ...
constexpr int kBlinkSlowMs = 800;  // ... and stays dark long; yellow blinks evenly with this

} // namespace

CTrafficLightController::CTrafficLightController(QWidget *mainWindow) : CStreloDeviceSignals(mainWindow)
{
    m_dialog = new StreloVisualDialog(mainWindow);
    ConnectDialog(mainWindow);

    m_blinkTimer = new QTimer(this);
    m_blinkTimer->setSingleShot(true);
    m_blinkPhase = false;
    connect(m_blinkTimer, &QTimer::timeout, this, &CTrafficLightController::UpdateBlinkCycle);

    emit ConnectionChanged(false);
}

CTrafficLightController::~CTrafficLightController()
{
    // Normally the owner has already ended the threads (see ShutDown); this keeps the port from
    // outliving the controller in any case.
    ShutDown();
    delete m_dialog;
}

void CTrafficLightController::ConnectDialog(QWidget *mainWindow)
{
    Ui::StreloVisualDialog &form = m_dialog->Form();
    connect(this, &CTrafficLightController::ConnectionChanged, m_dialog, &StreloVisualDialog::EnableControls);
    connect(this, &CTrafficLightController::ConnectionChanged, this, &CTrafficLightController::OnLinkChange);
    // The main window is known here only as a widget with that slot.
    connect(m_dialog, SIGNAL(finished(int)), mainWindow, SLOT(StreloDialogClosed(int)));

    connect(form.pbRED, &QPushButton::clicked, this, &CTrafficLightController::SetRedSetpoint);
    connect(form.pbGRN, &QPushButton::clicked, this, &CTrafficLightController::SetGreenSetpoint);
    connect(form.pbYEL, &QPushButton::clicked, this, &CTrafficLightController::SetYellowSetpoint);
    connect(form.pbYEL, &CKeyModPushButton::clickedWithShift, this,
            &CTrafficLightController::SetYellowSteadySetpoint);
    connect(form.pbYEL, &CKeyModPushButton::clickedWithCtrl, this,
            &CTrafficLightController::SetYellowFlasherSetpoint);
    connect(form.pbYELRED, &QPushButton::clicked, this, &CTrafficLightController::SetYellowRedSetpoint);
    connect(form.pbOFF, &QPushButton::clicked, this, &CTrafficLightController::SetOffSetpoint);
    connect(form.hsIntensity, &QSlider::valueChanged, this, &CTrafficLightController::SetIntensity);
    connect(form.pbRefresh, &QPushButton::clicked, this, &CTrafficLightController::RefreshCurrentMeters);

    connect(this, &CTrafficLightController::ActualValueChanged, this, &CTrafficLightController::SetActualValue);
    connect(this, &CTrafficLightController::DefectValueChanged, this, &CTrafficLightController::SetDefectValue);
    connect(this, &CTrafficLightController::LuminosityChanged, this, &CTrafficLightController::SetGUIIntensity);
    connect(this, &CTrafficLightController::CurrentDraineChanged, this,
            &CTrafficLightController::SetGUICurrentDrain);
}

bool CTrafficLightController::ConnectPort(const QString &qstrPortName, int nBaudRate)
{
    return OpenLink(qstrPortName.toStdString(), CAsync::BaudIndexForRate(nBaudRate), false);
}

void CTrafficLightController::ShowRemoteControl()
{
    m_dialog->show();
}

// --- commands (GUI thread) ---

void CTrafficLightController::OnLinkChange(bool bLinkIsUp)
{
    if (!bLinkIsUp) {
        ShowAllLampsOff();
        m_blinkTimer->stop();
        m_actualImage = 0;
        m_lampState = 0;
        return;
    }
    QueueStartUpSequence(LichtwartSettings::Read(m_settings, LichtwartSettings::AddressAssign).toBool(),
                         LichtwartSettings::Read(m_settings, LichtwartSettings::AddressOsi7).toInt());
}

void CTrafficLightController::SetLamp(CStreloSetpoints::Lamp lamp)
{
    const CStreloSetpoints::Setpoint setpoint = CStreloSetpoints::For(
        lamp, LichtwartSettings::Read(m_settings, LichtwartSettings::FlasherCyclePeriod).toInt());
    SetSetpoint(setpoint.image, setpoint.value);
}

void CTrafficLightController::SetRedSetpoint()
{
    SetLamp(CStreloSetpoints::Lamp::Red);
}

void CTrafficLightController::SetGreenSetpoint()
{
    SetLamp(CStreloSetpoints::Lamp::Green);
}

void CTrafficLightController::SetYellowSetpoint()
{
    SetLamp(CStreloSetpoints::Lamp::Yellow);
}

void CTrafficLightController::SetYellowSteadySetpoint()
{
    SetLamp(CStreloSetpoints::Lamp::YellowSteady);
}

void CTrafficLightController::SetYellowFlasherSetpoint()
{
    SetLamp(CStreloSetpoints::Lamp::YellowFlasher);
}

void CTrafficLightController::SetYellowRedSetpoint()
{
    SetLamp(CStreloSetpoints::Lamp::RedYellow);
}

void CTrafficLightController::SetOffSetpoint()
{
    SetLamp(CStreloSetpoints::Lamp::Off);
}

void CTrafficLightController::SetIntensity(int nIntensity)
{
    CStreloDevice::SetIntensity(nIntensity == 1);
}

void CTrafficLightController::RefreshCurrentMeters()
{
    CStreloDevice::RefreshCurrentMeters();
}

void CTrafficLightController::SwitchToFirmwareUploadMode(int nPortID, int nBaudrateID, int nPortFeatures)
{
    CStreloDevice::SwitchToFirmwareUploadMode(nPortID, nBaudrateID, nPortFeatures);
}

// --- display (GUI thread) ---

QPushButton *CTrafficLightController::LampButton(int nTLSImageCode) const
{
    Ui::StreloVisualDialog &form = m_dialog->Form();
    switch (nTLSImageCode) {
    case CTlsOsi7Codec::kImageRed:
        return form.pbRED;
    case CTlsOsi7Codec::kImageYellow:
    case CTlsOsi7Codec::kImageYellowFlasher:
        return form.pbYEL;
    case CTlsOsi7Codec::kImageGreen:
        return form.pbGRN;
    case CTlsOsi7Codec::kImageRedYellow:
        return form.pbYELRED;
    default:
        return nullptr;
    }
}

void CTrafficLightController::ShowLamp(int nTLSImageCode, LampLook look)
{
    static const QMap<int, QString> kFamilies = {{CTlsOsi7Codec::kImageRed, QStringLiteral("red")},
                                                 {CTlsOsi7Codec::kImageYellow, QStringLiteral("yel")},
                                                 {CTlsOsi7Codec::kImageYellowFlasher, QStringLiteral("yel")},
                                                 {CTlsOsi7Codec::kImageGreen, QStringLiteral("grn")},
                                                 {CTlsOsi7Codec::kImageRedYellow, QStringLiteral("yel-red")}};
    static const QMap<LampLook, QString> kLooks = {{LampLook::Off, QStringLiteral("off")},
                                                   {LampLook::On, QStringLiteral("on")},
                                                   {LampLook::Defective, QStringLiteral("defective")}};
    QPushButton *button = LampButton(nTLSImageCode);
    if (button)
        button->setIcon(QIcon(QStringLiteral(":32x32/%1-%2").arg(kFamilies.value(nTLSImageCode), kLooks.value(look))));
}

void CTrafficLightController::ShowAllLampsOff()
{
    for (int image : {CTlsOsi7Codec::kImageRed, CTlsOsi7Codec::kImageYellow, CTlsOsi7Codec::kImageGreen,
                      CTlsOsi7Codec::kImageRedYellow})
        ShowLamp(image, LampLook::Off);
}

// The defect flags exist for the four lamp images only.
bool *CTrafficLightController::DefectFlag(int nTLSImageCode)
{
    switch (nTLSImageCode) {
    case CTlsOsi7Codec::kImageRed:
        return &m_redDefect;
    case CTlsOsi7Codec::kImageYellow:
        return &m_yellowDefect;
    case CTlsOsi7Codec::kImageGreen:
        return &m_greenDefect;
    case CTlsOsi7Codec::kImageRedYellow:
        return &m_redYellowDefect;
    default:
        return nullptr;
    }
}

void CTrafficLightController::SetActualValue(int nTLSImageCode, bool bOn, bool bBlink)
{
    // A defective image may report nonsense until the head calls it good again.
    const bool *defect = DefectFlag(nTLSImageCode);
    if (defect && *defect && LichtwartSettings::Read(m_settings, LichtwartSettings::BehaviorIgnoreActVal).toBool())
        return;

    ShowAllLampsOff();
    m_blinkTimer->stop();
    m_actualImage = nTLSImageCode;
    if (bOn) {
        m_lampState = 1;
        ShowLamp(nTLSImageCode, LampLook::On);
    } else {
        m_lampState = 0;
    }
    if (bBlink) {
        m_blinkPhase = bOn;
        m_lampState = 2;
        m_blinkTimer->start(nTLSImageCode == CTlsOsi7Codec::kImageYellowFlasher ? kBlinkFlashMs : kBlinkSlowMs);
    }
}

// Only the yellow lamp blinks.
void CTrafficLightController::UpdateBlinkCycle()
{
    m_blinkPhase = !m_blinkPhase;
    if (m_yellowDefect)
        ShowLamp(CTlsOsi7Codec::kImageYellow, LampLook::Defective);
    else
        ShowLamp(CTlsOsi7Codec::kImageYellow, m_blinkPhase ? LampLook::On : LampLook::Off);

    const bool flashPhase = m_actualImage == CTlsOsi7Codec::kImageYellowFlasher && m_blinkPhase;
    m_blinkTimer->start(flashPhase ? kBlinkFlashMs : kBlinkSlowMs);
}

void CTrafficLightController::SetDefectValue(int nTLSImageCode, bool bImageIsOk)
{
    if (nTLSImageCode == CTlsOsi7Codec::kImageYellow || nTLSImageCode == CTlsOsi7Codec::kImageYellowFlasher)
        ShowDefectOfYellowLamp(bImageIsOk);
    else if (DefectFlag(nTLSImageCode))
        ShowDefectOfSteadyLamp(nTLSImageCode, bImageIsOk);
}

void CTrafficLightController::ShowDefectOfSteadyLamp(int nTLSImageCode, bool bImageIsOk)
{
    *DefectFlag(nTLSImageCode) = !bImageIsOk;
    if (!bImageIsOk)
        ShowLamp(nTLSImageCode, LampLook::Defective);
    else if (m_lampState == 0)
        ShowLamp(nTLSImageCode, LampLook::Off);
    else if (m_actualImage == nTLSImageCode)
        ShowLamp(nTLSImageCode, LampLook::On);
    // Lit with another image: the button keeps what it shows.
}

void CTrafficLightController::ShowDefectOfYellowLamp(bool bImageIsOk)
{
    m_yellowDefect = !bImageIsOk;
    if (!bImageIsOk) {
        ShowLamp(CTlsOsi7Codec::kImageYellow, LampLook::Defective);
        return;
    }
    if (m_lampState == 0) {
        ShowLamp(CTlsOsi7Codec::kImageYellow, LampLook::Off);
        return;
    }
    if (m_actualImage == CTlsOsi7Codec::kImageYellow)
        ShowLamp(CTlsOsi7Codec::kImageYellow, LampLook::On);
    if (m_lampState == 2) {
        m_blinkPhase = true;
        m_blinkTimer->start(kBlinkSlowMs);
    }
}

void CTrafficLightController::SetGUIIntensity(bool bFull)
{
    Ui::StreloVisualDialog &form = m_dialog->Form();
    form.lblIntensityActValue->setPixmap(QPixmap(bFull ? QStringLiteral(":16x16/bulb") : QStringLiteral(":16x16/bulb-off")));
    // The report must not travel back to the head as a command.
    const QSignalBlocker blocker(form.hsIntensity);
    form.hsIntensity->setValue(bFull ? 1 : 0);
}

void CTrafficLightController::SetGUICurrentDrain(int nTLSImageCode, double dMilliAmps)
{
    Ui::StreloVisualDialog &form = m_dialog->Form();
    switch (nTLSImageCode) {
    case CTlsOsi7Codec::kImageRed:
        form.lcdRED->display(dMilliAmps);
        break;
    case CTlsOsi7Codec::kImageYellow:
        form.lcdYEL->display(dMilliAmps);
        break;
    case CTlsOsi7Codec::kImageGreen:
        form.lcdGRN->display(dMilliAmps);
        break;
    default:
        break;
    }
}
