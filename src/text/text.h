// UTF-8 text: the few operations that the program needs. Upper and lower case are distinguished for
// the letters of ASCII only, which is all that marks and drive letters consist of; every other
// character passes unchanged.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

constexpr const char* kLineEnd = "\r\n";

std::string UpperCase(std::string_view text);

// Without the blanks (only blanks) at both ends.
std::string Trim(std::string_view text);

// Position of what in text at or after from, counted from 0; npos if it isn't there.
std::size_t FindIgnoringCase(std::string_view text, std::string_view what, std::size_t from = 0);
bool ContainsIgnoringCase(std::string_view text, std::string_view what);

bool Contains(std::string_view text, std::string_view what);

std::string Decimal(std::int64_t value);

// A path's part after the last backslash.
std::string BareName(const std::string& path);

// "True" or "False".
std::string BooleanText(bool value);

// The number that a hexadecimal text begins with; 0 if it begins with none, the largest number if
// it doesn't fit into 64 bits.
std::uint64_t HexPrefixValue(std::string_view text);

// Upper-case hexadecimal digits without leading zeros; 0 becomes "0". A fraction is dropped.
std::string HexDigits(double value);

// The digits of value after width zeros, cut to the last width characters.
std::string HexPadded(double value, std::int16_t width);
