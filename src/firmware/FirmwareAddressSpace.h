#pragma once

#include <cstddef>
#include <cstdint>

// The address space the boot loader's write commands can reach: 24 bits for the command with a
// three-byte address, 32 bits for the one with four. A write past the top would not stop there: the
// address field keeps only its low bits, so the bytes would land at the bottom of the flash, where
// the head keeps what it needs to start. Addresses and ends are therefore always computed in 64 bits
// and held against the top, never by an addition that can wrap.
namespace FirmwareAddressSpace {

// The last address of the space.
constexpr std::uint64_t Top(bool wideAddresses)
{
    return wideAddresses ? 0xFFFFFFFFull : 0xFFFFFFull;
}

// The address one past the last byte of length bytes from address.
constexpr std::uint64_t End(std::uint32_t address, std::size_t length)
{
    return std::uint64_t(address) + std::uint64_t(length);
}

// True when every one of length bytes from address lies inside the space.
constexpr bool Holds(std::uint32_t address, std::size_t length, bool wideAddresses)
{
    return End(address, length) <= Top(wideAddresses) + 1;
}

} // namespace FirmwareAddressSpace
