// The program from start to end, the same on every platform.
#pragma once

#include "platform/platform.h"

// Makes the window, runs start-up, dispatches events until the window is gone. Ends earlier only
// through Processes::EndProcess, or at once if the program already runs. Starts from a fresh state,
// also when called a second time.
void RunProgram(const Platform& platform);

// Resets every global of the program to its state before start-up.
void ResetProgram();
