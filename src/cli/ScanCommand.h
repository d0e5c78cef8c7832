#pragma once

#include "CliOptions.h"

#include <QTextStream>

// lichtwart-cli scan [--rates all|RATE,...] [--addresses N|FROM-TO]: searches the device for heads
// at the given rates (default: the seven rates of the options dialog) and addresses (default
// 1-199), prints one line per head found and the progress of the search. Exit 0 when a head was
// found, 3 when none, 1 when the device cannot be opened, 2 for a usage error.
int RunScanCommand(const CliOptions &options, QTextStream &out, QTextStream &err);
