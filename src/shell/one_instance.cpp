#include "shell/one_instance.h"

#include <tuple>

#include "platform/platform.h"
#include "report/message_box.h"
#include "shell/window_design.h"

namespace {

constexpr const char* kMutexName = "Rotate_TSD";
constexpr std::uint32_t kAnswersWithin = 3000;  // milliseconds
constexpr std::uint32_t kPause = 100;
constexpr int kMostLooks = 50;      // for a start-up that shows nothing yet
constexpr int kMostWindows = 5000;  // the order may change during the walk

// A mutex ends with the process that holds it, however that ends. Another user's mutex can't be
// opened, and that user has another temp folder.
bool OtherRuns(Handle mutex) {
  return mutex != kNoHandle && Sys.processes->WaitForSingleObject(mutex, 0) == kWaitTimeout;
}

// What the user can work with: the open box, else the window. 0: nothing is shown yet.
WindowHandle FrontWindow(WindowHandle frame) {
  Desktop& desktop = *Sys.desktop;
  if (desktop.IsWindowVisible(frame)) return desktop.GetLastActivePopup(frame);
  // The boxes of start-up have no owner.
  const std::uint32_t process = desktop.GetWindowThreadProcessId(frame);
  WindowHandle window = desktop.GetWindow(desktop.GetDesktopWindow(), kGwChild);
  for (int i = 0; window != 0 && i < kMostWindows; ++i) {
    if (desktop.IsWindowVisible(window) && desktop.GetWindowThreadProcessId(window) == process) {
      return window;
    }
    window = desktop.GetWindow(window, kGwHwndNext);
  }
  return 0;
}

void BringToFront(WindowHandle frame, WindowHandle front) {
  if (Sys.desktop->IsIconic(frame)) Sys.desktop->ShowWindow(frame, kShowRestored);
  std::ignore = Sys.desktop->SetForegroundWindow(front);
}

void SayThatItDoesNotAnswer() {
  MsgBox({.title = "Rotate_TSD is already running!",
          .text =
              "Another Rotate_TSD is running and doesn't answer. It may be at work: wait until it "
              "has finished.\r\n\r\nIf it never answers, end it in the Task Manager and start the "
              "program again.",
          .icon = Icon::Exclamation});
}

}  // namespace

bool IsOnlyInstance() {
  const Handle mutex = Sys.processes->CreateMutex(kMutexName);  // kept until the process ends
  for (int look = 0; OtherRuns(mutex); ++look) {
    Sys.desktop->AllowSetForegroundWindow();
    const WindowHandle frame = Sys.desktop->FindWindow(kFormDesign.className);
    const WindowHandle front = frame != 0 ? FrontWindow(frame) : 0;
    if (front != 0 && Sys.desktop->SendMessageTimeout(front, kWmNull, kAnswersWithin)) {
      BringToFront(frame, front);
      return false;
    }
    if (front != 0 || look == kMostLooks) {
      SayThatItDoesNotAnswer();
      return false;
    }
    Sys.clock->Sleep(kPause);
  }
  return true;
}
