#include "SettingsSandbox.h"

#include <QCoreApplication>
#include <QSettings>

SettingsSandbox::SettingsSandbox()
{
    qputenv("XDG_CONFIG_HOME", m_dir.path().toUtf8());
    QCoreApplication::setOrganizationName(QStringLiteral("Varnholt GmbH"));
    QCoreApplication::setApplicationName(QStringLiteral("Lichtwart"));
    Clear();
}

void SettingsSandbox::Clear()
{
    QSettings settings;
    settings.clear();
    settings.sync();
}
