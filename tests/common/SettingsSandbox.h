#pragma once

#include <QTemporaryDir>

// Gives the test process a settings store of its own: sets the application identity and points
// XDG_CONFIG_HOME at a temporary folder before the first settings object is created.
class SettingsSandbox
{
public:
    SettingsSandbox();
    // Removes every key, so each test starts from the defaults.
    void Clear();
    QString ConfigDir() const { return m_dir.path(); }

private:
    QTemporaryDir m_dir;
};
