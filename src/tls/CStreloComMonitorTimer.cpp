#include "CStreloComMonitorTimer.h"

CStreloComMonitorTimer::~CStreloComMonitorTimer()
{
    StopThread();
}

void CStreloComMonitorTimer::OnExpired()
{
    OnResponseTimeout();
}
