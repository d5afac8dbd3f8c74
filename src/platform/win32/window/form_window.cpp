#include "platform/win32/window/form_window.h"

#include "platform/win32/window/dpi.h"
#include "platform/win32/window/resource_ids.h"

FormWindow TheForm;

namespace {

constexpr DWORD kStyle = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX;

HICON ProgramIcon(int widthMetric, int heightMetric) {
  return static_cast<HICON>(
      ::LoadImageW(::GetModuleHandleW(nullptr), MAKEINTRESOURCEW(ICON_PROGRAM), IMAGE_ICON,
                   ::GetSystemMetrics(widthMetric), ::GetSystemMetrics(heightMetric), LR_SHARED));
}

// The notification that a gesture comes as. 0 is the click of buttons, check boxes and labels.
WORD NotificationOf(ControlKind kind, Gesture gesture) {
  if (gesture == Gesture::Click) return BN_CLICKED;
  if (gesture == Gesture::Select) return CBN_SELCHANGE;
  return kind == ControlKind::ListBox ? LBN_DBLCLK : STN_DBLCLK;
}

// A held Enter or accelerator: it acts once, when it goes down.
bool IsRepeatThatActs(const MSG& message) {
  constexpr LPARAM kWasDown = 1L << 30;
  const bool acts = (message.message == WM_KEYDOWN && message.wParam == VK_RETURN) ||
                    message.message == WM_SYSKEYDOWN;
  return acts && (message.lParam & kWasDown) != 0;
}

constexpr UINT kWmDpiChanged = 0x02E0;  // winuser.h, Windows 8.1 and later

}  // namespace

void FormWindow::Create(const FormDesign& design, void (*handler)(UserEvent)) {
  const Quiet quiet(*this);
  INITCOMMONCONTROLSEX classes{sizeof classes, ICC_STANDARD_CLASSES | ICC_BAR_CLASSES};
  ::InitCommonControlsEx(&classes);

  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof windowClass;
  windowClass.lpfnWndProc = Procedure;
  windowClass.hInstance = ::GetModuleHandleW(nullptr);
  windowClass.hIcon = ProgramIcon(SM_CXICON, SM_CYICON);
  windowClass.hIconSm = ProgramIcon(SM_CXSMICON, SM_CYSMICON);
  windowClass.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
  windowClass.hbrBackground = ::GetSysColorBrush(COLOR_BTNFACE);
  const std::wstring className = WideText(design.className);
  windowClass.lpszClassName = className.c_str();
  ::RegisterClassExW(&windowClass);

  design_ = &design;
  handler_ = handler;
  frame_ = ::CreateWindowExW(0, className.c_str(), WideText(design.caption).c_str(), kStyle, 0, 0,
                             0, 0, nullptr, nullptr, windowClass.hInstance, nullptr);
  dpi_ = DpiOfWindow(frame_);
  for (std::size_t i = 0; i < kControlCount; ++i) MakeControl(design.controls[i]);
  LayOut();

  RECT outer, client;
  ::GetWindowRect(frame_, &outer);
  ::GetClientRect(frame_, &client);
  frameTwips_.cx = PixelsOf(TwipsOf(outer.right - outer.left - client.right, dpi_), 1440);
  frameTwips_.cy = PixelsOf(TwipsOf(outer.bottom - outer.top - client.bottom, dpi_), 1440);
}

void FormWindow::Destroy() {
  if (frame_ != nullptr) ::DestroyWindow(frame_);
}

void FormWindow::HandOut(MSG& message) {
  if (message.message >= WM_MOUSEFIRST && message.message <= WM_MOUSELAST) {
    ::SendMessageW(tips_, TTM_RELAYEVENT, 0, reinterpret_cast<LPARAM>(&message));
  }
  if (IsRepeatThatActs(message)) return;
  const HWND list = Of(Control::List1);
  if (message.message == WM_KEYDOWN && message.wParam == VK_RETURN && list != nullptr &&
      message.hwnd == list) {
    if (::SendMessageW(list, LB_GETCURSEL, 0, 0) != LB_ERR) Raise(UserEvent::List1_DblClick);
    return;
  }
  if (frame_ != nullptr && ::IsDialogMessageW(frame_, &message)) return;
  ::TranslateMessage(&message);
  ::DispatchMessageW(&message);
}

void FormWindow::HandOutLateClose() {
  if (!closeWaits_ || modal_ != 0) return;
  closeWaits_ = false;
  Raise(UserEvent::Form_QueryUnload);
}

void FormWindow::Raise(UserEvent event) {
  if (quiet_ != 0 || handler_ == nullptr) return;
  if (modal_ == 0) {
    handler_(event);
  } else if (event == UserEvent::Form_QueryUnload) {
    closeWaits_ = true;
  }
}

LRESULT CALLBACK FormWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (window == TheForm.frame_) return TheForm.Handle(message, wParam, lParam);
  return ::DefWindowProcW(window, message, wParam, lParam);
}

LRESULT FormWindow::Handle(UINT message, WPARAM wParam, LPARAM lParam) {
  const HWND frame = frame_;
  switch (message) {
    case WM_COMMAND:
      Command(wParam, reinterpret_cast<HWND>(lParam));
      return 0;
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLORLISTBOX:
    case WM_CTLCOLOREDIT:
      return Colour(message, wParam, reinterpret_cast<HWND>(lParam));
    case WM_NOTIFY:
      if (reinterpret_cast<const NMHDR*>(lParam)->code == NM_CUSTOMDRAW) {
        return DrawButton(*reinterpret_cast<const NMCUSTOMDRAW*>(lParam));
      }
      break;
    case WM_DRAWITEM:
      DrawRow(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
      return TRUE;
    case WM_SETCURSOR:
      if (LOWORD(lParam) == HTCLIENT && ShowPointer(reinterpret_cast<HWND>(wParam))) return TRUE;
      break;
    case WM_ACTIVATE:
      if (LOWORD(wParam) == WA_INACTIVE) lastFocus_ = ::GetFocus();
      break;
    case WM_SETFOCUS:
      ::SetFocus(lastFocus_);
      KeepFocus();
      return 0;
    case WM_SIZE:
      Raise(UserEvent::Form_Resize);
      return 0;
    case WM_CLOSE:
      Raise(UserEvent::Form_QueryUnload);
      return 0;
    case WM_ENDSESSION:
      // The process ends when this returns, with an action and a box that are under way.
      if (wParam != 0 && handler_ != nullptr) handler_(UserEvent::Form_EndSession);
      return 0;
    case kWmDpiChanged:
      ChangeDpi(LOWORD(wParam), *reinterpret_cast<const RECT*>(lParam));
      return 0;
    case WM_NCDESTROY:
      Forget();
      break;
    default:
      break;
  }
  return ::DefWindowProcW(frame, message, wParam, lParam);
}

void FormWindow::Command(WPARAM wParam, HWND from) {
  if (from == nullptr) return;
  for (const ControlEvent& known : design_->events) {
    const ControlKind kind = design_->controls[Index(known.control)].kind;
    if (Of(known.control) == from && NotificationOf(kind, known.gesture) == HIWORD(wParam)) {
      Raise(known.event);
      return;
    }
  }
}

void FormWindow::KeepFocus() {
  const HWND focus = ::GetFocus();
  if (focus != nullptr && focus != frame_ && ::IsWindowEnabled(focus) && ::IsWindowVisible(focus)) {
    return;
  }
  ::SetFocus(::GetNextDlgTabItem(frame_, nullptr, FALSE));
}

void FormWindow::SetVisible(Control control, bool visible) {
  const HWND window = Of(control);
  if (window == nullptr) return;
  const bool focused = ::GetFocus() == window;
  ::ShowWindow(window, visible ? SW_SHOW : SW_HIDE);
  if (focused) KeepFocus();
}

void FormWindow::SetEnabled(Control control, bool enabled) {
  const HWND window = Of(control);
  if (window == nullptr) return;
  const bool focused = ::GetFocus() == window;
  ::EnableWindow(window, enabled);
  if (focused) KeepFocus();
}

void FormWindow::AddRow(Control list, const std::string& text) {
  Part& part = parts_[Index(list)];
  if (!part.frozen) {
    ::SendMessageW(part.window, WM_SETREDRAW, FALSE, 0);
    part.frozen = true;
  }
  ::SendMessageW(part.window, IsDropDown(list) ? CB_ADDSTRING : LB_ADDSTRING, 0,
                 reinterpret_cast<LPARAM>(WideText(text).c_str()));
}

void FormWindow::ShowRows() {
  if (hourglassShown_ && !busy_) {
    hourglassShown_ = false;
    ::SetCursor(::LoadCursorW(nullptr, IDC_ARROW));
  }
  for (Part& part : parts_) {
    if (!part.frozen) continue;
    part.frozen = false;
    ::SendMessageW(part.window, WM_SETREDRAW, TRUE, 0);
    ::InvalidateRect(part.window, nullptr, TRUE);
  }
}

void FormWindow::Forget() {
  for (Part& part : parts_) {
    if (part.font != nullptr) ::DeleteObject(part.font);
    if (part.back != nullptr) ::DeleteObject(part.back);
    if (part.icon != nullptr) ::DestroyIcon(part.icon);
    part = {};
  }
  if (measure_ != nullptr) ::DeleteDC(measure_);
  if (font_ != nullptr) ::DeleteObject(font_);
  // A Quiet or Modal that still lives counts down on its own.
  const int quiet = quiet_, modal = modal_;
  *this = {};
  quiet_ = quiet;
  modal_ = modal;
}
