#include "platform/win32/window/draw_only.h"

#include "platform/win32/window/form_window.h"

namespace {

bool IsWithin(UINT message, UINT first, UINT last) {
  return message >= first && message <= last;
}

// A control that took the press needs its end too, or it would keep the mouse.
bool EndsPress(UINT message) {
  return message == WM_LBUTTONUP || message == WM_NCLBUTTONUP || message == WM_KEYUP;
}

bool MovesWindow(const MSG& message) {
  if (message.message == WM_NCLBUTTONDOWN) {
    return message.wParam == HTCAPTION || message.wParam == HTMINBUTTON;
  }
  const WPARAM command = message.wParam & 0xFFF0;  // the system uses the low bits
  return message.message == WM_SYSCOMMAND && (command == SC_MINIMIZE || command == SC_RESTORE);
}

// Moves of the mouse are none: the pointer follows them.
bool IsInput(UINT message) {
  constexpr UINT kMouseLast = 0x020E;  // winuser.h, WM_MOUSEHWHEEL, Vista and later
  return IsWithin(message, WM_KEYFIRST, WM_KEYLAST) ||
         IsWithin(message, WM_LBUTTONDOWN, kMouseLast) ||
         IsWithin(message, WM_NCLBUTTONDOWN, WM_NCXBUTTONDBLCLK) || message == WM_SYSCOMMAND;
}

}  // namespace

void DrawOnly() {
  const FormWindow::Modal modal(TheForm);
  TheForm.ShowRows();
  MSG message;
  while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      ::PostQuitMessage(static_cast<int>(message.wParam));
      return;
    }
    const UINT what = message.message;
    if (!IsInput(what) || EndsPress(what) || MovesWindow(message)) ::DispatchMessageW(&message);
  }
}
