// Twips and pixels. A screen has dpi pixels to the inch, an inch has 1440 twips.
#pragma once

#include "platform/win32/win32_headers.h"

// The density of the screen that the window is on; the system's own before Windows 8.1.
int DpiOfWindow(HWND window);

int PixelsOf(double twips, int dpi);
float TwipsOf(int pixels, int dpi);

// A length in pixels at 96 dpi, scaled.
int ScaledPixels(int pixelsAt96, int dpi);
