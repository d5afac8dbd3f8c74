#include "text/text.h"

#include <cmath>

namespace {

char Upper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

int HexDigitValue(char c) {
  c = Upper(c);
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::string UpperCase(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) c = Upper(c);
  return upper;
}

std::string Trim(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return std::string(text);
}

std::size_t FindIgnoringCase(std::string_view text, std::string_view what, std::size_t from) {
  return UpperCase(text).find(UpperCase(what), from);
}

bool ContainsIgnoringCase(std::string_view text, std::string_view what) {
  return FindIgnoringCase(text, what) != std::string::npos;
}

bool Contains(std::string_view text, std::string_view what) {
  return text.find(what) != std::string_view::npos;
}

std::string Decimal(std::int64_t value) {
  return std::to_string(value);
}

std::string BareName(const std::string& path) {
  return path.substr(path.rfind('\\') + 1);
}

std::string BooleanText(bool value) {
  return value ? "True" : "False";
}

std::uint64_t HexPrefixValue(std::string_view text) {
  std::uint64_t value = 0;
  for (const char c : text) {
    const int digit = HexDigitValue(c);
    if (digit < 0) break;
    if (value >> 60 != 0) return UINT64_MAX;
    value = value << 4 | static_cast<unsigned>(digit);
  }
  return value;
}

std::string HexDigits(double value) {
  value = std::floor(value);
  std::string digits;
  do {
    const double rest = std::fmod(value, 16);
    digits.insert(digits.begin(), "0123456789ABCDEF"[static_cast<int>(rest)]);
    value = (value - rest) / 16;
  } while (value > 0);
  return digits;
}

std::string HexPadded(double value, std::int16_t width) {
  const std::size_t length = width > 0 ? static_cast<std::size_t>(width) : 0;
  const std::string padded = std::string(length, '0') + HexDigits(value);
  return padded.substr(padded.size() - length);
}
