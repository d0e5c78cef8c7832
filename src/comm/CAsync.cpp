#include "CAsync.h"

#include <mutex>

namespace {

// The tap is set from the user's thread and read by every port's threads. The lock is held only
// to copy the pointer, never while the tap records.
struct TapSlot
{
    std::mutex mutex;
    std::shared_ptr<CLineTap> tap;
};

TapSlot &Slot()
{
    static TapSlot slot;
    return slot;
}

} // namespace

int CAsync::BaudIndexForRate(int rate)
{
    for (int i = 0; i < kBaudIndexCount - 1; ++i) {
        if (kBaudRates[i] == rate)
            return i;
    }
    return kBaudIndexCount - 1;
}

int CAsync::RateForBaudIndex(int index)
{
    if (index < 0 || index >= kBaudIndexCount)
        return -1;
    return kBaudRates[index];
}

void CAsync::SetLineTap(std::shared_ptr<CLineTap> tap)
{
    TapSlot &slot = Slot();
    std::lock_guard lock(slot.mutex);
    slot.tap.swap(tap);
    // The old tap, now in the argument, is released after the lock: its end may flush a file.
}

std::shared_ptr<CLineTap> CAsync::LineTap()
{
    TapSlot &slot = Slot();
    std::lock_guard lock(slot.mutex);
    return slot.tap;
}

void CAsync::TapBytes(int direction, const ByteVector &data)
{
    const std::shared_ptr<CLineTap> tap = LineTap();
    if (tap)
        tap->Record(direction, CLineTap::Clock::now(), data);
}

void CAsync::RecordRefusedSettings(int error, int baudIndex, int dataBits, int stopBits, int parity)
{
    PortOpenFailure failure = LastOpenFailure();
    failure.step = PortOpenFailure::Step::SettingsRefused;
    failure.error = error;
    failure.baudIndex = baudIndex;
    failure.dataBits = dataBits;
    failure.stopBits = stopBits;
    failure.parity = parity;
    RecordOpenFailure(failure);
}
