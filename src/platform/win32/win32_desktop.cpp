#include "platform/win32/win32_headers.h"
#include "platform/win32/win32_platform.h"

namespace {

HWND Native(WindowHandle window) {
  return reinterpret_cast<HWND>(window);
}

class RealDesktop final : public Desktop {
 public:
  WindowHandle GetDesktopWindow() override {
    return reinterpret_cast<WindowHandle>(::GetDesktopWindow());
  }

  WindowHandle GetWindow(WindowHandle window, std::uint32_t relation) override {
    return reinterpret_cast<WindowHandle>(::GetWindow(Native(window), relation));
  }

  int GetWindowTextLengthA(WindowHandle window) override {
    return ::GetWindowTextLengthA(Native(window));
  }

  int GetWindowTextA(WindowHandle window, char* buffer, int size) override {
    return ::GetWindowTextA(Native(window), buffer, size);
  }

  bool IsWindowVisible(WindowHandle window) override {
    return ::IsWindowVisible(Native(window)) != FALSE;
  }

  bool PostMessageA(WindowHandle window, std::uint32_t message) override {
    return ::PostMessageA(Native(window), message, 0, 0) != FALSE;
  }
};

}  // namespace

Desktop* Win32Desktop() {
  static RealDesktop desktop;
  return &desktop;
}
