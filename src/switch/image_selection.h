// Finds the files that become partitions from the selected line of List1, and checks that they lie
// where a table entry can point and in the order that UEFI booting needs.
#pragma once

#include "switch/switch_run.h"

// Fills the files and their names in run. False: the run stops, after a box.
bool SelectFiles(SwitchRun& run);
