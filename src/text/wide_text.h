// Conversion between UTF-8, the text of this program, and UTF-16, that of Windows, without loss:
// half a surrogate pair, which a file name may hold, becomes the three bytes that UTF-8 would use
// for its number.
#pragma once

#include <string>
#include <string_view>

// One UTF-16 unit per wchar_t, even where that has room for more. A byte that belongs to no
// character becomes U+FFFD.
std::wstring WideText(std::string_view text);

std::string NarrowText(std::wstring_view wide);
