#include "CStreloPollTimer.h"

CStreloPollTimer::~CStreloPollTimer()
{
    StopThread();
}

void CStreloPollTimer::OnExpired()
{
    OnPollTimeout();
}
