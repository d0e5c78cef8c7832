#pragma once

#include "comm/NativeAliases.h"

// The response timer of the link procedure: its expiry means that the secondary station has not
// answered the last request in time. A base of CStreloDevice beside the poll timer, so the
// expiry is forwarded under a name of its own.
class CStreloComMonitorTimer : public CTimerNative
{
public:
    ~CStreloComMonitorTimer() override;

    void OnExpired() final;

protected:
    virtual void OnResponseTimeout() = 0;
};
