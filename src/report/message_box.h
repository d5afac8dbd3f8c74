// Boxes of the program. Every module shows its boxes through these calls: no key or click made
// ahead of a box answers it (box_guard.h).
#pragma once

#include "platform/box.h"

// Shows the box; an empty title becomes the program's title. Returns the button pressed.
Answer MsgBox(Box box);

// Asks for one line of text. Returns the empty text after Cancel.
std::string InputBox(const InputQuestion& question);
