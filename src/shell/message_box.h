// Boxes of the program. Rooms below the shell show theirs through this one call.
#pragma once

#include "platform/toolkit.h"

// Shows the box; an empty title becomes the program's title. Gives the button pressed.
Answer MsgBox(Box box);
