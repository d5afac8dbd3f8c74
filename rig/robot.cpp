// The robot user: works another process's window by messages, as a person would, and says what it
// sees. One command a line on standard input, one line of JSON a command on standard output.
//   state              the window, its controls and the boxes that are open
//   pick N             choose row N of the drop-down list
//   select N           click row N of the list box
//   doubleclick N      double-click row N of the list box
//   label CAPTION      double-click the label
//   click CAPTION      click the button or check box (its caption without the "&")
//   answer CAPTION     click a button of the topmost box
//   type TEXT          put TEXT into the topmost box's text field
//   focus              bring the window to the front
//   minimise           as the button in the window's frame does
//   density DPI        say that the window has come to a screen of that density
//   endsession         say that the session ends
//   freeze, thaw       stop the window's thread, and let it go on
//   pointer X Y        put the mouse pointer there, in pixels of the screen
//   hover CAPTION      put the mouse pointer onto a button or check box
//   frame N            put it onto the part of the window's frame that hit tests call N
//   press              press and release the mouse's left button where the pointer is
//   keys VK[+VK]...    press keys (decimal codes, "+" holds the first) as the keyboard does
//   hammer VK MS       press a key every MS milliseconds until a box is there
//   hold VK MS         hold a key down that repeats every MS milliseconds, from before a box is
//                      there to a second after
//   idle MS            wait until the window answers at once, five times running
//   open PATH          open a file for reading and share everything, as a scanner does
//   close              close it
// Everything that may open a box is posted, not sent, so the robot never hangs with the program.
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "window_robot.h"

namespace {

using namespace robot;

std::string Json(const std::string& text) {
  std::string json = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') json += '\\';
    if (static_cast<unsigned char>(c) >= ' ') {
      json += c;
    } else {
      char escape[8];
      snprintf(escape, sizeof escape, "\\u%04x", c);
      json += escape;
    }
  }
  return json + "\"";
}

// The program may fill the list anew meanwhile, so a row's length, asked for, proves nothing.
std::string Rows(HWND list, UINT count, UINT get) {
  std::string json = "[";
  const LRESULT rows = Send(list, count);
  for (LRESULT row = 0; row < rows; ++row) {
    std::vector<wchar_t> text(kLongestText, L'\0');
    Send(list, get, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(text.data()));
    json += (row == 0 ? "" : ",") + Json(NarrowText(text.data()));
  }
  return json + "]";
}

std::string Control(HWND child) {
  const std::string kind = Class(child);
  const LONG style = GetWindowLongW(child, GWL_STYLE);
  std::string json = "{\"class\":" + Json(kind) + ",\"text\":" + Json(Plain(Text(child)));
  json += ",\"enabled\":" + std::string(IsWindowEnabled(child) ? "true" : "false");
  json += ",\"visible\":" + std::string((style & WS_VISIBLE) != 0 ? "true" : "false");
  if (kind == "Button") {
    json += ",\"ticked\":" + std::string(Send(child, BM_GETCHECK) == 1 ? "true" : "false");
    json += ",\"default\":" +
            std::string((Send(child, WM_GETDLGCODE) & DLGC_DEFPUSHBUTTON) != 0 ? "true" : "false");
  }
  if (IsIcon(child)) json += ",\"icon\":true";
  return json + "}";
}

std::string Window(HWND window) {
  std::string json = "{\"title\":" + Json(Text(window)) + ",\"controls\":[";
  for (HWND child : Children(window)) {
    if (json.back() == '}') json += ",";
    json += Control(child);
  }
  return json + "]}";
}

std::string FocusText(HWND window) {
  GUITHREADINFO info = {};
  info.cbSize = sizeof info;
  const DWORD thread = GetWindowThreadProcessId(window, nullptr);
  if (!GetGUIThreadInfo(thread, &info) || info.hwndFocus == nullptr) return "";
  const std::string kind = Class(info.hwndFocus);
  return kind == "Button" ? Plain(Text(info.hwndFocus)) : kind;
}

std::string State() {
  const Found found = Look();
  std::string json = "{\"main\":";
  if (found.main == nullptr) {
    json += "null";
  } else {
    HWND combo = Child(found.main, "ComboBox");
    HWND list = Child(found.main, "ListBox");
    json += Window(found.main);
    json += ",\"drives\":" + Rows(combo, CB_GETCOUNT, CB_GETLBTEXT);
    json += ",\"drive\":" + std::to_string(static_cast<int>(Send(combo, CB_GETCURSEL)));
    json += ",\"images\":" + Rows(list, LB_GETCOUNT, LB_GETTEXT);
    json += ",\"image\":" + std::to_string(static_cast<int>(Send(list, LB_GETCURSEL)));
    json += ",\"extent\":" + std::to_string(static_cast<int>(Send(list, LB_GETHORIZONTALEXTENT)));
    json += ",\"focus\":" + Json(FocusText(found.main));
    json += ",\"minimised\":" + std::string(IsIconic(found.main) ? "true" : "false");
    json += ",\"blocked\":" + std::string(IsWindowEnabled(found.main) ? "false" : "true");
  }
  json += ",\"front\":" + Json(Text(GetForegroundWindow()));
  json += ",\"tip\":" + (found.tip == nullptr ? "null" : Json(Text(found.tip)));
  json += ",\"boxes\":[";
  for (HWND box : found.boxes) {
    if (json.back() == '}') json += ",";
    json += Window(box);
  }
  return json + "]}";
}

bool Pick(HWND main, WPARAM row) {
  HWND combo = Child(main, "ComboBox");
  Send(combo, CB_SETCURSEL, row);
  const auto id = static_cast<WORD>(GetDlgCtrlID(combo));
  return PostMessageW(main, WM_COMMAND, MAKEWPARAM(id, CBN_SELCHANGE),
                      reinterpret_cast<LPARAM>(combo)) != 0;
}

bool DoubleClick(HWND main, WPARAM row) {
  HWND list = Child(main, "ListBox");
  RECT place = {};
  if (Send(list, LB_GETITEMRECT, row, reinterpret_cast<LPARAM>(&place)) < 0) return false;
  const LPARAM at = MAKELPARAM(place.left + 8, (place.top + place.bottom) / 2);
  for (const UINT message : {WM_LBUTTONDOWN, WM_LBUTTONUP, WM_LBUTTONDBLCLK, WM_LBUTTONUP}) {
    PostMessageW(list, message, message == WM_LBUTTONUP ? 0 : MK_LBUTTON, at);
  }
  return true;
}

bool Select(HWND main, unsigned row) {
  RECT place;
  HWND list = Child(main, "ListBox");
  if (Send(list, LB_GETITEMRECT, row, reinterpret_cast<LPARAM>(&place)) < 0) return false;
  const LPARAM at = MAKELPARAM(place.left + 8, (place.top + place.bottom) / 2);
  Send(list, WM_LBUTTONDOWN, MK_LBUTTON, at);
  Send(list, WM_LBUTTONUP, 0, at);
  return Send(list, LB_GETCURSEL) == static_cast<LRESULT>(row);
}

bool Answer(HWND box, const std::string& caption) {
  return Press(box, Child(box, "Button", caption));
}

bool Hover(HWND main, const std::string& caption) {
  RECT place;
  HWND button = Child(main, "Button", caption);
  return button != nullptr && GetWindowRect(button, &place) != 0 &&
         SetCursorPos((place.left + place.right) / 2, (place.top + place.bottom) / 2) != 0;
}

bool PointAtFrame(HWND main, LRESULT part) {
  RECT place;
  GetWindowRect(main, &place);
  const int y = place.top + GetSystemMetrics(SM_CYFIXEDFRAME) + GetSystemMetrics(SM_CYCAPTION) / 2;
  for (int x = place.right; x > place.left; --x) {
    if (Send(main, WM_NCHITTEST, 0, MAKELPARAM(x, y)) == part) return SetCursorPos(x - 4, y) != 0;
  }
  return false;
}

bool PressMouse() {
  mouse_event(MOUSEEVENTF_LEFTDOWN, 0, 0, 0, 0);
  mouse_event(MOUSEEVENTF_LEFTUP, 0, 0, 0, 0);
  return true;
}

bool Freeze(HWND main, bool still) {
  HANDLE thread = OpenThread(THREAD_SUSPEND_RESUME, FALSE, GetWindowThreadProcessId(main, nullptr));
  const DWORD before = still ? SuspendThread(thread) : ResumeThread(thread);
  CloseHandle(thread);
  return before != static_cast<DWORD>(-1);
}

bool Type(const Found& found, const std::string& text) {
  HWND field = found.boxes.empty() ? nullptr : Child(found.boxes.front(), "Edit");
  if (field == nullptr) return false;
  Send(field, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(WideText(text).c_str()));
  return true;
}

void PressKey(BYTE key, bool down) {
  keybd_event(key, 0, down ? 0 : KEYEVENTF_KEYUP, 0);
}

bool Keys(std::istringstream& words) {
  for (std::string word; words >> word;) {
    const std::size_t plus = word.find('+');
    const auto first = static_cast<BYTE>(atoi(word.c_str()));
    PressKey(first, true);
    if (plus != std::string::npos) {
      const auto second = static_cast<BYTE>(atoi(word.c_str() + plus + 1));
      PressKey(second, true);
      PressKey(second, false);
    }
    PressKey(first, false);
    Sleep(60);
  }
  return true;
}

// False: no box came.
bool Hammer(BYTE key, DWORD every, bool held) {
  const DWORD start = GetTickCount();
  DWORD shown = 0;
  for (bool over = false; !over && GetTickCount() - start < kFarOff;) {
    PressKey(key, true);
    if (!held) PressKey(key, false);
    Sleep(every);
    if (shown == 0 && !Look().boxes.empty()) shown = GetTickCount();
    over = shown != 0 && (!held || GetTickCount() - shown > 1000);
  }
  if (held) PressKey(key, false);
  return shown != 0;
}

HANDLE Opened = INVALID_HANDLE_VALUE;

bool Open(const std::string& path) {
  Opened = CreateFileW(WideText(path).c_str(), GENERIC_READ,
                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                       OPEN_EXISTING, 0, nullptr);
  return Opened != INVALID_HANDLE_VALUE;
}

// The message's rectangle is read in the program's memory.
bool ChangeDensity(HWND main, unsigned dpi) {
  constexpr UINT kDpiChanged = 0x02E0;
  DWORD id = 0;
  RECT place;
  GetWindowThreadProcessId(main, &id);
  HANDLE process = OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_WRITE, FALSE, id);
  void* there = VirtualAllocEx(process, nullptr, sizeof place, MEM_COMMIT, PAGE_READWRITE);
  const bool ready = GetWindowRect(main, &place) != 0 && there != nullptr &&
                     WriteProcessMemory(process, there, &place, sizeof place, nullptr) != 0;
  CloseHandle(process);
  return ready &&
         Send(main, kDpiChanged, MAKEWPARAM(dpi, dpi), reinterpret_cast<LPARAM>(there)) == 0;
}

bool Focus(HWND window) {
  return window != nullptr && SetForegroundWindow(window) != 0;
}

bool Do(const std::string& verb, std::istringstream& words) {
  const Found found = Look();
  if (verb == "keys") return Keys(words);
  if (verb == "press") return PressMouse();
  if (verb == "close") return CloseHandle(Opened) != 0;
  if (verb == "hammer" || verb == "hold") {
    unsigned key = 0, every = 0;
    return words >> key >> every && Hammer(static_cast<BYTE>(key), every, verb == "hold");
  }
  if (verb == "focus") return Focus(found.boxes.empty() ? found.main : found.boxes.front());
  if (verb == "pointer") {
    int x = 0, y = 0;
    return words >> x >> y && SetCursorPos(x, y) != 0;
  }
  std::string rest;
  std::getline(words >> std::ws, rest);
  if (verb == "open") return Open(rest);
  if (verb == "type") return Type(found, rest);
  if (verb == "answer") return !found.boxes.empty() && Answer(found.boxes.front(), rest);
  if (found.main == nullptr) return false;
  const auto number = static_cast<unsigned>(atoi(rest.c_str()));
  if (verb == "pick") return Pick(found.main, number);
  if (verb == "select") return Select(found.main, number);
  if (verb == "doubleclick") return DoubleClick(found.main, number);
  if (verb == "density") return ChangeDensity(found.main, number);
  if (verb == "endsession") return Send(found.main, WM_ENDSESSION, TRUE) == 0;
  if (verb == "freeze" || verb == "thaw") return Freeze(found.main, verb == "freeze");
  if (verb == "minimise") return PostMessageW(found.main, WM_SYSCOMMAND, SC_MINIMIZE, 0) != 0;
  if (verb == "frame") return PointAtFrame(found.main, number);
  if (verb == "hover") return Hover(found.main, rest);
  if (verb == "label") return DoubleClickLabel(found.main, rest);
  if (verb == "click") return Click(found.main, rest);
  return verb == "idle" && Idle(found.main, number);
}

}  // namespace

int main() {
  for (std::string line; std::getline(std::cin, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    std::istringstream words(line);
    std::string verb;
    words >> verb;
    const std::string answer = verb == "state" ? State() : Do(verb, words) ? "true" : "false";
    fputs((answer + "\n").c_str(), stdout);
    fflush(stdout);
  }
  return 0;
}
