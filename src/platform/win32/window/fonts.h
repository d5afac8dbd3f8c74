// The window's fonts.
#pragma once

#include "platform/toolkit.h"
#include "platform/win32/win32_headers.h"

// The font in which controls with look's face and style are drawn on a screen of dpi: the design's,
// or where a caption of theirs would be cut the next narrower face or a smaller size. The caller
// deletes it.
HFONT FittingFont(const FormDesign& form, const ControlDesign& look, int dpi);
