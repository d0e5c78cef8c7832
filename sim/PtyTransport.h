#pragma once

#include "SimTypes.h"

#include <string>

namespace strelosim {

// The head's end of the line: the controlling side of a pseudo-terminal whose terminal end the
// master opens as its serial port.
//
// The transport keeps a descriptor of the terminal end open for its whole life, so that the
// master may close and reopen the port any number of times without the controlling side ever
// seeing a hang-up. A file watch on the terminal end tells when the master has closed it; the
// transport then clears the exclusive-use flag the master may have set (the descriptor kept open
// would otherwise preserve it and lock out the master's next open) and discards what the master
// left unread.
class PtyTransport
{
public:
    PtyTransport() = default;
    ~PtyTransport();
    PtyTransport(const PtyTransport &) = delete;
    PtyTransport &operator=(const PtyTransport &) = delete;

    // False with a readable reason when no pseudo-terminal can be set up.
    bool Open(std::string &error);

    const std::string &TerminalPath() const { return m_terminalPath; }
    int ControlFd() const { return m_control; }
    int WatchFd() const { return m_watch; }

    // Non-blocking; return the number of bytes moved (0 when none could be).
    std::size_t Read(std::uint8_t *buffer, std::size_t size);
    std::size_t Write(const Bytes &bytes);

    // Reads the file watch; true when the terminal end was closed since the last call. Then
    // exclusive use is cleared and unread output discarded.
    bool TakeCloseEvents();

    // The time one character takes on a real line at the rate and frame the master configured
    // (start bit, data bits, parity bit, stop bits). A pseudo-terminal cannot hold the parity
    // flag, so `parityBit` tells whether the line's frame has one. Zero when the rate is unknown.
    std::chrono::nanoseconds CharacterTime(bool parityBit) const;
    // The configured rate in bit/s, 0 when unknown.
    unsigned BaudRate() const;

private:
    void Release();

    int m_control = -1;
    int m_keepOpen = -1;
    int m_watch = -1;
    std::string m_terminalPath;
};

} // namespace strelosim
