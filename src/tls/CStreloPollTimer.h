#pragma once

#include "comm/NativeAliases.h"

// The poll timer of the link procedure: its expiry starts the next request to the secondary
// station. A base of CStreloDevice beside the response timer, so the expiry is forwarded under
// a name of its own.
class CStreloPollTimer : public CTimerNative
{
public:
    ~CStreloPollTimer() override;

    void OnExpired() final;

protected:
    virtual void OnPollTimeout() = 0;
};
