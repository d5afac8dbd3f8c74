// What a program without a window prints.
#pragma once

#include "platform/win32/win32_headers.h"

// Bypasses the run-time library, which would turn each line end into CR CR LF. On a console all
// letters show; a file gets UTF-8, whatever the code page. False: not all of it was taken.
inline bool Print(const std::string& text) {
  const HANDLE out = ::GetStdHandle(STD_OUTPUT_HANDLE);
  DWORD written = 0, mode = 0;
  if (::GetConsoleMode(out, &mode)) {
    const std::wstring wide = WideText(text);
    return ::WriteConsoleW(out, wide.data(), static_cast<DWORD>(wide.size()), &written, nullptr) &&
           written == wide.size();
  }
  return ::WriteFile(out, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) &&
         written == text.size();
}
