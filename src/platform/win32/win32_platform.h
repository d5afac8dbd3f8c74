// The platform made of real Windows calls. Every method is the call that it is named after.
#pragma once

#include "platform/platform.h"

// The one implementation of each interface; they live as long as the process.
Devices* Win32Devices();
Files* Win32Files();
Processes* Win32Processes();
SystemFacts* Win32SystemFacts();
Desktop* Win32Desktop();
Toolkit* Win32Toolkit();
Clock* Win32Clock();

Platform Win32Platform();

// Prepares the process for work on a stick: no system boxes for empty readers, libraries from the
// system folder only, and a current folder that keeps no stick busy. To be called once, first.
void PrepareProcess();
