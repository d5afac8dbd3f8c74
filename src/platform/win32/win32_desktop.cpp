#include "platform/win32/win32_headers.h"
#include "platform/win32/win32_platform.h"

namespace {

HWND Native(WindowHandle window) {
  return reinterpret_cast<HWND>(window);
}

class RealDesktop final : public Desktop {
 public:
  WindowHandle GetDesktopWindow() noexcept override {
    return reinterpret_cast<WindowHandle>(::GetDesktopWindow());
  }

  WindowHandle GetWindow(WindowHandle window, std::uint32_t relation) noexcept override {
    return reinterpret_cast<WindowHandle>(::GetWindow(Native(window), relation));
  }

  int GetWindowTextLength(WindowHandle window) noexcept override {
    return ::GetWindowTextLengthW(Native(window));
  }

  std::string GetWindowText(WindowHandle window, int size) noexcept override {
    std::wstring title(size > 0 ? static_cast<std::size_t>(size) : 0, L'\0');
    const int count = ::GetWindowTextW(Native(window), title.data(), size);
    return NarrowText({title.data(), static_cast<std::size_t>(count)});
  }

  bool IsWindowVisible(WindowHandle window) noexcept override {
    return ::IsWindowVisible(Native(window)) != FALSE;
  }

  bool PostMessage(WindowHandle window, std::uint32_t message) noexcept override {
    return ::PostMessageW(Native(window), message, 0, 0) != FALSE;
  }

  WindowHandle FindWindow(const std::string& className) noexcept override {
    return reinterpret_cast<WindowHandle>(::FindWindowW(WideText(className).c_str(), nullptr));
  }

  std::uint32_t GetWindowThreadProcessId(WindowHandle window) noexcept override {
    DWORD process = 0;
    ::GetWindowThreadProcessId(Native(window), &process);
    return process;
  }

  WindowHandle GetLastActivePopup(WindowHandle owner) noexcept override {
    return reinterpret_cast<WindowHandle>(::GetLastActivePopup(Native(owner)));
  }

  bool SendMessageTimeout(WindowHandle window, std::uint32_t message,
                          std::uint32_t milliseconds) noexcept override {
    DWORD_PTR result = 0;
    return ::SendMessageTimeoutW(Native(window), message, 0, 0, SMTO_NORMAL, milliseconds,
                                 &result) != 0;
  }

  bool IsIconic(WindowHandle window) noexcept override {
    return ::IsIconic(Native(window)) != FALSE;
  }

  void ShowWindow(WindowHandle window, int command) noexcept override {
    ::ShowWindow(Native(window), command);
  }

  bool SetForegroundWindow(WindowHandle window) noexcept override {
    return ::SetForegroundWindow(Native(window)) != FALSE;
  }

  void AllowSetForegroundWindow() noexcept override { ::AllowSetForegroundWindow(ASFW_ANY); }
};

}  // namespace

Desktop* Win32Desktop() {
  static RealDesktop desktop;
  return &desktop;
}
