// A window with one control of each kind that the program's window has, and no code besides: the
// memory that such a program takes before it does anything. Runs until it is ended.
#include <windows.h>
// Needs windows.h before it.
#include <commctrl.h>

#include <initializer_list>

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int) {
  INITCOMMONCONTROLSEX classes{sizeof classes, ICC_STANDARD_CLASSES | ICC_BAR_CLASSES};
  ::InitCommonControlsEx(&classes);
  WNDCLASSA kind{};
  kind.lpfnWndProc = ::DefWindowProcA;
  kind.hInstance = instance;
  kind.lpszClassName = "Bare";
  ::RegisterClassA(&kind);
  const HWND frame = ::CreateWindowA("Bare", "Bare", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 660,
                                     377, nullptr, nullptr, instance, nullptr);
  int top = 0;
  for (const char* control : {WC_COMBOBOXA, WC_BUTTONA, WC_STATICA, WC_LISTBOXA, TOOLTIPS_CLASSA}) {
    ::CreateWindowA(control, control, WS_CHILD | WS_VISIBLE, 0, top, 300, 60, frame, nullptr,
                    instance, nullptr);
    top += 65;
  }
  MSG message;
  while (::GetMessageA(&message, nullptr, 0, 0) > 0) ::DispatchMessageA(&message);
  return 0;
}
