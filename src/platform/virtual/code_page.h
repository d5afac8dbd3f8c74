// The ANSI code page of the virtual system: ISO 8859-1, one byte per character.
#pragma once

#include <string>

#include "text/wide_text.h"

inline std::string FromCodePage(const std::string& bytes) {
  std::wstring wide;
  for (const char byte : bytes) wide += static_cast<wchar_t>(static_cast<unsigned char>(byte));
  return NarrowText(wide);
}

// With "?" for every unit that the code page lacks.
inline std::string ToCodePage(const std::string& text) {
  std::string bytes;
  for (const wchar_t unit : WideText(text)) bytes += unit < 0x100 ? static_cast<char>(unit) : '?';
  return bytes;
}
