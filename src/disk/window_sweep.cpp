#include "disk/window_sweep.h"

#include <tuple>

#include "platform/platform.h"

int OSVersionCode = 0;

namespace {
constexpr int kLastSweptVersion = 7;  // Windows XP; 0 is a version that isn't known
}

void Close_Volume_Windows(const std::string& vol) {
  if (OSVersionCode <= kLastSweptVersion) Close_Windows_By_Title(vol + "\\");
}

void Close_Windows_By_Title(const std::string& prefix) {
  if (prefix.empty()) return;
  WindowHandle window = Sys.desktop->GetWindow(Sys.desktop->GetDesktopWindow(), kGwChild);
  while (window != 0) {
    // Asked for first: a window that has closed has no next one.
    const WindowHandle next = Sys.desktop->GetWindow(window, kGwHwndNext);
    if (GetWindowTitle(window).starts_with(prefix) && IsTaskWindow(window)) {
      std::ignore = Sys.desktop->PostMessage(window, kWmClose);
    }
    window = next;
  }
}

bool IsTaskWindow(WindowHandle hwnd) {
  return !GetWindowTitle(hwnd).empty() && Sys.desktop->IsWindowVisible(hwnd) &&
         Sys.desktop->GetWindow(hwnd, kGwOwner) == 0;
}

std::string GetWindowTitle(WindowHandle hwnd) {
  const int length = Sys.desktop->GetWindowTextLength(hwnd);
  return length > 0 ? Sys.desktop->GetWindowText(hwnd, length + 1) : "";
}
