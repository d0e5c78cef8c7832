#include "UpgradeWindow.h"

#include "settings/LichtwartSettings.h"

#include <QSettings>
#include <QTest>

void UpgradeWindow::PrepareSettings()
{
    QSettings settings;
    settings.setValue(QLatin1String(LichtwartSettings::FirmwareWarnProgStart), false);
    settings.setValue(QLatin1String(LichtwartSettings::FirmwareWarnOutdated), false);
    settings.setValue(QLatin1String(LichtwartSettings::FirmwareBaudrate), 115200);
    settings.setValue(QLatin1String(LichtwartSettings::InterfaceBaudrate), 115200);
}

bool UpgradeWindow::Open(const QString &device, int linkMs)
{
    QSettings().setValue(QLatin1String(LichtwartSettings::InterfaceDevice), device);
    m_answerer = std::make_unique<ModalAnswerer>();
    m_window = std::make_unique<MainWindow>(false);
    m_window->show();
    Action("actionConnect")->trigger();
    return QTest::qWaitFor([this] { return Action("actionUpgradeFirmware")->isEnabled(); }, linkMs);
}

void UpgradeWindow::Close()
{
    m_window.reset();
    m_answerer.reset();
}

bool UpgradeWindow::WaitForStatus(const QString &text, int timeoutMs) const
{
    return QTest::qWaitFor([&] { return Status() == text; }, timeoutMs);
}
