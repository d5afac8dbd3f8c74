// The program from start to end, the same on every platform.
#pragma once

#include "platform/platform.h"

// Makes the window, runs start-up, hands out events until the window is gone. Ends earlier only
// through Processes::EndProcess, or at once where the program runs already. Begins from a fresh
// state, also when called a second time.
void RunProgram(const Platform& platform);

// Puts every global of the program back to its state before start-up.
void ResetProgram();
