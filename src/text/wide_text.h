// Between UTF-8, the text of this program, and UTF-16, that of Windows. Nothing is lost on the way
// there and back: half a surrogate pair, which a file name may hold, becomes the three bytes that
// UTF-8 would have for its number.
#pragma once

#include <string>
#include <string_view>

// One UTF-16 unit a character, also where wchar_t has room for more. A byte that belongs to no
// character becomes U+FFFD.
std::wstring WideText(std::string_view text);

std::string NarrowText(std::wstring_view wide);
