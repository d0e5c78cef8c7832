#include "BootLoaderProbe.h"

BootLoaderProbe::~BootLoaderProbe()
{
    StopThread();
}

bool BootLoaderProbe::Tx(const ByteVector &data)
{
    frames.push_back(data);
    return !m_writesFail;
}

bool BootLoaderProbe::Start(int milliseconds)
{
    timeouts.push_back(milliseconds);
    return true;
}

bool BootLoaderProbe::Stop()
{
    ++stops;
    return true;
}

void BootLoaderProbe::CommandResult(OSL_RESULT result)
{
    results.push_back(result);
}
