// The window while the program is at work and takes no input.
#pragma once

// Hands out what waits in the thread's queue, but for input; see Toolkit::Repaint.
void DrawOnly();
