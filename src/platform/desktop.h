// Top-level windows of the desktop.
#pragma once

#include <cstdint>

using WindowHandle = std::intptr_t;  // 0: none

constexpr std::uint32_t kGwHwndNext = 2;  // winuser.h
constexpr std::uint32_t kGwOwner = 4;
constexpr std::uint32_t kGwChild = 5;
constexpr std::uint32_t kWmClose = 16;

class Desktop {
 public:
  virtual ~Desktop() = default;

  virtual WindowHandle GetDesktopWindow() = 0;
  virtual WindowHandle GetWindow(WindowHandle window, std::uint32_t relation) = 0;
  virtual int GetWindowTextLengthA(WindowHandle window) = 0;
  // Copies at most size - 1 characters and a NUL; gives the count without the NUL.
  virtual int GetWindowTextA(WindowHandle window, char* buffer, int size) = 0;
  virtual bool IsWindowVisible(WindowHandle window) = 0;
  // Posts the message with both parameters 0.
  virtual bool PostMessageA(WindowHandle window, std::uint32_t message) = 0;
};
