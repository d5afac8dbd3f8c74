// The desktop's top-level windows.
//
// Does not model: child windows, messages other than WM_CLOSE.
#pragma once

#include <string>
#include <vector>

#include "platform/desktop.h"
#include "platform/virtual/machine.h"

struct VirtualWindow {
  std::string title;
  std::string className = "";
  std::uint32_t process = 0;
  bool visible = true;
  std::uint64_t visibleFrom = 0;  // on the clock
  bool owned = false;             // by another window
  bool agrees = true;             // to be closed
  bool asked = false;             // WM_CLOSE was posted to it
  bool closed = false;
  bool hangs = false;  // answers no message
  bool minimised = false;
  std::size_t popup = 0;  // the window that it owns, by its index; 0: none
};

class VirtualDesktop : public Desktop {
 public:
  explicit VirtualDesktop(Machine& machine) : machine_(machine) {}

  WindowHandle GetDesktopWindow() noexcept override;
  WindowHandle GetWindow(WindowHandle window, std::uint32_t relation) noexcept override;
  int GetWindowTextLength(WindowHandle window) noexcept override;
  std::string GetWindowText(WindowHandle window, int size) noexcept override;
  bool IsWindowVisible(WindowHandle window) noexcept override;
  bool PostMessage(WindowHandle window, std::uint32_t message) noexcept override;
  WindowHandle FindWindow(const std::string& className) noexcept override;
  std::uint32_t GetWindowThreadProcessId(WindowHandle window) noexcept override;
  WindowHandle GetLastActivePopup(WindowHandle owner) noexcept override;
  bool SendMessageTimeout(WindowHandle window, std::uint32_t message,
                          std::uint32_t milliseconds) noexcept override;
  bool IsIconic(WindowHandle window) noexcept override;
  void ShowWindow(WindowHandle window, int command) noexcept override;
  bool SetForegroundWindow(WindowHandle window) noexcept override;
  void AllowSetForegroundWindow() noexcept override {}

  std::vector<VirtualWindow> windows;  // in the order of the walk
  std::string inFront;                 // title of the window brought to the front

 private:
  VirtualWindow* At(WindowHandle window);  // null: none, or closed
  WindowHandle From(std::size_t index) const;

  Machine& machine_;
};
