// Eyes and hands of the robot user: sees another process's window and boxes, and works them by
// messages, as a person would. What may open a box is posted, not sent, so that the robot never
// hangs with the program.
#pragma once

#include <string>
#include <vector>

#include "platform/win32/win32_headers.h"

namespace robot {

constexpr DWORD kFarOff = 300000;           // ms, for a wait that only a fault lets come to its end
constexpr std::size_t kLongestText = 8192;  // of a control or a row, in characters

// Sends a message that a hung program can't hold the robot with. Returns -1 where no answer comes.
LRESULT Send(HWND window, UINT message, WPARAM wParam = 0, LPARAM lParam = 0);

std::string Text(HWND window);
std::string Class(HWND window);
// A caption without the "&" of its accelerator.
std::string Plain(std::string caption);
std::vector<HWND> Children(HWND window);

struct Found {
  std::vector<HWND> windows;  // visible, top level, front to back
  HWND main = nullptr;        // the one with the drop-down list
  std::vector<HWND> boxes;    // front to back
  HWND tip = nullptr;
};

// The program's window and its boxes, an input box included, among those of one process; 0: of all
// processes on the desktop.
Found Look(DWORD process = 0);

// The first child of that class and, unless it is empty, plain caption; null where there is none.
HWND Child(HWND window, const std::string& kind, const std::string& caption = "");

// The words of a box, a line for each of its labels.
std::string Words(HWND box);

// The icon of a box, which shows no words.
bool IsIcon(HWND child);

// Clicks the button or check box of that plain caption. False: it isn't there or is off.
bool Click(HWND window, const std::string& caption);
// Presses a button of a box. A box that isn't in front yet would lose a click.
bool Press(HWND box, HWND button);
bool DoubleClickLabel(HWND window, const std::string& caption);

// Waits until the window answers at once, five times running. False: not within the limit, in ms.
bool Idle(HWND window, DWORD limit);

}  // namespace robot
