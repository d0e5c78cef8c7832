#pragma once

// The protocol classes derive from these names, which pick the platform's port, timer and lock.
#ifdef _WIN32
#include "CAsyncW32.h"
#include "CCriticalSectionW32.h"
#include "CTimerW32.h"
using CAsyncNative = CAsyncW32;
using CTimerNative = CTimerW32;
using CCriticalSectionNative = CCriticalSectionW32;
#else
#include "CAsyncPosix.h"
#include "CCriticalSectionPosix.h"
#include "CTimerPosix.h"
using CAsyncNative = CAsyncPosix;
using CTimerNative = CTimerPosix;
using CCriticalSectionNative = CCriticalSectionPosix;
#endif
