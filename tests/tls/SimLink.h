#pragma once

#include "RecordingDevice.h"
#include "SimProcess.h"

#include <memory>

// strelo-sim on its pseudo-terminal and a recording device connected to it. At link-up the device
// does what the traffic-light controller does: it sends the OSI 7 address assignment and queues
// the five start-up jobs.
class SimLink
{
public:
    SimLink();

    // Starts the simulator with `options`, opens its terminal and connects to the head. The
    // device is made only after the simulator has been started: the thread sanitizer loses track
    // of threads that run while the process starts a child.
    bool Start(const QStringList &options, int osi2Address, int osi7Address);
    RecordingDevice &Device() { return *m_device; } // after Start
    SimProcess &Sim() { return m_sim; }

private:
    SimProcess m_sim;
    // Declared after the simulator, so it closes its port first. On the heap, so the thread
    // sanitizer sees its locks go when it goes.
    std::unique_ptr<RecordingDevice> m_device;
};
