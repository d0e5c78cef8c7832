#pragma once

#include "controller/CTrafficLightController.h"

#include <QString>
#include <QStringList>

// A controller whose port the test watches: every close and open the main window asks for is
// recorded ("close", "open COM1 9600"), and the open goes to a stand-in device (a pseudo-terminal
// or a simulator) instead of the named one, or fails when there is none.
class RecordingController : public CTrafficLightController
{
public:
    explicit RecordingController(QWidget *mainWindow) : CTrafficLightController(mainWindow) {}

    bool ConnectPort(const QString &qstrPortName, int nBaudRate) override
    {
        calls << QStringLiteral("open %1 %2").arg(qstrPortName).arg(nBaudRate);
        return !standInDevice.isEmpty() && CTrafficLightController::ConnectPort(standInDevice, nBaudRate);
    }

    void Close() override
    {
        calls << QStringLiteral("close");
        CTrafficLightController::Close();
    }

    QStringList calls;
    QString standInDevice;
};
