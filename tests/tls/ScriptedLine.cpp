#include "ScriptedLine.h"

namespace {

constexpr int kBaudIndex115200 = 10;

} // namespace

bool ScriptedLine::Open()
{
    return pty.IsValid() && device.OpenLink(pty.SlavePath().toStdString(), kBaudIndex115200, false);
}

bool ScriptedLine::BringUp()
{
    if (!Open())
        return false;
    device.Connect(kOsi2Address, kOsi7Address);
    return device.WaitForEvent(QStringLiteral("link 1"), 1, kWaitMs);
}
