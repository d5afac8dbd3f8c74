// Top-level windows of the desktop.
#pragma once

#include <cstdint>
#include <string>

using WindowHandle = std::intptr_t;  // 0: none

constexpr std::uint32_t kGwHwndNext = 2;  // winuser.h
constexpr std::uint32_t kGwOwner = 4;
constexpr std::uint32_t kGwChild = 5;
constexpr std::uint32_t kWmNull = 0;
constexpr std::uint32_t kWmClose = 16;
constexpr int kShowRestored = 9;

class Desktop {
 public:
  virtual ~Desktop() = default;

  virtual WindowHandle GetDesktopWindow() = 0;
  virtual WindowHandle GetWindow(WindowHandle window, std::uint32_t relation) = 0;
  virtual int GetWindowTextLength(WindowHandle window) = 0;  // UTF-16 units
  // At most size - 1 units of the title; the empty text on failure.
  virtual std::string GetWindowText(WindowHandle window, int size) = 0;
  virtual bool IsWindowVisible(WindowHandle window) = 0;
  // Posts the message with both parameters 0.
  virtual bool PostMessage(WindowHandle window, std::uint32_t message) = 0;

  // The topmost window of that class, hidden ones included; 0: none.
  virtual WindowHandle FindWindow(const std::string& className) = 0;
  // The process that made the window; 0: no such window.
  virtual std::uint32_t GetWindowThreadProcessId(WindowHandle window) = 0;
  // The window that owner owns and that was active last, a box; owner itself where there is none.
  virtual WindowHandle GetLastActivePopup(WindowHandle owner) = 0;
  // Sends the message with both parameters 0. False: not answered within the time.
  virtual bool SendMessageTimeout(WindowHandle window, std::uint32_t message,
                                  std::uint32_t milliseconds) = 0;
  virtual bool IsIconic(WindowHandle window) = 0;
  virtual void ShowWindow(WindowHandle window, int command) = 0;
  // False: the system keeps another window in front.
  virtual bool SetForegroundWindow(WindowHandle window) = 0;
  // Lets every process bring its windows to the front, where this one may.
  virtual void AllowSetForegroundWindow() = 0;
};
