// A box that asks for one line of text.
#pragma once

#include <string>

#include "platform/box.h"
#include "platform/win32/win32_headers.h"

// Modal; owner may be null. Returns the text of the field, or the empty text after Cancel.
std::string AskForText(const InputQuestion& text, HWND owner, HFONT font, int dpi);
