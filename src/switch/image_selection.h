// From the selected line of List1 to the files that become partitions, and whether they lie where
// a table entry can point and in the order that UEFI booting needs.
#pragma once

#include "switch/switch_run.h"

// Fills the files and their names in run. False: the run stops, and the user has been told.
bool SelectFiles(SwitchRun& run);
