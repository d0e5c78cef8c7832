#pragma once

#include "PtyPair.h"
#include "RecordingDevice.h"
#include "ScriptedPeer.h"

#include <memory>

// The device on one end of a pseudo-terminal and a far station played by the test on the other.
// The device goes first, then the far station, then the pty. All three live on the heap: the
// thread sanitizer forgets a mutex only when its memory is freed, and a stack slot reused by the
// next test would look to it like one mutex locked in two orders.
struct ScriptedLine
{
    static constexpr int kOsi2Address = 5;
    static constexpr int kOsi7Address = 7;
    static constexpr int kWaitMs = 5000;

    std::unique_ptr<PtyPair> ptyOwner = std::make_unique<PtyPair>();
    std::unique_ptr<ScriptedPeer> peerOwner = std::make_unique<ScriptedPeer>(*ptyOwner);
    std::unique_ptr<RecordingDevice> deviceOwner = std::make_unique<RecordingDevice>();
    PtyPair &pty = *ptyOwner;
    ScriptedPeer &peer = *peerOwner;
    RecordingDevice &device = *deviceOwner;

    // Opens the device's end at 115200 bit/s.
    bool Open();
    // Opens, connects and waits for the link to come up.
    bool BringUp();
};
