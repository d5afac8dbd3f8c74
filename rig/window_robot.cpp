#include "window_robot.h"

// Needs win32_headers.h before it.
#include <commctrl.h>

namespace robot {

namespace {

BOOL CALLBACK Add(HWND window, LPARAM list) {
  reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
  return TRUE;
}

bool BelongsTo(HWND window, DWORD process) {
  DWORD owner = 0;
  GetWindowThreadProcessId(window, &owner);
  return process == 0 || owner == process;
}

}  // namespace

LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  DWORD_PTR result = 0;
  return SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, kFarOff, &result) != 0
             ? static_cast<LRESULT>(result)
             : -1;
}

std::string Text(HWND window) {
  std::vector<wchar_t> text(kLongestText, L'\0');
  Send(window, WM_GETTEXT, text.size() - 1, reinterpret_cast<LPARAM>(text.data()));
  return NarrowText(text.data());
}

std::string Class(HWND window) {
  wchar_t name[64] = L"";
  GetClassNameW(window, name, 64);
  return NarrowText(name);
}

std::string Plain(std::string caption) {
  std::erase(caption, '&');
  return caption;
}

std::vector<HWND> Children(HWND window) {
  std::vector<HWND> children;
  EnumChildWindows(window, Add, reinterpret_cast<LPARAM>(&children));
  return children;
}

Found Look(DWORD process) {
  Found found;
  EnumWindows(Add, reinterpret_cast<LPARAM>(&found.windows));
  std::erase_if(found.windows, [&](HWND window) {
    return !IsWindowVisible(window) || !BelongsTo(window, process);
  });
  for (HWND window : found.windows) {
    bool hasCombo = false;
    bool hasButton = false;
    for (HWND child : Children(window)) {
      hasCombo = hasCombo || Class(child) == "ComboBox";
      hasButton = hasButton || Class(child) == "Button";
    }
    if (Class(window) == TOOLTIPS_CLASSA) found.tip = window;
    if (hasCombo && Class(window) != "#32770") {
      found.main = window;
    } else if (Class(window) == "#32770" || hasButton) {
      found.boxes.push_back(window);
    }
  }
  return found;
}

HWND Child(HWND window, const std::string& kind, const std::string& caption) {
  for (HWND child : Children(window)) {
    if (Class(child) == kind && (caption.empty() || Plain(Text(child)) == caption)) return child;
  }
  return nullptr;
}

std::string Words(HWND box) {
  std::string words;
  for (HWND child : Children(box)) {
    if (Class(child) != "Static" || IsIcon(child)) continue;
    words += (words.empty() ? "" : "\n") + Text(child);
  }
  return words;
}

bool IsIcon(HWND child) {
  return Class(child) == "Static" && (GetWindowLongW(child, GWL_STYLE) & SS_TYPEMASK) == SS_ICON;
}

bool Click(HWND window, const std::string& caption) {
  HWND button = window == nullptr ? nullptr : Child(window, "Button", caption);
  return button != nullptr && IsWindowEnabled(button) && PostMessageW(button, BM_CLICK, 0, 0) != 0;
}

bool Press(HWND box, HWND button) {
  const auto id = static_cast<WORD>(GetDlgCtrlID(button));
  return button != nullptr && IsWindowEnabled(button) &&
         PostMessageW(box, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED),
                      reinterpret_cast<LPARAM>(button)) != 0;
}

bool DoubleClickLabel(HWND window, const std::string& caption) {
  HWND label = Child(window, "Static", caption);
  return label != nullptr && PostMessageW(label, WM_LBUTTONDBLCLK, MK_LBUTTON, 0) != 0;
}

bool Idle(HWND window, DWORD limit) {
  const DWORD start = GetTickCount();
  for (int prompt = 0; prompt < 5;) {
    if (GetTickCount() - start > limit) return false;
    DWORD_PTR result;
    const DWORD asked = GetTickCount();
    const bool answered =
        SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_NORMAL, 1000, &result) != 0;
    prompt = answered && GetTickCount() - asked < 100 ? prompt + 1 : 0;
    Sleep(60);
  }
  return true;
}

}  // namespace robot
