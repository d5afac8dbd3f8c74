#include "text/wide_text.h"

#include <cstdint>

namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

bool IsHighHalf(std::uint32_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}

bool IsLowHalf(std::uint32_t unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}

std::uint32_t ByteAt(std::string_view text, std::size_t at) {
  return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

// Returns the character at position at, and moves at past it.
std::uint32_t TakeCharacter(std::string_view text, std::size_t& at) {
  const std::uint32_t first = ByteAt(text, at++);
  if (first < 0x80) return first;
  const std::size_t further = first < 0xC0 ? 0 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
  if (further == 0 || first > 0xF4) return kReplacement;
  std::uint32_t value = first & (0x3Fu >> further);
  for (std::size_t i = 0; i < further; ++i) {
    const std::uint32_t next = ByteAt(text, at + i);
    if ((next & 0xC0) != 0x80) return kReplacement;
    value = value << 6 | (next & 0x3F);
  }
  constexpr std::uint32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
  if (value < kSmallest[further] || value > 0x10FFFF) return kReplacement;
  at += further;
  return value;
}

void AppendCharacter(std::string& text, std::uint32_t value) {
  const auto append = [&](std::uint32_t byte) { text += static_cast<char>(byte); };
  if (value < 0x80) return append(value);
  if (value < 0x800) {
    append(0xC0 | value >> 6);
  } else if (value < 0x10000) {
    append(0xE0 | value >> 12);
    append(0x80 | (value >> 6 & 0x3F));
  } else {
    append(0xF0 | value >> 18);
    append(0x80 | (value >> 12 & 0x3F));
    append(0x80 | (value >> 6 & 0x3F));
  }
  append(0x80 | (value & 0x3F));
}

// 0 after the end.
std::uint32_t UnitAt(std::wstring_view wide, std::size_t at) {
  return at < wide.size() ? static_cast<std::uint32_t>(wide[at]) : 0;
}

}  // namespace

std::wstring WideText(std::string_view text) {
  std::wstring wide;
  wide.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    std::uint32_t value = TakeCharacter(text, at);
    if (value >= 0x10000) {
      value -= 0x10000;
      wide += static_cast<wchar_t>(0xD800 + (value >> 10));
      value = 0xDC00 + (value & 0x3FF);
    }
    wide += static_cast<wchar_t>(value);
  }
  return wide;
}

std::string NarrowText(std::wstring_view wide) {
  std::string text;
  text.reserve(wide.size());
  for (std::size_t at = 0; at < wide.size(); ++at) {
    std::uint32_t value = UnitAt(wide, at);
    const std::uint32_t next = UnitAt(wide, at + 1);
    if (IsHighHalf(value) && IsLowHalf(next)) {
      value = 0x10000 + ((value - 0xD800) << 10) + (next - 0xDC00);
      ++at;
    }
    AppendCharacter(text, value);
  }
  return text;
}
