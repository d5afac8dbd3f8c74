// From the selected line of List1 to the files that become partitions, and whether they lie where
// a table entry can point and in the order that UEFI booting needs.
//
// Marks in an image's extension: "2" keeps table entry 2, "23" entries 2 and 3; "X4" and a name
// makes that file entry 4. The companion has the image's base name and no extension.
#pragma once

#include "switch/switch_run.h"

// Fills the files and their names in run. False: the run stops, and the user has been told.
bool SelectFiles(SwitchRun& run);
