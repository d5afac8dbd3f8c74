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
  bool visible = true;
  bool owned = false;  // by another window
  bool agrees = true;  // to be closed
  bool asked = false;  // WM_CLOSE was posted to it
  bool closed = false;
};

class VirtualDesktop : public Desktop {
 public:
  explicit VirtualDesktop(Machine& machine) : machine_(machine) {}

  WindowHandle GetDesktopWindow() override;
  WindowHandle GetWindow(WindowHandle window, std::uint32_t relation) override;
  int GetWindowTextLengthA(WindowHandle window) override;
  int GetWindowTextA(WindowHandle window, char* buffer, int size) override;
  bool IsWindowVisible(WindowHandle window) override;
  bool PostMessageA(WindowHandle window, std::uint32_t message) override;

  std::vector<VirtualWindow> windows;  // in the order of the walk

 private:
  VirtualWindow* At(WindowHandle window);  // null: none, or closed
  WindowHandle From(std::size_t index) const;

  Machine& machine_;
};
