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

  [[nodiscard]] virtual WindowHandle GetDesktopWindow() noexcept = 0;
  [[nodiscard]] virtual WindowHandle GetWindow(WindowHandle window,
                                               std::uint32_t relation) noexcept = 0;
  [[nodiscard]] virtual int GetWindowTextLength(WindowHandle window) noexcept = 0;  // UTF-16 units
  // At most size - 1 units of the title; the empty text on failure.
  [[nodiscard]] virtual std::string GetWindowText(WindowHandle window, int size) noexcept = 0;
  [[nodiscard]] virtual bool IsWindowVisible(WindowHandle window) noexcept = 0;
  // Posts the message with both parameters 0.
  [[nodiscard]] virtual bool PostMessage(WindowHandle window, std::uint32_t message) noexcept = 0;

  // The topmost window of that class, hidden ones included; 0: none.
  [[nodiscard]] virtual WindowHandle FindWindow(const std::string& className) noexcept = 0;
  // The process that made the window; 0: no such window.
  [[nodiscard]] virtual std::uint32_t GetWindowThreadProcessId(WindowHandle window) noexcept = 0;
  // Returns the box of owner that was active last; owner itself if there is none.
  [[nodiscard]] virtual WindowHandle GetLastActivePopup(WindowHandle owner) noexcept = 0;
  // Sends the message with both parameters 0. False: not answered in time.
  [[nodiscard]] virtual bool SendMessageTimeout(WindowHandle window, std::uint32_t message,
                                                std::uint32_t milliseconds) noexcept = 0;
  [[nodiscard]] virtual bool IsIconic(WindowHandle window) noexcept = 0;
  virtual void ShowWindow(WindowHandle window, int command) noexcept = 0;
  // False: the system keeps another window in front.
  [[nodiscard]] virtual bool SetForegroundWindow(WindowHandle window) noexcept = 0;
  // Lets every process bring its windows to the front, where this one may.
  virtual void AllowSetForegroundWindow() noexcept = 0;
};
