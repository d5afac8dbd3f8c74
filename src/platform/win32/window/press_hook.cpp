#include "platform/win32/window/press_hook.h"

namespace {

constexpr UINT kLook = 25;  // milliseconds between two looks whether the box is on the screen
constexpr LPARAM kWasDown = 1L << 30;

PressHook* Current = nullptr;

bool HasClass(HWND window, const wchar_t* name) {
  wchar_t text[16] = L"";
  ::GetClassNameW(window, text, sizeof text / sizeof text[0]);
  return ::lstrcmpiW(text, name) == 0;
}

struct ButtonMessages {
  UINT down, up, twice;
  BYTE key;  // 0: the message says which
};

constexpr ButtonMessages kButtons[] = {
    {WM_LBUTTONDOWN, WM_LBUTTONUP, WM_LBUTTONDBLCLK, VK_LBUTTON},
    {WM_RBUTTONDOWN, WM_RBUTTONUP, WM_RBUTTONDBLCLK, VK_RBUTTON},
    {WM_MBUTTONDOWN, WM_MBUTTONUP, WM_MBUTTONDBLCLK, VK_MBUTTON},
    {WM_XBUTTONDOWN, WM_XBUTTONUP, WM_XBUTTONDBLCLK, 0},
    {WM_NCLBUTTONDOWN, WM_NCLBUTTONUP, WM_NCLBUTTONDBLCLK, VK_LBUTTON},
    {WM_NCRBUTTONDOWN, WM_NCRBUTTONUP, WM_NCRBUTTONDBLCLK, VK_RBUTTON},
    {WM_NCMBUTTONDOWN, WM_NCMBUTTONUP, WM_NCMBUTTONDBLCLK, VK_MBUTTON},
    {WM_NCXBUTTONDOWN, WM_NCXBUTTONUP, WM_NCXBUTTONDBLCLK, 0},
};

// False: the message is none of a key or button.
bool IsKey(const MSG& message, Press& press) {
  const UINT what = message.message;
  if (what < WM_KEYFIRST || what > WM_KEYLAST) return false;
  const bool up = what == WM_KEYUP || what == WM_SYSKEYUP;
  const bool down = what == WM_KEYDOWN || what == WM_SYSKEYDOWN;
  const bool repeats = (message.lParam & kWasDown) != 0;
  press.kind = up ? Press::Kind::Release : repeats ? Press::Kind::Repeat : Press::Kind::First;
  press.key = up || down ? static_cast<std::uint8_t>(message.wParam) : 0;
  return true;
}

bool IsButton(const MSG& message, Press& press) {
  for (const ButtonMessages& button : kButtons) {
    if (message.message == button.down) {
      press.kind = Press::Kind::First;
    } else if (message.message == button.twice) {
      press.kind = Press::Kind::Second;
    } else if (message.message == button.up) {
      press.kind = Press::Kind::Release;
    } else {
      continue;
    }
    const BYTE further = HIWORD(message.wParam) == XBUTTON1 ? VK_XBUTTON1 : VK_XBUTTON2;
    press.key = button.key != 0 ? button.key : further;
    return true;
  }
  return false;
}

// Shown and painted: what isn't painted yet can't have been read.
BOOL CALLBACK IsShownBox(HWND window, LPARAM found) {
  if (!::IsWindowVisible(window) || !HasClass(window, L"#32770")) return TRUE;
  *reinterpret_cast<bool*>(found) = !::GetUpdateRect(window, nullptr, FALSE);
  return FALSE;
}

}  // namespace

// The timer looks while nobody does anything, so that no press is the first that is seen of a box.
PressHook::PressHook(PressFilter& filter)
    : filter_(filter),
      hook_(::SetWindowsHookExW(WH_MSGFILTER, Procedure, nullptr, ::GetCurrentThreadId())),
      timer_(::SetTimer(nullptr, 0, kLook, OnTimer)) {
  Current = this;
}

PressHook::~PressHook() {
  Current = nullptr;
  if (timer_ != 0) ::KillTimer(nullptr, timer_);
  if (hook_ != nullptr) ::UnhookWindowsHookEx(hook_);
}

LRESULT CALLBACK PressHook::Procedure(int code, WPARAM wParam, LPARAM lParam) {
  if (code >= 0 && Current != nullptr && Current->Drops(*reinterpret_cast<const MSG*>(lParam))) {
    return TRUE;
  }
  return ::CallNextHookEx(nullptr, code, wParam, lParam);
}

void CALLBACK PressHook::OnTimer(HWND, UINT, UINT_PTR, DWORD) {
  if (Current != nullptr) Current->LookWhetherShown();
}

bool PressHook::Drops(const MSG& message) {
  LookWhetherShown();
  Press press;
  if (!IsKey(message, press) && !IsButton(message, press)) return false;
  press.shownFor = shown_ ? static_cast<std::int32_t>(message.time - shownAt_) : -1;
  press.intoField = HasClass(message.hwnd, L"Edit");
  return !filter_.Takes(press);
}

void PressHook::LookWhetherShown() {
  if (shown_) return;
  ::EnumThreadWindows(::GetCurrentThreadId(), IsShownBox, reinterpret_cast<LPARAM>(&shown_));
  if (!shown_) return;
  shownAt_ = ::GetTickCount();
  if (timer_ != 0) ::KillTimer(nullptr, timer_);
  timer_ = 0;
}

void DropQueuedPresses() {
  struct Range {
    UINT first, last;
  };
  // Moves and the wheel stay.
  static constexpr Range kRanges[] = {{WM_KEYFIRST, WM_KEYLAST},
                                      {WM_LBUTTONDOWN, WM_MBUTTONDBLCLK},
                                      {WM_XBUTTONDOWN, WM_XBUTTONDBLCLK},
                                      {WM_NCLBUTTONDOWN, WM_NCXBUTTONDBLCLK}};
  MSG message;
  for (const Range& range : kRanges) {
    while (::PeekMessageW(&message, nullptr, range.first, range.last, PM_REMOVE)) {
      if (message.message != WM_QUIT) continue;  // which comes whatever is asked for
      ::PostQuitMessage(static_cast<int>(message.wParam));
      return;
    }
  }
}
