#include "SimLink.h"

namespace {

constexpr int kBaudIndex115200 = 10;

} // namespace

SimLink::SimLink() = default;

bool SimLink::Start(const QStringList &options, int osi2Address, int osi7Address)
{
    if (!m_sim.Start(options))
        return false;
    m_device = std::make_unique<RecordingDevice>();
    if (!m_device->OpenLink(m_sim.DevicePath().toStdString(), kBaudIndex115200, false))
        return false;
    RecordingDevice &device = *m_device;
    device.SetOnLinkUp([&device, osi7Address] {
        device.QueueStartUpSequence(true, osi7Address);
    });
    device.Connect(osi2Address, osi7Address);
    return true;
}
