#pragma once

#include "firmware/COSLProtocol.h"

#include <vector>

// The boot-loader protocol without a port or a running clock: every frame it would write, every
// time-out it would arm and every result it reports is recorded instead, and a test can make the
// writes fail. Answers and time-outs are handed in by the test through OnReceive and OnTimeout.
class BootLoaderProbe : public COSLProtocol
{
public:
    ~BootLoaderProbe() override;

    bool Tx(const ByteVector &data) override;
    bool Start(int milliseconds) override;
    bool Stop() override;

    void SetWritesFail(bool fail) { m_writesFail = fail; }

    std::vector<ByteVector> frames;   // every frame the protocol tried to write
    std::vector<int> timeouts;        // every time-out it armed, in milliseconds
    std::vector<OSL_RESULT> results;  // every result it reported
    int stops = 0;

protected:
    void CommandResult(OSL_RESULT result) override;

private:
    bool m_writesFail = false;
};
