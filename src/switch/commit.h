// The last phase of a switch: shows the new table, asks, patches the image's boot record, writes
// LBA 0.
#pragma once

#include "switch/switch_run.h"

// SectorBuffer holds the composed sector.
void CommitTable(SwitchRun& run);

// What the last question shows of the new table.
std::string TableReport(const SwitchRun& run);
