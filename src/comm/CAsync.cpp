#include "CAsync.h"

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
