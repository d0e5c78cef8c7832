#pragma once

#include <QString>

// One product of the Strelo family. The records live in the product table for the whole run,
// so a pointer to one may be kept and passed through queued signals.
struct STRELO_PRODUCT
{
    QString id;        // "strelo-002", "strelo-003"
    int hardwareMajor; // the hardware major version by which a connected head is recognised
    int variant;       // handed to the boot loader by the firmware upgrade
};
